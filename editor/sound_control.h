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
    std::function<void()> choose;  ///< see Problem
  };
  /// One thing to choose, such as the device.
  struct Group {
    std::string title;
    std::vector<Choice> choices;
    bool takesSeveral = false;  ///< choosing one again takes it back
  };

  virtual ~SoundControl() = default;
  /// A short line, such as "48000 Hz, 256".
  virtual std::string State() const = 0;
  /// What plays now, or why nothing does; a sentence or two.
  virtual std::string Details() const = 0;
  /// Why the last choice did not take effect; empty if it did.
  virtual std::string Problem() const = 0;
  /// As they were when devices and ports were looked for last, which may take a while.
  virtual std::vector<Group> Groups() = 0;
  virtual void LookForDevices() = 0;
  /// Plays a MIDI message of the window's own.
  virtual void Play(std::span<const std::uint8_t> message) = 0;

  /// The window shows that letters play notes, until they have or the rack is another one.
  bool hintsAtLetters = false;
};

}  // namespace halveron
