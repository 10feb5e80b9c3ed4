// Sound of the S310 VCO: sawtooth and pulse with band-limited steps, triangle and round wave
// integrated from the pulse.
#pragma once

#include <algorithm>
#include <cmath>

#include "dsp/exp2_fast.h"
#include "dsp/min_blep.h"
#include "dsp/shaping.h"

namespace halveron {

/// One voice of the oscillator.
///
/// The naive saw and pulse jump at a known time between two samples; each jump puts the residual
/// of a minimum-phase band-limited step into the wave's ring. Triangle and round wave are leaky
/// integrals of the finished pulse, so that they need no correction of their own.
struct S310VCOKernel {
  /// Smoothed knobs, 0..1.
  struct Knobs {
    double fineTune = 0.0;
    double octave = 0.5;
    double fmAmount = 0.0;
    double pulseWidth = 0.5;
    double shape = 0.0;
  };
  struct Inputs {
    float pitch = 0.0f;
    float fm = 0.0f;
    float pwm = 0.0f;
    float shape = 0.0f;
    float octaveStep = 0.0f;
    float sync = 0.0f;
  };
  /// Which points have a cable. A wave that nobody hears is not computed and stands still.
  struct Cables {
    bool pwm = false;
    bool sync = false;
    bool saw = false;
    bool triangle = false;
    bool round = false;
    bool pulse = false;
  };
  struct Outputs {
    float saw = 0.0f;
    float triangle = 0.0f;
    float round = 0.0f;
    float pulse = 0.0f;
  };

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
    const float oldWidth = pulseWidth;
    UpdateWidth(knobs.pulseWidth, in.pwm, cables.pwm);

    double gain = 1.0;
    if (syncModulationOn && cables.sync) {
      gain = std::cos(((in.shape + knobs.shape) * 50.0 + 2.0) * in.sync);
      // No number would stay in the integrators for ever.
      if (std::isnan(gain)) gain = 1.0;
    }

    const bool pulseHeard = cables.pulse || cables.triangle || cables.round;
    if (lastSyncIn <= 0.0f && in.sync > 0.0f) {
      const float resetPhase = StartCycle(in.sync);
      if (cables.saw) SyncSaw(resetPhase);
      if (pulseHeard) SyncPulse(oldWidth, resetPhase);
    } else {
      if (cables.saw) AdvanceSaw();
      if (pulseHeard) AdvancePulse(oldWidth);
    }
    if (cables.saw) {
      // The last term takes the mean of the delayed step out of the wave.
      const float saw = 2.0f * sawPhase - 1.0f - 4.0f * phaseInc + sawBlep.Read();
      out.saw = static_cast<float>(saw * gain);
    }
    if (pulseHeard) out.pulse = static_cast<float>((pulseBlep.Read() + pulseLevel) * gain);

    lastSyncIn = in.sync;
    if (!cables.triangle && !cables.round) return;
    const float leak = 1.0f - phaseInc;
    IntegrateTriangle(leak, out);
    if (cables.round) IntegrateRound(leak, in.shape + knobs.shape, out);

    syncSampleClock += 1.0f;
    if (syncSampleClock >= period) syncSampleClock -= period;
  }

  static constexpr float kNoPitch = -1000.0f;
  static constexpr float kMaxOctaveShift = 6.0f;
  static constexpr float kOctaveThreshold = 0.25f;

  float baseFrequency = 261.62558f;  ///< hertz at pitch 0
  bool syncModulationOn = false;

  float sampleRate = 48000.0f;
  float halfSampleRate = 24000.0f;
  float highPitchThreshold = 0.0454f;  ///< phase increment above which the shape fades

  float octaveShift = 0.0f;  ///< whole octaves that the octave-step input has added
  float lastOctaveIn = 0.0f;

  float lastPitch = kNoPitch;  ///< octaves for which the next three stand
  float period = 2.0f;         ///< samples
  float quarterPeriod = 0.5f;
  float phaseInc = 0.5f;

