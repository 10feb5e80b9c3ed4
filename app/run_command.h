// The `halveron` command.
#pragma once

#include <iosfwd>

namespace halveron {

inline constexpr int kExitDone = 0;
inline constexpr int kExitMisuse = 2;         ///< one line on `err` says why
inline constexpr int kExitInterrupted = 130;  ///< as shells tell an interrupt

/// Runs the command with its results on `out` and all else on `err`, and returns the exit status.
int RunCommand(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

}  // namespace halveron
