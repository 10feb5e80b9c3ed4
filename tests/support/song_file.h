// Standard MIDI files as a test needs them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/scratch_folder.h"

namespace halveron::testing {

inline std::string BigEndian(std::uint64_t value, int bytes) {
  std::string text;
  while (bytes-- > 0) text += static_cast<char>((value >> (8 * bytes)) & 0xFF);
  return text;
}

inline std::string Quantity(std::uint32_t value) {
  std::string text(1, static_cast<char>(value & 0x7F));
  while (value >>= 7) text.insert(0, 1, static_cast<char>((value & 0x7F) | 0x80));
  return text;
}

/// One track, written event by event with waits in ticks.
class SongTrack {
 public:
  SongTrack& Add(std::uint32_t wait, const std::vector<int>& bytes) {
    data_ += Quantity(wait);
    for (const int byte : bytes) data_ += static_cast<char>(byte);
    return *this;
  }
  SongTrack& Tempo(std::uint32_t wait, int microseconds) {
    return Add(
        wait, {0xFF, 0x51, 3, microseconds >> 16, (microseconds >> 8) & 0xFF, microseconds & 0xFF});
  }
  SongTrack& Raw(const std::string& bytes) {
    data_ += bytes;
    return *this;
  }
  std::string Chunk(std::uint32_t endWait = 0) const {
    const std::string data = data_ + Quantity(endWait) + std::string("\xFF\x2F\x00", 3);
    return "MTrk" + BigEndian(data.size(), 4) + data;
  }

 private:
  std::string data_;
};

inline std::string SongHeader(int tracks, int division, int format = 1) {
  return "MThd" + BigEndian(6, 4) + BigEndian(static_cast<std::uint64_t>(format), 2) +
         BigEndian(static_cast<std::uint64_t>(tracks), 2) +
         BigEndian(static_cast<std::uint64_t>(division), 2);
}

}  // namespace halveron::testing
