#include "modules/effects/S616StereoReverbKernel.h"

namespace halveron {

namespace {

constexpr std::uint32_t kRoomSeed = 700215;
constexpr float kDiffusion = 0.618f;

// Milliseconds, left and right in turns.
constexpr std::array<int, S616StereoReverbKernel::kAllPasses> kLongTimes{23, 29, 31, 37,
                                                                         41, 43, 47, 53};
constexpr std::array<int, S616StereoReverbKernel::kAllPasses> kShortTimes{3,  5,  7,  11,
                                                                          13, 17, 19, 23};

S616Stereo StepCombsOneByOne(S616CombBank& bank, const S616Stereo& in,
                             const S616CombBank::Controls& controls) {
  return bank.Step<dsp::OneVoice>(in, controls);
}

}  // namespace

S616StereoReverbKernel::CombStep S616StereoReverbKernel::CombStepOf(VectorUnit unit) {
  switch (unit) {
    case VectorUnit::kSse2:
    case VectorUnit::kAvx2Four:
      return &S616StereoReverbVectors<dsp::Sse2>::Step;
    case VectorUnit::kAvx2:
    case VectorUnit::kAvx512Eight:
      return &S616StereoReverbVectors<dsp::Avx2>::Step;
    case VectorUnit::kAvx512:
      return &S616StereoReverbVectors<dsp::Avx512>::Step;
    case VectorUnit::kNone:
      break;
  }
  return &StepCombsOneByOne;
}

void S616StereoReverbKernel::Prepare(float rate) {
  rate_ = rate;
  modRateMax_ = 200.0 / rate_;
  modRateMin_ = 1.0 / rate_ * 0.4;
  modDepth_ = rate_ * 0.0018594104308;
  sizeSpan_ = rate_ * 0.1;
  // Below 44.1 kHz, where the parabola turns back, there is nothing to make up for.
  const double excess = 1.0 - std::min(44100.0 / rate_, 1.0);
  dampGain_ = 1.0 - excess * excess;
  std::uint32_t seed = kRoomSeed;
  for (int i = 0; i < S616CombBank::kMost; ++i) {
    bank_.delay[At(i)] = (dsp::NextRandom(seed) * 37.0 + 13.0) * rate_ * 0.001;
  }
  bank_.lowpass = {};
  bank_.size = CombSizeAt(rate);
  bank_.index = 0;
  allPassSize_ = AllPassSizeAt(rate);
  allPassIndex_ = 0;
  SetDiffusion(diffusion_);
}

void S616StereoReverbKernel::SetLines(int lines) {
  bank_.lines = lines;
  outGain_ = static_cast<float>(2.0 / lines);
  double phase = bank_.phase[0] / 4.0;
  for (int i = 0; i < lines; ++i) {
    bank_.phase[At(i)] = phase * 4.0;
    phase += 1.0 / lines;
    if (phase >= 1.0) phase -= 1.0;
  }
}

void S616StereoReverbKernel::SetDiffusion(Diffusion diffusion) {
  diffusion_ = diffusion;
  if (diffusion == Diffusion::kNone) return;
  const auto& times = diffusion == Diffusion::kLong ? kLongTimes : kShortTimes;
  for (int i = 0; i < kAllPasses; ++i) {
    allPassDelay_[At(i)] = static_cast<int>(times[At(i)] * rate_ * 0.001);
  }
}

S616Stereo S616StereoReverbKernel::Step(const Knobs& knobs, const Inputs& in) {
  S616CombBank::Controls controls;
  const double damp = static_cast<double>(knobs.damping) * dampGain_;
  controls.damp = static_cast<float>(damp);
  controls.keep = static_cast<float>(1.0 - damp);
  controls.width = static_cast<float>(1.0 - static_cast<double>(in.widthCv) * knobs.width);
  const auto d = static_cast<float>(1.0 - knobs.decay);
  const float cube = d * d * d;
  controls.feedback = 1.0f - cube * cube;
  controls.increment =
      (modRateMax_ - modRateMin_) * (knobs.modulationRate * knobs.modulationRate) + modRateMin_;
  const double depth = std::clamp(knobs.modulationDepth * 0.5, 0.0, 0.5);
  controls.sweep = depth * modDepth_;
  controls.offset = dsp::LimitUnit(static_cast<double>(in.sizeCv) + knobs.size) * sizeSpan_;

  S616Stereo sum = stepCombs_(bank_, {in.left, in.right}, controls);
  if (diffusion_ != Diffusion::kNone) Diffuse(sum, controls.width, controls.offset);
  return {sum.left * outGain_, sum.right * outGain_};
}

float S616StereoReverbKernel::DiffuseLong(int line, float x) {
  const dsp::DelayLine& cells = allPasses_[At(line)];
  const float r = cells.ReadWhole(allPassIndex_, allPassDelay_[At(line)]);
  const float fed = r * kDiffusion + x;
  cells.Write(allPassIndex_, fed);
  return r - fed * kDiffusion;
}

float S616StereoReverbKernel::DiffuseShort(int line, float x, double offset) {
  const dsp::DelayLine& cells = allPasses_[At(line)];
  const float r = cells.Read(
      dsp::WrappedPosition(allPassIndex_, offset + allPassDelay_[At(line)], allPassSize_));
  const float fed = x - r * kDiffusion;
  cells.Write(allPassIndex_, fed);
  return fed * kDiffusion + r;
}

void S616StereoReverbKernel::Diffuse(S616Stereo& sum, float width, double offset) {
  // What comes in within this bound cannot grow beyond numbers in the loops.
  constexpr float kLoudest = 1e30f;
  float left = dsp::LimitSymmetric(dsp::FiniteOrZero(sum.left), kLoudest);
  float right = dsp::LimitSymmetric(dsp::FiniteOrZero(sum.right), kLoudest);
  allPassIndex_ = dsp::NextIndex(allPassIndex_, allPassSize_);
  for (int i = 0; i < kAllPasses; i += 2) {
    if (diffusion_ == Diffusion::kLong) {
      left = DiffuseLong(i, left);
      right = DiffuseLong(i + 1, right);
    } else {
      left = DiffuseShort(i, left, offset);
      right = DiffuseShort(i + 1, right, offset);
    }
  }
  const float k = 1.0f / (width + 1.0f);
  sum = {(width * right + left) * k, (left * width + right) * k};
}

}  // namespace halveron
