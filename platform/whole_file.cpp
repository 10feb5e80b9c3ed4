#include "platform/whole_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <utility>

#include "platform/file_error.h"

namespace halveron::platform {

namespace {

struct Closer {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closer>;

constexpr int kMostLinks = 40;  // as the system's own limit
constexpr mode_t kAnybody = 0666;
constexpr mode_t kPermissions = 07777;

[[noreturn]] void Fail(const std::string& path, const char* what) {
  throw FileError(path, "", std::string(what) + ": " + std::strerror(errno));
}

/// Closes the file, and removes it unless it was taken.
class NewFile {
 public:
  /// In the folder of the file that it will replace.
  explicit NewFile(const std::filesystem::path& replaced) {
    static std::atomic<unsigned> count = 0;
    // Hidden, and short whatever the length of the other's name.
    const std::string name =
        ".halveron-" + std::to_string(getpid()) + "-" + std::to_string(count++) + ".part";
    path_ = (replaced.parent_path() / name).string();
    descriptor_ = open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kAnybody);
    isMade_ = descriptor_ >= 0;
  }
  ~NewFile() {
    const int cause = errno;
    Close();
    if (!taken_ && isMade_) unlink(path_.c_str());
    errno = cause;
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  int Descriptor() const { return descriptor_; }
  bool MoveTo(const std::filesystem::path& path, Durability durability) {
    taken_ = Close() && ReplaceFile(path_, path.string(), durability);
    return taken_;
  }

 private:
  bool Close() {
    const int open = std::exchange(descriptor_, -1);
    return open >= 0 && close(open) == 0;
  }

  std::string path_;
  int descriptor_ = -1;
  bool isMade_ = false;
  bool taken_ = false;
};

bool WriteAll(int descriptor, std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(written));
  }
  return true;
}

/// Where a link leads, also to a file that does not exist yet.
std::filesystem::path FollowLinks(std::filesystem::path path) {
  std::error_code error;
  for (int i = 0; i < kMostLinks && std::filesystem::is_symlink(path, error); ++i) {
    const std::filesystem::path goal = std::filesystem::read_symlink(path, error);
    if (error) break;
    path = path.parent_path() / goal;
  }
  return path;
}

bool Flush(const std::string& path, int flags) {
  const int descriptor = open(path.empty() ? "." : path.c_str(), flags | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool flushed = fsync(descriptor) == 0;
  close(descriptor);
  return flushed;
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

std::vector<std::byte> ReadFileBeginning(const std::string& path, std::size_t most) {
  const File file(std::fopen(path.c_str(), "rb"));
  if (!file) Fail(path, "cannot be opened");
  std::vector<std::byte> bytes(most);
  bytes.resize(std::fread(bytes.data(), 1, most, file.get()));
  if (std::ferror(file.get())) Fail(path, "cannot be read");
  return bytes;
}

void WriteWholeFile(const std::string& path, std::span<const std::byte> bytes,
                    Durability durability) {
  constexpr const char* kFailure = "cannot be written";
  const std::filesystem::path target = FollowLinks(path);
  struct stat present {};
  const bool exists = stat(target.c_str(), &present) == 0;
  if (exists && access(target.c_str(), W_OK) != 0) Fail(path, kFailure);
  if (exists && !S_ISREG(present.st_mode) && !S_ISDIR(present.st_mode)) {
    const File file(std::fopen(target.c_str(), "wb"));
    if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size() ||
        std::fflush(file.get()) != 0) {
      Fail(path, kFailure);
    }
    return;
  }
  NewFile file(target);
  if (file.Descriptor() < 0 || !WriteAll(file.Descriptor(), bytes) ||
      !file.MoveTo(target, durability)) {
    Fail(path, kFailure);
  }
}

bool ReplaceFile(const std::string& temporary, const std::string& path, Durability durability) {
  const bool flushes = durability == Durability::kFlushed;
  struct stat present {};
  if (stat(path.c_str(), &present) == 0 &&
      chmod(temporary.c_str(), present.st_mode & kPermissions) != 0) {
    return false;
  }
  if (flushes && !Flush(temporary, O_RDONLY)) return false;
  if (std::rename(temporary.c_str(), path.c_str()) != 0) return false;
  // Where a file system cannot flush a folder, the rename stands all the same.
  if (flushes) Flush(std::filesystem::path(path).parent_path().string(), O_RDONLY | O_DIRECTORY);
  return true;
}

}  // namespace halveron::platform
