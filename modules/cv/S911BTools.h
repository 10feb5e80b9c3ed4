// S911 Binary Tools: functions of two signals.
#pragma once

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

  /// A quarter of a / b within -1 to 1; 0 for 0 by 0.
  static float Ratio(float a, float b);

 private:
  Input a_, b_;
  Output minusA_, minusB_, min_, max_, compare_, gate_, limit_, ratio_;
};

}  // namespace halveron
