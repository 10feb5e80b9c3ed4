#include "dsp/fft.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <thread>
#include <vector>

namespace halveron::dsp {
namespace {

using Bin = std::complex<double>;

Bin BinByDefinition(std::span<const float> signal, int bin) {
  Bin sum = 0.0;
  const auto size = static_cast<double>(signal.size());
  for (std::size_t n = 0; n < signal.size(); ++n) {
    const double turn = -2.0 * std::numbers::pi * bin * static_cast<double>(n) / size;
    sum += static_cast<double>(signal[n]) * std::polar(1.0, turn);
  }
  return sum;
}

TEST(RealFft, IsTheDefinitionAndItsOwnInverse) {
  for (const int size : {2, 16, 100, 1024}) {
    RealFft fft(size);
    ASSERT_EQ(fft.Size(), size);
    ASSERT_EQ(fft.Spectrum().size(), static_cast<std::size_t>(size) / 2 + 1);
    std::vector<float> signal;
    for (int n = 0; n < size; ++n) signal.push_back(static_cast<float>(std::sin(n * n * 0.37)));
    std::copy(signal.begin(), signal.end(), fft.Signal().begin());
    fft.Forward();
    EXPECT_TRUE(std::equal(signal.begin(), signal.end(), fft.Signal().begin()));
    for (int bin = 0; bin <= size / 2; ++bin) {
      const auto found = fft.Spectrum()[static_cast<std::size_t>(bin)];
      EXPECT_LT(std::abs(Bin(found.real(), found.imag()) - BinByDefinition(signal, bin)), 1e-3)
          << size << ' ' << bin;
    }
    fft.Inverse();
    for (int n = 0; n < size; ++n) {
      const auto i = static_cast<std::size_t>(n);
      EXPECT_NEAR(fft.Signal()[i] / static_cast<float>(size), signal[i], 1e-5);
    }
  }
}

TEST(RealFft, CanBeMadeAndUsedOnSeveralThreadsAtOnce) {
  const auto work = [](float* first) {
    for (int size = 64; size <= 4096; size *= 2) {
      RealFft fft(size), other(size);
      other = std::move(fft);
      other.Signal()[0] = 1.0f;
      other.Forward();
      *first += other.Spectrum().back().real();
    }
  };
  float a = 0.0f, b = 0.0f;
  {
    std::jthread one([&] { work(&a); });
    std::jthread two([&] { work(&b); });
  }
  EXPECT_EQ(a, 7.0f);
  EXPECT_EQ(b, 7.0f);
}

}  // namespace
}  // namespace halveron::dsp
