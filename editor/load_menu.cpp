#include "editor/load_menu.h"

#include <cmath>
#include <string>

#include "editor/rack_window.h"
#include "editor/syn_editor.h"

namespace halveron {

namespace {

std::string InPercent(float share) {
  return std::to_string(std::lround(static_cast<double>(share) * 100)) + " %";
}

void AddSound(SynOptionMenu& menu, SoundControl& sound) {
  for (const SoundControl::Group& group : sound.Groups()) {
    const SharedPointer<SynOptionMenu> choices = SynOptionMenu::Make();
    for (const SoundControl::Choice& choice : group.choices) {
      choices->AddChecked(choice.text, choice.isChosen, choice.choose);
    }
    menu.AddSubmenu(group.title, choices);
  }
}

}  // namespace

SharedPointer<SynOptionMenu> MakeLoadMenu(SynEditor& editor, RackWindow& /*window*/) {
  SharedPointer<SynOptionMenu> menu = SynOptionMenu::Make();
  const LoadMeter::Reading now = editor.load.Read();
  const auto line = [&menu](const std::string& text) { menu->Add(text, {}).setEnabled(false); };
  line("Load " + InPercent(now.share) + ", peak " + InPercent(now.peak));
  menu->Add(std::to_string(now.late) +
                (now.late == 1 ? " late block: forget" : " late blocks: forget"),
            [&editor] { editor.load.ForgetLate(); })
      .setEnabled(now.late > 0);
  if (editor.sound) {
    menu->addSeparator();
    AddSound(*menu, *editor.sound);
  }
  return menu;
}

}  // namespace halveron
