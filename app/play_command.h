// `halveron play`: the instrument by itself, with a window, a sound card and MIDI ports.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace halveron {

struct PlayOptions {
  std::string patch;              ///< empty: an empty rack
  bool placeholders = false;      ///< for modules of the patch that are missing
  std::string device;             ///< a number or part of a name; empty: the default
  std::vector<std::string> midi;  ///< inputs, likewise; empty: all that are there
  std::string midiOutput;         ///< likewise; empty: none
  std::optional<int> rate;        ///< hertz; else 48000 if the card has it
  std::optional<int> block;       ///< samples; else 512
  double tempo = 120;             ///< quarter notes a minute
  bool hasWindow = true;
  bool listsDevices = false;
};

/// Plays until the window is closed or the user interrupts it, and returns the exit status. Throws
/// platform::UserError if a device or port that the user named does not exist.
int Play(const PlayOptions& options, std::ostream& out, std::ostream& err);

}  // namespace halveron
