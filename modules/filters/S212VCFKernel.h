// Sound of the S212: four biquad outputs with damping that can go negative, soft-clipped stages and
// an unsteady third feedback tap.
#pragma once

#include <tuple>

#include "dsp/dc_blocker.h"
#include "dsp/lanes.h"
#include "dsp/shaping.h"

namespace halveron {

/// The biquads have the shape of the bilinear low-pass, high-pass, band-pass and notch of
/// Bristow-Johnson's "Audio EQ Cookbook", with frequency * damping for alpha, a parabola for the
/// cosine, and a tap on the third last output, swept by a triangle.
///
/// A sample is Begin, any of the four outputs, End. An output that is not asked for stands still.
template <class Lanes = dsp::OneVoice>
struct S212VCFKernel {
  using Float = typename Lanes::Float;
  using Double = typename Lanes::Double;

  struct Inputs {
    Float audio, cutoff, fm, resonance, instability;
  };
  struct Controls {
    Double level, cutoff, fmAmount, resonanceAmount, resonance, instability;
    bool fourPoles;
  };
  /// One biquad's last three outputs, as the soft clipper left them.
  struct Stage {
    Double y1 = 0.0, y2 = 0.0, y3 = 0.0;
  };
  struct Chain {
    Stage first, second;
  };

  // The same for all voices.

  double cut_max = 0.0, cut_min = 0.0;
  double crossfade_below = 0.0;
  double damp_min = 0.0;
  double tri_inc_min = 0.0, tri_inc_max = 0.0;

  // State.
  Double x1 = 0.0, x2 = 0.0;
  Double tri_phase = 0.0;
  dsp::DcBlocker<Double> fmBlocker{0.0, 1.0};
  Chain highPass, bandPass, lowPass, notch;
  Double cutoff_cache = kStale, res_cache = kStale;
  Double freq = 0.0;  ///< cutoff, 1 at half the rate
  Double cos_w = 0.0;
  Double damp = 0.0;

  // The present sample.
  Double x0 = 0.0;
  Double a0 = 1.0, a1 = 0.0, a2 = 0.0, t3 = 0.0;
  bool fourPoles = false;

  template <class Self>
  static auto Settings(Self& self) {
    return std::tie(self.cut_max, self.cut_min, self.crossfade_below, self.damp_min,
                    self.tri_inc_min, self.tri_inc_max);
  }
  template <class Self>
  static auto State(Self& self) {
    return std::tuple_cat(CommonState(self), ChainState(self.highPass), ChainState(self.bandPass),
                          ChainState(self.lowPass), ChainState(self.notch));
  }
  /// What moves whichever outputs are asked for.
  template <class Self>
  static auto CommonState(Self& self) {
    return std::tie(self.x1, self.x2, self.tri_phase, self.fmBlocker.x1, self.fmBlocker.y1,
                    self.cutoff_cache, self.res_cache, self.freq, self.cos_w, self.damp);
  }
  template <class AnyChain>
  static auto ChainState(AnyChain& c) {
    return std::tie(c.first.y1, c.first.y2, c.first.y3, c.second.y1, c.second.y2, c.second.y3);
  }

  void Prepare(float rate) {
    const double inverseRate = 1.0f / rate;
    cut_max = 37485.0 * inverseRate;
    cut_min = 0.04 * inverseRate;
    crossfade_below = 250.0 * inverseRate;
    damp_min = -1764.0 * inverseRate;
    tri_inc_min = 85.76611218 * inverseRate;
    tri_inc_max = 201.52639836 * inverseRate;
    cutoff_cache = kStale;
    res_cache = kStale;
  }

  void Begin(const Inputs& in, const Controls& knobs) {
    const Double x = dsp::ToDouble(in.audio) * (knobs.level * knobs.level);
    const Double res = dsp::ToDouble(in.resonance) * knobs.resonanceAmount + knobs.resonance;
    const Double u = dsp::ToDouble(0.5f * in.instability) + knobs.instability;
    const Double drive = 1.0 - (1.0 - u) * (1.0 - u);
    const Double v = dsp::Select(u > 0.0, dsp::Min(u, Double(2.0)), 0.0);
    const Double v4 = v * v * v * v;

    const Double tri = Triangle(v4);
    const Double cut = ModulatedCutoff(in, knobs, tri) + knobs.cutoff;
    if (dsp::Any(cut != cutoff_cache)) SetCutoff(cut);
    if (dsp::Any(res != res_cache)) SetResonance(res);

    const Double alpha = freq * damp;
    a1 = -2.0 * cos_w;
    a2 = 1.0 - alpha;
    const Double lp = (1.0 - cos_w) * 0.5;
    const Double e = (freq * 30.0 + 3.0) * dsp::Min(v4, lp);
    a0 = alpha + e + 1.0;
    t3 = tri * e;

    fourPoles = knobs.fourPoles;
    x0 = x * (drive + (fourPoles ? 0.7 : 1.0));
  }

