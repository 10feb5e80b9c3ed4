#include "editor/manual_help.h"

#include <filesystem>
#include <system_error>

#include "editor/rack_window.h"
#include "editor/syn_editor.h"
#include "framework/manual_page.h"
#include "framework/module.h"
#include "platform/desktop.h"
#include "platform/library_path.h"

namespace halveron {

namespace {

Module* ModuleAround(CView* view) {
  for (; view; view = view->getParentView()) {
    if (auto* module = dynamic_cast<Module*>(view)) return module;
  }
  return nullptr;
}

}  // namespace

ManualHelp::ManualHelp(SynEditor& editor)
    : open(platform::OpenOnDesktop), folder(InstalledManualFolder()), editor_(editor) {}

void ManualHelp::ShowPageOf(Module& module) {
  if (module.GetInfoURL()) Show(folder + ManualPageName(module.GetName()));
}

void ManualHelp::ShowPageHere() {
  RackWindow* window = editor_.Window();
  if (!window) return;
  Module* module = window->Keys().FocusModule();
  if (!module) module = ModuleAround(editor_.ViewUnderMouse());
  if (!module) module = ModuleAround(window->Frame().getFocusView());
  if (module && module->GetInfoURL()) return ShowPageOf(*module);
  Show(folder + kManualWindow);
}

void ManualHelp::Show(const std::string& file) {
  // A desktop shows an error of its own, or nothing, for a page that is not there.
  std::error_code error;
  if (!std::filesystem::exists(file, error)) {
    editor_.ShowDialog({"Manual", "The manual is not installed: there is no file\n" + file});
    return;
  }
  const std::string problem = open(platform::FileUrl(file));
  if (problem.empty()) return;
  editor_.ShowDialog({"Manual", problem + ".\nThe page can be opened in any browser:\n" + file});
}

}  // namespace halveron
