// The patterns of a 4 by 4 matrix of crosspoints, as a list that the user edits.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

namespace halveron {

/// A list of 1 to 100 patterns. Bit row * 4 + column of a pattern is its crosspoint there.
struct RoutePatterns {
  static constexpr int kSize = 4;
  static constexpr int kMost = 100;

  std::array<std::int32_t, kMost> patterns{};
  int lastStep = 0;

  bool Has(int step, int row, int column) const {
    return (patterns[step] >> (row * kSize + column) & 1) != 0;
  }
  void Set(int step, int crosspoint, bool joined) {
    const std::int32_t bit = 1 << crosspoint;
    patterns[step] = joined ? patterns[step] | bit : patterns[step] & ~bit;
  }

  /// Puts a copy of a pattern behind it. False if the list is full.
  bool Insert(int step) {
    if (lastStep >= kMost - 1) return false;
    std::copy_backward(patterns.begin() + step, patterns.begin() + lastStep + 1,
                       patterns.begin() + lastStep + 2);
    ++lastStep;
    return true;
  }
  /// Takes a pattern out; the only one is cleared instead.
  void Delete(int step) {
    if (step > lastStep) return;
    std::copy(patterns.begin() + step + 1, patterns.begin() + lastStep + 1,
              patterns.begin() + step);
    patterns[lastStep] = 0;
    lastStep = std::max(lastStep - 1, 0);
  }
};

}  // namespace halveron
