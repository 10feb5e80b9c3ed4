#include "platform/standard_error.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace halveron::platform {

StandardErrorQuiet::StandardErrorQuiet() : kept_(-1) {
  std::fflush(stderr);
  const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nothing < 0) return;
  kept_ = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
  if (kept_ >= 0) dup2(nothing, STDERR_FILENO);
  close(nothing);
}

StandardErrorQuiet::~StandardErrorQuiet() {
  if (kept_ < 0) return;
  std::fflush(stderr);
  dup2(kept_, STDERR_FILENO);
  close(kept_);
}

}  // namespace halveron::platform
