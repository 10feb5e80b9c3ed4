#include "platform/standard_error.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <mutex>

namespace halveron::platform {

namespace {

/// Scopes of several threads may overlap: the first one redirects, the last one restores.
std::mutex scopesMutex;
int scopes = 0;
int kept = -1;

}  // namespace

StandardErrorQuiet::StandardErrorQuiet() {
  const std::lock_guard lock(scopesMutex);
  if (scopes++ > 0) return;
  std::fflush(stderr);
  const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nothing < 0) return;
  kept = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
  if (kept >= 0) dup2(nothing, STDERR_FILENO);
  close(nothing);
}

StandardErrorQuiet::~StandardErrorQuiet() {
  const std::lock_guard lock(scopesMutex);
  if (--scopes > 0 || kept < 0) return;
  std::fflush(stderr);
  dup2(kept, STDERR_FILENO);
  close(kept);
  kept = -1;
}

}  // namespace halveron::platform
