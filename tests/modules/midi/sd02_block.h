// Values in the preset block of an SD02.
#pragma once

#include <cstddef>
#include <cstring>
#include <vector>

namespace halveron::testing {

inline constexpr int kControlBytes = 16 * sizeof(float);  // of the SD02: 7 controls, 9 points

template <class T>
T ValueAt(const std::vector<std::byte>& data, int offset) {
  T value;
  std::memcpy(&value, data.data() + offset, sizeof(T));
  return value;
}

}  // namespace halveron::testing
