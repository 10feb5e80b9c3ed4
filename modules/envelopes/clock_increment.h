// The measured clock that S515 and S516 keep behind the control values of a preset.
#pragma once

#include <cmath>

#include "framework/byte_io.h"
#include "framework/module.h"

namespace halveron {

/// Bytes of a preset: the control values, then the increment as a double.
inline int PresetSizeWithIncrement(Module& module) {
  return module.GetControlValuesSize() + static_cast<int>(sizeof(double));
}

/// Writes that preset; nothing if it does not fit.
inline void SavePresetWithIncrement(Module& module, void* buffer, int size, double increment) {
  if (size < PresetSizeWithIncrement(module)) return;
  module.SaveControlValues(static_cast<float*>(buffer));
  const auto values = static_cast<std::size_t>(module.GetControlValuesSize());
  ByteWriter(static_cast<std::byte*>(buffer) + values, sizeof(double)).Write(increment);
}

/// Reads an increment that was stored as `Stored`. One that is missing, not finite or negative
/// leaves the present one.
template <class Stored>
void ReadClockIncrement(ByteReader& reader, double& increment) {
  Stored stored{};
  if (reader.Read(stored) && std::isfinite(stored) && stored >= Stored{0}) increment = stored;
}

}  // namespace halveron
