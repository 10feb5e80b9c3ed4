// The files of racks that were not saved, as far as instances that run or ran have left them.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "platform/file_lock.h"

namespace halveron {

/// What an instance that ended without saving has left.
struct Leftover {
  std::string stem;  ///< path of its files without their extensions
  std::string name;  ///< of the preset; empty if it had none
  std::string path;  ///< of the preset's file; empty if it had none
  std::filesystem::file_time_type time;

  std::string File() const { return stem + ".hvp"; }
  /// Name and time, for a list.
  std::string Title() const;
};

/// The files of one instance in the folder, which others leave alone while it runs.
class AutosaveFiles {
 public:
  /// Null if the folder cannot be written.
  static std::unique_ptr<AutosaveFiles> Make(const std::string& folder);
  /// Those of a leftover; null if its instance runs, or another one has taken it.
  static std::unique_ptr<AutosaveFiles> TakeOver(const Leftover& leftover);

  /// Throws platform::FileError. Any thread, one at a time.
  void Write(const std::string& name, const std::string& path, const std::vector<std::byte>& rack);
  /// What is written goes, and the files stay this instance's.
  void Clear();
  /// All files go, at the end of the lock.
  ~AutosaveFiles();
  /// They stay for the next start.
  void Leave() { leaves_ = true; }
  /// They go after all.
  void Remove() { leaves_ = false; }

  AutosaveFiles(const AutosaveFiles&) = delete;
  AutosaveFiles& operator=(const AutosaveFiles&) = delete;

 private:
  AutosaveFiles(std::string stem, std::unique_ptr<platform::FileLock> lock)
      : stem_(std::move(stem)), lock_(std::move(lock)) {}

  std::string stem_;
  std::unique_ptr<platform::FileLock> lock_;
  bool leaves_ = false;
};

/// The newest first. Those of more than a month ago are removed.
std::vector<Leftover> FindLeftovers(const std::string& folder);

}  // namespace halveron
