// Sound of the S212: four biquad outputs with damping that can go negative, soft-clipped stages and
// an unsteady third feedback tap.
#pragma once

#include <algorithm>
#include <cmath>

#include "dsp/shaping.h"

namespace halveron {

/// The biquads have the shape of the bilinear low-pass, high-pass, band-pass and notch of
/// Bristow-Johnson's "Audio EQ Cookbook", with frequency * damping for alpha, a parabola for the
/// cosine, and a tap on the third last output, swept by a triangle.
///
/// A sample is Begin, any of the four outputs, End. An output that is not asked for stands still.
struct S212VCFKernel {
  struct Inputs {
    float audio, cutoff, fm, resonance, instability;
  };
  struct Controls {
    double level, cutoff, fmAmount, resonanceAmount, resonance, instability;
    bool fourPoles;
  };
  /// One biquad's last three outputs, as the soft clipper left them.
  struct Stage {
    double y1 = 0.0, y2 = 0.0, y3 = 0.0;
  };
  struct Chain {
    Stage first, second;
  };

  double cut_max = 0.0, cut_min = 0.0;
  double crossfade_below = 0.0;
  double damp_min = 0.0;
  double tri_inc_min = 0.0, tri_inc_max = 0.0;

  double x0 = 0.0, x1 = 0.0, x2 = 0.0;
  double tri_phase = 0.0;
  double fm_hp = 1.0, fm_prev = 0.0;
  Chain highPass, bandPass, lowPass, notch;
  double cutoff_cache = kStale, res_cache = kStale;
  double freq = 0.0;  ///< cutoff, 1 at half the rate
  double cos_w = 0.0;
  double damp = 0.0;
  double a0 = 1.0, a1 = 0.0, a2 = 0.0, t3 = 0.0;
  bool fourPoles = false;

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
    const double x = in.audio * (knobs.level * knobs.level);
    const double res = in.resonance * knobs.resonanceAmount + knobs.resonance;
    const double u = 0.5f * in.instability + knobs.instability;
    const double drive = 1.0 - (1.0 - u) * (1.0 - u);
    const double v = u > 0.0 ? std::min(u, 2.0) : 0.0;
    const double v4 = v * v * v * v;

    const double tri = Triangle(v4);
    const double cut = ModulatedCutoff(in, knobs, tri) + knobs.cutoff;
    if (cut != cutoff_cache) SetCutoff(cut);
    if (res != res_cache) SetResonance(res);

    const double alpha = freq * damp;
    a1 = -2.0 * cos_w;
    a2 = 1.0 - alpha;
    const double lp = (1.0 - cos_w) * 0.5;
    const double e = (freq * 30.0 + 3.0) * std::min(v4, lp);
    a0 = alpha + e + 1.0;
    t3 = tri * e;

    fourPoles = knobs.fourPoles;
    x0 = x * (drive + (fourPoles ? 0.7 : 1.0));
  }

  double HighPass() {
    const double b = (1.0 + cos_w) / 2.0;
    return FadeToDry(Run(highPass, b, -(1.0 + cos_w), b));
  }
  double BandPass() { return Run(bandPass, freq * 1.4, 0.0, -freq * 1.4); }
  double LowPass() {
    const double b = (1.0 - cos_w) / 2.0;
    return Run(lowPass, b, 1.0 - cos_w, b);
  }
  double Notch() { return FadeToDry(Run(notch, 1.0, -2.0 * cos_w, 1.0)); }

  void End() {
    x2 = x1;
    x1 = x0;
  }

 private:
  static constexpr double kStale = -1000.0;

  /// The triangle's present value; `speed` of 0..1 and beyond sets its step to the next.
  double Triangle(double speed) {
    const double t = tri_phase;
    tri_phase += (tri_inc_max - tri_inc_min) * speed + tri_inc_min;
    if (tri_phase > 2.0) tri_phase -= 2.0;
    return t >= 1.0 ? 1.0 - (t - 1.0) * 2.0 : t * 2.0 - 1.0;
  }

  /// Cutoff CV and audio-rate FM. What the blocker lets through of the FM input fades from plain
  /// FM to FM that is ring-modulated by the triangle.
  double ModulatedCutoff(const Inputs& in, const Controls& knobs, double tri) {
    if (!(knobs.fmAmount > 0.0)) return in.cutoff;
    double h = in.fm - fm_prev + fm_hp * 0.9;
    fm_prev = in.fm;
    // A MIDI word may be no number: it must not stay in the blocker for good.
    if (!std::isfinite(h)) h = fm_prev = 0.0;
    fm_hp = h;
    return ((1.0 - h) + h * tri) * (in.fm * (knobs.fmAmount * knobs.fmAmount)) + in.cutoff;
  }

  void SetCutoff(double cut) {
    cutoff_cache = cut;
    const double c = dsp::LimitUnit(cut);
    freq = (cut_max - cut_min) * (c * c * c * c) + cut_min;
    cos_w = freq > 0.5 ? (freq - 1.0) * (freq - 1.0) * 4.0 - 1.0 : 1.0 - freq * freq * 4.0;
  }

  void SetResonance(double res) {
    res_cache = res;
    const double r = dsp::LimitUnit(res);
    damp = (1.0 - (1.0 - r) * (1.0 - r)) * (damp_min - 3.0) + 3.0;
  }

  double Step(Stage& stage, double feedForward) const {
    double y = dsp::SoftClip((feedForward - a1 * stage.y1 - a2 * stage.y2 + t3 * stage.y3) / a0);
    if (std::isnan(y)) y = 0.0;  // nor in the histories
    stage.y3 = stage.y2;
    stage.y2 = stage.y1;
    stage.y1 = y;
    return y;
  }

  double Run(Chain& chain, double b0, double b1, double b2) const {
    const double y = Step(chain.first, b0 * x0 + b1 * x1 + b2 * x2);
    if (!fourPoles) return y;
    const Stage& u = chain.first;
    return Step(chain.second, b0 * u.y1 + b1 * u.y2 + b2 * u.y3);
  }

  /// Keeps the high-pass and the notch from ringing at nothing at the bottom of the range.
  double FadeToDry(double y) const {
    return freq >= crossfade_below ? y : (y - x0) * (freq / crossfade_below) + x0;
  }
};

}  // namespace halveron
