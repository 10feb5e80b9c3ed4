#include "editor/preset_versions.h"

#include <algorithm>
#include <chrono>
#include <system_error>

#include "editor/preset_library.h"
#include "editor/syn_editor.h"
#include "platform/file_error.h"
#include "platform/file_times.h"
#include "platform/time_text.h"
#include "platform/whole_file.h"

namespace halveron {

namespace {

namespace fs = std::filesystem;

constexpr int kMostInOneSecond = 100;

fs::path FolderOf(const fs::path& preset) {
  return preset.parent_path() / ".versions" / preset.filename();
}

/// What counts is when a version was replaced: an original may be years old by then.
void Prune(const std::string& presetPath, const fs::path& justKept, fs::file_time_type now) {
  std::vector<PresetVersion> versions = ListVersions(presetPath);
  std::erase_if(versions, [&](const PresetVersion& version) { return version.path == justKept; });
  std::stable_sort(versions.begin(), versions.end(),
                   [](const auto& a, const auto& b) { return a.keptAt > b.keptAt; });
  for (std::size_t i = 0; i < versions.size(); ++i) {
    std::error_code error;
    const bool isOld = versions[i].keptAt < now - kOldestVersion;
    if (i + 1 >= kMostVersions || isOld) fs::remove(versions[i].path, error);
  }
}

/// Whether the bytes that a preset got at a time are among its versions.
bool IsKept(const std::vector<PresetVersion>& versions, fs::file_time_type savedAt,
            const std::vector<std::byte>& bytes) {
  for (std::size_t i = 0; i < versions.size(); ++i) {
    const bool mayBe = i == 0 || versions[i].savedAt == savedAt;
    if (mayBe && platform::ReadWholeFile(versions[i].path) == bytes) return true;
  }
  return false;
}

/// A name that is free; empty if there is none.
fs::path FreeName(const fs::path& folder, fs::file_time_type time) {
  const std::string stem = platform::TimeForFileName(time);
  std::error_code error;
  for (int i = 1; i <= kMostInOneSecond; ++i) {
    const std::string number = i == 1 ? "" : " " + std::to_string(i);
    fs::path path = folder / (stem + number + kPresetExtension);
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
      const std::string path = at->path().string();
      versions.push_back({path, time, platform::TimeOfLastChange(path).value_or(time)});
    }
  }
  std::sort(versions.begin(), versions.end(), [](const auto& a, const auto& b) {
    return std::tie(a.savedAt, a.path) > std::tie(b.savedAt, b.path);
  });
  return versions;
}

bool KeepVersion(const std::string& presetPath, fs::file_time_type now) {
  fs::path path;
  std::error_code error;
  if (!fs::is_regular_file(presetPath, error)) return true;
  try {
    const std::vector<std::byte> bytes = platform::ReadWholeFile(presetPath);
    const fs::file_time_type savedAt = fs::last_write_time(presetPath);
    if (IsKept(ListVersions(presetPath), savedAt, bytes)) return true;
    fs::create_directories(FolderOf(presetPath));
    path = FreeName(FolderOf(presetPath), savedAt);
    if (path.empty()) return false;
    platform::WriteWholeFile(path.string(), bytes);
    fs::last_write_time(path, savedAt, error);
  } catch (const platform::FileError&) {
    return false;
  } catch (const fs::filesystem_error&) {
    return false;
  }
  Prune(presetPath, path, now);
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
