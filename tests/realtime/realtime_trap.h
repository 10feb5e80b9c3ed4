// Catches what the audio thread must not do: take or give back memory, wait for another thread, or
// call the system.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace halveron::testing {

/// While alive, notes every call that this thread makes of the C library's memory functions, and of
/// those of its locks other than the mutex that it locked first: the block's own. Functions of the
/// executable that includes this stand in the place of the library's, also for what is loaded
/// later.
class RealtimeTrap {
 public:
  RealtimeTrap();
  ~RealtimeTrap();
  RealtimeTrap(const RealtimeTrap&) = delete;
  RealtimeTrap& operator=(const RealtimeTrap&) = delete;
};

/// What was noted on any thread since the last call: names, the first few of them.
std::vector<std::string> TakeOffences();

/// Runs `work` on a thread that the kernel lets make no system call but those that end a thread:
/// each other is refused and noted. False if this kernel, or what runs us, does not offer that;
/// `work` has run all the same.
bool RunWithoutSystemCalls(const std::function<void()>& work);

}  // namespace halveron::testing
