// SD09 MIDI Channel Converter: sends the messages of each channel on another.
#pragma once

#include <array>

#include "modules/midi/SD09MCCKernel.h"
#include "modules/midi/midi_module.h"

namespace halveron {

/// The map can be set by MIDI: on the command channel, controllers 20 to 35 set the selectors of
/// channels 1 to 16 to their value modulo 16, 0 being channel 1.
class SD09MCC final : public MidiModule<SD09MCC> {
 public:
  static constexpr char kName[] = "SD09 MIDI Channel Converter";
  static constexpr char kPanel[] = "SD09MCC.png";
  static constexpr int kColumns = 19;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SD09MCC(CFrame* frame, const HostTable& hostTable, int voice);

  void ProcessSample() override;
  void ValueChanged(CControl* control) override;
  void CableDisconnected(PatchPoint* point) override;

 private:
  void SetEntry(int channel, int target);

  SD09MCCKernel kernel_;

  std::array<Knob, midi::kChannels> channels_;
  std::array<CSpecialDigitEx*, midi::kChannels> digits_{};
  Knob commandChannel_;  ///< none, then 1 to 16
  CSpecialDigitEx* commandDigits_;
  Input midiIn_;
  HeldLamp inLamp_;
  MidiOutput midiOut_;
};

}  // namespace halveron
