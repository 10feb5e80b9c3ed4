#include "platform/time_text.h"

#include <chrono>
#include <ctime>

namespace halveron::platform {

namespace {

std::string Format(const std::tm& time, const char* form) {
  char text[64];
  return {text, std::strftime(text, sizeof text, form, &time)};
}

std::time_t SystemTime(std::filesystem::file_time_type time) {
  return std::chrono::system_clock::to_time_t(
      std::chrono::time_point_cast<std::chrono::system_clock::duration>(
          std::chrono::file_clock::to_sys(time)));
}

}  // namespace

std::string TimeInWords(std::filesystem::file_time_type time) {
  const std::time_t seconds = SystemTime(time);
  std::tm local{};
  localtime_r(&seconds, &local);
  return Format(local, "%e %b %Y, %H:%M:%S").erase(0, local.tm_mday < 10 ? 1 : 0);
}

std::string TimeForFileName(std::filesystem::file_time_type time) {
  const std::time_t seconds = SystemTime(time);
  std::tm universal{};
  gmtime_r(&seconds, &universal);
  return Format(universal, "%Y-%m-%d %H.%M.%S");
}

}  // namespace halveron::platform
