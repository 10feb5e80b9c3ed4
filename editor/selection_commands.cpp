#include "editor/selection_commands.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "editor/rack_window.h"
#include "editor/syn_editor.h"
#include "gui/text_search.h"
#include "platform/file_error.h"
#include "platform/whole_file.h"
#include "presets/preset_format.h"
#include "presets/rack_excerpt.h"

namespace halveron {

namespace {

constexpr double kDialogWidth = 440;
constexpr int kErrorWidth = 600;

bool FileExists(const std::string& path) {
  std::error_code error;
  return std::filesystem::exists(path, error);
}

std::string SnippetPath(const SynEditor& editor, const std::string& name) {
  return editor.folders.Snippets() + name + kPresetExtension;
}

/// Empty for a name that a file can have.
std::string FaultOf(const std::string& name) {
  if (name.find_first_not_of(" .") == std::string::npos) return "A snippet needs a name";
  if (name.find('/') != std::string::npos) return "A snippet's name cannot contain \"/\"";
  return {};
}

}  // namespace

bool SelectionCommands::HasSelection() const { return !window_.Selection().IsEmpty(); }

void SelectionCommands::Copy() { editor_.sharedClipboard.Copy(window_.Selection().Modules()); }

void SelectionCommands::Duplicate() {
  if (!HasSelection()) return;
  editor_.commands.InsertExcerpt(CaptureExcerpt(editor_, window_.Selection().Modules()));
}

void SelectionCommands::Delete() {
  // By a copy: the selection shrinks with each.
  const std::vector<Module*> modules = window_.Selection().Modules();
  editor_.commands.DeleteModules(modules);
}

void SelectionCommands::SelectAll() {
  window_.LandInsertion();
  window_.Selection().SelectAll();
  // As after a frame, so that the keys come here in a host's window, too.
  window_.Frame().setFocusView(&window_.Rack());
}

void SelectionCommands::ClearSelection() { window_.Selection().Clear(); }

void SelectionCommands::SaveSnippet() {
  if (!HasSelection()) return;
  DialogRequest request;
  request.width = kDialogWidth;
  request.title = "Save Selection as Snippet";
  request.fields = {{"Name of the snippet", ""}};
  request.buttons = {"Save", "Cancel"};
  request.callback = [editor = &editor_, window = &window_](DialogWindow& dialog, int button) {
    const std::string name = dialog.FieldText(0);
    dialog.CloseDialog();
    if (button != 0) return;
    SelectionCommands commands(*editor, *window);
    if (FaultOf(name).empty() && FileExists(SnippetPath(*editor, name))) {
      commands.AskToReplace(name);
    } else {
      commands.SaveSnippetAs(name);
    }
  };
  window_.ShowDialog(std::move(request));
}

void SelectionCommands::AskToReplace(const std::string& name) {
  DialogRequest request;
  request.width = kDialogWidth;
  request.title = "Save Selection as Snippet";
  request.text = "There is a snippet of the name \"" + name + "\" already";
  request.buttons = {"Replace", "Cancel"};
  request.callback = [editor = &editor_, window = &window_, name](DialogWindow& dialog,
                                                                  int button) {
    dialog.CloseDialog();
    if (button == 0) SelectionCommands(*editor, *window).SaveSnippetAs(name);
  };
  window_.ShowDialog(std::move(request));
}

bool SelectionCommands::SaveSnippetAs(const std::string& name) {
  std::string fault = FaultOf(name);
  if (fault.empty() && editor_.folders.Snippets().empty()) {
    fault = "There is no data folder to save it in";
  }
  if (fault.empty()) {
    try {
      std::filesystem::create_directories(editor_.folders.Snippets());
      platform::WriteWholeFile(
          SnippetPath(editor_, name),
          WritePreset(CaptureExcerpt(editor_, window_.Selection().Modules()), PresetForm::kFile));
    } catch (const std::exception& error) {
      fault =
          "This file could not be written:\n" + SnippetPath(editor_, name) + "\n" + error.what();
    }
  }
  if (!fault.empty()) editor_.ShowDialog({"Snippet not saved", fault, kErrorWidth});
  return fault.empty();
}

std::vector<Snippet> SelectionCommands::Snippets() const {
  std::vector<Snippet> snippets;
  std::error_code error;
  const std::string folder = editor_.folders.Snippets();
  if (folder.empty()) return snippets;
  for (std::filesystem::directory_iterator file(folder, error), end; !error && file != end;
       file.increment(error)) {
    const std::string path = file->path().string();
    if (IsPresetFile(path)) snippets.push_back({PresetTitle(path), path});
  }
  std::sort(snippets.begin(), snippets.end(), [](const Snippet& a, const Snippet& b) {
    return NaturalSortKey(a.name) < NaturalSortKey(b.name);
  });
  return snippets;
}

void SelectionCommands::InsertSnippet(const Snippet& snippet) {
  std::string fault;
  try {
    const PresetReadResult read =
        ReadPreset(platform::ReadWholeFile(snippet.path), PresetForm::kFile);
    if (read.document) {
      editor_.commands.InsertExcerpt(*read.document);
    } else {
      fault = read.error.message;
    }
  } catch (const platform::FileError& error) {
    fault = error.what();
  }
  if (fault.empty()) return;
  editor_.ShowDialog({"Snippet not inserted",
                      "'" + snippet.name + "' could not be read; your rack is unchanged\n" + fault,
                      kErrorWidth});
}

}  // namespace halveron
