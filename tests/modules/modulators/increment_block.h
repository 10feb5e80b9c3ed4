// Preset blocks that end with a clock increment.
#pragma once

#include <cstring>
#include <vector>

#include "tests/support/test_rack.h"

namespace halveron::testing {

using Bytes = std::vector<std::byte>;

/// The block of a present preset up to its last 8 bytes, then a clock increment.
template <class Stored>
Bytes WithIncrement(Bytes block, Stored increment) {
  block.resize(block.size() - sizeof(double));
  const auto* raw = reinterpret_cast<const std::byte*>(&increment);
  block.insert(block.end(), raw, raw + sizeof(increment));
  return block;
}

inline void Load(Module& module, const Bytes& block, int version) {
  module.LoadPreset(block.data(), static_cast<int>(block.size()), version);
}

inline double IncrementOf(TestRack& rack, Module& module) {
  const Bytes block = rack.SavedPreset(module);
  double increment = 0.0;
  std::memcpy(&increment, block.data() + block.size() - sizeof(double), sizeof(double));
  return increment;
}

}  // namespace halveron::testing
