// The sound card and the MIDI ports, where the program has them itself.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace halveron {

/// What a standalone host offers to its user. Window thread.
class SoundControl {
 public:
  struct Choice {
    std::string text;
    bool isChosen = false;
    std::function<void()> choose;  ///< says itself what failed
  };
  /// One thing to choose, such as the device.
  struct Group {
    std::string title;
    std::vector<Choice> choices;
  };

  virtual ~SoundControl() = default;
  /// A short line, such as "48000 Hz, 256".
  virtual std::string State() const = 0;
  virtual std::vector<Group> Groups() = 0;
  /// Plays a MIDI message of the window's own.
  virtual void Play(std::span<const std::uint8_t> message) = 0;
};

}  // namespace halveron
