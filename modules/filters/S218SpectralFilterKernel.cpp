#include "modules/filters/S218SpectralFilterKernel.h"

#include <cmath>

#include "dsp/shaping.h"

namespace halveron {

namespace {

constexpr double kFadeSeconds = 0.02;
constexpr double kFadeTimeConstants = 14.0;  // what is left of a design then is 120 dB down
constexpr int kFadeInterval = 4;             // samples
constexpr float kMostFeedback = 0.9990000128746033f;
constexpr float kMostWarp = 0.999f;
constexpr float kMostLattice = 4.0f;  // of the signal and of what a lattice keeps

}  // namespace

void S218SpectralFilterKernel::Prepare(float rate) {
  fadeLength_ = std::max(static_cast<int>(rate * kFadeSeconds), kFadeInterval);
  fadeRate_ = static_cast<float>(1.0 - std::exp(-kFadeTimeConstants * kFadeInterval / fadeLength_));
}

void S218SpectralFilterKernel::Jump() {
  main.Arrive();
  aux.Arrive();
  fadeCount_ = 0;
}

void S218SpectralFilterKernel::SwitchTo(int newMode) {
  former_.taps = main.live;
  former_.count = main.liveCount;
  former_.mode = mode;
  former_.lattice = lattice_;
  mode = newMode;
  lattice_ = {};
  main.Arrive();
  switchCount_ = fadeLength_;
  fillCount_ = mode > 0 ? main.liveCount : 0;
  StartFade();  // of the other stage
}

void S218SpectralFilterKernel::Clear() {
  mainLine_ = {};
  auxLine_ = {};
  lattice_ = {};
  held_ = 0.0f;
  dc_ = {};
  fillCount_ = switchCount_ = 0;
}

void S218SpectralFilterKernel::StepFade() {
  if (fadeCount_ % kFadeInterval == 0) {
    main.Approach(fadeRate_);
    aux.Approach(fadeRate_);
  }
  if (--fadeCount_ == 0) Jump();
}

float S218SpectralFilterKernel::Step(float x, const Controls& controls) {
  if (fadeCount_ > 0) StepFade();
  if (switchCount_ > 0 && fillCount_ == 0) --switchCount_;
  double y = x;
  if (dcCoefficient < 1.0) y = dc_.Step(y, dcCoefficient);
  ratePhase_ += rateIncrement;
  if (ratePhase_ < 1.0f) return held_;
  ratePhase_ -= 1.0f;
  auto signal = static_cast<float>(y);
  // Both lines go on with the sound, so that a stage or mode that comes in has its past.
  Put(auxLine_, signal);
  if (!aux.IsPass()) signal = Convolve(aux.live.data(), aux.liveCount, auxLine_);
  Put(mainLine_, signal);
  float out = Run(mode, main.live.data(), main.liveCount, lattice_, signal, controls);
  if (fillCount_ > 0) --fillCount_;
  if (switchCount_ > 0) {
    const float before =
        Run(former_.mode, former_.taps.data(), former_.count, former_.lattice, signal, controls);
    out += (before - out) * static_cast<float>(switchCount_) / static_cast<float>(fadeLength_);
  }
  held_ = out * kOutGain;
  return held_;
}

void S218SpectralFilterKernel::Put(Line& line, float x) {
  line.write = line.write == 0 ? kMostTaps - 1 : line.write - 1;
  line.cells[line.write] = line.cells[line.write + kMostTaps] = x;
}

float S218SpectralFilterKernel::Convolve(const float* taps, int count, const Line& line) const {
  constexpr int kStep = S218SpectralFilterDesign::kTapStep;
  // Taps beyond the count are 0.
  const int length = (count + kStep - 1) / kStep * kStep;
  return convolve_(taps, line.cells.data() + line.write, length);
}

float S218SpectralFilterKernel::Run(int runMode, const float* taps, int count, Lattice& lattice,
                                    float x, const Controls& controls) const {
  return runMode > 0 ? RunLattice(runMode, taps, count, lattice, x, controls)
                     : Convolve(taps, count, mainLine_);
}

template <int kStride>
void S218SpectralFilterKernel::RunSections(int begin, int count, const float* taps,
                                           Lattice& lattice, float& s, float& energy, float f,
                                           float q) {
  for (int i = begin; i < count; i += kStride) {
    const float a = (lattice.state[i] - s) * q + lattice.prev[i];
    lattice.state[i] = a;
    lattice.prev[i] = s;
    const float t = taps[i];
    s = f * t * energy + a;
    energy = t * a + energy;
  }
}

float S218SpectralFilterKernel::RunLattice(int runMode, const float* taps, int count,
                                           Lattice& lattice, float x, const Controls& controls) {
  const bool keeps = runMode == 2 || runMode == 4;
  const float q = dsp::LimitSymmetric(controls.q, kMostWarp);
  // What is kept goes back against what it comes from.
  const float f = (keeps ? -controls.p : controls.p) * kMostFeedback;
  float s = x;
  float energy = keeps ? lattice.energy : 0.0f;
  if (runMode >= 3) {
    RunSections<2>(0, count, taps, lattice, s, energy, f, q);
    RunSections<2>(1, count, taps, lattice, s, energy, f, q);
  } else {
    RunSections<1>(0, count, taps, lattice, s, energy, f, q);
  }
  lattice.energy = dsp::LimitSymmetric(energy, kMostLattice);
  if (!std::isfinite(s) || !std::isfinite(energy)) {
    // A warp that is swept fast may drive the sections beyond every number.
    lattice = {};
    return 0.0f;
  }
  return dsp::LimitSymmetric(s, kMostLattice);
}

}  // namespace halveron
