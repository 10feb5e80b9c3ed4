// `halveron render`: plays a patch into a sound file.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

namespace halveron {

struct RenderOptions {
  std::string patch;
  std::string output;
  std::string input;  ///< empty: silence on all host inputs
  std::string midi;   ///< empty: no messages
  int rate = 48000;   ///< hertz
  int block = 512;    ///< samples
  std::optional<double> seconds;
  std::optional<std::int64_t> frames;
  std::optional<double> tempo;  ///< over the MIDI file's own; its messages follow
  bool isStopped = false;
  int channels = 2;
  std::optional<int> voices;        ///< over the patch's own
  std::optional<int> oversampling;  ///< over the patch's own
};

/// Returns the exit status. Throws platform::FileError; then, and after an interrupt, what stood at
/// the output's place is still there.
int Render(const RenderOptions& options, std::ostream& out, std::ostream& err);

}  // namespace halveron
