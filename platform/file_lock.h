// A file by which processes and instances know that another one is alive.
#pragma once

#include <memory>
#include <string>

namespace halveron::platform {

/// Holds a file locked while it lives. The system takes the lock away when the process ends,
/// however it ends. A second lock on the file fails, in this process as in others.
class FileLock {
 public:
  /// Makes the file if it is missing. Null if somebody else holds it, or it cannot be made.
  static std::unique_ptr<FileLock> TryTake(const std::string& path);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  /// Removes the file when the lock goes.
  void RemoveAtEnd() { removes_ = true; }

 private:
  FileLock(std::string path, int descriptor) : path_(std::move(path)), descriptor_(descriptor) {}

  std::string path_;
  int descriptor_;
  bool removes_ = false;
};

}  // namespace halveron::platform
