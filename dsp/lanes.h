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

namespace halveron::dsp {

/// One voice at a time, in plain numbers.
struct OneVoice {
  static constexpr int kLanes = 1;
  using Float = float;
  using Double = double;
  using Int = std::int32_t;
};

inline bool And(bool a, bool b) { return a && b; }
inline bool Or(bool a, bool b) { return a || b; }
template <class A, class B, class C>
inline auto And(const A& a, const B& b, const C& c) {
  return And(And(a, b), c);
}
template <class A, class B, class C>
inline auto Or(const A& a, const B& b, const C& c) {
  return Or(Or(a, b), c);
}
inline bool Any(bool mask) { return mask; }
inline bool All(bool mask) { return mask; }
/// A mask for doubles of one for floats, and back.
inline bool ToWide(bool mask) { return mask; }
inline bool ToNarrow(bool mask) { return mask; }
/// A bit for each lane in which the mask holds.
inline unsigned LaneBits(bool mask) { return mask ? 1u : 0u; }

inline float Select(bool mask, float a, float b) { return mask ? a : b; }
inline double Select(bool mask, double a, double b) { return mask ? a : b; }
inline std::int32_t Select(bool mask, std::int32_t a, std::int32_t b) { return mask ? a : b; }

inline double ToDouble(float x) { return x; }
inline double ToDouble(std::int32_t x) { return x; }
inline float ToFloat(double x) { return static_cast<float>(x); }
inline float ToFloat(std::int32_t x) { return static_cast<float>(x); }
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

/// As std::min and std::max are: of equal numbers and beside a NaN, the first.
template <class Real>
inline Real Min(Real a, Real b) {
  return Select(b < a, b, a);
}
template <class Real>
inline Real Max(Real a, Real b) {
  return Select(a < b, b, a);
}

/// Neither infinite nor no number.
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
