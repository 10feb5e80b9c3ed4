#include "framework/preset_tail.h"

#include <algorithm>

namespace halveron {

ByteWriter PresetTail::Save(void* buffer, int size) const {
  const int values = module_.GetControlValuesSize();
  if (size < values) return {buffer, 0};
  module_.SaveControlValues(static_cast<float*>(buffer));
  return {static_cast<std::byte*>(buffer) + values, static_cast<std::size_t>(size - values)};
}

ByteReader PresetTail::Load(const void* buffer, int size, int missingControls) const {
  const int missing = missingControls * static_cast<int>(sizeof(float));
  const int values = std::clamp(size, 0, std::max(0, module_.GetControlValuesSize() - missing));
  module_.LoadControlValues(static_cast<const float*>(buffer), static_cast<unsigned>(values));
  return {static_cast<const std::byte*>(buffer) + values,
          static_cast<std::size_t>(std::max(size, 0) - values)};
}

}  // namespace halveron
