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

namespace {

constexpr const char* kRackUnchanged = "; your rack is unchanged\n";

/// Stands for a module of a library that needs a later host, which the rack asks for the version
/// and then refuses.
class LaterModule final : public Module {
 public:
  LaterModule(int version, const HostTable& table, int voiceIndex)
      : Module(CRect(), nullptr, nullptr, table, voiceIndex), version_(version) {}
  int GetHostVersion() const override { return version_; }

 private:
  int version_;
};

}  // namespace

SynEditor::SynEditor(EngineContext& owner, DataFolders dataFolders)
    : RackModel(owner,
                [this](std::string_view name, std::string_view vendor, const HostTable& hostTable,
                       int voice) { return MakeModule(name, vendor, hostTable, voice); }),
      folders(std::move(dataFolders)),
      options(folders.ConfigFile(), owner.hostKind),
      skin(folders, options),
      presets(folders.Presets()),
      presetsFolder(folders.Presets()) {
  externalModules.ScanModuleLibraries(folders.ModuleLibraries());
  externalModules.ScanModuleLibraries(folders.ownModules);
  InstallFactoryPresets(folders);
  files.dataFolder = folders.data;
  if (!folders.data.empty()) {
    // Instances share the file, so that what was chosen in one is known to the others.
    constexpr const char* kFolders = "Folders";
    files.folder = [file = platform::ProfileFile(folders.ConfigFile())](
                       const std::string& purpose) { return file.GetText(kFolders, purpose, ""); };
    files.remember = [file = platform::ProfileFile(folders.ConfigFile())](
                         const std::string& purpose, const std::string& folder) {
      file.SetText(kFolders, purpose, folder);
    };
  }
  parameters.sampleAccurate = options.sampleAccurate.Get();
  presets.onChoice = [this] { presetCommands.LoadSelected(); };
}

SynEditor::~SynEditor() { CloseWindow(); }

Module* SynEditor::MakeModule(std::string_view name, std::string_view vendor,
                              const HostTable& hostTable, int voice) {
  if (const CatalogueEntry* entry = FindInCatalogue(name, vendor)) {
    return entry->make ? entry->make(nullptr, hostTable, voice) : nullptr;
  }
  ModuleEntry* entry = externalModules.Find(name, vendor);
  if (!entry) return nullptr;
  ModuleFailure failure = ModuleFailure::kNone;
  Module* module = externalModules.LoadExternalModule(*entry, nullptr, hostTable, voice, failure);
  if (failure != ModuleFailure::kNeedsLaterVersion) return module;
  return new LaterModule(entry->required_host_version, hostTable, voice);
}

void SynEditor::PrepareModule(std::string_view name, std::string_view vendor) {
  if (FindInCatalogue(name, vendor)) return;
  if (ModuleEntry* entry = externalModules.Find(name, vendor)) externalModules.Prepare(*entry);
}

void SynEditor::SignPreset() {
  if (author.empty() || options.overwriteAuthor.Get()) author = options.defaultAuthor.Get();
}

bool SynEditor::SavePreset(const std::string& path) {
  SignPreset();
  try {
    platform::WriteWholeFile(path, WritePreset(CapturePreset(*this), PresetForm::kFile));
  } catch (const std::exception&) {
    return false;
  }
  presetPath = path;
  presetFromChunk = false;
  history.MarkSaved();
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
    // Not every rack fits the format: an external module's name may exceed the limit. No state is
    // better than one that cannot be loaded.
    chunk_.clear();
  }
  return chunk_;
}

bool SynEditor::LoadPreset(const std::string& path) {
  const std::string name = "'" + path.substr(path.find_last_of('/') + 1) + "'";
  std::vector<std::byte> bytes;
  try {
    bytes = platform::ReadWholeFile(path);
  } catch (const platform::FileError& error) {
    return FailLoad(
        {"Preset not loaded", name + " could not be opened" + kRackUnchanged + error.what(), 600},
        false);
  }
  history.Settle();
  if (!Load(ReadPreset(bytes, PresetForm::kFile), PresetForm::kFile, name)) return false;
  presetPath = path;
  presetFromChunk = false;
  history.PresetLoaded(PresetTitle(path));
  return true;
}

bool SynEditor::LoadChunk(std::span<const std::byte> chunk) {
  const PresetReadResult read = ReadPreset(chunk, PresetForm::kChunk);
  if (!Load(read, PresetForm::kChunk, "The state from the host")) return false;
  presetPath = presetsFolder + read.document->pathPrefix.value_or("");
  presetFromChunk = true;
  UpdatePresetDisplay(false);
  history.Clear();
  return true;
}

bool SynEditor::KeepsRackOnFailure(PresetForm form) const {
  return form == PresetForm::kChunk && engine.hostKind == HostKind::kClap;
}

bool SynEditor::FailLoad(const DialogText& dialog, bool rackChanged) {
  if (rackChanged) presetName.clear();
  presetPath.clear();
  ShowAuthor();
  ShowDialog(dialog);
  return false;
}

bool SynEditor::Refuse(const PresetError& error, PresetForm form, const std::string& name) {
  DialogText dialog;
  const bool isLater = error.fault == PresetFault::kLaterVersion;
  if (isLater) {
    dialog = {"Later Version!!",
              std::string("This preset was saved with a later version. Please download the\n"
                          "latest version of Halveron") +
                  (form == PresetForm::kFile ? "." : ""),
              400};
  } else {
    const char* cause = error.fault == PresetFault::kNotAPreset ? " is not a Halveron preset"
                                                                : " is damaged or cut short";
    dialog = {"Preset not loaded", name + cause + kRackUnchanged + error.message, 600};
  }
  if (KeepsRackOnFailure(form)) {
    ShowDialog(dialog);
    return false;
  }
  if (isLater) RemoveAllModules();
  return FailLoad(dialog, isLater);
}

bool SynEditor::Load(const PresetReadResult& read, PresetForm form, const std::string& name) {
  if (!read.document) return Refuse(read.error, form, name);
  PresetDocument document = *read.document;
  // Without the menu of filters the user could not leave a preset's choice again.
  if (!options.advancedOversampling.Get()) document.oversamplingFilter = kDefaultFilterRow;

  for (const PresetModule& record : document.modules) PrepareModule(record.name, record.vendor);
  const bool keepsRack = KeepsRackOnFailure(form);
  PresetOutcome outcome;
  if (keepsRack) outcome = TryModules(document, *this);
  if (outcome) {
    const std::optional<PresetDocument> before =
        keepsRack ? std::optional(CapturePreset(*this)) : std::nullopt;
    outcome = ApplyPreset(document, *this);
    if (!outcome && before) ApplyPreset(*before, *this);
  }
  FillWindowWithRows();
  if (outcome) return true;
  const DialogText dialog{"Module failed", outcome.failure, 600};
  if (!keepsRack) return FailLoad(dialog, true);
  ShowDialog(dialog);
  return false;
}

}  // namespace halveron
