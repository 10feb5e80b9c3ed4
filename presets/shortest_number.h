// Floats as text.
#pragma once

#include <charconv>
#include <iterator>

namespace halveron {

/// The double with the fewest digits that rounds to this float.
inline double Shortest(float value) {
  char digits[32];
  const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
  double shortest = value;
  std::from_chars(std::begin(digits), end, shortest);
  return static_cast<float>(shortest) == value ? shortest : static_cast<double>(value);
}

}  // namespace halveron
