// What went wrong with a file, as a panel shows it.
#pragma once

#include <exception>
#include <filesystem>
#include <string>

namespace halveron::platform {

/// The message of an error with the file at `path`: with the file's name but not its folder, which
/// would fill the line.
inline std::string ErrorLine(const std::exception& error, const std::string& path) {
  std::string line = error.what();
  if (!path.empty() && line.starts_with(path)) {
    line.replace(0, path.size(), std::filesystem::path(path).filename().string());
  }
  return line;
}

}  // namespace halveron::platform
