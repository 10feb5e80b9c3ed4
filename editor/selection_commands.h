// What the user does with the selected modules, by menus and shortcuts.
#pragma once

#include <string>
#include <vector>

#include "presets/preset_document.h"

namespace halveron {

class RackWindow;
class SynEditor;

/// A part of a rack, saved as a preset of its own in the user's folder.
struct Snippet {
  std::string name;
  std::string path;
};

class SelectionCommands {
 public:
  SelectionCommands(SynEditor& editor, RackWindow& window) : editor_(editor), window_(window) {}

  bool HasSelection() const;
  void Copy();
  /// Copies follow the mouse, as after Paste.
  void Duplicate();
  void Delete();
  void SelectAll();
  void ClearSelection();

  /// Asks for a name.
  void SaveSnippet();
  /// Writes the selection; false, with a dialog, if that fails.
  bool SaveSnippetAs(const std::string& name);
  /// Sorted by name.
  std::vector<Snippet> Snippets() const;
  /// Adds a snippet's modules, which then follow the mouse. A dialog says why it cannot be added.
  void InsertSnippet(const Snippet& snippet);

 private:
  void AskToReplace(const std::string& name);

  SynEditor& editor_;
  RackWindow& window_;
};

}  // namespace halveron
