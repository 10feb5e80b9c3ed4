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

 private:
  std::array<Input, 4> ins_;
  Output out_;
};

}  // namespace halveron