  float sawPhase = 0.0f;
  float sawJump = 0.0f;  ///< height that the last sync took off the saw
  float pulsePhase = 0.0f;
  float pulseLevel = -1.0f;
  float pulseWidth = 0.0f;  ///< part of the cycle for which the pulse is low

  float triIntegrator = 0.0f, triIntegratorPrev = 0.0f;
  float triOut = 0.0f;
  float roundIntegrator = 0.0f, roundIntegratorPrev = 0.0f;
  float negativePeak = -1.0f;

  float lastSyncIn = -1.0f;
  float syncSampleClock = 0.0f;  ///< samples since the cycle began

  dsp::MinBlepRing sawBlep;
  dsp::MinBlepRing pulseBlep;

 private:
  struct Crossing {
    bool met;
    float phase;
  };

  void StepOctave(float in) {
    if (lastOctaveIn < kOctaveThreshold && in >= kOctaveThreshold &&
        octaveShift < kMaxOctaveShift) {
      octaveShift += 1.0f;
    } else if (lastOctaveIn > -kOctaveThreshold && in <= -kOctaveThreshold &&
               octaveShift > -kMaxOctaveShift) {
      octaveShift -= 1.0f;
    }
    lastOctaveIn = in;
  }

  void UpdatePitch(const Knobs& knobs, const Inputs& in) {
    const float amount = static_cast<float>(knobs.fmAmount);
    const float modulation = amount * amount * amount * in.fm * 8.0f;
    const double octaves =
        modulation + in.pitch * 10.0 + (knobs.octave * 12.0 - 6.0) + octaveShift + knobs.fineTune;
    const float pitch = static_cast<float>(octaves);
    if (pitch == lastPitch) return;
    const float frequency = std::min(dsp::Exp2Fast(pitch) * baseFrequency, halfSampleRate);
    period = sampleRate / frequency;
    phaseInc = 1.0f / period;
    quarterPeriod = period * 0.25f;
    lastPitch = pitch;
  }

  /// A width comes no closer than one sample to either end of the cycle.
  void UpdateWidth(double knob, float pwm, bool pwmCabled) {
    const float span = 1.0f - phaseInc - phaseInc;
    if (pwmCabled) {
      const double x = dsp::LimitSymmetric(pwm, 1.0f);
      pulseWidth = static_cast<float>((x * knob + 1.0) * 0.5 * span + phaseInc);
    } else {
      pulseWidth = static_cast<float>(span * knob + phaseInc);
    }
  }

  /// The part of a cycle that has passed since the sync input rose through 0.
  float StartCycle(float sync) {
    float fraction = lastSyncIn / (sync - lastSyncIn) + 1.0f;
    if (!(fraction >= 0.0f && fraction <= 1.0f)) fraction = 1.0f;
    syncSampleClock = fraction;
    return fraction / period;
  }

  void InsertSaw(float amplitude, float excess) {
    sawBlep.Insert(static_cast<float>(sawBlep.Stride()) / phaseInc * excess, amplitude);
  }
  void InsertPulse(float amplitude, float excess) {
    pulseBlep.Insert(static_cast<float>(pulseBlep.Stride()) / phaseInc * excess, amplitude);
  }

  void AdvanceSaw() {
    sawPhase += phaseInc;
    if (sawPhase < 1.0f) return;
    sawPhase -= 1.0f;
    InsertSaw(2.0f, sawPhase);
  }

  void SyncSaw(float resetPhase) {
    sawPhase += phaseInc;
    if (sawPhase - resetPhase > 1.0f) {
      sawPhase -= 1.0f;
      InsertSaw(2.0f, sawPhase);
    }
    sawJump = (sawPhase - resetPhase) * 2.0f;
    sawPhase = resetPhase;
    InsertSaw(sawJump, resetPhase);
  }

