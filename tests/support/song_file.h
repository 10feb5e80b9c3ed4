// Standard MIDI files, and files in general, as a test needs them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace halveron::testing {

/// A directory of its own that is gone, with all in it, when the test ends.
class ScratchFolder {
 public:
  ScratchFolder() {
    static int count = 0;
    const auto base = std::filesystem::temp_directory_path();
    do {
      path_ = base / ("halveron-test-" + std::to_string(++count));
    } while (!std::filesystem::create_directory(path_));
  }
  ~ScratchFolder() { std::filesystem::remove_all(path_); }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::string At(const std::string& name) const { return (path_ / name).string(); }

  std::string Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(path_ / name, std::ios::binary) << bytes;
    return At(name);
  }

  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      names.push_back(entry.path().filename().string());
    }
    return names;
  }

 private:
  std::filesystem::path path_;
};

inline std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

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
