// SD12 CV To MIDI Converter: plays notes from gate, pitch and velocity.
#pragma once

#include "modules/midi/SD12CVToMIDIConverterKernel.h"
#include "modules/midi/channel_display.h"
#include "modules/midi/midi_module.h"

namespace halveron {

class SD12CVToMIDIConverter final : public MidiModule<SD12CVToMIDIConverter> {
 public:
  static constexpr char kName[] = "SD12 CV To MIDI Converter";
  static constexpr char kPanel[] = "SD12CVToMIDIConverter.png";
  static constexpr int kColumns = 9;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SD12CVToMIDIConverter(CFrame* frame, const HostTable& hostTable, int voice);

  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

 private:
  SD12CVToMIDIConverterKernel kernel_;
  ChannelDisplay channel_;

  Input gate_, pitch_, velocity_, channelStep_;
  MidiOutput midiOut_;
};

}  // namespace halveron
