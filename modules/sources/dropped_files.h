// Files that are dropped on the panels of players.
#pragma once

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>

namespace halveron {

/// What the rack itself takes when it is dropped.
inline bool IsPatchFile(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return extension == ".hvp" || extension == ".json";
}

}  // namespace halveron
