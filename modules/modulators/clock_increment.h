// The measured clock that S515 and S516 keep behind the control values of a preset, as a double.
#pragma once

#include <cmath>

#include "framework/byte_io.h"

namespace halveron {

/// Reads an increment that was stored as `Stored`. One that is missing, not finite or negative
/// leaves the present one.
template <class Stored>
void ReadClockIncrement(ByteReader& reader, double& increment) {
  Stored stored{};
  if (reader.Read(stored) && std::isfinite(stored) && stored >= Stored{0}) increment = stored;
}

}  // namespace halveron
