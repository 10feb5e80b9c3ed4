// The main menu, presets and options, and all shortcuts of the window.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "editor/syn_option_menu.h"
#include "gui/shortcut.h"

namespace halveron {

class RackWindow;
class SynEditor;

/// A command and the keys that run it.
struct ShortcutLine {
  std::string command;
  std::string keys;
};

/// Built each time that it opens, so that its marks are those of the rack and the options as
/// they are then. One table defines what each entry shows and does.
class MainMenu {
 public:
  MainMenu(SynEditor& editor, RackWindow& window) : editor_(editor), window_(window) {}

  SharedPointer<SynOptionMenu> Make() const;
  /// What can be done with the selected modules.
  SharedPointer<SynOptionMenu> MakeEdit() const;
  /// Adds the commands for sound card and load.
  void AddSound(SynOptionMenu& menu) const;
  /// Runs the enabled entry with these keys. False if no entry has them.
  bool RunShortcut(const CKeyEvent& event) const;
  /// All shortcuts, for the manual.
  static std::vector<ShortcutLine> Shortcuts();
  /// Those that the window takes in a host whose pointer is over it. Keys without Ctrl, and those
  /// by which hosts save and open their projects, are the host's until the rack has the keyboard.
  static std::vector<Shortcut> ShortcutsInHosts();

 private:
  struct Entry;
  static const Entry kEntries[];
  static const Entry kPresets[];
  static const Entry kHistory[];
  static const Entry kZoomEntries[];
  static const Entry kCables[];
  static const Entry kEdit[];
  static const Entry kSound[];
  static const Entry kKeysOnly[];
  /// All of these.
  static std::vector<std::span<const Entry>> Tables();

  using Menu = SharedPointer<SynOptionMenu>;
  bool IsEnabled(const Entry& entry) const;
  Menu MakeFrom(std::span<const Entry> entries) const;
  void AddTo(SynOptionMenu& menu, std::span<const Entry> entries) const;
  Menu MakePresets() const;
  Menu MakeEditWithHistory() const;
  Menu MakeVersions() const;
  Menu MakeRecovery() const;
  Menu MakeOversampling() const;
  Menu MakeOversamplingFilter() const;
  Menu MakePolyphony() const;
  Menu MakeMidiControllers() const;
  Menu MakeSound() const;
  Menu MakeSkin() const;
  Menu MakeWindowHeight() const;
  Menu MakeZoom() const;
  Menu MakeCableTransparency() const;
  Menu MakeCableThickness() const;
  Menu MakeCables() const;
  Menu MakeCableSlack() const;
  Menu MakeNewCables() const;
  Menu MakeSnippets() const;

  SynEditor& editor_;
  RackWindow& window_;
};

}  // namespace halveron
