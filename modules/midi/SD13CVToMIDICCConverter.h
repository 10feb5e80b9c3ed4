// SD13 CV To MIDI CC Converter: sends eight signals as control changes.
#pragma once

#include <array>

#include "modules/midi/SD13CVToMIDICCConverterKernel.h"
#include "modules/midi/channel_display.h"
#include "modules/midi/midi_module.h"

namespace halveron {

/// Only inputs with a cable are sent.
class SD13CVToMIDICCConverter final : public MidiModule<SD13CVToMIDICCConverter> {
 public:
  static constexpr char kName[] = "SD13 CV To MIDI CC Converter";
  static constexpr char kPanel[] = "SD13CVToMIDICCConverter.png";
  static constexpr int kColumns = 19;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SD13CVToMIDICCConverter(CFrame* frame, const HostTable& hostTable, int voice);

  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;

 private:
  static constexpr int kLanes = SD13CVToMIDICCConverterKernel::kLanes;

  SD13CVToMIDICCConverterKernel kernel_;
  ChannelDisplay channel_;
  bool isBipolar_ = false;

  std::array<Knob, kLanes> controllers_;
  std::array<CSpecialDigitEx*, kLanes> controllerDigits_{};
  CVerticalSwitch* bipolar_;
  std::array<Input, kLanes> ins_;
  Input channelStep_;
  MidiOutput midiOut_;
};

}  // namespace halveron
