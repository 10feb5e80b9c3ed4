// Times of files that the standard library does not tell.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace halveron::platform {

/// When the file, its times or its permissions changed last. Unlike the time of writing, nobody can
/// set it back, so that for a copy it is never before the copy was made. Nothing if the file cannot
/// be asked.
std::optional<std::filesystem::file_time_type> TimeOfLastChange(const std::string& path);

}  // namespace halveron::platform
