#include "platform/desktop.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <system_error>

namespace halveron::platform {

namespace {

constexpr const char* kStarter = "setsid";
constexpr const char* kOpener = "xdg-open";

std::string Missing(const std::string& program, const std::string& package) {
  return "The program \"" + program + "\" is not installed (package " + package + ")";
}

}  // namespace

std::string FindProgram(const std::string& name) {
  namespace fs = std::filesystem;
  const char* const path = std::getenv("PATH");
  std::istringstream folders(path ? path : "");
  for (std::string folder; std::getline(folders, folder, ':');) {
    std::string program = (folder.empty() ? "." : folder) + "/" + name;
    std::error_code error;
    if (fs::is_regular_file(program, error) && access(program.c_str(), X_OK) == 0) return program;
  }
  return {};
}

std::string OpenOnDesktop(const std::string& address) {
  // The starter succeeds whether or not there is something to start.
  if (FindProgram(kOpener).empty()) return Missing(kOpener, "xdg-utils");
  if (FindProgram(kStarter).empty()) return Missing(kStarter, "util-linux");
  // The program is started in a session of its own, so that the one that is waited for here ends at
  // once and the opened one outlives us.
  std::array<std::string, 4> words = {kStarter, "--fork", kOpener, address};
  std::array<char*, words.size() + 1> arguments{};
  for (std::size_t i = 0; i < words.size(); ++i) arguments[i] = words[i].data();
  pid_t child = 0;
  int status = 0;
  const bool isStarted =
      posix_spawnp(&child, kStarter, nullptr, nullptr, arguments.data(), environ) == 0 &&
      waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
  return isStarted ? "" : std::string("The program \"") + kOpener + "\" could not be started";
}

}  // namespace halveron::platform
