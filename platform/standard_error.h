// The standard error stream of libraries that write to it unasked.
#pragma once

namespace halveron::platform {

/// While alive, what is written to the standard error stream is lost: looking for a sound card
/// makes its libraries complain of each way that leads to none.
class StandardErrorQuiet {
 public:
  StandardErrorQuiet();
  ~StandardErrorQuiet();
  StandardErrorQuiet(const StandardErrorQuiet&) = delete;
  StandardErrorQuiet& operator=(const StandardErrorQuiet&) = delete;

 private:
  int kept_;
};

}  // namespace halveron::platform
