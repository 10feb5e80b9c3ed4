// Sound of the S312: an oscillator that a phase comparator and a loop filter hold to the zero
// crossings of an input.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "dsp/exp2_fast.h"
#include "dsp/min_blep.h"
#include "dsp/shaping.h"

namespace halveron {

/// The loop after Gardner, "Phaselock Techniques".
///
/// The input and the oscillator are both divided to squares of equal length, which a comparator
/// turns into 1, 0 or -1: by its mean over the sample, so that edges count where they are and not
/// where the next sample is. The filter is of second order, damped at 0.7: a lag with a lead behind
/// the first two comparators, an integrator with a lead behind the third. It never becomes faster
/// than a tenth of the frequency that is compared.
struct S312PhaseLockedLoopKernel {
  enum class Comparator {
    kXor,             ///< unequal levels; rests at a quarter of a cycle, and may hold a harmonic
    kEdge,            ///< set by the input, reset by the oscillator; rests at half a cycle, and may
                      ///< hold a simple fraction such as 2/3
    kPhaseFrequency,  ///< counts edges of both; rests at no phase, and finds any frequency
  };
  /// Smoothed knobs, 0..1.
  struct Knobs {
    double frequency = 0.5;
    double range = 0.5;
    double offset = 0.5;
    double loopFilter = 0.5;
    double cvAmount = 0.0;
  };
  struct Outputs {
    float square = 0.0f;
    float phase = 0.0f;    ///< what the comparator says
    float control = 0.0f;  ///< what bends the oscillator, in pitch
  };

  static constexpr int kMostFactor = 16;
  static constexpr double kLowestOctave = -9.0;  ///< from middle C, the frequency knob's lower end
  static constexpr double kOctaves = 14.0;       ///< of that knob
  static constexpr double kMostRange = 4.0;      ///< octaves either way at full range

  // Settings.
  Comparator comparator = Comparator::kPhaseFrequency;
  float baseFrequency = 261.62558f;  ///< hertz at pitch 0

  void Prepare(float rate) { sampleRate_ = rate; }
  /// 1 to kMostFactor. The divided input starts a cycle at its next rise.
  void SetDivider(int divider) {
    divider_ = divider;
    restarts_ = true;
  }
  /// The oscillator keeps its own phase.
  void SetMultiplier(int multiplier) {
    const double cycles = feedback_ * multiplier_;
    multiplier_ = multiplier;
    feedback_ = (cycles - std::floor(cycles)) / multiplier;
  }

  /// Whether the oscillator has kept step for some cycles.
  bool IsLocked() const { return isLocked_; }
  /// Hertz of the oscillator.
  double Frequency() const { return inc_ * sampleRate_; }
  /// Cycles that the oscillator has done, within one cycle of what is compared.
  double Phase() const { return feedback_ * multiplier_; }

  void Step(const Knobs& knobs, float in, float cv, Outputs& out) {
    const double offset = 2.0 * knobs.offset - 1.0;
    const double range = knobs.range * kMostRange;
    const double control = std::clamp(control_ + offset, -1.0, 1.0);
    const double octaves = kLowestOctave + knobs.frequency * kOctaves + range * control +
                           knobs.cvAmount * 10.0 * static_cast<double>(cv);
    const auto hertz =
        static_cast<double>(dsp::Exp2Fast(static_cast<float>(octaves)) * baseFrequency);
    inc_ = std::clamp(hertz / sampleRate_, kLeastInc, kMostInc);
    const float level = Compare(in);
    Filter(level, knobs.loopFilter, range, offset);
    out.square = square_ + blep_.Read();
    out.phase = level;
    out.control = static_cast<float>(range * control * 0.1);
  }

 private:
  static constexpr double kLeastInc = 1e-9;  // no division by less
  static constexpr double kMostInc = 0.49;
  static constexpr float kRise = 0.001f;  // an input is high above this, and low at 0 and below
  static constexpr double kDamping = 0.7;
  static constexpr double kFastest = 0.63;      // natural radians per cycle that is compared
  static constexpr double kLeastRange = 0.02;   // octaves for which the filter is designed
  static constexpr double kSlowestHertz = 0.1;  // of the filter, the knob's lower end
  static constexpr double kFilterOctaves = 13.0;
  static constexpr int kCyclesToLock = 8;
  static constexpr double kSmallSlip = 1.0 / 16, kGreatSlip = 1.0 / 4;  // of a cycle
  static constexpr double kMissing = 2.5;  // cycles without an edge of the input

  float Level() const {
    switch (comparator) {
      case Comparator::kXor:
        return reference_ != (feedback_ < 0.5) ? 1.0f : -1.0f;
      case Comparator::kEdge:
        return flipFlop_ ? 1.0f : -1.0f;
      default:
        return static_cast<float>(count_);
    }
  }

  /// When within the sample, 0..1, the input passes; above 1 if it does not.
  double InputCrossing(float in) {
    const bool passes = isHigh_ ? in <= 0.0f : in > kRise;
    const float threshold = isHigh_ ? 0.0f : kRise;
    const float time = dsp::LimitUnit((threshold - lastIn_) / (in - lastIn_));
    lastIn_ = dsp::FiniteOrZero(in);
    return passes ? static_cast<double>(time) : kNever;
  }

