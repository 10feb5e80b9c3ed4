#include "platform/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace halveron::platform {

namespace {

constexpr mode_t kOwnerOnly = 0600;

/// Whether the file that was opened is still the one of that name, which its last holder may have
/// removed meanwhile.
bool IsStillThere(const std::string& path, int descriptor) {
  struct stat opened {};
  struct stat named {};
  return fstat(descriptor, &opened) == 0 && stat(path.c_str(), &named) == 0 &&
         opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}

}  // namespace

std::unique_ptr<FileLock> FileLock::TryTake(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kOwnerOnly);
  if (descriptor < 0) return nullptr;
  if (flock(descriptor, LOCK_EX | LOCK_NB) != 0 || !IsStillThere(path, descriptor)) {
    close(descriptor);
    return nullptr;
  }
  return std::unique_ptr<FileLock>(new FileLock(path, descriptor));
}

FileLock::~FileLock() {
  if (removes_) unlink(path_.c_str());
  close(descriptor_);
}

}  // namespace halveron::platform
