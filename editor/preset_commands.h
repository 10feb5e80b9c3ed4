// The commands of the menus and the bar for presets.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "gui/file_selector.h"

namespace halveron {

class SynEditor;

/// The path under which a preset is saved as a new version: "a.hvp" becomes "a.v2.hvp", "a.v9.hvp"
/// becomes "a.v10.hvp", or the next number without a file. None above version 1000.
std::optional<std::string> NextVersionPath(const std::string& path,
                                           const std::function<bool(const std::string&)>& exists);

class PresetCommands {
 public:
  explicit PresetCommands(SynEditor& editor) : editor_(editor) {}

  /// Gets whether the rack was saved, once the user has answered what there is to ask.
  using Done = std::function<void(bool isSaved)>;

  void New();
  void Open();
  void Save(Done done = {});
  void SaveAs(Done done = {});
  void SaveAsNewVersion();
  void RefreshLibrary();
  void EditDescription();
  void EditDefaultAuthor();

  /// Loads the next (1) or previous (-1) preset of the library.
  void Step(int direction);
  /// Loads the preset that is selected in the library.
  void LoadSelected();
  /// False, after a dialog, if it could not be loaded.
  bool Load(const std::string& path);

 private:
  void LoadSelectedNow();
  /// Asks first if the file is a factory preset.
  void SaveTo(const std::string& path, const Done& done = {});
  void WriteTo(const std::string& path, const Done& done);
  SharedPointer<CFileSelector> MakeSelector(CFileSelector::Style style, const char* title) const;

  SynEditor& editor_;
};

}  // namespace halveron
