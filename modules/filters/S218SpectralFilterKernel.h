// Sound of the S218 Spectral Filter: a long FIR filter, or a lattice of first-order all-passes,
// with coefficients that fade from one design to the next.
//
// The all-passes stand where a lattice (A. H. Gray and J. D. Markel, "Digital lattice and ladder
// filter synthesis", 1973) has its unit delays, so that one knob warps the axis of frequency.
#pragma once

#include <algorithm>
#include <array>

#include "dsp/dc_blocker.h"
#include "modules/filters/S218SpectralFilterDesign.h"

namespace halveron {

/// The coefficients that sound and those that they are on the way to.
struct S218Taps {
  static constexpr int kMost = S218SpectralFilterDesign::kMostTaps;

  alignas(64) std::array<float, kMost> live{};
  alignas(64) std::array<float, kMost> next{};
  int liveCount = 0;
  int nextCount = 0;

  /// A part of the way to the next design.
  void Approach(float share) {
    // The longer of both sounds until the fade is over.
    liveCount = std::max(liveCount, nextCount);
    for (int i = 0; i < liveCount; ++i) live[i] += (next[i] - live[i]) * share;
  }
  void Arrive() {
    live = next;
    liveCount = nextCount;
  }
  /// In `next`: what leaves the sound as it is.
  void Pass() {
    next.fill(0.0f);
    next[0] = 1.0f;
    nextCount = 1;
  }
  bool IsPass() const { return liveCount == 1 && live[0] == 1.0f; }
};

class S218SpectralFilterKernel {
 public:
  static constexpr int kMostTaps = S218Taps::kMost;
  static constexpr float kOutGain = 16.0f;

  struct Controls {
    float p = 0.0f;  ///< feedback across a section of the lattice, 0..1
    float q = 0.0f;  ///< warp of the axis, -1..1
  };

  explicit S218SpectralFilterKernel(VectorUnit unit = S218Loops::BestUnit())
      : convolve_(S218Loops::Of(unit).convolve) {
    aux.Pass();
    aux.Arrive();
  }

  /// `rate` in hertz.
  void Prepare(float rate);
  /// Begins the fade to what is in `next` of both sets.
  void StartFade() { fadeCount_ = fadeLength_; }
  /// Goes over to it at once.
  void Jump();
  /// Begins the fade to another mode, with the design of `next` in it. What sounded until now goes
  /// on beside it meanwhile, and alone until a lattice is filled. Not while another such fade is
  /// under way.
  void SwitchTo(int newMode);
  bool IsSwitching() const { return switchCount_ > 0; }
  /// Silences lines and lattice.
  void Clear();

  /// One sample at the sample rate, in and out.
  float Step(float x, const Controls& controls);

  int mode = 0;                ///< 0 FIR, 1 to 4 lattices
  float rateIncrement = 1.0f;  ///< filter rate over sample rate, up to 1
  double dcCoefficient = 1.0;  ///< of the DC blocker; 1 for none
  S218Taps main;
  S218Taps aux;  ///< of the stage before

 private:
  /// The last samples, twice, so that a run of them never wraps; the index goes down.
  struct Line {
    alignas(64) std::array<float, 2 * kMostTaps> cells{};
    int write = 0;
  };

  struct Lattice {
    std::array<float, kMostTaps> state{}, prev{};  // of the all-passes
    float energy = 0.0f;
  };
  /// What sounds until a change of mode is done.
  struct Former {
    alignas(64) std::array<float, kMostTaps> taps{};
    int count = 0;
    int mode = 0;
    Lattice lattice;
  };

  void StepFade();
  static void Put(Line& line, float x);
  float Convolve(const float* taps, int count, const Line& line) const;
  float Run(int mode, const float* taps, int count, Lattice& lattice, float x,
            const Controls& controls) const;
  static float RunLattice(int mode, const float* taps, int count, Lattice& lattice, float x,
                          const Controls& controls);
  template <int kStride>
  static void RunSections(int begin, int count, const float* taps, Lattice& lattice, float& s,
                          float& energy, float f, float q);

  float (*convolve_)(const float*, const float*, int);
  Line mainLine_, auxLine_;
  Lattice lattice_;
  Former former_;
  dsp::DcBlocker<double> dc_;
  float ratePhase_ = 0.0f;
  float held_ = 0.0f;
  int fadeCount_ = 0;    // samples
  int fillCount_ = 0;    // samples of the filter until the fade of a mode begins
  int switchCount_ = 0;  // samples of that fade
  int fadeLength_ = 960;
  float fadeRate_ = 0.0f;
};

}  // namespace halveron
