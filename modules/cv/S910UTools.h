// S910 Unary Tools: five functions of one signal each.
#pragma once

#include <array>

#include "dsp/lanes.h"
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
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;

  static constexpr int kIns = 5;
  static constexpr int kOuts = 7;
  /// -x, |x|; -x, the positive half; the square; the cube; the distance from the end on x's side.
  template <class Float>
  static std::array<Float, kOuts> Apply(const std::array<Float, kIns>& x) {
    return {-x[0],
            dsp::Abs(x[0]),
            -x[1],
            dsp::Select(x[1] > 0.0f, x[1], Float(0.0f)),
            x[2] * x[2],
            x[3] * x[3] * x[3],
            dsp::Select(x[4] >= 0.0f, 1.0f - x[4], -1.0f - x[4])};
  }

 private:
  std::array<Input, kIns> ins_;
  std::array<Output, kOuts> outs_;
};

}  // namespace halveron
