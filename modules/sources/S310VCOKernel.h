// Sound of the S310 VCO: sawtooth and pulse with band-limited steps, triangle and round wave
// integrated from the pulse.
#pragma once

#include <cmath>
#include <tuple>

#include "dsp/dc_blocker.h"
#include "dsp/exp2_fast.h"
#include "dsp/lanes.h"
#include "dsp/min_blep.h"
#include "dsp/shaping.h"

namespace halveron {

/// One voice of the oscillator.
///
/// The naive saw and pulse jump at a known time between two samples; each jump puts the residual
/// of a minimum-phase band-limited step into the wave's ring. Triangle and round wave are leaky
/// integrals of the finished pulse, so that they need no correction of their own.
template <class Lanes = dsp::OneVoice>
struct S310VCOKernel {
  using Float = typename Lanes::Float;
  using Double = typename Lanes::Double;

  /// Smoothed knobs, 0..1.
  struct Knobs {
    Double fineTune = 0.0;
    Double octave = 0.5;
    Double fmAmount = 0.0;
    Double pulseWidth = 0.5;
    Double shape = 0.0;
  };
  struct Inputs {
    Float pitch = 0.0f;
    Float fm = 0.0f;
    Float pwm = 0.0f;
    Float shape = 0.0f;
    Float octaveStep = 0.0f;
    Float sync = 0.0f;
  };
  /// Which points have a cable. A wave that nobody hears is not computed and stands still.
  struct Cables {
    bool pwm = false;
    bool sync = false;
    bool saw = false;
    bool triangle = false;
    bool round = false;
    bool pulse = false;

    /// Each of these waves is made from the one before it.
    bool NeedsPulse() const { return pulse || NeedsTriangle(); }
    bool NeedsTriangle() const { return triangle || round; }
    bool operator==(const Cables&) const = default;
  };
  struct Outputs {
    Float saw = 0.0f;
    Float triangle = 0.0f;
    Float round = 0.0f;
    Float pulse = 0.0f;
  };

  template <class Self>
  static auto Settings(Self& self) {
    return std::tie(self.baseFrequency, self.syncModulationOn, self.sampleRate, self.halfSampleRate,
                    self.highPitchThreshold);
  }
  template <class Self>
  static auto State(Self& self) {
    return std::tuple_cat(CommonState(self), SawState(self), PulseState(self), TriangleState(self),
                          RoundState(self));
  }
  /// What moves whichever waves are heard.
  template <class Self>
  static auto CommonState(Self& self) {
    return std::tie(self.octaveShift, self.lastOctaveIn, self.lastPitch, self.period,
                    self.quarterPeriod, self.phaseInc, self.pulseWidth, self.lastSyncIn);
  }
  template <class Self>
  static auto SawState(Self& self) {
    return std::tie(self.sawPhase, self.sawJump);
  }
  template <class Self>
  static auto PulseState(Self& self) {
    return std::tie(self.pulsePhase, self.pulseLevel);
  }
  template <class Self>
  static auto TriangleState(Self& self) {
    return std::tie(self.triIntegrator, self.triBlocker.x1, self.triBlocker.y1);
  }
  template <class Self>
  static auto RoundState(Self& self) {
    return std::tie(self.roundIntegrator, self.roundIntegratorPrev, self.negativePeak);
  }

  /// Rates in hertz: of Step, and of the host. Keeps phases and steps under way.
  void Prepare(float rate, float dawRate) {
    sampleRate = rate;
    halfSampleRate = rate * 0.5f;
    lastPitch = kNoPitch;
    highPitchThreshold = static_cast<float>(static_cast<double>(rate) * 0.0454 / dawRate);
  }

  /// Table points of the band-limited step per sample; forgets the steps under way.
  void SetStride(int stride) {
    sawBlep.SetStride(stride);
    pulseBlep.SetStride(stride);
  }

