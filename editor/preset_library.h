// The user's presets: the tree of files in the presets folder, as a tree of menus.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "editor/syn_option_menu.h"

namespace halveron {

/// The menu is the only index of the library. An entry with a submenu is a folder, one without is a
/// preset, titled with its file name without ".hvp". Folders come before presets, both in natural
/// order ("Bass 2" before "Bass 10"). Files that others add later show after Refresh.
class PresetLibrary {
 public:
  /// A folder with a slash at its end; empty for none.
  explicit PresetLibrary(std::string presetsFolder);
  PresetLibrary(const PresetLibrary&) = delete;
  PresetLibrary& operator=(const PresetLibrary&) = delete;

  /// Changes the folder, which is read on first use.
  void SetFolder(const std::string& presetsFolder);

  /// Reads the folder again and clears the selection. Other operations do so on first use.
  void Refresh();
  bool IsRead() const { return isRead_; }

  /// The root of the tree; choosing a preset in it calls `onChoice`.
  SynOptionMenu& PresetMenu();
  std::function<void()> onChoice;

  /// Calls `f(path, title)` for each preset in the order of the tree.
  void ForEachPreset(
      const std::function<void(const std::string& path, const std::string& title)>& f);

  /// Selects the next (1) or previous (-1) preset in the order of the tree, across folders. False,
  /// with the selection unchanged, at the ends.
  bool Step(int direction);
  /// Selects the preset of a path and, with `add`, adds it if it is missing. False if the path is
  /// outside the library's folder, or missing without `add`.
  bool SelectPreset(const std::string& path, bool add);
  /// The next step continues from the last selection.
  void ClearSelection();

  bool HasSelection() const { return isSelected_; }
  /// Of the selected preset.
  std::string CurrentPath() const { return BuildPresetPath(*currentPresetMenu_, currentIndex_); }
  std::string CurrentTitle() const { return currentPresetMenu_->TitleAt(currentIndex_); }

  /// The path of the preset at an entry of a menu of the tree.
  std::string BuildPresetPath(const SynOptionMenu& menu, int index) const;

 private:
  void Empty();
  void ScanPresets(SynOptionMenu& menu, const std::string& path);
  /// The entry before which a new one belongs.
  static int PlaceFor(const SynOptionMenu& menu, const std::string& name, bool isFolder);
  /// Entries from `place` on have moved down by one; what is selected stays so.
  void FollowSelection(const SynOptionMenu& menu, int place);
  SynOptionMenu& AddFolder(SynOptionMenu& menu, const std::string& name);
  int AddPreset(SynOptionMenu& menu, const std::string& file);
  int StepPreset(SynOptionMenu& menu, int index, int direction);
  void Select(SynOptionMenu& menu, int index);
  void MarkPresetChain(bool state);

  std::string presetsFolder_;
  SharedPointer<SynOptionMenu> presetMenu_ = SynOptionMenu::Make();
  SynOptionMenu* currentPresetMenu_ = presetMenu_.get();  // holds the selected preset
  int currentIndex_ = -1;                                 // where the next step begins
  bool isSelected_ = false;
  bool isRead_ = false;
};

/// The title of a preset outside the library: its file name up to the first dot, or up to the
/// second if the first begins a version, as in "Bass.v3.hvp".
std::string PresetTitle(const std::string& path);

inline constexpr const char* kPresetExtension = ".hvp";

/// True for a name that ends in ".hvp", in capitals or not.
bool IsPresetFile(std::string_view name);

}  // namespace halveron
