// The user's presets: the tree of files in the presets folder, as a tree of menus.
#pragma once

#include <functional>
#include <string>

#include "editor/syn_option_menu.h"

namespace halveron {

/// There is no index and no database: the menu is the library. An entry with a submenu is a folder,
/// one without is a preset, titled as its file without ".hvp". Folders stand before presets, each
/// in the order of their names. Files that come later show after Refresh.
class PresetLibrary {
 public:
  /// A folder with a slash at its end; empty for none.
  explicit PresetLibrary(std::string presetsFolder);
  PresetLibrary(const PresetLibrary&) = delete;
  PresetLibrary& operator=(const PresetLibrary&) = delete;

  /// Turns to another folder, which is read when it is needed.
  void SetFolder(const std::string& presetsFolder);

  /// Reads the folder again; nothing is selected then. The first use of anything else does it, too.
  void Refresh();
  bool IsRead() const { return isRead_; }

  /// The root of the tree, `onChoice` being what its presets do when they are chosen.
  SynOptionMenu& PresetMenu();
  std::function<void()> onChoice;

  /// Selects the next preset (1) or the one before (-1) in the order of the tree, across folders.
  /// False, with the selection as it was, at the ends: there is no way round.
  bool Step(int direction);
  /// Selects the preset of a path; with `add`, one that the library lacks joins it. False if the
  /// path is not in the library's folder, or not known and not to be added.
  bool SelectPreset(const std::string& path, bool add);
  /// Selects nothing; the next step goes on from where the last selection was.
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
  SynOptionMenu& AddFolder(SynOptionMenu& menu, const std::string& name);
  int AddPreset(SynOptionMenu& menu, const std::string& title);
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

/// What a preset outside the library is called: its file's name up to the first dot, or up to the
/// next one if the first begins a version, as in "Bass.v3.hvp".
std::string PresetTitle(const std::string& path);

inline constexpr const char* kPresetExtension = ".hvp";

}  // namespace halveron
