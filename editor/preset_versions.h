// Earlier contents of presets that were saved over.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "editor/syn_option_menu.h"

namespace halveron {

class SynEditor;

/// Versions lie in a folder ".versions" beside the preset, which the library does not list, each
/// with the time when it was saved.
struct PresetVersion {
  std::string path;
  std::filesystem::file_time_type savedAt;
  std::filesystem::file_time_type keptAt;  ///< when the copy was made
};

inline constexpr std::size_t kMostVersions = 10;
/// Versions that were replaced before are dropped at the next save, the last one excepted.
inline constexpr std::chrono::hours kOldestVersion{24 * 365};

/// Keeps a copy of a preset's file, which is about to be replaced, and drops the copies that were
/// made first. One that is kept already is not kept twice. False if the file exists and no copy
/// could be made.
bool KeepVersion(const std::string& presetPath, std::filesystem::file_time_type now =
                                                    std::filesystem::file_time_type::clock::now());
/// The newest first.
std::vector<PresetVersion> ListVersions(const std::string& presetPath);

/// Entries by time, each of which loads its version as a change of the preset that is not saved.
SharedPointer<SynOptionMenu> MakeVersionsMenu(SynEditor& editor);

}  // namespace halveron
