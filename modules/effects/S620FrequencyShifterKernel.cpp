#include "modules/effects/S620FrequencyShifterKernel.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace halveron {

namespace {

constexpr double kEdge = 20.0;  // hertz around 0 within which the sidebands overlap
constexpr float kFirstLimit = 88200.0f;
// By doublings of the rate above it, for a rejection of some 68 dB at each.
constexpr std::array<int, 10> kSections{6, 6, 7, 7, 8, 8, 9, 9, 10, 10};

S620FrequencyShifterKernel::Complex StepPlain(S620FrequencyShifterKernel& kernel,
                                              const S620FrequencyShifterKernel::Complex& x) {
  return kernel.Step<dsp::FourDoubles>(x);
}

}  // namespace

void S620FrequencyShifterKernel::Prepare(float rate) {
  rate_ = rate;
  std::size_t doublings = 0;
  for (float limit = kFirstLimit; rate >= limit && doublings + 1 < kSections.size(); limit *= 2) {
    ++doublings;
  }
  const double transition = 2.0 * kEdge / rate;
  before_.Design(kSections[doublings], transition);
  after_.Design(kSections[doublings], transition);
}

void S620FrequencyShifterKernel::SetShift(double hz) {
  const double w = hz * 6.28318530717958 / rate_;
  rotorSin_ = std::sin(w);
  rotorCos_ = std::cos(w);
}

double S620FrequencyShifterKernel::ShiftOf(double f, bool wide) {
  const double u = 2.0 * f - 1.0;
  if (!wide) return (u * u * u + 1.0) * 0.5 * 3000.0 - 1500.0;
  return f > 0.5 ? (u * u + 1.0) * 0.5 * 32000.0 - 16000.0
                 : (u * u - 1.0) * -0.5 * 32000.0 - 16000.0;
}

S620FrequencyShifterKernel::StepFunction S620FrequencyShifterKernel::StepOf(VectorUnit unit) {
  switch (unit) {
    case VectorUnit::kSse2:
    case VectorUnit::kAvx2Four:
      return &S620FrequencyShifterVectors<dsp::Sse2>::Step;
    case VectorUnit::kAvx2:
    case VectorUnit::kAvx512Eight:
      return &S620FrequencyShifterVectors<dsp::Avx2>::Step;
    case VectorUnit::kAvx512:
      return &S620FrequencyShifterVectors<dsp::Avx512>::Step;
    case VectorUnit::kNone:
      break;
  }
  return &StepPlain;
}

}  // namespace halveron
