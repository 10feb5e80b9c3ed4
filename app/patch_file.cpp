#include "app/patch_file.h"

#include <filesystem>
#include <ostream>
#include <set>
#include <span>

#include "editor/known_modules.h"
#include "editor/syn_editor.h"
#include "platform/file_error.h"
#include "platform/whole_file.h"
#include "presets/preset_format.h"
#include "presets/preset_rack.h"
#include "presets/text_patch.h"

namespace halveron {

using platform::FileError;

namespace {

enum class PatchKind { kPreset, kText };

PatchKind KindOf(const std::string& path) {
  const std::string extension = std::filesystem::path(path).extension().string();
  if (extension == ".hvp") return PatchKind::kPreset;
  if (extension == ".json") return PatchKind::kText;
  throw FileError(path, "", extension.empty() ? "has no extension" : "is of no known kind",
                  "name a preset (.hvp) or a text patch (.json)");
}

PresetDocument ReadPresetFile(const std::string& path) {
  PresetReadResult read = ReadPreset(platform::ReadWholeFile(path), PresetForm::kFile);
  if (read.document) return std::move(*read.document);
  const PresetFault fault = read.error.fault;
  throw FileError(path, "",
                  fault == PresetFault::kNotAPreset     ? "is not a Halveron preset"
                  : fault == PresetFault::kLaterVersion ? "was saved with a later version"
                                                        : "is damaged or cut short",
                  read.error.message);
}

/// Loads a preset; throws the text of the dialog that a failure shows.
void LoadPresetFile(const std::string& path, SynEditor& editor) {
  ReadPresetFile(path);
  std::string failure = "cannot be read";
  const auto formerDialogs = editor.dialogs;
  editor.dialogs = [&](const DialogText& dialog) { failure = dialog.text; };
  const bool loaded = editor.LoadPreset(path);
  editor.dialogs = formerDialogs;
  if (!loaded) throw FileError(path, "", failure, "--placeholders goes on without it");
}

void WarnOfPlaceholders(const std::string& path, const PresetDocument& preset,
                        const SynEditor& editor, std::ostream& err) {
  std::set<std::string> named;
  for (const PresetModule& module : preset.modules) {
    if (!editor.IsMissing(module.name, module.vendor)) continue;
    if (!named.insert(module.name + " " + module.vendor).second) continue;
    err << "halveron: warning: " << path << ": " << module.name << " " << module.vendor
        << " is missing; a placeholder stands for it\n";
  }
}

/// Loads a preset; what is missing has placeholders.
PresetDocument LoadWithPlaceholders(const std::string& path, SynEditor& editor, std::ostream& err) {
  PresetDocument preset = ReadPresetFile(path);
  if (!editor.LoadPresetWithPlaceholders(path)) throw FileError(path, "", "cannot be loaded");
  WarnOfPlaceholders(path, preset, editor, err);
  return preset;
}

/// Applies what comes from a text patch; what is missing has placeholders.
void ApplyWithPlaceholders(const std::string& path, const PresetDocument& preset, SynEditor& editor,
                           std::ostream& err) {
  const PresetOutcome outcome = editor.ApplyWithPlaceholders(preset);
  if (!outcome) throw FileError(path, "", outcome.failure);
  WarnOfPlaceholders(path, preset, editor, err);
}

/// The same rack by the modules of now: text names controls and jacks by their roles.
PresetDocument OfPresentVersions(PresetDocument preset, SynEditor& editor, bool isApplied) {
  if (IsOfPresentVersions(preset, editor)) return preset;
  // With a module that is missing the records stay as they are, for whoever has the module.
  if (!isApplied && !ApplyPreset(preset, editor)) return preset;
  return CapturePreset(editor);
}

void Print(const PatchWarnings& warnings, std::ostream& err) {
  for (const std::string& warning : warnings) err << "halveron: warning: " << warning << "\n";
}

}  // namespace

void RequirePatchExtension(const std::string& path) { KindOf(path); }

void LoadPatchFile(const std::string& path, SynEditor& editor, std::ostream& err,
                   bool placeholders) {
  if (KindOf(path) == PatchKind::kPreset) {
    if (placeholders) {
      LoadWithPlaceholders(path, editor, err);
    } else {
      LoadPresetFile(path, editor);
    }
    return;
  }
  PatchWarnings warnings;
  const TextPatch patch = ReadTextPatch(path);
  if (placeholders) {
    const PresetDocument preset = ToPreset(patch, path, editor, KnownModules(editor), &warnings);
    ApplyWithPlaceholders(path, preset, editor, err);
  } else {
    ApplyTextPatch(patch, path, editor, KnownModules(editor), &warnings);
  }
  Print(warnings, err);
}

PresetDocument ReadPatchFile(const std::string& path, SynEditor& editor, std::ostream& err,
                             bool placeholders) {
  if (KindOf(path) == PatchKind::kText) {
    PatchWarnings warnings;
    PresetDocument preset =
        ToPreset(ReadTextPatch(path), path, editor, KnownModules(editor), &warnings);
    Print(warnings, err);
    if (placeholders) ApplyWithPlaceholders(path, preset, editor, err);
    return OfPresentVersions(std::move(preset), editor, placeholders);
  }
  PresetDocument preset =
      placeholders ? LoadWithPlaceholders(path, editor, err) : ReadPresetFile(path);
  if (IsOfPresentVersions(preset, editor)) return preset;
  if (!placeholders) LoadPresetFile(path, editor);
  return CapturePreset(editor);
}

void WritePatchFile(const std::string& path, const PresetDocument& preset, SynEditor& editor) {
  if (KindOf(path) == PatchKind::kPreset) {
    platform::WriteWholeFile(path, WritePreset(preset, PresetForm::kFile));
    return;
  }
  const std::string text = FormatTextPatch(ToText(preset, editor));
  platform::WriteWholeFile(path, std::as_bytes(std::span(text)));
}

}  // namespace halveron