  /// One sample: its edges in their order, and the mean level between them.
  float Compare(float in) {
    const double step = inc_ / multiplier_;
    const double inputTime = InputCrossing(in);
    const double half = feedback_ < 0.5 ? 0.5 : 1.0;
    const double feedbackTime = feedback_ + step >= half ? (half - feedback_) / step : kNever;
    AdvanceSquare();
    double sum = 0.0, from = 0.0;
    const auto go = [&](double to) {
      sum += static_cast<double>(Level()) * (to - from);
      from = to;
    };
    const auto passInput = [&] {
      if (inputTime > 1.0) return;
      go(std::max(inputTime, from));
      PassInput(inputTime, step);
    };
    const bool inputFirst = inputTime <= feedbackTime;
    if (inputFirst) passInput();
    if (feedbackTime <= 1.0) {
      go(std::max(feedbackTime, from));
      feedback_ = half < 1.0 ? half : 0.0;
      if (half == 1.0) {
        flipFlop_ = false;
        count_ = std::max(count_ - 1, -1);
      }
    }
    if (!inputFirst) passInput();
    go(1.0);
    feedback_ += feedbackTime <= 1.0 ? step * (1.0 - feedbackTime) : step;
    cyclesSinceRise_ += step;
    if (cyclesSinceRise_ > kMissing) {
      cyclesSinceRise_ = kMissing;
      score_ = 0;
      isLocked_ = false;
    }
    return static_cast<float>(sum);
  }

  /// The input has passed; its divided square follows each `divider_` passages.
  void PassInput(double time, double step) {
    isHigh_ = !isHigh_;
    if (restarts_) {
      if (!isHigh_) return;
      restarts_ = false;
      passages_ = 0;
      reference_ = false;
    } else if (++passages_ < divider_) {
      return;
    }
    passages_ = 0;
    reference_ = !reference_;
    if (!reference_) return;
    flipFlop_ = true;
    count_ = std::min(count_ + 1, 1);
    JudgeLock(cyclesSinceRise_ + step * time);
    cyclesSinceRise_ = -step * time;  // the rest of the sample follows
  }

  /// Locked is an oscillator that does one cycle, divided, in each of the input.
  void JudgeLock(double cycles) {
    const double slip = std::abs(cycles - 1.0);
    const int change = slip < kSmallSlip   ? 1
                       : slip < kGreatSlip ? -kCyclesToLock / 2
                                           : -kCyclesToLock;
    score_ = std::clamp(score_ + change, 0, kCyclesToLock);
    if (score_ == kCyclesToLock) isLocked_ = true;
    if (score_ == 0) isLocked_ = false;
  }

  /// The oscillator's own square, each half cycle a band-limited step. Before feedback_ moves on.
  void AdvanceSquare() {
    const double halves = 2.0 * feedback_ * multiplier_;
    const double next = halves + 2.0 * inc_;
    const double boundary = std::floor(next);
    const bool isFirstHalf = static_cast<int>(boundary) % 2 == 0;
    const float level = isFirstHalf ? 1.0f : -1.0f;
    if (level == square_) return;
    const double age = std::clamp((next - boundary) / (2.0 * inc_), 0.0, 1.0);
    blep_.Insert(0, static_cast<float>(age * dsp::kMinBlepDensity), square_ - level);
    square_ = level;
  }

  void Filter(float level, double knob, double range, double offset) {
    const double compared = inc_ * sampleRate_ / multiplier_;  // hertz
    const double gain = std::numbers::ln2 * std::max(range, kLeastRange) * 2.0 * std::numbers::pi *
                        compared;  // radians per second, for a control of 1
    const double hertz =
        kSlowestHertz *
        static_cast<double>(dsp::Exp2Fast(static_cast<float>(knob * kFilterOctaves)));
    double w = std::min(2.0 * std::numbers::pi * hertz, kFastest * compared);
    const auto p = static_cast<double>(level);
    if (comparator == Comparator::kPhaseFrequency) {
      const double loop = gain / (2.0 * std::numbers::pi);
      stored_ += w * w / loop * p / sampleRate_;
      stored_ = std::clamp(stored_, -1.0 - offset, 1.0 - offset);
      control_ = stored_ + 2.0 * kDamping * w / loop * p;
      return;
    }
    const double loop = gain * (comparator == Comparator::kXor ? 2.0 : 1.0) / std::numbers::pi;
    w = std::min(w, loop);
    const double lead = 2.0 * kDamping * w / loop - w * w / (loop * loop);
    stored_ += (p - stored_) * std::min(w * w / (loop * sampleRate_), 1.0);
    control_ = lead * p + (1.0 - lead) * stored_;
  }

  static constexpr double kNever = 2.0;

  double sampleRate_ = 48000.0;
  int divider_ = 1;
  int multiplier_ = 1;

  // The input and its divided square.
  float lastIn_ = 0.0f;
  bool isHigh_ = false;
  bool restarts_ = true;
  int passages_ = 0;
  bool reference_ = false;

  // The oscillator.
  double inc_ = 0.0;       // cycles per sample
  double feedback_ = 0.0;  // phase of its divided square, in cycles
  float square_ = -1.0f;
  dsp::MinBlepRing<> blep_;

  // Comparators.
  bool flipFlop_ = false;
  int count_ = 0;

  // Filter.
  double stored_ = 0.0;
  double control_ = 0.0;

  // Lock.
  double cyclesSinceRise_ = 0.0;
  int score_ = 0;
  bool isLocked_ = false;
};

}  // namespace halveron
