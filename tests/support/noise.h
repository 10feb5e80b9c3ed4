// White noise with a seed, as a test's signal.
#pragma once

#include <random>
#include <vector>

namespace halveron::testing {

/// `count` values between -4 and 4.
inline std::vector<float> Noise(int count, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> range(-4.0f, 4.0f);
  std::vector<float> samples;
  for (int i = 0; i < count; ++i) samples.push_back(range(random));
  return samples;
}

}  // namespace halveron::testing
