// What tests of filters share: responses from an impulse, and panels whose every wire is played.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <numbers>
#include <vector>

#include "tests/support/test_rack.h"

namespace halveron::testing {

using Complex = std::complex<double>;

inline constexpr float kRates[] = {44100.0f, 96000.0f, 384000.0f};
inline constexpr double kPi = std::numbers::pi;
/// Cells that a MIDI cable may carry into a voltage input.
inline constexpr float kBadWords[] = {std::numeric_limits<float>::quiet_NaN(),
                                      std::numeric_limits<float>::infinity(), 3e38f};

/// Response of a linear step at a frequency given as a fraction of the rate, from an impulse that
/// is small enough to stay clear of every clip.
template <class Step>
Complex Response(double frequency, Step step) {
  constexpr double kImpulse = 0x1p-10;
  const Complex turn = std::polar(1.0, -2.0 * kPi * frequency);
  Complex sum = 0.0, z = 1.0 / kImpulse;
  for (int n = 0; n < 100000; ++n) {
    sum += step(n == 0 ? kImpulse : 0.0) * z;
    z *= turn;
  }
  return sum;
}

inline double Decibels(Complex gain) { return 20.0 * std::log10(std::abs(gain)); }

/// The patch points of a filter play noise while its controls rest, each at a value of its own:
/// every wire has to reach its place in the kernel for the bits to agree.
class WiredFilter : public ::testing::Test {
 protected:
  static constexpr int kFrames = 400;

  Module& Patch(const char* name, const std::vector<const char*>& controls,
                const std::vector<float>& values, const std::vector<const char*>& inputs) {
    Module& module = rack.Add(name);
    for (std::size_t i = 0; i < controls.size(); ++i) {
      rack.SetControl(module, controls[i], values[i]);
    }
    std::uint32_t seed = 1;
    for (const char* input : inputs) {
      in.emplace_back(kFrames);
      for (float& x : in.back()) {
        seed = seed * 1664525u + 1013904223u;
        x = static_cast<float>(static_cast<std::int32_t>(seed)) * 0x1p-32f;
      }
      rack.Feed(module, input, in.back());
    }
    return module;
  }

  TestRack rack{48000};
  std::vector<std::vector<float>> in;
};

}  // namespace halveron::testing
