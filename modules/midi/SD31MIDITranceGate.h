// SD31 MIDI Trance Gate: chops held notes on and off by a pattern of sixteen steps.
#pragma once

#include <array>

#include "modules/midi/SD31MIDITranceGateKernel.h"
#include "modules/midi/midi_module.h"

namespace halveron {

class SD31MIDITranceGate final : public MidiModule<SD31MIDITranceGate> {
 public:
  static constexpr char kName[] = "SD31 MIDI Trance Gate";
  static constexpr char kPanel[] = "SD31MIDITranceGate.png";
  static constexpr int kColumns = 13;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SD31MIDITranceGate(CFrame* frame, const HostTable& hostTable, int voice);

  void ProcessSample() override;
  void ValueChanged(CControl* control) override;
  void LoadPreset(const void* buffer, int size, int version) override;
  void CableDisconnected(PatchPoint* point) override;

 private:
  static constexpr int kSteps = SD31MIDITranceGateKernel::kSteps;

  void ChangeSteps(int change);
  void ShowStep();

  SD31MIDITranceGateKernel kernel_;
  int shownStep_ = -1;  ///< whose lamp is lit

  std::array<COnOffButton*, kSteps> stepButtons_{};
  CSpecialDigitEx* steps_;
  CKickButtonEx* up_;
  CKickButtonEx* down_;
  CVerticalSwitch* restartOnFirst_;
  CVerticalSwitch* playAtOnce_;
  std::array<Lamp, kSteps> stepLamps_;
  Input midiIn_, clock_;
  MidiOutput midiOut_;
};

}  // namespace halveron
