#include "editor/rack_commands.h"

#include <algorithm>
#include <cctype>
#include <vector>

#include "editor/rack_window.h"
#include "editor/syn_editor.h"
#include "framework/module.h"
#include "presets/rack_excerpt.h"
#include "presets/scratch_rack.h"

namespace halveron {

namespace {

constexpr const char* kVoiceChainer = "SD05 MIDI Poly Chainer";

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

}  // namespace

void RackCommands::Insert(const std::vector<Module*>& modules, const std::string& failure) {
  if (!failure.empty()) editor_.ShowDialog({"Module failed", failure, 400});
  RackWindow* window = editor_.Window();
  if (window && !modules.empty()) window->BeginInsertion(modules);
}

bool RackCommands::BringBack(const ModuleIdentity& identity) {
  editor_.PrepareModule(identity.first, identity.second);
  const PlaceholderPlans former = editor_.Placeholders();
  PlaceholderPlans others = former;
  others.erase(identity);
  editor_.UsePlaceholders(others);
  const bool isThere = ScratchRack(editor_).Add(identity.first, identity.second) != nullptr;
  editor_.UsePlaceholders(former);
  return isThere && editor_.history.ReplacePlaceholders(identity);
}

void RackCommands::InsertModule(std::string_view name, std::string_view vendor) {
  Module* module = nullptr;
  if (!editor_.IsMissing(name, vendor) || BringBack({std::string(name), std::string(vendor)})) {
    editor_.PrepareModule(name, vendor);
    module = editor_.AddModule(name, vendor);
  }
  if (!module) {
    Insert({}, std::string("Module") + editor_.ModuleFailureText());
    return;
  }
  editor_.moduleShelf.NoteUse({std::string(name), std::string(vendor)});
  Insert({module}, "");
}

void RackCommands::PasteModule() {
  editor_.sharedClipboard.Fetch([this] { InsertExcerpt(editor_.moduleClipboard.Excerpt()); });
}

void RackCommands::CopyModule(Module& module) {
  Module* const one[] = {&module};
  editor_.sharedClipboard.Copy(one);
}

void RackCommands::PasteOnto(Module& module) {
  editor_.sharedClipboard.Fetch([this, wanted = &module] {
    // It may have gone while the clipboard was asked.
    const std::vector<Module*>& modules = editor_.modules[0];
    const bool isThere = std::find(modules.begin(), modules.end(), wanted) != modules.end();
    if (isThere) editor_.moduleClipboard.PasteOnto(*wanted, editor_);
  });
}

void RackCommands::InsertExcerpt(const PresetDocument& excerpt) {
  if (RackWindow* window = editor_.Window()) window->LandInsertion();
  for (const PresetModule& record : excerpt.modules) {
    editor_.PrepareModule(record.name, record.vendor);
  }
  std::string failure;
  const std::vector<Module*> added = AddExcerpt(excerpt, editor_, &failure);
  Insert(added, failure);
  if (RackWindow* window = editor_.Window()) {
    window->Selection().Select(added.size() > 1 ? added : std::vector<Module*>());
  }
}

void RackCommands::DeleteModules(const std::vector<Module*>& modules) {
  for (Module* module : modules) DeleteModule(*module);
}

void RackCommands::DeleteModule(Module& module) {
  const bool leadsToVoices = module.UsesPolyphony();
  editor_.RemoveModule(&module, true);
  if (leadsToVoices) editor_.voices.ResetPolyphonyIfUnused();
  editor_.RequestRedraw();
}

void RackCommands::AddRow() {
  if (editor_.rows < kMostRackRows) editor_.SetRows(editor_.rows + 1);
}

void RackCommands::RemoveRow() {
  if (editor_.rows <= 1) return;
  const CCoord justInside = (editor_.rows - 1) * static_cast<CCoord>(panelHeight) + 1;
  const std::vector<Module*> modules = editor_.modules[0];
  for (Module* module : modules) {
    const CRect& place = module->getViewSize();
    if (place.top <= justInside && place.bottom > justInside) editor_.RemoveModule(module, true);
  }
  editor_.SetRows(editor_.rows - 1);
}

void RackCommands::ChangeVoices(int count) {
  editor_.voices.ApplyVoiceCount(count);
  const auto leadsToVoices = [](const Module* module) { return module->UsesPolyphony(); };
  const std::vector<Module*>& modules = editor_.modules[0];
  if (count > 1 && std::none_of(modules.begin(), modules.end(), leadsToVoices)) {
    InsertModule(kVoiceChainer, kBuiltInVendor);
  }
}

void RackCommands::ChangeViewableRows(int count) {
  editor_.options.viewableRows.Set(count);
  RackWindow* window = editor_.Window();
  if (!window) return;
  window->SetViewableRows(count);
  if (editor_.rows < count) editor_.SetRows(count);

  const CRect wanted = editor_.WindowRect();
  SynFrame& frame = window->Frame();
  const bool resized = editor_.ResizeHostWindow(static_cast<int>(wanted.getWidth()),
                                                static_cast<int>(wanted.getHeight()));
  const std::string host = LowerCase(editor_.engine.HostProduct());
  if (resized && frame.getWindowSize() == wanted.getBottomRight() &&
      host.find("cubase") == std::string::npos) {
    return;
  }
  editor_.ShowDialog({"Window Height",
                      "It seams the DAW can't dynamically resize. Please close and restart\n"
                      "                          Halveron for the changes to take effect",
                      440});
}

}  // namespace halveron
