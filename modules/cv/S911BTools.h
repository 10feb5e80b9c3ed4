// S911 Binary Tools: functions of two signals.
#pragma once

#include <array>

#include "dsp/lanes.h"
#include "dsp/shaping.h"
#include "framework/module.h"

namespace halveron {

class S911BTools final : public BuiltInModule<S911BTools> {
 public:
  static constexpr char kName[] = "S911 Binary Tools";
  static constexpr char kPanel[] = "S911BTools.png";
  static constexpr int kColumns = 8;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S911BTools(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;

  static constexpr int kIns = 2;
  static constexpr int kOuts = 8;
  /// A quarter of a / b within -1 to 1; 0 for 0 by 0.
  template <class Float>
  static Float Ratio(const Float& a, const Float& b) {
    const Float ratio = a * 0.25f / b;
    return dsp::Select(ratio == ratio, dsp::LimitSymmetric(ratio, Float(1.0f)), Float(0.0f));
  }
  /// -a, -b, the lesser, the greater, 1 where a is greater, b where it is positive and else a, a
  /// within -|b| to |b|, the ratio.
  template <class Float>
  static std::array<Float, kOuts> Apply(const std::array<Float, kIns>& x) {
    const auto& [a, b] = x;
    return {-a,
            -b,
            dsp::Min(a, b),
            dsp::Max(a, b),
            dsp::Select(a > b, Float(1.0f), Float(0.0f)),
            dsp::Select(b > 0.0f, b, a),
            dsp::LimitSymmetric(a, dsp::Abs(b)),
            Ratio(a, b)};
  }

 private:
  Input a_, b_;
  std::array<Output, kOuts> outs_;
};

}  // namespace halveron
