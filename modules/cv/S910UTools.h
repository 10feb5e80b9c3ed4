// S910 Unary Tools: five functions of one signal each.
#pragma once

#include <array>

#include "framework/module.h"

namespace halveron {

class S910UTools final : public BuiltInModule<S910UTools> {
 public:
  static constexpr char kName[] = "S910 Unary Tools";
  static constexpr char kPanel[] = "S910UTools.png";
  static constexpr int kColumns = 10;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S910UTools(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;

  static constexpr int kIns = 5;
  static constexpr int kOuts = 7;
  /// -x, |x|; -x, the positive half; the square; the cube; the distance from the end on x's side.
  static std::array<float, kOuts> Apply(const std::array<float, kIns>& x);

 private:
  std::array<Input, kIns> ins_;
  std::array<Output, kOuts> outs_;
};

}  // namespace halveron
