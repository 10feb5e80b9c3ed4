// The modules that a user reaches for: favourites, and those added last.
#pragma once

#include <string>
#include <vector>

#include "platform/profile_file.h"
#include "presets/placeholder.h"

namespace halveron {

/// Kept in the file of options, which is read again in each call: instances share it. Without a
/// file both lists last as long as the object.
class ModuleShelf {
 public:
  static constexpr std::size_t kMostRecent = 8;

  explicit ModuleShelf(const std::string& configFile) : file_(configFile) {}

  /// In the order in which they were marked.
  std::vector<ModuleIdentity> Favourites() { return Read(kFavourites); }
  /// The latest first.
  std::vector<ModuleIdentity> Recent() { return Read(kRecent); }
  void NoteUse(const ModuleIdentity& module);
  void ToggleFavourite(const ModuleIdentity& module);

 private:
  enum List : int { kFavourites, kRecent, kLists };
  std::vector<ModuleIdentity> Read(List list);
  void Write(List list, const std::vector<ModuleIdentity>& modules);

  platform::ProfileFile file_;
  std::vector<ModuleIdentity> withoutFile_[kLists];
};

}  // namespace halveron
