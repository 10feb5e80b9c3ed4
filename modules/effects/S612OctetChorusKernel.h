// Sound of the S612 Octet Chorus: two to eight lines, each read at a delay that a wave of its own
// phase sweeps, and fed back into itself.
#pragma once

#include <array>

#include "dsp/delay_line.h"
#include "dsp/follower.h"
#include "dsp/shaping.h"

namespace halveron {

class S612OctetChorusKernel {
 public:
  static constexpr int kMostVoices = 8;

  /// Smoothed, 0..1, but for the rate, which the kernel smooths itself.
  struct Knobs {
    double feedback = 0.0;
    double depth = 0.0;
    double depthCvAmount = 0.0;
    float rate = 0.0f;
    double rateCvAmount = 0.0;
    double spread = 1.0;
  };
  struct Inputs {
    float left = 0.0f;
    float right = 0.0f;
    float depthCv = 0.0f;
    float rateCv = 0.0f;
    float spreadCv = 1.0f;  ///< 1 without a cable
  };
  struct Stereo {
    double left = 0.0;
    double right = 0.0;
  };

  /// Cells of a line of 1.6 seconds.
  static int SizeAt(float rate) { return static_cast<int>(static_cast<double>(rate) * 1.6 + 1.0); }

  /// `rate` in hertz.
  void Prepare(float rate) {
    rate_ = static_cast<double>(rate);
    size_ = SizeAt(rate);
    index_ = 0;
    maxDelay_ = size_ - 1;
    minDelay_ = rate_ * 0.001;
    smoother_.SetGain(62.8318530717958 / rate_);
    SetRateRange();
  }
  /// The lines, kMostVoices of SizeAt(rate) silent cells.
  template <class Lines>
  void Attach(const Lines& lines) {
    for (int i = 0; i < kMostVoices; ++i) lines_[Index(i)] = lines.Line(i);
  }
  void SettleRate(float rate) { smoother_.Settle(static_cast<double>(rate)); }

  /// 2 to 8, their phases spread evenly from where the first one is.
  void SetVoices(int voices) {
    voices_ = voices;
    for (int i = 1; i < voices; ++i) {
      const double next = phases_[Index(i - 1)] + 1.0 / voices;
      phases_[Index(i)] = next >= 1.0 ? next - 1.0 : next;
    }
    SetRateRange();
  }
  int Voices() const { return voices_; }

  Stereo Step(const Knobs& knobs, const Inputs& in) {
    const double inc = Increment(knobs, in.rateCv);
    const double s = 1.0 - static_cast<double>(in.spreadCv) * knobs.spread;
    const double depth =
        dsp::LimitUnit(static_cast<double>(in.depthCv) * knobs.depthCvAmount + knobs.depth);
    // The sweep shrinks as the rate rises, so that the excursion of the pitch stays.
    const double scale = (rateMin_ / inc) * (depth * 0.125) * voices_;
    const double span = maxDelay_ - minDelay_;
    const double fb = knobs.feedback * 0.95;
    index_ = dsp::NextIndex(index_, size_);

    Stereo sum;
    for (int i = 0; i < voices_; ++i) {
      double& phase = phases_[Index(i)];
      const dsp::DelayLine& line = lines_[Index(i)];
      const double delay = span * (scale * ParabolicSine(phase)) + minDelay_;
      const auto v = static_cast<double>(line.Read(dsp::WrappedPosition(index_, delay, size_)));
      const bool isEven = i % 2 == 0;
      (isEven ? sum.left : sum.right) += v;
      (isEven ? sum.right : sum.left) += v * s;
      const double input = static_cast<double>(isEven ? in.left : in.right);
      line.Write(index_, dsp::FiniteOrZero(static_cast<float>(input + v * fb)));
      phase += inc;
      if (phase >= 1.0) phase -= 1.0;
    }
    return sum;
  }

 private:
  static constexpr std::size_t Index(int i) { return static_cast<std::size_t>(i); }

  /// 0..1 over a phase of 0..1, in two parabolas.
  static double ParabolicSine(double p) {
    const double rising = 4.0 * p - 1.0, falling = 4.0 * p - 3.0;
    return p > 0.5 ? falling * falling * 0.5 : 1.0 - rising * rising * 0.5;
  }

  void SetRateRange() {
    rateMax_ = 40.0 / (voices_ * rate_);
    rateMin_ = 1.0 / (voices_ * rate_) * 0.2;
  }

  /// Cycles a sample. A voltage may ask for more than one, which no wave has.
  double Increment(const Knobs& knobs, float cv) {
    const double r = smoother_.Step(static_cast<double>(knobs.rate));
    const double x = static_cast<double>(cv) * (knobs.rateCvAmount * knobs.rateCvAmount) + r * r;
    return dsp::Min((rateMax_ - rateMin_) * (x > 0.0 ? x : 0.0) + rateMin_, 1.0);
  }

  double rate_ = 44100.0;
  int size_ = SizeAt(44100.0f);
  double maxDelay_ = 0.0, minDelay_ = 0.0;  // samples
  double rateMax_ = 0.0, rateMin_ = 0.0;    // cycles a sample
  int voices_ = 2;
  std::array<dsp::DelayLine, kMostVoices> lines_;
  int index_ = 0;
  std::array<double, kMostVoices> phases_{};
  dsp::ControlSmoother smoother_;
};

}  // namespace halveron
