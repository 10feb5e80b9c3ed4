// Sound of the S321: a sine carrier for frequency and phase modulation, and a triangle, a saw and a
// square that follow its phase.
#pragma once

#include <tuple>

#include "dsp/exp2_fast.h"
#include "dsp/lanes.h"
#include "dsp/min_blep.h"
#include "dsp/shaping.h"
#include "dsp/sine.h"

namespace halveron {

/// One voice of the oscillator.
///
/// Modulation after Chowning, "The Synthesis of Complex Audio Spectra by Means of Frequency
/// Modulation" (JAES 1973). The linear input bends the frequency in proportion to the carrier's, so
/// that a spectrum keeps its form over the keyboard; below zero the phase runs backward. The phase
/// input and the feedback shift the phase that is sounded. Feedback takes the mean of the last two
/// samples, which keeps the loop from alternating (Tomisawa, US patent 4,249,447). Its index stays
/// at or below 1, beyond which the sine would fold over itself, and falls with the frequency so
/// that the partials, 2 J_n(n index) / (n index), have faded before half the rate.
///
/// Saw and square jump where the sounded phase, whatever moves it, passes the ends of their ramps;
/// each jump puts the residual of a band-limited step into the wave's ring, as does each jump of
/// any wave at a sync. The triangle is averaged over each sample (Parker and others, "Reducing the
/// Aliasing of Nonlinear Waveshaping Using Continuous-Time Convolution", DAFx 2016).
template <class Lanes = dsp::OneVoice>
struct S321FMPMVCOKernel {
  using Float = typename Lanes::Float;
  using Double = typename Lanes::Double;

  /// Smoothed knobs, 0..1.
  struct Knobs {
    Double octave = 0.5;
    Double fineTune = 0.5;
    Double linearFm = 0.0;
    Double exponentialFm = 0.0;
    Double pm = 0.0;
    Double feedback = 0.0;
  };
  struct Inputs {
    Float pitch = 0.0f;
    Float linearFm = 0.0f;
    Float exponentialFm = 0.0f;
    Float pm = 0.0f;
    Float feedback = 0.0f;
    Float sync = 0.0f;
  };
  /// Which points have a cable. A wave that nobody hears is not computed and stands still.
  struct Cables {
    bool sync = false;
    bool sine = false;
    bool triangle = false;
    bool saw = false;
    bool pulse = false;

    bool operator==(const Cables&) const = default;
  };
  struct Outputs {
    Float sine = 0.0f;
    Float triangle = 0.0f;
    Float saw = 0.0f;
    Float pulse = 0.0f;
  };

  static constexpr float kNoPitch = -1000.0f;
  /// Index of modulation in radians for a modulator of amplitude 1, linear or of phase, at full
  /// amount.
  static constexpr double kFullIndex = 16.0;
  /// Octaves for 1.0 at full exponential amount: those of the pitch input.
  static constexpr double kOctavesPerUnit = 10.0;
  static constexpr double kMostShift = 64.0;  ///< of the phase input, in cycles
  static constexpr double kMostInc = 0.5;

  // The same for all voices.
  float baseFrequency = 261.62558f;  ///< hertz at pitch 0
  double sampleRate = 48000.0;

  // State. Phases in cycles, 0 to below 1.
  Double ratio = 1.0;
  Float lastPitch = kNoPitch;  ///< octaves for which the next stands
  Double carrierInc = 0.0;     ///< cycles per sample at ratio 1 and without linear modulation
  Double phase = 0.0;
  Double shift = 0.0;  ///< what modulation of phase adds
  Double sounded = 0.0;
  Double sine1 = 0.0, sine2 = 0.0;  ///< the last two sines, for the feedback
  Float lastSyncIn = 0.0f;

  dsp::MinBlepRing<Lanes> sineBlep, triangleBlep, sawBlep, pulseBlep;

  template <class Self>
  static auto Settings(Self& self) {
    return std::tie(self.baseFrequency, self.sampleRate);
  }
  template <class Self>
  static auto State(Self& self) {
    return std::tie(self.ratio, self.lastPitch, self.carrierInc, self.phase, self.shift,
                    self.sounded, self.sine1, self.sine2, self.lastSyncIn);
  }

