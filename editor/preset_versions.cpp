#include "editor/preset_versions.h"

#include <algorithm>
#include <chrono>
#include <system_error>

#include "editor/preset_library.h"
#include "editor/syn_editor.h"
#include "platform/file_error.h"
#include "platform/time_text.h"
#include "platform/whole_file.h"

namespace halveron {

namespace {

namespace fs = std::filesystem;

constexpr int kMostInOneSecond = 100;

fs::path FolderOf(const fs::path& preset) {
  return preset.parent_path() / ".versions" / preset.filename();
}

void Prune(const std::string& presetPath) {
  const std::vector<PresetVersion> versions = ListVersions(presetPath);
  const auto oldest = fs::file_time_type::clock::now() - kOldestVersion;
  for (std::size_t i = 1; i < versions.size(); ++i) {
    std::error_code error;
    if (i >= kMostVersions || versions[i].savedAt < oldest) fs::remove(versions[i].path, error);
  }
}

/// A name that is free; empty if there is none.
fs::path FreeName(const fs::path& folder, fs::file_time_type time) {
  const std::string stem = platform::TimeForFileName(time);
  std::error_code error;
  for (int i = 1; i <= kMostInOneSecond; ++i) {
    std::string name = stem;
    if (i > 1) name.append(" ").append(std::to_string(i));
    fs::path path = folder / (name + kPresetExtension);
    if (!fs::exists(path, error)) return path;
  }
  return {};
}

}  // namespace

std::vector<PresetVersion> ListVersions(const std::string& presetPath) {
  std::vector<PresetVersion> versions;
  std::error_code error;
  if (presetPath.empty()) return versions;
  for (fs::directory_iterator at(FolderOf(presetPath), error), end; !error && at != end;
       at.increment(error)) {
    std::error_code unreadable;
    const fs::file_time_type time = at->last_write_time(unreadable);
    if (!unreadable && IsPresetFile(at->path().filename().string())) {
      versions.push_back({at->path().string(), time});
    }
  }
  std::sort(versions.begin(), versions.end(), [](const auto& a, const auto& b) {
    return std::tie(a.savedAt, a.path) > std::tie(b.savedAt, b.path);
  });
  return versions;
}

bool KeepVersion(const std::string& presetPath) {
  std::error_code error;
  if (!fs::is_regular_file(presetPath, error)) return true;
  try {
    const std::vector<std::byte> bytes = platform::ReadWholeFile(presetPath);
    const std::vector<PresetVersion> versions = ListVersions(presetPath);
    if (!versions.empty() && platform::ReadWholeFile(versions.front().path) == bytes) return true;
    const fs::file_time_type savedAt = fs::last_write_time(presetPath);
    fs::create_directories(FolderOf(presetPath));
    const fs::path path = FreeName(FolderOf(presetPath), savedAt);
    if (path.empty()) return false;
    platform::WriteWholeFile(path.string(), bytes);
    fs::last_write_time(path, savedAt, error);
  } catch (const platform::FileError&) {
    return false;
  } catch (const fs::filesystem_error&) {
    return false;
  }
  Prune(presetPath);
  return true;
}

SharedPointer<SynOptionMenu> MakeVersionsMenu(SynEditor& editor) {
  SharedPointer<SynOptionMenu> menu = SynOptionMenu::Make();
  if (!editor.HasOwnFile()) return menu;
  for (const PresetVersion& version : ListVersions(editor.presetPath)) {
    const std::string time = platform::TimeInWords(version.savedAt);
    menu->Add(time, [&editor, version, time, preset = editor.presetPath] {
      editor.unsaved.AskThen([&editor, version, time, preset] {
        editor.LoadAsChange(version.path, preset, "Version of " + time);
      });
    });
  }
  return menu;
}

}  // namespace halveron
