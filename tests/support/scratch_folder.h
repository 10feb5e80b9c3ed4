// Files of a test.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace halveron::testing {

/// A new directory that is removed, with its contents, when the test ends.
class ScratchFolder {
 public:
  ScratchFolder() {
    static int count = 0;
    const auto base = std::filesystem::temp_directory_path();
    do {
      path_ = base / ("halveron-test-" + std::to_string(++count));
    } while (!std::filesystem::create_directory(path_));
  }
  ~ScratchFolder() { std::filesystem::remove_all(path_); }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::string At(const std::string& name) const { return (path_ / name).string(); }

  std::string Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(path_ / name, std::ios::binary) << bytes;
    return At(name);
  }

  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      names.push_back(entry.path().filename().string());
    }
    return names;
  }

 private:
  std::filesystem::path path_;
};

inline std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace halveron::testing