  void Prepare(float rate) {
    sampleRate = rate;
    lastPitch = kNoPitch;
  }
  void ForgetSteps() {
    for (auto* ring : {&sineBlep, &triangleBlep, &sawBlep, &pulseBlep}) {
      ring->SetStride(dsp::kMinBlepDensity);
    }
  }

  void Step(const Knobs& knobs, const Inputs& in, const Cables& cables, Outputs& out) {
    UpdatePitch(knobs, in);
    const Double deviation = Cube(knobs.linearFm) * kFullIndex * dsp::ToDouble(in.linearFm);
    Double inc = carrierInc * ratio * (1.0 + deviation);
    // Written so that no number, and none too great, reaches the phase.
    inc = dsp::Select(dsp::Abs(inc) <= kMostInc, inc, dsp::CopySign(Double(kMostInc), inc));
    phase = Wrapped(phase + inc);
    const Double lastShift = shift;
    shift = PhaseInput(knobs.pm, in.pm) + Feedback(knobs.feedback, in.feedback, inc);
    const Double speed = inc + shift - lastShift;  // of the sounded phase

    const auto resets = dsp::And(lastSyncIn <= 0.0f, in.sync > 0.0f);
    Float age = 0.0f;  // of the sync, in samples
    if (dsp::Any(resets)) age = StartCycles(resets, in.sync, inc, speed, cables);
    lastSyncIn = in.sync;

    const Double lastSounded = sounded;
    sounded = Wrapped(phase + shift);
    sine2 = sine1;
    sine1 = SineAt(sounded);
    if (cables.sine) {
      out.sine = dsp::ToFloat(sine1);
      if (cables.sync) out.sine += sineBlep.Read();
    }
    if (cables.triangle) {
      out.triangle = dsp::ToFloat(MeanTriangle(sounded, speed));
      if (cables.sync) out.triangle += triangleBlep.Read();
    }
    if (cables.saw) out.saw = Saw(resets, age, lastSounded, inc, speed);
    if (cables.pulse) out.pulse = Pulse(resets, age, lastSounded, speed);
  }

 private:
  static constexpr double kStepMean = 4.1235;  ///< what a step of height 2 adds by coming late

  static Double Cube(Double x) { return x * x * x; }

  /// x within 0 to below 1; |x| below 2^22.
  static Double Wrapped(Double x) {
    x = x - dsp::ToDouble(dsp::Truncate(dsp::ToFloat(x)));
    x = dsp::Select(x < 0.0, x + 1.0, x);
    return dsp::Select(x >= 1.0, x - 1.0, x);
  }
  static Double SineAt(Double cycles) { return dsp::SineOfPhase(cycles * dsp::kTwoPi); }

  void UpdatePitch(const Knobs& knobs, const Inputs& in) {
    const Double octaves =
        dsp::ToDouble(in.pitch) * 10.0 + (knobs.octave * 12.0 - 6.0) +
        Cube(knobs.fineTune * 2.0 - 1.0) +
        Cube(knobs.exponentialFm) * kOctavesPerUnit * dsp::ToDouble(in.exponentialFm);
    const Float pitch = dsp::ToFloat(octaves);
    if (!dsp::Any(pitch != lastPitch)) return;
    carrierInc = dsp::ToDouble(dsp::Exp2Fast(pitch) * baseFrequency) / sampleRate;
    lastPitch = pitch;
  }

  static Double PhaseInput(Double amount, Float in) {
    const Double cycles = Cube(amount) * (kFullIndex / dsp::kTwoPi) * dsp::ToDouble(in);
    return dsp::FiniteOrZero(dsp::LimitSymmetric(cycles, kMostShift));
  }

  Double Feedback(Double knob, Float in, Double inc) const {
    const Double index = dsp::LimitSymmetric(knob + dsp::ToDouble(in), 1.0);
    const Double x = dsp::Abs(inc);
    // Nothing from a quarter of the rate on, where the second partial reaches half of it.
    const Double limit = dsp::Max(1.0 - 4.0 * x, Double(0.0)) / ((x * 200.0 + 14.0) * x + 1.0);
    return dsp::FiniteOrZero(index) * limit * (sine1 + sine2) * (0.5 / dsp::kTwoPi);
  }

