// Sound of the S602 VC Delay: one line with feedback, read at a time that a knob and a voltage set
// or a clock measures.
#pragma once

#include <cmath>
#include <cstdlib>

#include "dsp/delay_line.h"
#include "dsp/edge.h"
#include "dsp/follower.h"
#include "dsp/shaping.h"

namespace halveron {

class S602VCDelKernel {
 public:
  /// Smoothed, 0..1, but for the time, which the kernel smooths itself.
  struct Knobs {
    float time = 0.5f;
    double timeCvAmount = 0.0;
    double feedback = 0.5;
  };
  struct Inputs {
    float audio = 0.0f;
    float timeCv = 0.0f;
    float feedbackCv = 0.0f;
    float clock = 0.0f;
  };
  struct Cables {
    bool feedbackCv = false;
    bool clock = false;
  };

  /// Cells of a line of two seconds.
  static int SizeAt(float rate) { return static_cast<int>(static_cast<double>(rate) * 2.0 + 1.0); }

  /// `rate` in hertz. Keeps the clocked time in seconds.
  void Prepare(float rate) {
    const double stretch = static_cast<double>(rate) / rate_;
    rate_ = rate;
    size_ = SizeAt(rate);
    clock_delay = KeptDelay(clock_delay * stretch);
    index_ = 0;
    smoother_.SetGain(62.8318530717958 / static_cast<double>(rate));
  }
  /// The line, of SizeAt(rate) silent cells.
  void Attach(dsp::DelayLine line) { line_ = line; }
  /// The time knob's value as from a loaded patch: no glide.
  void SettleTime(float time) { smoother_.Settle(static_cast<double>(time)); }

  /// The clock's cable was plugged or pulled: its next pulse ends no interval.
  void ForgetClock() { sinceClock_ = 0; }
  double ClockedSeconds() const { return clock_delay / static_cast<double>(rate_); }
  /// A time that the line cannot hold becomes half a second.
  void SetClockedSeconds(double seconds) {
    clock_delay = KeptDelay(seconds * static_cast<double>(rate_));
  }

  /// One sample; the wet signal.
  double Step(const Knobs& knobs, const Inputs& in, const Cables& cables) {
    const auto time = static_cast<float>(smoother_.Step(static_cast<double>(knobs.time)));
    const double d = cables.clock ? ClockedDelay(in.clock) : FreeDelay(knobs, time, in.timeCv);
    index_ = dsp::NextIndex(index_, size_);
    const float r = line_.Read(PositionBefore(index_, d));

    double fb = knobs.feedback;
    if (cables.feedbackCv) fb *= static_cast<double>(in.feedbackCv);
    fb = dsp::LimitSymmetric(fb, 0.9999999);
    const double t = static_cast<double>(r) * fb;
    line_.Write(index_, dsp::FiniteOrZero(static_cast<float>(t + static_cast<double>(in.audio))));
    return tap_after_feedback ? t : static_cast<double>(r);
  }

  bool cubic_cv = true;            ///< the CV is added to the square of the time, by a cubic amount
  bool tap_after_feedback = true;  ///< the wet signal has gone through the feedback gain
  int clock_delay = 22050;         ///< samples between the last two clocks

 private:
  double FreeDelay(const Knobs& knobs, float time, float cv) const {
    const auto k = knobs.timeCvAmount;
    const auto t = static_cast<double>(time);
    const auto span = static_cast<double>(size_ - 2);
    if (cubic_cv) return span * std::abs(k * k * k * static_cast<double>(cv) + t * t) + 1.0;
    const double c = static_cast<double>(cv) * k + t;
    return c * c * span + 1.0;
  }

  /// A clock that wanders by two samples does not move the delay, so that the line does not jump.
  double ClockedDelay(float clock) {
    constexpr int kTolerance = 2;
    if (clock_.Step(clock)) {
      if (sinceClock_ > 0 && std::abs(sinceClock_ - clock_delay) > kTolerance) {
        clock_delay = sinceClock_;
      }
      sinceClock_ = 1;
    } else if (sinceClock_ > 0) {
      dsp::CountInterval(sinceClock_);
    }
    return clock_delay >= size_ ? size_ - 1 : clock_delay;
  }

  /// Where a read falls for a delay of any length: one beyond the line comes round again.
  float PositionBefore(int index, double delay) const {
    auto position = static_cast<float>(index - delay);
    const auto size = static_cast<float>(size_);
    if (position < 0.0f) {
      const float p = position / size;
      position = (p - std::trunc(p) + 1.0f) * size;
    }
    return position >= 0.0f && position < size ? position : 0.0f;
  }

  int KeptDelay(double samples) const {
    const bool fits = samples >= 2.0 && samples <= size_;  // also false for a NaN
    return static_cast<int>(std::lround(fits ? samples : size_ * 0.25));
  }

  float rate_ = 44100.0f;
  int size_ = SizeAt(44100.0f);
  dsp::DelayLine line_;
  int index_ = 0;
  dsp::ControlSmoother smoother_;
  dsp::EdgeDetector<> clock_;
  int sinceClock_ = 0;  // samples since the last clock; 0 before the first
};

}  // namespace halveron
