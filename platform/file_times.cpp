#include "platform/file_times.h"

#include <sys/stat.h>

#include <chrono>

namespace halveron::platform {

std::optional<std::filesystem::file_time_type> TimeOfLastChange(const std::string& path) {
  struct stat facts {};
  if (stat(path.c_str(), &facts) != 0) return std::nullopt;
  const auto sinceEpoch =
      std::chrono::seconds(facts.st_ctim.tv_sec) + std::chrono::nanoseconds(facts.st_ctim.tv_nsec);
  return std::chrono::file_clock::from_sys(std::chrono::sys_time<std::chrono::nanoseconds>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(sinceEpoch)));
}

}  // namespace halveron::platform
