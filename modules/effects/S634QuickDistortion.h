// S634 Quick Distortion: squashes a signal towards its envelope.
#pragma once

#include "dsp/follower.h"
#include "framework/module.h"

namespace halveron {

class S634QuickDistortion final : public BuiltInModule<S634QuickDistortion> {
 public:
  static constexpr char kName[] = "S634 Quick Distortion";
  static constexpr char kPanel[] = "S634QuickDistortion.png";
  static constexpr int kColumns = 6;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S634QuickDistortion(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

  /// 1 - (1 - t)^12 for t of 0..1, odd around 0.
  static double Squash(double t);

 private:
  Knob speed_, mix_;
  Input in_;
  Output out_;
  dsp::EnvelopeFollower<> follower_;
};

}  // namespace halveron
