// Clocks for the tests of what counts them.
#pragma once

#include <string>
#include <vector>

#include "tests/support/test_rack.h"

namespace halveron::testing {

/// `count` clocks, each high for one sample and low for `period` - 1, the first after `offset`.
inline std::vector<float> Clocks(int count, int period, int offset = 0) {
  std::vector<float> samples(static_cast<std::size_t>(count * period + offset), 0.0f);
  for (int i = 0; i < count; ++i) samples[static_cast<std::size_t>(i * period + offset)] = 1.0f;
  return samples;
}

/// What an output holds after each clock: '1' for high, '.' for low.
inline std::string AfterClocks(TestRack& rack, Module& module, const std::string& output,
                               int period, int count) {
  const std::vector<float>& recorded = rack.Recorded(module, output);
  std::string levels;
  for (int i = 0; i < count; ++i) {
    levels += recorded.at(static_cast<std::size_t>(i * period)) > 0.0f ? '1' : '.';
  }
  return levels;
}

}  // namespace halveron::testing
