#include "editor/factory_presets.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

#include "platform/file_error.h"
#include "platform/profile_file.h"
#include "platform/whole_file.h"

namespace halveron {

namespace {

namespace fs = std::filesystem;

constexpr const char* kSection = "Installed";

/// Presets under a folder, as paths from there.
std::vector<fs::path> PresetsUnder(const fs::path& folder) {
  std::vector<fs::path> presets;
  std::error_code error;
  for (fs::recursive_directory_iterator at(folder, error), end; !error && at != end;
       at.increment(error)) {
    std::error_code unknown;
    if (at->path().extension() == ".hvp" && at->is_regular_file(unknown)) {
      presets.push_back(at->path().lexically_relative(folder));
    }
  }
  std::sort(presets.begin(), presets.end());
  return presets;
}

/// True if there is a file at `target` afterwards, whichever process wrote it.
bool PutOnce(const fs::path& source, const fs::path& target) {
  std::error_code error;
  if (fs::exists(target, error)) return true;
  fs::create_directories(target.parent_path(), error);
  try {
    platform::WriteWholeFile(target.string(), platform::ReadWholeFile(source.string()),
                             platform::Durability::kAtomic);
  } catch (const platform::FileError&) {
    return false;
  }
  return true;
}

}  // namespace

void InstallFactoryPresets(const DataFolders& folders) {
  if (folders.data.empty()) return;
  std::error_code error;
  fs::create_directories(folders.Presets(), error);
  const platform::ProfileFile installed(folders.data + "Factory.ini");
  const fs::path factory = folders.FactoryPresets();
  for (const fs::path& preset : PresetsUnder(factory)) {
    const std::string key = preset.generic_string();
    if (installed.Find(kSection, key)) continue;
    if (PutOnce(factory / preset, fs::path(folders.Presets()) / preset)) {
      installed.SetInt(kSection, key, 1);
    }
  }
}

bool IsFactoryPreset(const DataFolders& folders, const std::string& path) {
  const std::string presets = folders.Presets();
  if (presets.empty() || !path.starts_with(presets)) return false;
  const std::string original = folders.FactoryPresets() + path.substr(presets.size());
  std::error_code error;
  if (!fs::is_regular_file(original, error) || !fs::is_regular_file(path, error)) return false;
  try {
    return platform::ReadWholeFile(original) == platform::ReadWholeFile(path);
  } catch (const platform::FileError&) {
    return false;
  }
}

}  // namespace halveron
