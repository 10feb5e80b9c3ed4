// Preset data that are frames of bars, for text patches.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace halveron {

/// The bars of a frame, each value 0..1. An empty list stands for neutral values.
struct BarFrame {
  std::vector<float> gain;
  std::vector<float> phase;

  bool operator==(const BarFrame&) const = default;
};

/// A module, to be found by a cast, whose data behind its control values are frames of bars.
class BarFramesOwner {
 public:
  virtual int BarsOfFrame() const = 0;
  virtual int MostBarFrames() const = 0;
  /// 1 to MostBarFrames frames, of BarsOfFrame bars or of neutral ones.
  virtual std::vector<std::byte> DataOf(std::span<const BarFrame> frames) const = 0;
  /// None if the data hold what frames cannot say.
  virtual std::optional<std::vector<BarFrame>> FramesOf(std::span<const std::byte> data) const = 0;

 protected:
  ~BarFramesOwner() = default;
};

}  // namespace halveron
