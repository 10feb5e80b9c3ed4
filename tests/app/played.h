// `halveron play` as a process of its own.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/scratch_folder.h"

namespace halveron::testing {

/// Ended with the test. Its home, with all options and presets, is a folder of the test's; what it
/// has the desktop open stands in the file "opened" there.
class Played {
 public:
  Played(std::vector<std::string> words, const ScratchFolder& home);
  ~Played();
  Played(const Played&) = delete;
  Played& operator=(const Played&) = delete;

  /// What it has printed so far.
  std::string Log() const { return ReadFile(log_); }
  void Interrupt();
  /// The exit status, -1 if it goes on.
  int Status();

 private:
  std::string log_;
  pid_t process_ = 0;
};

/// For ten seconds at most; what `done` says at the end.
bool WaitUntil(const std::function<bool()>& done);

/// `halveron convert`; fails the test where that fails.
void Convert(const std::string& from, const std::string& to);

}  // namespace halveron::testing
