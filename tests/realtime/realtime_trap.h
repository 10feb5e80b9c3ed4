// Detects what the audio thread must not do: allocate or free memory, block, or make system calls.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace halveron::testing {

/// While alive, notes every call that this thread makes of the C library's memory functions, and of
/// those of its locks other than the mutex that it locked first: the block's own. The functions are
/// replaced in the executable that includes this, also for libraries that it loads later.
class RealtimeTrap {
 public:
  RealtimeTrap();
  ~RealtimeTrap();
  RealtimeTrap(const RealtimeTrap&) = delete;
  RealtimeTrap& operator=(const RealtimeTrap&) = delete;
};

/// The first few names that were noted on any thread since the last call.
std::vector<std::string> TakeOffences();

/// Runs `work` on a thread for which the kernel refuses all system calls except those that end a
/// thread; each refused call is noted. False if the system does not offer that; `work` has run
/// nevertheless.
bool RunWithoutSystemCalls(const std::function<void()>& work);

}  // namespace halveron::testing
