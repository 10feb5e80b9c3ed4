#include "app/patch_file.h"

#include <filesystem>
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

/// Loads a preset; what it would tell in a dialog is thrown.
void LoadPresetFile(const std::string& path, SynEditor& editor) {
  const std::vector<std::byte> opened = platform::ReadWholeFile(path);
  std::string told;
  const auto formerDialogs = editor.dialogs;
  editor.dialogs = [&](const DialogText& dialog) { told = dialog.text; };
  const bool loaded = editor.LoadPreset(path);
  editor.dialogs = formerDialogs;
  if (!loaded) throw FileError(path, "", told.empty() ? "cannot be read" : told);
}

}  // namespace

void RequirePatchExtension(const std::string& path) { KindOf(path); }

void LoadPatchFile(const std::string& path, SynEditor& editor) {
  if (KindOf(path) == PatchKind::kPreset) {
    LoadPresetFile(path, editor);
  } else {
    ApplyTextPatch(ReadTextPatch(path), path, editor, KnownModules());
  }
}

PresetDocument ReadPatchFile(const std::string& path, SynEditor& editor) {
  if (KindOf(path) == PatchKind::kText) {
    return ToPreset(ReadTextPatch(path), path, editor, KnownModules());
  }
  PresetReadResult read = ReadPreset(platform::ReadWholeFile(path), PresetForm::kFile);
  if (read.document && IsOfPresentVersions(*read.document, editor)) return *read.document;
  LoadPresetFile(path, editor);
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
