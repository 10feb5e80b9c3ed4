// `halveron render`: plays a patch into a sound file, a MIDI file, or both.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

namespace halveron {

struct RenderOptions {
  std::string patch;
  std::string output;      ///< empty: no sound file
  std::string midiOutput;  ///< empty: no MIDI file; one of the two is given
  std::string input;       ///< empty: silence on all host inputs
  std::string midi;        ///< empty: no messages
  int rate = 48000;        ///< hertz
  int block = 512;         ///< samples
  std::optional<double> seconds;
  std::optional<std::int64_t> frames;
  std::optional<double> tempo;  ///< over the MIDI file's own; its messages follow
  bool isStopped = false;
  int channels = 2;
  bool placeholders = false;        ///< for modules of a preset that are missing
  std::optional<int> voices;        ///< over the patch's own
  std::optional<int> oversampling;  ///< over the patch's own
};

/// Returns the exit status. Throws platform::UserError; then, and after an interrupt, existing
/// output files are unchanged.
int Render(const RenderOptions& options, std::ostream& out, std::ostream& err);

}  // namespace halveron
