#include "platform/whole_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "platform/file_error.h"

namespace halveron::platform {

namespace {

struct Closer {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closer>;

[[noreturn]] void Fail(const std::string& path, const char* what) {
  throw FileError(path, "", std::string(what) + ": " + std::strerror(errno));
}

}  // namespace

std::vector<std::byte> ReadWholeFile(const std::string& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) {
    throw FileError(path, "", "is a folder", "name a file");
  }
  const File file(std::fopen(path.c_str(), "rb"));
  if (!file) Fail(path, "cannot be opened");
  std::vector<std::byte> bytes;
  std::byte block[65536];
  while (const std::size_t got = std::fread(block, 1, sizeof block, file.get())) {
    bytes.insert(bytes.end(), block, block + got);
    if (bytes.size() > kMostWholeFileBytes) throw FileError(path, "", "is too large");
  }
  if (std::ferror(file.get())) Fail(path, "cannot be read");
  return bytes;
}

void WriteWholeFile(const std::string& path, std::span<const std::byte> bytes) {
  const std::string temporary = path + ".part" + std::to_string(getpid());
  File file(std::fopen(temporary.c_str(), "wb"));
  if (!file) Fail(path, "cannot be written");
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
  const bool closed = std::fclose(file.release()) == 0;
  if (!written || !closed || std::rename(temporary.c_str(), path.c_str()) != 0) {
    const int cause = errno;
    std::remove(temporary.c_str());
    errno = cause;
    Fail(path, "cannot be written");
  }
}

}  // namespace halveron::platform
