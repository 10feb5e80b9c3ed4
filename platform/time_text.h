// Times of files, in words and in names of files.
#pragma once

#include <filesystem>
#include <string>

namespace halveron::platform {

/// In local time: "23 Nov 2026, 15:55:30".
std::string TimeInWords(std::filesystem::file_time_type time);
/// In universal time, so that names sort by time: "2026-11-23 15.55.30".
std::string TimeForFileName(std::filesystem::file_time_type time);

}  // namespace halveron::platform
