// Sound of the S302: two sines at octave ratios of one pitch.
#pragma once

#include <tuple>

#include "dsp/exp2_fast.h"
#include "dsp/lanes.h"
#include "dsp/sine.h"

namespace halveron {

template <class Lanes = dsp::OneVoice>
struct S302DualSubSinVCOKernel {
  using Float = typename Lanes::Float;
  using Double = typename Lanes::Double;

  static constexpr float kNoPitch = -1000.0f;

  // The same for all voices.
  float baseFrequency = 261.62558f;  ///< hertz at pitch 0
  double sampleRate = 48000.0;
  double halfSampleRate = 24000.0;

  // State. Phases and increments in radians; increments are what goes by in a sample.
  Float ratio1 = 1.0f, ratio2 = 1.0f;
  Float lastPitch = kNoPitch;  ///< for which the increments stand
  Double phase_1 = 0.0, phase_2 = 0.0;
  Double inc_1 = 0.0, inc_2 = 0.0;

  template <class Self>
  static auto Settings(Self& self) {
    return std::tie(self.baseFrequency, self.sampleRate, self.halfSampleRate);
  }
  template <class Self>
  static auto State(Self& self) {
    return std::tie(self.ratio1, self.ratio2, self.lastPitch, self.phase_1, self.phase_2,
                    self.inc_1, self.inc_2);
  }

  void Prepare(float rate) {
    sampleRate = rate;
    halfSampleRate = rate * 0.5;
    lastPitch = kNoPitch;
  }

  /// `hasSecond`: the second increment is only kept up while somebody hears it.
  void SetPitch(Float pitch, bool hasSecond) {
    if (!dsp::Any(pitch != lastPitch)) return;
    lastPitch = pitch;
    const Double hz = dsp::ToDouble(dsp::Exp2Fast(pitch * 10.0f) * baseFrequency);
    inc_1 = IncrementAt(hz, ratio1);
    if (hasSecond) inc_2 = IncrementAt(hz, ratio2);
  }

  /// The next sample of the first sine.
  Float First() { return Advance(phase_1, inc_1); }
  /// That of the second, raised by `spread`: 0..1 times itself.
  Float Second(Double spread) { return Advance(phase_2, (spread + 1.0) * inc_2); }

 private:
  Double IncrementAt(Double hz, Float ratio) const {
    return dsp::Min(hz * dsp::ToDouble(ratio), Double(halfSampleRate)) * 6.28318530717958 /
           sampleRate;
  }

  static Float Advance(Double& phase, Double increment) {
    phase += increment;
    phase = dsp::Select(phase >= dsp::kTwoPi, phase - dsp::kTwoPi, phase);
    return dsp::ToFloat(dsp::SineOfPhase(phase));
  }
};

}  // namespace halveron
