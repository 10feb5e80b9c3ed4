// SD33 MIDI Arpeggiator: plays held notes one at a time, by a clock.
#pragma once

#include "modules/midi/SD33MIDIArpeggiatorKernel.h"
#include "modules/midi/midi_module.h"

namespace halveron {

class SD33MIDIArpeggiator final : public MidiModule<SD33MIDIArpeggiator> {
 public:
  static constexpr char kName[] = "SD33 MIDI Arpeggiator";
  static constexpr char kPanel[] = "SD33MIDIArpeggiator.png";
  static constexpr int kColumns = 10;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SD33MIDIArpeggiator(CFrame* frame, const HostTable& hostTable, int voice);

  void ProcessSample() override;
  void ValueChanged(CControl* control) override;
  void CableDisconnected(PatchPoint* point) override;

 private:
  SD33MIDIArpeggiatorKernel kernel_;

  Knob mode_, octaveRange_, octaveStep_, gate_;
  CVerticalSwitch* startAtOnce_;
  CVerticalSwitch* hold_;
  CVerticalSwitch* followClock_;
  Input midiIn_, clock_;
  MidiOutput midiOut_;
};

}  // namespace halveron
