// SD23 MIDI Note To Trigger: a gate for each of twelve keys.
#pragma once

#include <array>

#include "framework/midi_learn.h"
#include "modules/midi/SD23MIDINoteToTriggerKernel.h"
#include "modules/midi/midi_module.h"

namespace halveron {

class SD23MIDINoteToTrigger final : public MidiModule<SD23MIDINoteToTrigger> {
 public:
  static constexpr char kName[] = "SD23 MIDI Note To Trigger";
  static constexpr char kPanel[] = "SD23MIDINoteToTrigger.png";
  static constexpr int kColumns = 13;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SD23MIDINoteToTrigger(CFrame* frame, const HostTable& hostTable, int voice);

  void ProcessSample() override;
  void ValueChanged(CControl* control) override;
  void LoadPreset(const void* buffer, int size, int version) override;
  void CableDisconnected(PatchPoint* point) override;

 private:
  static constexpr int kOutputs = SD23MIDINoteToTriggerKernel::kOutputs;

  void ShowBase();
  void Silence();
  void WriteOutputs();

  SD23MIDINoteToTriggerKernel kernel_;
  MidiLearn learn_;
  std::uint32_t written_ = 0;  ///< what the outputs hold

  Knob channel_;  ///< every channel, then 1 to 16
  CSpecialDigitEx* channelDigits_;
  Knob baseNote_;
  CSpecialDigitEx* baseDigits_;
  COnOffButton* learnButton_;
  CVerticalSwitch* whiteKeys_;
  std::array<Lamp, kOutputs> lamps_;
  Input midiIn_;
  std::array<Output, kOutputs> outs_;
};

}  // namespace halveron
