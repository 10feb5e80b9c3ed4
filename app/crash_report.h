// What to say when code of others brings the program down.
#pragma once

#include <csignal>
#include <string>

namespace halveron {

/// While it lives, a crash, or a step that does not come to an end, prints one line on the error
/// output and ends the process with the status of misuse. One at a time, of one thread.
class CrashReport {
 public:
  CrashReport();
  ~CrashReport();
  CrashReport(const CrashReport&) = delete;
  CrashReport& operator=(const CrashReport&) = delete;

  /// From now on `who` is to blame, and does `what`, such as "plays".
  void Begin(const std::string& who, const std::string& what);

 private:
  struct sigaction former_[6];
  stack_t formerStack_;
};

}  // namespace halveron
