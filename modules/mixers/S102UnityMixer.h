// S102 Unity Mixer: the sum of four inputs.
#pragma once

#include <array>

#include "framework/module.h"

namespace halveron {

class S102UnityMixer final : public BuiltInModule<S102UnityMixer> {
 public:
  static constexpr char kName[] = "S102 Unity Mixer";
  static constexpr char kPanel[] = "S102UnityMixer.png";
  static constexpr int kColumns = 4;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S102UnityMixer(CFrame* frame, const HostTable& table, int voiceIndex);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;

  /// Adds from the last input to the first; the order is part of the sound's last bits.
  template <class Float>
  static Float Sum(Float in1, Float in2, Float in3, Float in4) {
    return in4 + in3 + in2 + in1;
  }

 private:
  template <class Unit>
  friend class S102UnityMixerVoices;

  std::array<Input, 4> ins_;
  Output out_;
};

}  // namespace halveron
