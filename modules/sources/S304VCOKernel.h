// Sound of the S304: two detuned sawtooths, and the pulses that are left when each is taken from
// itself half a cycle later.
#pragma once

#include <tuple>

#include "dsp/exp2_fast.h"
#include "dsp/lanes.h"

namespace halveron {

/// The corner of a ramp is rounded over one sample on either side by a parabola (Valimaki and
/// Huovilainen, "Antialiasing Oscillators in Subtractive Synthesis", 2007: the polynomial
/// band-limited step).
template <class Lanes = dsp::OneVoice>
struct S304VCOKernel {
  using Float = typename Lanes::Float;
  using Double = typename Lanes::Double;

  static constexpr float kNoPitch = -1000.0f;
  static constexpr double kFullFmHertz = 7000.0;
  static constexpr double kDetuneInPitch = 0.2;

  // The same for all voices.
  float baseFrequency = 261.62558f;  ///< hertz at pitch 0
  float sampleRate = 48000.0f;
  float halfSampleRate = 24000.0f;

  // State.
  Float phase_1 = 0.0f, phase_2 = 0.0f;
  Float detune_ratio = 1.0069556f;  ///< 2^(0.1^2), that of a fresh panel
  Float pitch_cache = kNoPitch;
  Float pitch_hz = 261.62558f;
  Float pitchOut = 0.0f;  ///< pitch of the second oscillator, as the output gives it

  // The present sample.
  Float inc_1 = 0.0f, inc_2 = 0.0f;
  Float sign = 1.0f;

  template <class Self>
  static auto Settings(Self& self) {
    return std::tie(self.baseFrequency, self.sampleRate, self.halfSampleRate);
  }
  template <class Self>
  static auto State(Self& self) {
    return std::tie(self.phase_1, self.phase_2, self.detune_ratio, self.pitch_cache, self.pitch_hz,
                    self.pitchOut);
  }

  void Prepare(float rate) {
    sampleRate = rate;
    halfSampleRate = rate * 0.5f;
  }

  static Float DetuneRatio(Double detune) { return dsp::Exp2Fast(dsp::ToFloat(detune * detune)); }

  /// To be called where Detune has moved; `moved` masks the voices in which it has.
  template <class Mask>
  void SetDetune(Mask moved, Double detune, Float pitch) {
    pitchOut = dsp::Select(moved, PitchOut(detune, pitch), pitchOut);
    detune_ratio = dsp::Select(moved, DetuneRatio(detune), detune_ratio);
  }

  /// `frequency`, `fmAmount` and `detune` are the knobs, 0..1.
  void Advance(Double frequency, Double fmAmount, Double detune, Float pitch, Float fm) {
    const Double k3 = fmAmount * fmAmount * fmAmount;
    const Float fm_hz = dsp::ToFloat(dsp::ToDouble(fm) * k3 * kFullFmHertz);
    const Double m = frequency * frequency * 3.5 + 0.125;
    const Float base = dsp::ToFloat(m * m * m);
    const auto isNew = pitch != pitch_cache;
    if (dsp::Any(isNew)) {
      pitch_hz = dsp::Select(isNew, dsp::Exp2Fast(pitch * 10.0f) * baseFrequency, pitch_hz);
      pitchOut = dsp::Select(isNew, PitchOut(detune, pitch), pitchOut);
      pitch_cache = pitch;
    }
    const Float hz = pitch_hz * base + fm_hz;
    // Through zero the wave runs backward: its sign turns.
    sign = dsp::Select(hz < 0.0f, Float(-1.0f), 1.0f);
    const Float speed = dsp::Abs(hz);
    // Written so that a NaN frequency does not reach the phases.
    inc_1 = dsp::Select(speed < halfSampleRate, speed, halfSampleRate) / sampleRate;
    inc_2 = dsp::Min(inc_1 * detune_ratio, Float(0.5f));
    phase_1 += inc_1;
    phase_2 += inc_2;
  }

  /// Both sawtooths. Keeps them for Pulse, and the phases within 0..1 for the next sample.
  Float Saw() {
    y_1 = BandlimitedRamp(phase_1, inc_1) * sign;
    y_2 = BandlimitedRamp(phase_2, inc_2) * sign;
    return y_1 + y_2;
  }

  /// After Saw.
  Float Pulse() const {
    const Float z_1 = ShiftedRamp(phase_1, inc_1) * sign;
    const Float z_2 = ShiftedRamp(phase_2, inc_2) * sign;
    return y_1 - z_1 + y_2 - z_2;
  }

 private:
  Float y_1 = 0.0f, y_2 = 0.0f;

  static Float PitchOut(Double detune, Float pitch) {
    return dsp::ToFloat(detune * detune * kDetuneInPitch + dsp::ToDouble(pitch));
  }

  static Float AfterCorner(Float p, Float inc) {
    const Float t = p / inc;
    return p * 2.0f - t * 2.0f + t * t;
  }
  static Float BeforeCorner(Float p, Float inc) {
    const Float t = (p - 1.0f) / inc;
    return p * 2.0f - 2.0f - t * 2.0f - t * t;
  }

  /// The ramp at a phase that has been advanced, and is brought back within 0..1.
  static Float BandlimitedRamp(Float& phase, Float inc) {
    const auto wraps = phase >= 1.0f;
    const auto isBefore = phase >= 1.0f - inc;
    Float y = phase * 2.0f - 1.0f;
    if (!dsp::Any(isBefore)) return y;  // it holds wherever `wraps` does
    y = dsp::Select(isBefore, BeforeCorner(phase, inc), y);
    phase = dsp::Select(wraps, phase - 1.0f, phase);
    return dsp::Select(wraps, AfterCorner(phase, inc), y);
  }

  /// The ramp half a cycle later.
  static Float ShiftedRamp(Float phase, Float inc) {
    Float p = phase + 0.5f;
    p = dsp::Select(p >= 1.0f, p - 1.0f, p);
    const Float y = p * 2.0f - 1.0f;
    const auto isAfter = dsp::And(p <= inc, inc > 0.0f);
    const auto isBefore = p >= 1.0f - inc;
    if (!dsp::Any(dsp::Or(isAfter, isBefore))) return y;
    return dsp::Select(isAfter, AfterCorner(p, inc),
                       dsp::Select(isBefore, BeforeCorner(p, inc), y));
  }
};

}  // namespace halveron
