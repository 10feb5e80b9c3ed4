// Fast exponential of base 2 for pitch laws.
#pragma once

#include "dsp/lanes.h"

namespace halveron::dsp {

/// 2^x with a relative error below 2e-7 within the exponent range of float; exact integers give
/// a power of two times 1.0000001. x is limited to -126..127, where the float's exponent ends.
///
/// A fifth-order polynomial on the fractional part -0.5..0.5, the integer part added to the
/// exponent field. Oscillators are tuned by this very form: it is not to be replaced by exp2.
template <class Float>
inline Float Exp2Fast(Float x) {
  x = Select(x > -126.0f, x, -126.0f);
  x = Select(x > 127.0f, 127.0f, x);
  const auto i = RoundToInt(x);
  const Float f = x - ToFloat(i);
  const Float f2 = f * f;
  const Float p = ((0.0013276472f * f + 0.009675541f) * f2 + (0.05550713f * f + 0.2402212f)) * f2 +
                  (0.69314694f * f + 1.0000001f);
  return ScaleByPowerOfTwo(p, i);
}

}  // namespace halveron::dsp