  void Step(const Knobs& knobs, const Inputs& in, const Cables& cables, Outputs& out) {
    StepOctave(in.octaveStep);
    UpdatePitch(knobs, in);
    const Float oldWidth = pulseWidth;
    UpdateWidth(knobs.pulseWidth, in.pwm, cables.pwm);

    const bool isModulated = syncModulationOn && cables.sync;
    const Double gain = isModulated ? SyncGain(knobs, in) : Double(1.0);
    const auto resets = dsp::And(lastSyncIn <= 0.0f, in.sync > 0.0f);
    Float resetPhase = 0.0f;
    if (dsp::Any(resets)) {
      dsp::ForEachLane(resets, [&](int lane) {
        dsp::Lane(resetPhase, lane) = StartCycle(lane, dsp::Lane(in.sync, lane));
      });
    }
    if (cables.saw) {
      AdvanceSaw(resets, resetPhase);
      // The last term takes the mean of the delayed step out of the wave.
      const Float saw = 2.0f * sawPhase - 1.0f - 4.0f * phaseInc + sawBlep.Read();
      out.saw = isModulated ? dsp::ToFloat(dsp::ToDouble(saw) * gain) : saw;
    }
    if (cables.NeedsPulse()) {
      AdvancePulse(resets, oldWidth, resetPhase);
      const Float pulse = pulseBlep.Read() + pulseLevel;
      out.pulse = isModulated ? dsp::ToFloat(dsp::ToDouble(pulse) * gain) : pulse;
    }

    lastSyncIn = in.sync;
    if (!cables.NeedsTriangle()) return;
    const Float leak = 1.0f - phaseInc;
    IntegrateTriangle(leak, out);
    if (cables.round) IntegrateRound(leak, dsp::ToDouble(in.shape) + knobs.shape, out);
  }

  static constexpr float kNoPitch = -1000.0f;
  static constexpr float kMaxOctaveShift = 6.0f;
  static constexpr float kOctaveThreshold = 0.25f;

  // The same for all voices.
  float baseFrequency = 261.62558f;  ///< hertz at pitch 0
  bool syncModulationOn = false;
  float sampleRate = 48000.0f;
  float halfSampleRate = 24000.0f;
  float highPitchThreshold = 0.0454f;  ///< phase increment above which the shape fades

  Float octaveShift = 0.0f;  ///< whole octaves that the octave-step input has added
  Float lastOctaveIn = 0.0f;

  Float lastPitch = kNoPitch;  ///< octaves for which the next three stand
  Float period = 2.0f;         ///< samples
  Float quarterPeriod = 0.5f;
  Float phaseInc = 0.5f;

  Float sawPhase = 0.0f;
  Float sawJump = 0.0f;  ///< height that the last sync took off the saw
  Float pulsePhase = 0.0f;
  Float pulseLevel = -1.0f;
  Float pulseWidth = 0.0f;  ///< part of the cycle for which the pulse is low

  Float triIntegrator = 0.0f;
  dsp::DcBlocker<Float> triBlocker;
  Float roundIntegrator = 0.0f, roundIntegratorPrev = 0.0f;
  Float negativePeak = -1.0f;

  Float lastSyncIn = -1.0f;

  dsp::MinBlepRing<Lanes> sawBlep;
  dsp::MinBlepRing<Lanes> pulseBlep;

 private:
  void StepOctave(Float in) {
    const auto rises = dsp::And(lastOctaveIn < kOctaveThreshold, in >= kOctaveThreshold,
                                octaveShift < kMaxOctaveShift);
    const auto falls = dsp::And(lastOctaveIn > -kOctaveThreshold, in <= -kOctaveThreshold,
                                octaveShift > -kMaxOctaveShift);
    lastOctaveIn = in;
    if (!dsp::Any(dsp::Or(rises, falls))) return;
    octaveShift =
        dsp::Select(rises, octaveShift + 1.0f, dsp::Select(falls, octaveShift - 1.0f, octaveShift));
  }

  void UpdatePitch(const Knobs& knobs, const Inputs& in) {
    const Float amount = dsp::ToFloat(knobs.fmAmount);
    const Float modulation = amount * amount * amount * in.fm * 8.0f;
    const Double octaves = dsp::ToDouble(modulation) + dsp::ToDouble(in.pitch) * 10.0 +
                           (knobs.octave * 12.0 - 6.0) + dsp::ToDouble(octaveShift) +
                           knobs.fineTune;
    const Float pitch = dsp::ToFloat(octaves);
    if (!dsp::Any(pitch != lastPitch)) return;
    const Float frequency = dsp::Min(dsp::Exp2Fast(pitch) * baseFrequency, Float(halfSampleRate));
    period = sampleRate / frequency;
    phaseInc = 1.0f / period;
    quarterPeriod = period * 0.25f;
    lastPitch = pitch;
  }

