#include "editor/load_menu.h"

#include <cmath>
#include <string>

#include "editor/main_menu.h"
#include "editor/panel_loads.h"
#include "editor/rack_window.h"
#include "editor/syn_editor.h"
#include "framework/module.h"

namespace halveron {

namespace {

std::string InPercent(float share) {
  return std::to_string(std::lround(static_cast<double>(share) * 100)) + " %";
}

constexpr std::size_t kMostListed = 10;

/// The largest first; choosing one scrolls there.
void AddModules(SynOptionMenu& menu, const ModuleLoads& loads, RackWindow& window) {
  for (const ModuleLoads::Share& each : LargestLoads(loads, kMostListed)) {
    menu.Add(LoadInPercent(each.share) + "  " + each.module->GetName(),
             [&window, module = each.module] {
               window.Selection().Clear();
               window.Selection().Toggle(*module);
               window.ScrollToShow(*module);
             });
  }
  if (loads.Shares().empty()) {
    menu.Add("Nothing measured yet").setEnabled(false);
    return;
  }
  menu.Add(LoadInPercent(loads.CableShare()) + "  Cables").setEnabled(false);
}

}  // namespace

SharedPointer<SynOptionMenu> MakeLoadMenu(SynEditor& editor, RackWindow& window) {
  SharedPointer<SynOptionMenu> menu = SynOptionMenu::Make();
  const LoadMeter::Reading now = editor.load.Read();
  const auto line = [&menu](const std::string& text) { menu->Add(text, {}).setEnabled(false); };
  line("Load " + InPercent(now.share) + ", peak " + InPercent(now.peak));
  menu->Add(std::to_string(now.late) +
                (now.late == 1 ? " late block: forget" : " late blocks: forget"),
            [&editor] { editor.load.ForgetLate(); })
      .setEnabled(now.late > 0);
  menu->addSeparator();
  MainMenu(editor, window).AddSound(*menu);
  if (window.Loads().IsOn()) {
    menu->addSeparator();
    AddModules(*menu, editor.moduleLoads, window);
  }
  return menu;
}

}  // namespace halveron
