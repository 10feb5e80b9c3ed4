#include "editor/preset_commands.h"

#include <cctype>
#include <charconv>
#include <filesystem>
#include <system_error>

#include "editor/factory_presets.h"
#include "editor/rack_window.h"
#include "editor/syn_editor.h"

namespace halveron {

namespace {

constexpr int kFirstVersion = 2;
constexpr int kLastVersion = 1000;
constexpr double kDialogWidth = 440;
constexpr int kOk = 0;

bool FileExists(const std::string& path) {
  std::error_code error;
  return std::filesystem::exists(path, error);
}

std::string FolderOf(const std::string& path) { return path.substr(0, path.find_last_of('/') + 1); }

}  // namespace

std::optional<std::string> NextVersionPath(const std::string& path,
                                           const std::function<bool(const std::string&)>& exists) {
  const std::size_t name = path.find_last_of('/') + 1;
  const std::size_t dot = path.find('.', name);
  std::string stem = path.substr(0, dot) + ".v";
  int version = kFirstVersion;
  if (dot != std::string::npos && dot + 1 < path.size() &&
      std::tolower(static_cast<unsigned char>(path[dot + 1])) == 'v') {
    stem = path.substr(0, dot + 2);
    int present = 0;
    std::from_chars(path.data() + dot + 2, path.data() + path.size(), present);
    if (present + 1 >= kFirstVersion && present < kLastVersion) version = present + 1;
  }
  for (; version <= kLastVersion; ++version) {
    std::string next = stem + std::to_string(version) + kPresetExtension;
    if (!exists(next)) return next;
  }
  return std::nullopt;
}

SharedPointer<CFileSelector> PresetCommands::MakeSelector(CFileSelector::Style style,
                                                          const char* title) const {
  auto selector =
      SharedPointer<CFileSelector>::Adopt(new CFileSelector(&editor_.Window()->Frame(), style));
  selector->setTitle(title);
  selector->addFileExtension({"Halveron Preset", "hvp", "application/hvp"});
  const std::string folder = FolderOf(editor_.presetPath);
  selector->setInitialDirectory(folder.empty() ? editor_.presetsFolder : folder);
  return selector;
}

void PresetCommands::New() {
  editor_.unsaved.AskThen([this] { editor_.NewRack(); });
}

void PresetCommands::Open() {
  if (!editor_.Window()) return;
  editor_.unsaved.AskThen([this] {
    MakeSelector(CFileSelector::kSelectFile, "Open Preset")->run([this](const std::string& path) {
      if (!path.empty()) Load(path);
    });
  });
}

bool PresetCommands::Load(const std::string& path) {
  if (!editor_.LoadPreset(path)) return false;
  editor_.UpdatePresetDisplay(true);
  return true;
}

void PresetCommands::Save(Done done) {
  if (editor_.HasOwnFile()) {
    SaveTo(editor_.presetPath, done);
  } else {
    SaveAs(std::move(done));
  }
}

void PresetCommands::SaveAs(Done done) {
  if (!editor_.Window()) return;
  const SharedPointer<CFileSelector> selector =
      MakeSelector(CFileSelector::kSelectSaveFile, "Save Preset As");
  selector->setDefaultSaveName(editor_.presetName);
  selector->run([this, done = std::move(done)](const std::string& path) {
    if (!path.empty()) {
      SaveTo(path, done);
    } else if (done) {
      done(false);
    }
  });
}

void PresetCommands::SaveAsNewVersion() {
  if (!editor_.HasOwnFile()) {
    SaveAs();
    return;
  }
  if (const auto path = NextVersionPath(editor_.presetPath, FileExists)) SaveTo(*path);
}

void PresetCommands::SaveTo(const std::string& path, const Done& done) {
  RackWindow* window = editor_.Window();
  if (!window || !IsFactoryPreset(editor_.folders, path)) return WriteTo(path, done);
  DialogRequest request;
  request.width = kDialogWidth;
  request.title = "Replace a factory preset?";
  request.text.append("\"").append(PresetTitle(path)).append("\"");
  request.text += " came with Halveron. Its present contents\nstay in the menu \"Versions\".";
  request.buttons = {"Save As...", "Replace", "Cancel"};
  request.callback = [this, path, done](DialogWindow& dialog, int button) {
    dialog.CloseDialog();
    if (button == 0) {
      SaveAs(done);
    } else if (button == 1) {
      WriteTo(path, done);
    } else if (done) {
      done(false);
    }
  };
  window->ShowDialog(std::move(request));
}

void PresetCommands::WriteTo(const std::string& path, const Done& done) {
  const bool isSaved = editor_.SavePreset(path);
  if (isSaved) {
    editor_.UpdatePresetDisplay(true);
  } else {
    editor_.ShowDialog({"Preset not saved", "This file could not be written:\n" + path, 600});
  }
  if (done) done(isSaved);
}

void PresetCommands::RefreshLibrary() { editor_.presets.Refresh(); }

void PresetCommands::EditDescription() {
  RackWindow* window = editor_.Window();
  if (!window) return;
  DialogRequest request;
  request.width = kDialogWidth;
  request.title = "Preset Description";
  request.fields = {{"Enter author name", editor_.author},
                    {"Enter preset description", editor_.description}};
  request.buttons = {"OK", "Cancel"};
  request.callback = [this](DialogWindow& dialog, int button) {
    if (button == kOk) {
      editor_.author = dialog.FieldText(0);
      editor_.description = dialog.FieldText(1);
      editor_.engine.PatchEdited();
      editor_.ShowAuthor();
    }
    dialog.CloseDialog();
  };
  window->ShowDialog(std::move(request));
}

void PresetCommands::EditDefaultAuthor() {
  RackWindow* window = editor_.Window();
  if (!window) return;
  DialogRequest request;
  request.width = kDialogWidth;
  request.title = "Default Author";
  request.fields = {{"Enter default author name", editor_.options.defaultAuthor.Get()}};
  request.buttons = {"OK", "Cancel"};
  request.callback = [this](DialogWindow& dialog, int button) {
    if (button == kOk) editor_.options.defaultAuthor.Set(dialog.FieldText(0));
    dialog.CloseDialog();
  };
  window->ShowDialog(std::move(request));
}

void PresetCommands::Step(int direction) {
  editor_.unsaved.AskThen([this, direction] {
    if (editor_.presets.Step(direction)) LoadSelectedNow();
  });
}

void PresetCommands::LoadSelected() {
  editor_.unsaved.AskThen(
      [this, path = editor_.presets.CurrentPath()] {
        // Saving has selected what was saved.
        editor_.presets.SelectPreset(path, false);
        LoadSelectedNow();
      },
      [this] { editor_.UpdatePresetDisplay(false); });
}

void PresetCommands::LoadSelectedNow() {
  const std::string title = editor_.presets.CurrentTitle();
  editor_.LoadPreset(editor_.presets.CurrentPath());
  // The screen shows the choice, also of a preset that could not be loaded.
  editor_.presetName = title;
  editor_.ShowAuthor();
}

}  // namespace halveron