  /// A width comes no closer than one sample to either end of the cycle.
  void UpdateWidth(Double knob, Float pwm, bool pwmCabled) {
    const Float span = 1.0f - phaseInc - phaseInc;
    if (pwmCabled) {
      const Double x = dsp::ToDouble(dsp::LimitSymmetric(pwm, 1.0f));
      pulseWidth =
          dsp::ToFloat((x * knob + 1.0) * 0.5 * dsp::ToDouble(span) + dsp::ToDouble(phaseInc));
    } else {
      pulseWidth = dsp::ToFloat(dsp::ToDouble(span) * knob + dsp::ToDouble(phaseInc));
    }
  }

  static Double SyncGain(const Knobs& knobs, const Inputs& in) {
    Double gain;
    for (int lane = 0; lane < Lanes::kLanes; ++lane) {
      const double depth = dsp::Lane(in.shape, lane) + dsp::Lane(knobs.shape, lane);
      const double level = std::cos((depth * 50.0 + 2.0) * dsp::Lane(in.sync, lane));
      // A NaN would stay in the integrators.
      dsp::Lane(gain, lane) = std::isnan(level) ? 1.0 : level;
    }
    return gain;
  }

  /// The part of a cycle that has passed since the sync input rose through 0.
  float StartCycle(int lane, float sync) {
    const float last = dsp::Lane(lastSyncIn, lane);
    float fraction = last / (sync - last) + 1.0f;
    if (!(fraction >= 0.0f && fraction <= 1.0f)) fraction = 1.0f;
    return fraction / dsp::Lane(period, lane);
  }

  void InsertSaw(int lane, float amplitude, float excess) {
    const float inc = dsp::Lane(phaseInc, lane);
    sawBlep.Insert(lane, static_cast<float>(sawBlep.Stride()) / inc * excess, amplitude);
  }
  void InsertPulse(int lane, float amplitude, float excess) {
    const float inc = dsp::Lane(phaseInc, lane);
    pulseBlep.Insert(lane, static_cast<float>(pulseBlep.Stride()) / inc * excess, amplitude);
  }

  template <class Mask>
  void AdvanceSaw(Mask resets, const Float& resetPhase) {
    sawPhase += phaseInc;
    dsp::ForEachLane(dsp::And(!resets, sawPhase >= 1.0f), [&](int lane) {
      float& phase = dsp::Lane(sawPhase, lane);
      phase -= 1.0f;
      InsertSaw(lane, 2.0f, phase);
    });
    if (!dsp::Any(resets)) return;
    dsp::ForEachLane(resets, [&](int lane) { SyncSaw(lane, dsp::Lane(resetPhase, lane)); });
  }

  void SyncSaw(int lane, float resetPhase) {
    float& phase = dsp::Lane(sawPhase, lane);
    if (phase - resetPhase > 1.0f) {
      phase -= 1.0f;
      InsertSaw(lane, 2.0f, phase);
    }
    const float jump = (phase - resetPhase) * 2.0f;
    dsp::Lane(sawJump, lane) = jump;
    phase = resetPhase;
    InsertSaw(lane, jump, resetPhase);
  }

  /// What passes in one sample of the pulse: between two samples the phase, on its way from `old`
  /// to `top`, may meet the moving width. With c = lead / closing the part of the sample until
  /// then, c is above 0 and at most 1.
  struct Passage {
    float top;
    float width;
    bool met;
    float crossing;  ///< phase at which they met
  };

