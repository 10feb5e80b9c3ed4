// Sound of the S626: chains of state-variable stages, spaced in ratios, swept by triangles.
#pragma once

#include <array>

#include "dsp/shaping.h"

namespace halveron {

/// A triangle of -0.5 to 0.5 over a phase of 0 to 2.
struct PhaserLfo {
  double phase = 0.0;

  double Value() const { return phase > 1.0 ? 1.5 - phase : phase - 0.5; }
  void Advance(double increment) {
    phase += increment;
    if (phase > 2.0) phase -= 2.0;
  }
};

/// One chain of up to ten stages, trapezoidal state-variable filters after Zavalishin, "The Art of
/// VA Filter Design". The main stages give high - low, which for a damping R of 2 is an all-pass
/// and below it resonates; the stages in front of them are notches.
class PhaserChain {
 public:
  static constexpr int kMostStages = 10;

  void SetStages(int count) {
    stages_ = count;
    half_ = count / 2;
  }
  int Stages() const { return stages_; }
  /// `spread` of 0..1; a stage's share of `perStage` narrows the widest spacing.
  void SetSpread(double spread, double perStage);
  /// The factor by which a band offset of -1..1 moves the main stages.
  double OffsetFactor(double offset) const;
  /// What the main stages lie at without the stages before them.
  double PlainFactor() const { return ratio_; }
  /// The level of a signal that meets no stages before the main ones.
  double PlainGain() const { return 1.0 - 1.455 / step_; }

  /// The notches in front, for a centre gain g.
  double RunBefore(double u, double g);
  /// The main stages with damping R, each limited at `limit`; sets `limited`.
  double Run(double u, double g, double factor, double R, float limit, bool& limited);

 private:
  struct Stage {
    double s1 = 0.0, s2 = 0.0;
  };
  using Gains = std::array<double, kMostStages>;
  struct Coefficients {
    Gains G, d, e;
  };
  Coefficients CoefficientsFrom(double w, double R) const;

  int stages_ = 0;
  int half_ = 0;
  double ratio_ = 1.0;
  double step_ = 1.0;  // from stage to stage
  double span_ = 1.0;  // from the first stage to the middle
  std::array<Stage, kMostStages> before_{}, main_{};
};

}  // namespace halveron