  /// Where between two samples the phase, on its way from `old`, met the moving width, if it did:
  /// with c = lead / closing the part of the sample until then, c is above 0 and at most 1.
  Crossing MeetWidth(float old, float oldWidth) const {
    const float d = pulsePhase - old;
    const float lead = oldWidth - old;
    const float closing = d - pulseWidth + oldWidth;
    const bool met =
        closing > 0.0f ? lead > 0.0f && lead <= closing : lead < 0.0f && lead >= closing;
    return {met, met ? d * (lead / closing) + old : 0.0f};
  }

  void AdvancePulse(float oldWidth) {
    const float old = pulsePhase;
    pulsePhase += phaseInc;
    if (pulsePhase >= 1.0f) {
      pulsePhase -= 1.0f;
      if (pulseLevel > 0.0f) {
        InsertPulse(2.0f, pulsePhase);
        pulseLevel = -1.0f;
      }
      return;
    }
    const Crossing crossing = MeetWidth(old, oldWidth);
    if (!crossing.met) return;
    if (pulseLevel < 0.0f) {
      InsertPulse(-2.0f, pulsePhase - crossing.phase);
      pulseLevel = 1.0f;
      return;
    }
    // The width has overtaken the phase from above.
    InsertPulse(2.0f, pulsePhase - crossing.phase);
    if (pulseWidth > pulsePhase) {
      pulseLevel = -1.0f;
    } else {
      InsertPulse(-2.0f, pulsePhase - pulseWidth);
    }
  }

  /// The reset leaves the pulse low, whatever happened before it within the sample.
  void SyncPulse(float oldWidth, float resetPhase) {
    const float old = pulsePhase;
    pulsePhase += phaseInc;
    const float top = pulsePhase;
    const float reset = top - resetPhase;  // where the phase stood when it was reset
    const Crossing crossing = MeetWidth(old, oldWidth);
    pulsePhase = resetPhase;
    if (pulseLevel < 0.0f) {
      if (crossing.met && crossing.phase < reset) {
        InsertPulse(-2.0f, top - crossing.phase);
        InsertPulse(2.0f, resetPhase);
      }
      return;
    }
    pulseLevel = -1.0f;
    if (!crossing.met) {
      InsertPulse(2.0f, top - 1.0f > resetPhase ? top - 1.0f : resetPhase);
    } else if (top - 1.0f >= resetPhase) {
      InsertPulse(2.0f, top - 1.0f);
    } else if (crossing.phase >= reset) {
      InsertPulse(2.0f, resetPhase);
    } else {
      InsertPulse(2.0f, top - crossing.phase);
      if (pulseWidth < reset) {
        InsertPulse(-2.0f, top - pulseWidth);
        InsertPulse(2.0f, resetPhase);
      }
    }
  }

  /// The blocker's corner follows the pitch; it takes off the pulse's mean, which depends on the
  /// width.
  void IntegrateTriangle(float leak, Outputs& out) {
    const float x = out.pulse / quarterPeriod;
    triIntegratorPrev = triIntegrator;
    triIntegrator = triIntegrator * leak + x;
    triOut = triIntegrator - triIntegratorPrev + leak * triOut;
    out.triangle = triOut;
  }

  /// The second integral, cut off at a floor that rises with the shape.
  void IntegrateRound(float leak, double shape, Outputs& out) {
    roundIntegratorPrev = roundIntegrator;
    roundIntegrator = leak * roundIntegrator + out.triangle / quarterPeriod * 2.0f;
    const float r = roundIntegrator;
    if (r >= negativePeak) {
      negativePeak = static_cast<float>(std::min(phaseInc * 0.05 + negativePeak, -1.0));
    } else {
      negativePeak = r;
    }
    const float excess = phaseInc - highPitchThreshold;
    if (excess > 0.0f) shape += excess * -20.0f;
    const double floor = (shape - 1.0) * -negativePeak;
    out.round = floor > 1.0 ? 1.0f : std::max(r, static_cast<float>(floor));
  }
};

}  // namespace halveron
