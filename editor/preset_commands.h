// Opening, saving and stepping through presets, as the menus and the bar offer it.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "gui/file_selector.h"

namespace halveron {

class SynEditor;

/// The path under which a preset is saved as a new version: "a.hvp" becomes "a.v2.hvp", "a.v9.hvp"
/// becomes "a.v10.hvp", or the next number of which `exists` knows no file. Nothing beyond version
/// 1000.
std::optional<std::string> NextVersionPath(const std::string& path,
                                           const std::function<bool(const std::string&)>& exists);

class PresetCommands {
 public:
  explicit PresetCommands(SynEditor& editor) : editor_(editor) {}

  void Open();
  void Save();
  void SaveAs();
  void SaveAsNewVersion();
  void RefreshLibrary();
  void EditDescription();
  void EditDefaultAuthor();

  /// The preset behind (1) or before (-1) the present one in the library.
  void Step(int direction);
  /// The preset that is selected in the library.
  void LoadSelected();
  /// One by its path; true if it plays now.
  bool Load(const std::string& path);

 private:
  void SaveTo(const std::string& path);
  SharedPointer<CFileSelector> MakeSelector(CFileSelector::Style style, const char* title) const;

  SynEditor& editor_;
};

}  // namespace halveron
