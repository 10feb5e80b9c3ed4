// SD14 Clock/Sync To MIDI: makes MIDI clock, start and stop of a clock and a gate.
#pragma once

#include "modules/midi/SD14ClockSyncToMIDIKernel.h"
#include "modules/midi/midi_module.h"

namespace halveron {

class SD14ClockSyncToMIDI final : public MidiModule<SD14ClockSyncToMIDI> {
 public:
  static constexpr char kName[] = "SD14 Clock/Sync To MIDI";
  static constexpr char kPanel[] = "SD14ClockSyncToMIDI.png";
  static constexpr int kColumns = 7;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SD14ClockSyncToMIDI(CFrame* frame, const HostTable& hostTable, int voice);

  void ProcessSample() override;
  void ValueChanged(CControl* control) override;
  void CableDisconnected(PatchPoint* point) override;

 private:
  SD14ClockSyncToMIDIKernel kernel_;

  Knob ticksPerClock_;
  CSpecialDigitEx* ticksDigits_;
  CVerticalSwitch* startOrContinue_;
  Input clock_, run_;
  MidiOutput midi_;
};

}  // namespace halveron
