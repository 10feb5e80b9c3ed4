// The rack that a plug-in instance owns: the model over the catalogue of modules, and its presets.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "editor/data_folders.h"
#include "editor/options.h"
#include "editor/skin.h"
#include "framework/rack_model.h"

namespace halveron {

class SynEditor : public RackModel {
 public:
  explicit SynEditor(EngineContext& engine, DataFolders folders = {});

  const DataFolders folders;
  Options options;
  const SkinChoice skin;

  // Presets. Loading reads and checks a preset whole before it touches the rack: one that is
  // truncated or does not hold together is refused with a dialog, and the rack stays. One of a
  // later version, or with a module that cannot be made, is told by a dialog too and leaves an
  // empty or partial rack.

  /// False, with no message, if the file cannot be written.
  bool SavePreset(const std::string& path);
  /// False, with the rack as it was and no message, if the file cannot be opened.
  bool LoadPreset(const std::string& path);

  /// The rack in the form that hosts keep. The bytes stay until the next call.
  std::span<const std::byte> SaveChunk();
  bool LoadChunk(std::span<const std::byte> chunk);

  void ShowDialog(const DialogText& dialog) override;

  /// Takes the dialogs that tell the user something; without it they are dropped.
  std::function<void(const DialogText&)> dialogs;

  std::string presetPath;        ///< of the preset that was loaded or saved last
  bool presetFromChunk = false;  ///< the path was told by a chunk and may not exist
  std::string presetName;        ///< as shown to the user
  std::string presetsFolder;     ///< with a slash at its end

 private:
  bool Load(std::span<const std::byte> bytes, bool fromFile);
  void SignPreset();

  std::vector<std::byte> chunk_;
};

}  // namespace halveron
