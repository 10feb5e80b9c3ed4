// S101 Mixer: four channels with a level each, and a master.
#pragma once

#include <array>

#include "framework/module.h"
#include "framework/resting_knobs.h"

namespace halveron {

class S101Mixer final : public BuiltInModule<S101Mixer> {
 public:
  static constexpr char kName[] = "S101 Mixer";
  static constexpr char kPanel[] = "S101Mixer.png";
  static constexpr int kColumns = 7;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S101Mixer(CFrame* frame, const HostTable& table, int voiceIndex);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void ValueChanged(CControl* control) override;

 private:
  template <class Unit>
  friend class S101MixerVoices;

  RestingKnobs restingKnobs_;
  std::array<Knob, 4> levels_;
  Knob master_;
  CVerticalSwitch* law_;
  std::array<Input, 4> ins_;
  Output out_;

  /// The order of the summands differs between the laws; it is part of the sound's last bits.
  template <class Double>
  static Double Sum(const std::array<Double, 4>& in, const std::array<Double, 4>& l, bool square) {
    return square ? l[1] * l[1] * in[1] + l[2] * l[2] * in[2] + l[3] * l[3] * in[3] +
                        l[0] * l[0] * in[0]
                  : in[3] * l[3] + in[1] * l[1] + in[2] * l[2] + in[0] * l[0];
  }

  bool squareLaw_ = false;
};

}  // namespace halveron
