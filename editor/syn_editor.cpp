#include "editor/syn_editor.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "editor/context_menus.h"
#include "editor/factory_presets.h"
#include "editor/module_catalogue.h"
#include "editor/preset_versions.h"
#include "editor/rack_window.h"
#include "editor/window_images.h"
#include "framework/module.h"
#include "modules/control_scales.h"
#include "platform/file_error.h"
#include "platform/profile_file.h"
#include "platform/whole_file.h"
#include "presets/preset_format.h"
#include "presets/preset_rack.h"
#include "presets/scratch_rack.h"

namespace halveron {

namespace {

constexpr const char* kPlaceholdersKeep =
    "Placeholders keep what was saved, until the modules are there again.";
constexpr int kMostModuleColumns = 84;
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

/// After a failed load. What the user has not changed since a save is no change for that.
void ForgetFile(SynEditor& editor, bool rackChanged) {
  const bool isChanged = !rackChanged && editor.history.IsChanged();
  if (rackChanged) editor.presetName.clear();
  editor.presetPath.clear();
  if (!isChanged) editor.history.MarkSaved();
  editor.ShowAuthor();
}

}  // namespace

SynEditor::SynEditor(EngineContext& owner, DataFolders dataFolders)
    : RackModel(owner,
                [this](std::string_view name, std::string_view vendor, const HostTable& hostTable,
                       int voice) { return MakeModule(name, vendor, hostTable, voice); }),
      folders(std::move(dataFolders)),
      options(folders.ConfigFile(), owner.hostKind),
      skin(folders, options),
      presets(folders.Presets()),
      moduleShelf(folders.ConfigFile()),
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
  const auto placeholder = placeholders_.find({std::string(name), std::string(vendor)});
  if (placeholder != placeholders_.end()) {
    return new PlaceholderModule(placeholder->second, hostTable, voice);
  }
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
  ModuleEntry* entry = externalModules.Find(name, vendor);
  if (!entry) return;
  externalModules.Prepare(*entry);
  RememberColumns(*entry);
}

std::span<const ControlScale> SynEditor::ScalesOf(const Module& module) const {
  if (std::string_view(module.GetVendorName()) != kBuiltInVendor) return {};
  return ScalesOfModule(module.GetName());
}

void SynEditor::SignPreset() {
  if (author.empty() || options.overwriteAuthor.Get()) author = options.defaultAuthor.Get();
}

