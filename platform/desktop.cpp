#include "platform/desktop.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

namespace halveron::platform {

bool OpenOnDesktop(const std::string& address) {
  // The program is started in a session of its own, so that the one that is waited for here ends at
  // once and the opened one outlives us.
  std::array<std::string, 4> words = {"setsid", "--fork", "xdg-open", address};
  std::array<char*, words.size() + 1> arguments{};
  for (std::size_t i = 0; i < words.size(); ++i) arguments[i] = words[i].data();
  pid_t child = 0;
  if (posix_spawnp(&child, "setsid", nullptr, nullptr, arguments.data(), environ) != 0) {
    return false;
  }
  int status = 0;
  return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace halveron::platform
