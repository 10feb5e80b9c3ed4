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

void S218SpectralFilterKernel::Clear() {
  mainLine_ = {};
  auxLine_ = {};
  state_.fill(0.0f);
  prev_.fill(0.0f);
  energy_ = held_ = 0.0f;
  dc_ = {};
}

void S218SpectralFilterKernel::StepFade() {
  if (fadeCount_ % kFadeInterval == 0) {
    main.Approach(fadeRate_);
    if (secondStage) aux.Approach(fadeRate_);
  }
  if (--fadeCount_ == 0) Jump();
}

float S218SpectralFilterKernel::Step(float x, const Controls& controls) {
  if (fadeCount_ > 0) StepFade();
  double y = x;
  if (dcCoefficient < 1.0) y = dc_.Step(y, dcCoefficient);
  ratePhase_ += rateIncrement;
  if (ratePhase_ < 1.0f) return held_;
  ratePhase_ -= 1.0f;
  auto signal = static_cast<float>(y);
  if (secondStage) signal = Convolve(aux, auxLine_, signal);
  held_ = (mode > 0 ? RunLattice(signal, controls) : Convolve(main, mainLine_, signal)) * kOutGain;
  return held_;
}

float S218SpectralFilterKernel::Convolve(const S218Taps& taps, Line& line, float x) const {
  constexpr int kStep = S218SpectralFilterDesign::kTapStep;
  line.cells[line.write] = line.cells[line.write + kMostTaps] = x;
  // Taps beyond the count are 0.
  const int length = (taps.liveCount + kStep - 1) / kStep * kStep;
  const float y = convolve_(taps.live.data(), line.cells.data() + line.write, length);
  line.write = line.write == 0 ? kMostTaps - 1 : line.write - 1;
  return y;
}

template <int kStride>
void S218SpectralFilterKernel::RunSections(int begin, float& s, float& energy, float f, float q) {
  for (int i = begin; i < main.liveCount; i += kStride) {
    const float a = (state_[i] - s) * q + prev_[i];
    state_[i] = a;
    prev_[i] = s;
    const float t = main.live[i];
    s = f * t * energy + a;
    energy = t * a + energy;
  }
}

float S218SpectralFilterKernel::RunLattice(float x, const Controls& controls) {
  const bool keeps = mode == 2 || mode == 4;
  const float q = dsp::LimitSymmetric(controls.q, kMostWarp);
  // What is kept goes back against what it comes from.
  const float f = (keeps ? -controls.p : controls.p) * kMostFeedback;
  float s = x;
  float energy = keeps ? energy_ : 0.0f;
  if (mode >= 3) {
    RunSections<2>(0, s, energy, f, q);
    RunSections<2>(1, s, energy, f, q);
  } else {
    RunSections<1>(0, s, energy, f, q);
  }
  energy_ = dsp::LimitSymmetric(energy, kMostLattice);
  if (!std::isfinite(s) || !std::isfinite(energy)) {
    // A warp that is swept fast may drive the sections beyond every number.
    Clear();
    return 0.0f;
  }
  return dsp::LimitSymmetric(s, kMostLattice);
}

}  // namespace halveron
