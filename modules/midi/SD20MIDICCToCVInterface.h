// SD20 MIDI CC To CV Interface: eight controllers as voltages.
#pragma once

#include <array>

#include "framework/midi_learn.h"
#include "modules/midi/SD20MIDICCToCVInterfaceKernel.h"
#include "modules/midi/midi_module.h"

namespace halveron {

class SD20MIDICCToCVInterface final : public MidiModule<SD20MIDICCToCVInterface> {
 public:
  static constexpr char kName[] = "SD20 MIDI CC To CV Interface";
  static constexpr char kPanel[] = "SD20MIDICCToCVInterface.png";
  static constexpr int kColumns = 24;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SD20MIDICCToCVInterface(CFrame* frame, const HostTable& hostTable, int voice);

  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

 private:
  static constexpr int kLanes = SD20MIDICCToCVInterfaceKernel::kLanes;

  void TakeWord(MidiCableWord word);
  void LearnButtonChanged(int lane);

  SD20MIDICCToCVInterfaceKernel kernel_;
  MidiLearn learn_;
  bool isMoving_ = false;

  std::array<Knob, kLanes> controllers_;
  std::array<CSpecialDigitEx*, kLanes> controllerDigits_{};
  std::array<COnOffButton*, kLanes> learnButtons_{};
  CVerticalSwitch* pairs_;
  std::array<HeldLamp, kLanes> lamps_;
  Input midiIn_;
  std::array<Output, kLanes> outs_;
};

}  // namespace halveron
