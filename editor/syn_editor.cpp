#include "editor/syn_editor.h"

#include <stdexcept>

#include "editor/context_menus.h"
#include "editor/factory_presets.h"
#include "editor/module_catalogue.h"
#include "editor/rack_window.h"
#include "editor/window_images.h"
#include "framework/module.h"
#include "platform/file_error.h"
#include "platform/whole_file.h"
#include "presets/preset_format.h"
#include "presets/preset_rack.h"

namespace halveron {

SynEditor::SynEditor(EngineContext& owner, DataFolders dataFolders)
    : RackModel(owner,
                [](std::string_view name, std::string_view vendor, const HostTable& hostTable,
                   int voice) -> Module* {
                  const CatalogueEntry* entry = FindInCatalogue(name, vendor);
                  return entry && entry->make ? entry->make(nullptr, hostTable, voice) : nullptr;
                }),
      folders(std::move(dataFolders)),
      options(folders.ConfigFile(), owner.hostKind),
      skin(folders, options),
      presets(folders.Presets()),
      presetsFolder(folders.Presets()) {
  InstallFactoryPresets(folders);
  sampleAccurate = options.sampleAccurate.Get();
  presets.onChoice = [this] { presetCommands.LoadSelected(); };
}

SynEditor::~SynEditor() { CloseWindow(); }

void SynEditor::SignPreset() {
  if (author.empty() || options.overwriteAuthor.Get()) author = options.defaultAuthor.Get();
}

bool SynEditor::SavePreset(const std::string& path) {
  SignPreset();
  presetFromChunk = false;
  try {
    platform::WriteWholeFile(path, WritePreset(CapturePreset(*this), PresetForm::kFile));
  } catch (const std::exception&) {
    return false;
  }
  presetPath = path;
  return true;
}

std::span<const std::byte> SynEditor::SaveChunk() {
  SignPreset();
  PresetDocument document = CapturePreset(*this);
  const bool inLibrary = !presetsFolder.empty() && presetPath.starts_with(presetsFolder);
  document.pathPrefix = inLibrary ? presetPath.substr(presetsFolder.size()) : presetName + ".hvp";
  try {
    chunk_ = WritePreset(document, PresetForm::kChunk);
  } catch (const std::invalid_argument&) {
    // A rack that no preset can tell, such as a module of an external library with a name beyond
    // the limit, has no state for the host; none is better than one that cannot be loaded.
    chunk_.clear();
  }
  return chunk_;
}

bool SynEditor::LoadPreset(const std::string& path) {
  std::vector<std::byte> bytes;
  try {
    bytes = platform::ReadWholeFile(path);
  } catch (const platform::FileError&) {
    return false;
  }
  if (!Load(bytes, true)) return false;
  presetPath = path;
  return true;
}

bool SynEditor::LoadChunk(std::span<const std::byte> chunk) {
  if (!Load(chunk, false)) return false;
  UpdatePresetDisplay(false);
  return true;
}

bool SynEditor::Load(std::span<const std::byte> bytes, bool fromFile) {
  const PresetReadResult result =
      ReadPreset(bytes, fromFile ? PresetForm::kFile : PresetForm::kChunk);
  if (!result.document) {
    if (result.error.fault == PresetFault::kLaterVersion) {
      RemoveAllModules();
      ShowDialog({"Later Version!!",
                  std::string("This preset was saved with a later version. Please download the\n"
                              "latest version of Halveron") +
                      (fromFile ? "." : ""),
                  400});
    } else {
      ShowDialog({"Preset refused", result.error.message, 600});
    }
    return false;
  }
  presetFromChunk = !fromFile;
  if (!fromFile) presetPath = presetsFolder + result.document->pathPrefix.value_or("");
  return ApplyPreset(*result.document, *this);
}

}  // namespace halveron
