// The standard error stream of libraries that write to it unasked.
#pragma once

namespace halveron::platform {

/// While alive, what is written to the standard error stream is lost: the search for a sound card
/// makes its libraries complain about each sound system that is missing.
class StandardErrorQuiet {
 public:
  StandardErrorQuiet();
  ~StandardErrorQuiet();
  StandardErrorQuiet(const StandardErrorQuiet&) = delete;
  StandardErrorQuiet& operator=(const StandardErrorQuiet&) = delete;
};

}  // namespace halveron::platform
