// Arithmetic that reads the same for one number and for a vector of them.
//
// A kernel that is written over a `Lanes` type runs one voice with OneVoice and several side by
// side with the packs of dsp/pack.h, and gives the same bits in each lane: every operation here is
// the plain one, lane by lane. Branches become masks: `if (Any(mask))` skips what no lane needs,
// and Select keeps the rest as it was.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

#include "dsp/select.h"

namespace halveron::dsp {

/// One voice at a time, in plain numbers.
struct OneVoice {
  static constexpr int kLanes = 1;
  using Float = float;
  using Double = double;
  using Int = std::int32_t;
};

/// The kind of number that stands in a lane.
template <class Real>
struct LaneNumber {
  using Type = Real;
};
/// A constant, rounded to the kind of number that Real works in.
template <class Real>
inline Real Constant(double x) {
  return Real(static_cast<typename LaneNumber<Real>::Type>(x));
}

/// Toward zero; x within the range of the integer.
inline std::int32_t Truncate(float x) { return static_cast<std::int32_t>(x); }
/// To the nearest, halves to the even one; |x| below 2^22.
inline std::int32_t RoundToInt(float x) { return static_cast<std::int32_t>(std::lrint(x)); }
/// 2^i times x by the exponent field, which must not overflow.
inline float ScaleByPowerOfTwo(float x, std::int32_t i) {
  return std::bit_cast<float>(std::bit_cast<std::int32_t>(x) + i * (1 << 23));
}

inline float Abs(float x) { return std::fabs(x); }
inline double Abs(double x) { return std::fabs(x); }
inline double CopySign(double magnitude, double sign) { return std::copysign(magnitude, sign); }

/// The number of one lane, to read and to write.
inline float& Lane(float& x, int) { return x; }
inline double& Lane(double& x, int) { return x; }
inline std::int32_t& Lane(std::int32_t& x, int) { return x; }
inline const float& Lane(const float& x, int) { return x; }
inline const double& Lane(const double& x, int) { return x; }
inline const std::int32_t& Lane(const std::int32_t& x, int) { return x; }

/// Of each lane the float at its address and the one after it.
inline void LoadPairs(const float* const* addresses, float& first, float& second) {
  first = addresses[0][0];
  second = addresses[0][1];
}

/// As std::min and std::max are: of equal numbers and beside a NaN, the first.
template <class Real>
inline Real Min(Real a, Real b) {
  return Select(b < a, b, a);
}
template <class Real>
inline Real Max(Real a, Real b) {
  return Select(a < b, b, a);
}

/// Neither infinite nor NaN.
template <class Real>
inline auto IsFinite(Real x) {
  return x - x == Real(0.0f);
}

/// Calls f(lane) for each lane in which the mask holds.
template <class Mask, class F>
inline void ForEachLane(Mask mask, F&& f) {
  for (unsigned rest = LaneBits(mask); rest != 0; rest &= rest - 1) f(std::countr_zero(rest));
}

}  // namespace halveron::dsp
