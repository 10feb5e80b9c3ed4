// Fast exponential of base 2 for pitch laws.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace halveron::dsp {

/// 2^x with a relative error below 2e-7 within the exponent range of float; exact integers give
/// a power of two times 1.0000001. x is limited to -126..127, where the float's exponent ends.
///
/// A fifth-order polynomial on the fractional part -0.5..0.5, the integer part added to the
/// exponent field. Oscillators are tuned by this very form: it is not to be replaced by exp2.
inline float Exp2Fast(float x) {
  if (!(x > -126.0f)) x = -126.0f;
  if (x > 127.0f) x = 127.0f;
  const int i = static_cast<int>(std::lrint(x));
  const float f = x - static_cast<float>(i);
  const float f2 = f * f;
  const float p = ((0.0013276472f * f + 0.009675541f) * f2 + (0.05550713f * f + 0.2402212f)) * f2 +
                  (0.69314694f * f + 1.0000001f);
  return std::bit_cast<float>(std::bit_cast<std::int32_t>(p) + i * (1 << 23));
}

}  // namespace halveron::dsp
