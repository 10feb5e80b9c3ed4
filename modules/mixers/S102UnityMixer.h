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

  S102UnityMixer(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;

  /// Adds from the last input to the first; the order is part of the sound's last bits.
  static float Sum(float in1, float in2, float in3, float in4) { return in4 + in3 + in2 + in1; }

 private:
  std::array<Input, 4> ins_;
  Output out_;
};

}  // namespace halveron