  /// Starts the cycle where the sync input has risen through 0; answers how long ago that was.
  template <class Mask>
  Float StartCycles(Mask resets, Float sync, Double inc, Double speed, const Cables& cables) {
    const Float age = dsp::Select(resets, dsp::LimitUnit(sync / (sync - lastSyncIn)), 0.0f);
    const Double started = Wrapped(dsp::ToDouble(age) * inc);
    const Double way = dsp::ToDouble(age) * speed;
    const Double before = Wrapped(phase + shift - way), after = Wrapped(started + shift - way);
    phase = dsp::Select(resets, started, phase);
    if (cables.sine) Insert(sineBlep, resets, age, SineAt(before) - SineAt(after));
    if (cables.triangle) {
      // Its mean over a sample stands for the phase half a sample earlier.
      const Double half = speed * 0.5;
      Insert(triangleBlep, resets, age,
             TriangleAt(Wrapped(before - half)) - TriangleAt(Wrapped(after - half)));
    }
    return age;
  }

  template <class Mask>
  static void Insert(dsp::MinBlepRing<Lanes>& ring, Mask where, Float age, Double fall) {
    const Float position = age * static_cast<float>(dsp::kMinBlepDensity);
    const Float amplitude = dsp::ToFloat(fall);
    dsp::ForEachLane(where, [&](int lane) {
      ring.Insert(lane, dsp::Lane(position, lane), dsp::Lane(amplitude, lane));
    });
  }

  /// Rises from -1 to 1 over the cycle.
  template <class Mask>
  Float Saw(Mask resets, Float syncAge, Double last, Double inc, Double speed) {
    constexpr double kNoFall = 1e-6;
    const Double fall = 2.0 * (last + speed - sounded);
    const auto jumps = dsp::Or(resets, dsp::ToNarrow(dsp::Abs(fall) > kNoFall));
    if (dsp::Any(jumps)) {
      const Double past = dsp::Select(speed > 0.0, sounded, sounded - 1.0) / speed;
      Insert(sawBlep, jumps, dsp::Select(resets, syncAge, dsp::ToFloat(past)), fall);
    }
    return dsp::ToFloat(2.0 * sounded - 1.0 - kStepMean * inc) + sawBlep.Read();
  }

  /// 1 in the first half of the cycle, -1 in the second.
  template <class Mask>
  Float Pulse(Mask resets, Float syncAge, Double last, Double speed) {
    const Double level = LevelAt(sounded), lastLevel = LevelAt(last);
    const auto jumps = dsp::ToNarrow(level != lastLevel);
    if (dsp::Any(jumps)) {
      const Double inHalf = dsp::Select(sounded < 0.5, sounded, sounded - 0.5);
      const Double past = dsp::Select(speed > 0.0, inHalf, inHalf - 0.5) / speed;
      Insert(pulseBlep, jumps, dsp::Select(resets, syncAge, dsp::ToFloat(past)), lastLevel - level);
    }
    return dsp::ToFloat(level) + pulseBlep.Read();
  }
  static Double LevelAt(Double cycles) { return dsp::Select(cycles < 0.5, Double(1.0), -1.0); }

  /// 0 and rising at the start of the cycle, as the sine.
  static Double TriangleAt(Double cycles) {
    return 1.0 - 4.0 * dsp::Abs(Wrapped(cycles + 0.25) - 0.5);
  }
  /// An integral of it over the phase, equal at both ends of the cycle.
  static Double TriangleIntegral(Double cycles) {
    const Double u = Wrapped(cycles + 0.25);
    const Double h = dsp::Select(u < 0.5, u, u - 0.5);
    const Double bow = h * (1.0 - 2.0 * h);
    return dsp::Select(u < 0.5, -bow, bow);
  }
  /// The mean over the sample that ends at a phase.
  static Double MeanTriangle(Double cycles, Double speed) {
    constexpr double kStill = 1e-6;  // cycles per sample below which the quotient would lose digits
    const auto moves = dsp::Abs(speed) > kStill;
    const Double start = Wrapped(cycles - speed);
    const Double mean = (TriangleIntegral(cycles) - TriangleIntegral(start)) /
                        dsp::Select(moves, speed, Double(1.0));
    return dsp::Select(moves, mean, TriangleAt(Wrapped(cycles - speed * 0.5)));
  }
};

}  // namespace halveron
