#include "media/byte_source.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "platform/file_error.h"

namespace halveron::media {

namespace fs = std::filesystem;
using platform::FileError;

FileSource::FileSource(const std::string& path) {
  std::error_code error;
  // A pipe or a device might never answer.
  if (fs::exists(path, error) && !fs::is_regular_file(path, error)) {
    throw FileError(path, "", "is no regular file", "choose a sound file");
  }
  file_.reset(std::fopen(path.c_str(), "rb"));
  if (!file_) throw FileError(path, "", std::string("cannot be read: ") + std::strerror(errno));
  size_ = static_cast<std::int64_t>(fs::file_size(path, error));
  if (error) throw FileError(path, "", "cannot be read: " + error.message());
}

std::size_t FileSource::Read(std::span<std::uint8_t> target) {
  return std::fread(target.data(), 1, target.size(), file_.get());
}

bool FileSource::Seek(std::int64_t position) {
  return position >= 0 && position <= size_ &&
         std::fseek(file_.get(), static_cast<long>(position), SEEK_SET) == 0;
}

std::size_t MemorySource::Read(std::span<std::uint8_t> target) {
  const std::size_t count = std::min(target.size(), bytes_.size() - position_);
  std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(position_), count, target.begin());
  position_ += count;
  return count;
}

bool MemorySource::Seek(std::int64_t position) {
  if (position < 0 || position > Size()) return false;
  position_ = static_cast<std::size_t>(position);
  return true;
}

}  // namespace halveron::media
