// S631 VC Distortion: bends what exceeds a share of the envelope, from soft limiting to folding.
#pragma once

#include <array>

#include "dsp/follower.h"
#include "framework/module.h"
#include "framework/resting_knobs.h"

namespace halveron {

/// The threshold is a fixed share of the envelope, so that loud and soft passages distort alike.
/// What exceeds it, u in thresholds, is shaped by a value s of -1 to 1:
///   s < 0: from u (0) to u / (1 + u) (-1), a soft limit;
///   s > 0: from u (0) to sin(pi u) / pi (1), a fold without corners.
/// Both have slope 1 where they begin.
class S631VCDistortion final : public BuiltInModule<S631VCDistortion> {
 public:
  static constexpr char kName[] = "S631 VC Distortion";
  static constexpr char kPanel[] = "S631VCDistortion.png";
  static constexpr int kColumns = 6;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S631VCDistortion(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

  /// The shaped excess; both in thresholds.
  static double Shape(double excess, double s);

 private:
  struct Channel {
    Input in;
    Output out;
    dsp::EnvelopeFollower<> follower;
  };
  RestingKnobs restingKnobs_;
  Knob shape_, shapeCvAmount_, speed_;
  Input shapeCv_;
  std::array<Channel, 2> channels_;
};

}  // namespace halveron
