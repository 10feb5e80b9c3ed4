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

S620FrequencyShifterKernel::Complex S620FrequencyShifterKernel::Rotate(const Complex& x) {
  rotor_ = {rotor_.re * rotorCos_ - rotor_.im * rotorSin_,
            rotor_.re * rotorSin_ + rotor_.im * rotorCos_};
  return {x.re * rotor_.re - x.im * rotor_.im, x.re * rotor_.im + x.im * rotor_.re};
}

}  // namespace halveron