bool SynEditor::SavePreset(const std::string& path) {
  // The file would have what no step of the history leads to.
  if (window_) window_->EndDrags();
  SignPreset();
  try {
    const std::vector<std::byte> bytes = WritePreset(CapturePreset(*this), PresetForm::kFile);
    KeepVersion(path);
    platform::WriteWholeFile(path, bytes);
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

bool SynEditor::LoadPreset(const std::string& path) { return LoadFile(path, Missing::kRefuse); }

bool SynEditor::LoadPresetWithPlaceholders(const std::string& path) {
  return LoadFile(path, Missing::kReplace);
}

bool SynEditor::LoadFile(const std::string& path, Missing missing) {
  if (!LoadContents(path, missing)) return false;
  presetPath = path;
  presetFromChunk = false;
  history.RackReplaced("Load " + PresetTitle(path));
  return true;
}

bool SynEditor::LoadContents(const std::string& path, Missing missing) {
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
  const PresetReadResult read = ReadPreset(bytes, PresetForm::kFile);
  return Load(read, PresetForm::kFile, name, missing, path);
}

bool SynEditor::LoadAsChange(const std::string& file, const std::string& path,
                             const std::string& stepName) {
  if (!LoadContents(file, Missing::kReplace)) return false;
  presetPath = path;
  presetFromChunk = false;
  history.RackReplaced(stepName, false);
  UpdatePresetDisplay(false);
  return true;
}

void SynEditor::NewRack() {
  history.Settle();
  placeholders_.clear();
  ApplyPreset({}, *this);
  FillWindowWithRows();
  presetPath.clear();
  presetFromChunk = false;
  history.RackReplaced("New Rack");
  UpdatePresetDisplay(false);
}

bool SynEditor::LoadChunk(std::span<const std::byte> chunk) {
  const PresetReadResult read = ReadPreset(chunk, PresetForm::kChunk);
  if (!Load(read, PresetForm::kChunk, "The state from the host", Missing::kReplace)) return false;
  presetPath = presetsFolder + read.document->pathPrefix.value_or("");
  presetFromChunk = true;
  UpdatePresetDisplay(false);
  history.Clear();
  return !HasPlaceholders();
}

bool SynEditor::KeepsRackOnFailure(PresetForm form) const {
  return form == PresetForm::kChunk && engine.hostKind == HostKind::kClap;
}

bool SynEditor::FailLoad(const DialogText& dialog, bool rackChanged) {
  ForgetFile(*this, rackChanged);
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

std::set<ModuleIdentity> SynEditor::FindMissing(const PresetDocument& document,
                                                std::string& failures) {
  std::set<ModuleIdentity> tried, missing;
  ScratchRack scratch(*this);
  for (const PresetModule& record : document.modules) {
    const ModuleIdentity identity{record.name, record.vendor};
    if (!tried.insert(identity).second) continue;
    // Only a library's module has to be made to know whether it can.
    const CatalogueEntry* builtIn = FindInCatalogue(record.name, record.vendor);
    if ((builtIn && builtIn->make) || scratch.Add(record.name, record.vendor)) continue;
    missing.insert(identity);
    failures += record.name + " " + record.vendor + scratch.Rack().ModuleFailureText() + "\n";
  }
  return missing;
}

std::vector<std::optional<bool>> SynEditor::KindsOfPoints(const PresetDocument& document,
                                                          const std::set<ModuleIdentity>& missing) {
  std::vector<std::optional<bool>> kinds;
  ScratchRack scratch(*this);
  for (const PresetModule& record : document.modules) {
    const auto count = static_cast<std::size_t>(record.patchPointCount);
    const std::size_t first = kinds.size();
    kinds.resize(first + count);
    const bool isThere = !missing.contains({record.name, record.vendor});
    const Module* module = isThere ? scratch.Add(record.name, record.vendor) : nullptr;
    if (!module) continue;
    const auto points = module->Points();
    for (std::size_t i = 0; i < std::min(count, points.size()); ++i) {
      kinds[first + i] = points[i]->twoState;
    }
  }
  return kinds;
}

std::map<ModuleIdentity, int> SynEditor::KnownColumns(const std::set<ModuleIdentity>& modules) {
  std::map<ModuleIdentity, int> known;
  const platform::ProfileFile widths(folders.ModuleWidths());
  for (const ModuleIdentity& identity : modules) {
    const ModuleEntry* entry = externalModules.Find(identity.first, identity.second);
    const int columns = entry && entry->create ? entry->create->functions.columns
                                               : widths.GetInt(identity.second, identity.first, 0);
    if (columns >= 1 && columns <= kMostModuleColumns) known[identity] = columns;
  }
  return known;
}

void SynEditor::RememberColumns(const ModuleEntry& entry) {
  const ModuleIdentity identity{entry.name, entry.library->vendor};
  if (!entry.create || !remembered_.insert(identity).second) return;
  // What cannot be a key or a section is not remembered.
  constexpr const char* kUnfit = "=[];#";
  if (entry.name.find_first_of(kUnfit) != std::string::npos ||
      identity.second.find_first_of(kUnfit) != std::string::npos) {
    return;
  }
  const platform::ProfileFile widths(folders.ModuleWidths());
  const int columns = entry.create->functions.columns;
  if (widths.GetInt(identity.second, identity.first, 0) != columns) {
    widths.SetInt(identity.second, identity.first, columns);
  }
}

std::string SynEditor::PlanForMissing(const PresetDocument& document,
                                      const std::set<ModuleIdentity>& refused) {
  placeholders_.clear();
  std::string failures;
  std::set<ModuleIdentity> identities = FindMissing(document, failures);
  identities.insert(refused.begin(), refused.end());
  if (!identities.empty()) {
    placeholders_ = PlanPlaceholders(document, identities, KnownColumns(identities),
                                     KindsOfPoints(document, identities));
  }
  return failures;
}

PresetOutcome SynEditor::ApplyReplacing(const PresetDocument& document, std::string& failures) {
  // A library may make an instance and refuse the next, of a further voice or a second module.
  std::set<ModuleIdentity> refused;
  std::string refusals;
  while (true) {
    failures = PlanForMissing(document, refused) + refusals;
    PresetOutcome outcome = ApplyPreset(document, *this);
    if (outcome || !refused.insert(outcome.module).second) return outcome;
    refusals += outcome.failure + "\n";
  }
}

PresetOutcome SynEditor::ApplyWithPlaceholders(const PresetDocument& document) {
  for (const PresetModule& record : document.modules) PrepareModule(record.name, record.vendor);
  std::string failures;
  return ApplyReplacing(document, failures);
}

bool SynEditor::Load(const PresetReadResult& read, PresetForm form, const std::string& name,
                     Missing missing, const std::string& path) {
  if (!read.document) return Refuse(read.error, form, name);
  PresetDocument document = *read.document;
  // Without the menu of filters the user could not leave a preset's choice again.
  if (!options.advancedOversampling.Get()) document.oversamplingFilter = kDefaultFilterRow;

  for (const PresetModule& record : document.modules) PrepareModule(record.name, record.vendor);
  const bool keepsRack = KeepsRackOnFailure(form);
  const std::optional<PresetDocument> before =
      keepsRack ? std::optional(CapturePreset(*this)) : std::nullopt;
  const PlaceholderPlans former = std::exchange(placeholders_, {});
  std::string failures;
  const PresetOutcome outcome = missing == Missing::kReplace ? ApplyReplacing(document, failures)
                                                             : ApplyPreset(document, *this);
  if (!outcome && before) {
    placeholders_ = former;
    ApplyPreset(*before, *this);
  }
  FillWindowWithRows();
  if (outcome) {
    if (form == PresetForm::kChunk && HasPlaceholders()) {
      ShowDialog({"Module failed", failures + kPlaceholdersKeep, 600});
    }
    return true;
  }
  const DialogText dialog{"Module failed", outcome.failure, 600};
  if (keepsRack) {
    ShowDialog(dialog);
  } else if (form == PresetForm::kFile && missing == Missing::kRefuse) {
    ForgetFile(*this, true);
    ShowDialog(dialog, "Load with placeholders", [this, path] {
      if (LoadPresetWithPlaceholders(path)) UpdatePresetDisplay(true);
    });
  } else {
    FailLoad(dialog, true);
  }
  return false;
}

}  // namespace halveron
