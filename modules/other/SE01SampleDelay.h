// SE01 Sample Delay: 0 to 98 samples, to align paths of a patch by hand.
#pragma once

#include <array>

#include "framework/module.h"

namespace halveron {

class SE01SampleDelay final : public BuiltInModule<SE01SampleDelay> {
 public:
  static constexpr char kName[] = "SE01 Sample Delay";
  static constexpr char kPanel[] = "SE01SampleDelay.png";
  static constexpr int kColumns = 5;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  SE01SampleDelay(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void ValueChanged(CControl* control) override;

 private:
  static constexpr int kMost = 99;  // on the display, one more than the delay

  void Show(float value);

  CSpecialDigit* display_;
  CKickButtonEx *up_, *down_;
  Input in_;
  Output out_;

  int n_ = 0;  // samples
  int index_ = 0;
  std::array<float, kMost> line_{};
};

}  // namespace halveron