  Double HighPass() {
    const Double b = (1.0 + cos_w) / 2.0;
    return FadeToDry(Run(highPass, b, -(1.0 + cos_w), b));
  }
  Double BandPass() { return Run(bandPass, freq * 1.4, 0.0, -freq * 1.4); }
  Double LowPass() {
    const Double b = (1.0 - cos_w) / 2.0;
    return Run(lowPass, b, 1.0 - cos_w, b);
  }
  Double Notch() { return FadeToDry(Run(notch, 1.0, -2.0 * cos_w, 1.0)); }

  void End() {
    x2 = x1;
    x1 = x0;
  }

 private:
  static constexpr double kStale = -1000.0;

  /// The triangle's present value; `speed` of 0..1 and beyond sets its step to the next.
  Double Triangle(Double speed) {
    const Double t = tri_phase;
    const Double next = tri_phase + ((tri_inc_max - tri_inc_min) * speed + tri_inc_min);
    tri_phase = dsp::Select(next > 2.0, next - 2.0, next);
    return dsp::Select(t >= 1.0, 1.0 - (t - 1.0) * 2.0, t * 2.0 - 1.0);
  }

  /// Cutoff CV and audio-rate FM. What the blocker lets through of the FM input fades from plain
  /// FM to FM that is ring-modulated by the triangle.
  Double ModulatedCutoff(const Inputs& in, const Controls& knobs, Double tri) {
    const Double plain = dsp::ToDouble(in.cutoff);
    const auto modulated = knobs.fmAmount > 0.0;
    if (!dsp::Any(modulated)) return plain;
    const Double fm = dsp::ToDouble(in.fm);
    const Double passed = fmBlocker.Next(fm, 0.9);
    // A MIDI word may be a NaN, which must not stay in the blocker.
    const auto isNumber = dsp::IsFinite(passed);
    const Double h = dsp::Select(isNumber, passed, 0.0);
    fmBlocker.x1 = dsp::Select(modulated, dsp::Select(isNumber, fm, 0.0), fmBlocker.x1);
    fmBlocker.y1 = dsp::Select(modulated, h, fmBlocker.y1);
    const Double swing = ((1.0 - h) + h * tri) * (fm * (knobs.fmAmount * knobs.fmAmount)) + plain;
    return dsp::Select(modulated, swing, plain);
  }

  void SetCutoff(Double cut) {
    cutoff_cache = cut;
    const Double c = dsp::LimitUnit(cut);
    freq = (cut_max - cut_min) * (c * c * c * c) + cut_min;
    cos_w =
        dsp::Select(freq > 0.5, (freq - 1.0) * (freq - 1.0) * 4.0 - 1.0, 1.0 - freq * freq * 4.0);
  }

  void SetResonance(Double res) {
    res_cache = res;
    const Double r = dsp::LimitUnit(res);
    damp = (1.0 - (1.0 - r) * (1.0 - r)) * (damp_min - 3.0) + 3.0;
  }

  Double Step(Stage& stage, Double feedForward) const {
    const Double clipped =
        dsp::SoftClip((feedForward - a1 * stage.y1 - a2 * stage.y2 + t3 * stage.y3) / a0);
    const Double y = dsp::Select(clipped == clipped, clipped, 0.0);  // nor in the histories
    stage.y3 = stage.y2;
    stage.y2 = stage.y1;
    stage.y1 = y;
    return y;
  }

  Double Run(Chain& chain, Double b0, Double b1, Double b2) const {
    const Double y = Step(chain.first, b0 * x0 + b1 * x1 + b2 * x2);
    if (!fourPoles) return y;
    const Stage& u = chain.first;
    return Step(chain.second, b0 * u.y1 + b1 * u.y2 + b2 * u.y3);
  }

  /// Keeps the high-pass and the notch from ringing without input at the bottom of the range.
  Double FadeToDry(Double y) const {
    const auto isAbove = freq >= crossfade_below;
    if (dsp::All(isAbove)) return y;
    return dsp::Select(isAbove, y, (y - x0) * (freq / crossfade_below) + x0);
  }
};

}  // namespace halveron
