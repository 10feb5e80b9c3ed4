// Smoothing of control values.
#pragma once

#include "dsp/select.h"

namespace halveron::dsp {

/// One step of a one-pole low-pass toward `target`, ended by a snap within `nearest`; `step` is the
/// fraction of the distance covered. True where the value had arrived before.
template <class Double, class Float>
inline auto SmoothToward(Double& value, const Float& target, const Float& step,
                         double nearest = 0.001) {
  const Float distance = ToFloat(ToDouble(target) - value);
  const auto arrived = distance == 0.0f;
  if (All(arrived)) return arrived;
  const auto isNear = And(ToDouble(distance) > -nearest, ToDouble(distance) < nearest);
  const Double next = Select(isNear, ToDouble(target), value + ToDouble(distance * step));
  value = Select(arrived, value, next);
  return arrived;
}

}  // namespace halveron::dsp
