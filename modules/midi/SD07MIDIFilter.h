// SD07 MIDI Filter: splits a stream in two by the kind of message and by channel.
#pragma once

#include <array>

#include "modules/midi/SD07MIDIFilterKernel.h"
#include "modules/midi/midi_module.h"
#include "modules/midi/passing_notes.h"

namespace halveron {

/// What does not pass leaves by "Reject"; nothing is lost.
class SD07MIDIFilter final : public MidiModule<SD07MIDIFilter> {
 public:
  static constexpr char kName[] = "SD07 MIDI Filter";
  static constexpr char kPanel[] = "SD07MIDIFilter.png";
  static constexpr int kColumns = 15;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SD07MIDIFilter(CFrame* frame, const HostTable& hostTable, int voice);

  void ProcessSample() override;
  void ValueChanged(CControl* control) override;
  void CableDisconnected(PatchPoint* point) override;

 private:
  static constexpr int kClasses = SD07MIDIFilterKernel::kClasses;

  SD07MIDIFilterKernel kernel_;
  PassingNotes passed_, rejected_;

  std::array<CVerticalSwitch*, kClasses> switches_{};
  Knob channel_;  ///< every channel, then 1 to 16
  CSpecialDigitEx* channelDigits_;
  Input midiIn_;
  MidiOutput pass_;
  MidiOutput reject_;
};

}  // namespace halveron
