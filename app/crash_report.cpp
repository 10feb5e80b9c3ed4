#include "app/crash_report.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "app/run_command.h"

namespace halveron {

namespace {

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGALRM};
constexpr unsigned kMostSeconds = 120;  // of a step

/// Written by a signal handler, which may allocate nothing.
char line[1024];
char stack[1 << 16];

const char* CauseOf(int signal) {
  switch (signal) {
    case SIGFPE:
      return " (arithmetic error)\n";
    case SIGILL:
      return " (invalid instruction)\n";
    case SIGABRT:
      return " (abort)\n";
    case SIGALRM:
      return ": it does not come to an end\n";
    default:
      return " (access to invalid memory)\n";
  }
}

void Fall(int signal) {
  const char* const crashes = signal == SIGALRM ? "hangs while it " : "crashes while it ";
  // "halveron: who: " ends at the first NUL, "what" follows.
  for (const char* part :
       {static_cast<const char*>(line), crashes,
        static_cast<const char*>(line) + std::strlen(line) + 1, CauseOf(signal)}) {
    if (write(STDERR_FILENO, part, std::strlen(part)) < 0) break;
  }
  _exit(kExitMisuse);
}

}  // namespace

CrashReport::CrashReport() {
  Begin("the library", "is loaded");
  // Of its own: a recursion without end leaves no room on the thread's stack.
  stack_t own{};
  own.ss_sp = stack;
  own.ss_size = sizeof stack;
  sigaltstack(&own, &formerStack_);
  struct sigaction action {};
  action.sa_handler = Fall;
  action.sa_flags = SA_ONSTACK;
  sigemptyset(&action.sa_mask);
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    sigaction(kSignals[i], &action, &former_[i]);
  }
}

CrashReport::~CrashReport() {
  alarm(0);
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    sigaction(kSignals[i], &former_[i], nullptr);
  }
  sigaltstack(&formerStack_, nullptr);
}

void CrashReport::Begin(const std::string& who, const std::string& what) {
  constexpr std::size_t kMostWhat = 200;
  const std::string head = "halveron: " + who.substr(0, sizeof line - kMostWhat - 20) + ": ";
  char next[sizeof line] = {};
  std::copy(head.begin(), head.end(), next);
  std::copy_n(what.begin(), std::min(what.size(), kMostWhat), next + head.size() + 1);
  std::memcpy(line, next, sizeof line);
  alarm(kMostSeconds);
}

}  // namespace halveron
