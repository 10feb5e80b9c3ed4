// Sound of the S223 Dual Tap Comb Filter: a line of 50 ms with two taps, fed back or forward.
#pragma once

#include "dsp/delay_line.h"
#include "dsp/shaping.h"

namespace halveron {

class S223DualTapCombFilterKernel {
 public:
  /// Smoothed, 0..1.
  struct Knobs {
    double time = 0.25;
    double timeCvAmount = 0.0;
    double secondTap = 0.0;
    double feedback = 0.5;
  };
  struct Inputs {
    float audio = 0.0f;
    float timeCv = 0.0f;
    float secondTapCv = 0.0f;
    float feedbackCv = 1.0f;  ///< 1 without a cable
  };

  static int SizeAt(float rate) { return static_cast<int>(static_cast<double>(rate) * 0.05 + 1.0); }

  /// `rate` in hertz.
  void Prepare(float rate) {
    size_ = SizeAt(rate);
    tap_max = static_cast<int>((size_ - 1) * 0.8);
    index_ = 0;
  }
  /// The line, of SizeAt(rate) silent cells.
  void Attach(dsp::DelayLine line) { line_ = line; }

  double Step(const Knobs& knobs, const Inputs& in) {
    const double f = 1.0 - knobs.feedback;
    const double g = dsp::LimitSymmetric((1.0 - f * f) * static_cast<double>(in.feedbackCv), 1.0);
    const double amount = knobs.timeCvAmount;
    const double t = dsp::LimitUnit(amount * amount * amount * static_cast<double>(in.timeCv) +
                                    knobs.time * knobs.time * knobs.time);
    const double d1 = (tap_max - 1) * t + 1.0;
    const double u = dsp::LimitUnit(static_cast<double>(in.secondTapCv) + knobs.secondTap);
    const double d2 = ((size_ - 1) - d1) * u + d1;

    index_ = dsp::NextIndex(index_, size_);
    const float y1 = line_.Read(dsp::WrappedPosition(index_, d1, size_));
    const float y2 = line_.Read(dsp::WrappedPosition(index_, d2, size_));
    const double e = (static_cast<double>(y1) + static_cast<double>(y2)) * g;
    const double y = e * 0.5 + static_cast<double>(in.audio);
    line_.Write(index_, dsp::FiniteOrZero(isFeedForward ? in.audio : static_cast<float>(y)));
    return y;
  }

  bool isFeedForward = false;
  int tap_max = 0;  ///< longest delay of the first tap, samples

 private:
  int size_ = 0;
  dsp::DelayLine line_;
  int index_ = 0;
};

}  // namespace halveron