  template <class Mask>
  void AdvancePulse(Mask resets, const Float& oldWidth, const Float& resetPhase) {
    const Float old = pulsePhase;
    pulsePhase += phaseInc;
    const Float d = pulsePhase - old;
    const Float lead = oldWidth - old;
    const Float closing = d - pulseWidth + oldWidth;
    const auto approaches = closing > 0.0f;
    const auto met = dsp::Or(dsp::And(approaches, lead > 0.0f, lead <= closing),
                             dsp::And(!approaches, lead < 0.0f, lead >= closing));
    dsp::ForEachLane(dsp::Or(resets, met, pulsePhase >= 1.0f), [&](int lane) {
      Passage passage{dsp::Lane(pulsePhase, lane), dsp::Lane(pulseWidth, lane), false, 0.0f};
      passage.met = (dsp::LaneBits(met) >> lane & 1u) != 0;
      if (passage.met) {
        passage.crossing = dsp::Lane(d, lane) * (dsp::Lane(lead, lane) / dsp::Lane(closing, lane)) +
                           dsp::Lane(old, lane);
      }
      if ((dsp::LaneBits(resets) >> lane & 1u) != 0) {
        SyncPulse(lane, passage, dsp::Lane(resetPhase, lane));
      } else {
        PassPulse(lane, passage);
      }
    });
  }

  void PassPulse(int lane, const Passage& passage) {
    float& phase = dsp::Lane(pulsePhase, lane);
    float& level = dsp::Lane(pulseLevel, lane);
    if (passage.top >= 1.0f) {
      phase = passage.top - 1.0f;
      if (level > 0.0f) {
        InsertPulse(lane, 2.0f, phase);
        level = -1.0f;
      }
      return;
    }
    if (level < 0.0f) {
      InsertPulse(lane, -2.0f, passage.top - passage.crossing);
      level = 1.0f;
      return;
    }
    // The width has overtaken the phase from above.
    InsertPulse(lane, 2.0f, passage.top - passage.crossing);
    if (passage.width > passage.top) {
      level = -1.0f;
    } else {
      InsertPulse(lane, -2.0f, passage.top - passage.width);
    }
  }

  /// The reset leaves the pulse low, whatever happened before it within the sample.
  void SyncPulse(int lane, const Passage& passage, float resetPhase) {
    const float top = passage.top;
    const float reset = top - resetPhase;  // where the phase stood when it was reset
    dsp::Lane(pulsePhase, lane) = resetPhase;
    float& level = dsp::Lane(pulseLevel, lane);
    if (level < 0.0f) {
      if (passage.met && passage.crossing < reset) {
        InsertPulse(lane, -2.0f, top - passage.crossing);
        InsertPulse(lane, 2.0f, resetPhase);
      }
      return;
    }
    level = -1.0f;
    if (!passage.met) {
      InsertPulse(lane, 2.0f, top - 1.0f > resetPhase ? top - 1.0f : resetPhase);
    } else if (top - 1.0f >= resetPhase) {
      InsertPulse(lane, 2.0f, top - 1.0f);
    } else if (passage.crossing >= reset) {
      InsertPulse(lane, 2.0f, resetPhase);
    } else {
      InsertPulse(lane, 2.0f, top - passage.crossing);
      if (passage.width < reset) {
        InsertPulse(lane, -2.0f, top - passage.width);
        InsertPulse(lane, 2.0f, resetPhase);
      }
    }
  }

  /// The blocker's corner follows the pitch; it takes off the pulse's mean, which depends on the
  /// width.
  void IntegrateTriangle(Float leak, Outputs& out) {
    const Float x = out.pulse / quarterPeriod;
    triIntegrator = triIntegrator * leak + x;
    out.triangle = triBlocker.Step(triIntegrator, leak);
  }

  /// The second integral, cut off at a floor that rises with the shape.
  void IntegrateRound(Float leak, Double shape, Outputs& out) {
    roundIntegratorPrev = roundIntegrator;
    roundIntegrator = leak * roundIntegrator + out.triangle / quarterPeriod * 2.0f;
    const Float r = roundIntegrator;
    const Double recovered = dsp::ToDouble(phaseInc) * 0.05 + dsp::ToDouble(negativePeak);
    negativePeak =
        dsp::Select(r >= negativePeak, dsp::ToFloat(dsp::Min(recovered, Double(-1.0))), r);
    const Float excess = phaseInc - highPitchThreshold;
    shape = dsp::Select(excess > 0.0f, shape + dsp::ToDouble(excess * -20.0f), shape);
    const Double floor = (shape - 1.0) * dsp::ToDouble(-negativePeak);
    out.round = dsp::Select(floor > 1.0, Float(1.0f), dsp::Max(r, dsp::ToFloat(floor)));
  }
};

}  // namespace halveron
