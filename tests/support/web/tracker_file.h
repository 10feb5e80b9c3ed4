// A piece of tracker music.
#pragma once

#include <cmath>
#include <numbers>
#include <string>

namespace halveron::testing {

/// Hertz of the note in a TrackerFile: 32 samples a period at the rate of the middle C.
inline constexpr double kTrackerHertz = 7093789.2 / (2 * 428) / 32;
/// Four rows of 31 ticks at 125 beats a minute, a tick being 20 ms.
inline constexpr double kTrackerSeconds = 4 * 31 * 0.02;

/// A module of four rows and four channels: one long note of a sine on the left.
inline std::string TrackerFile(const std::string& title = "Four rows") {
  constexpr int kSamples = 31, kRows = 64, kSampleBytes = 32;
  const auto word = [](int value) {
    return std::string{static_cast<char>(value >> 8), static_cast<char>(value)};
  };
  std::string file = title;
  file.resize(20, '\0');
  for (int i = 0; i < kSamples; ++i) {
    const bool isUsed = i == 0;
    file += std::string(22, '\0') + word(isUsed ? kSampleBytes / 2 : 0) + '\0';
    file += static_cast<char>(isUsed ? 64 : 0);  // volume
    file += word(0) + word(isUsed ? kSampleBytes / 2 : 1);
  }
  file += '\1';  // length of the song
  file += '\x7F';
  file += std::string(128, '\0');  // its only pattern
  file += "M.K.";
  std::string pattern(kRows * 4 * 4, '\0');
  const auto cell = [&](int row, int channel, int sample, int period, int effect, int value) {
    const int at = (row * 4 + channel) * 4;
    pattern[static_cast<std::size_t>(at)] = static_cast<char>((sample & 0xF0) | period >> 8);
    pattern[static_cast<std::size_t>(at + 1)] = static_cast<char>(period);
    pattern[static_cast<std::size_t>(at + 2)] = static_cast<char>((sample & 15) << 4 | effect);
    pattern[static_cast<std::size_t>(at + 3)] = static_cast<char>(value);
  };
  cell(0, 0, 1, 428, 0, 0);
  cell(0, 1, 0, 0, 0xF, 0x1F);  // 31 ticks a row
  cell(3, 1, 0, 0, 0xD, 0);     // the last row
  file += pattern;
  for (int i = 0; i < kSampleBytes; ++i) {
    file +=
        static_cast<char>(std::lround(100.0 * std::sin(2.0 * std::numbers::pi * i / kSampleBytes)));
  }
  return file;
}

}  // namespace halveron::testing
