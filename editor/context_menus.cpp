#include "editor/context_menus.h"

#include <limits>

#include "editor/main_menu.h"
#include "editor/midi_learning.h"
#include "editor/rack_window.h"
#include "editor/syn_editor.h"
#include "editor/value_entry.h"
#include "framework/control_scale.h"
#include "framework/module.h"
#include "gui/shortcut.h"

namespace halveron {

namespace {

using Menu = SharedPointer<SynOptionMenu>;

struct ClipStep {
  const char* text;
  float gain;
  float markedUpTo;  // a module's level at most
};

constexpr ClipStep kClipSteps[] = {
    {"-12db FS", 0.25f, 0.26f},
    {"-6db FS", 0.5f, 0.51f},
    {"-3db FS", 0.70794576f, 0.71794578f},
    {" 0db FS", 1.0f, 1.01f},
    {"+3db FS", 1.41253757f, 1.42253755f},
    {"+6db FS", 2.0f, 2.01f},
    {"+12db FS", 4.0f, std::numeric_limits<float>::infinity()},
};

constexpr const char* kBandlimitTexts[] = {"At Oversampling Nyquist", "Near DAW Nyquist"};
constexpr const char* kColourTexts[] = {"Random", "Red",    "Green", "Blue",
                                        "Gray",   "Orange", "Purple"};

Menu MakeBandlimitMenu(SynEditor& editor, Module& module) {
  Menu menu = SynOptionMenu::Make();
  int mode = 0;
  for (const char* text : kBandlimitTexts) {
    menu->AddChecked(text, module.GetBandlimitMode() == mode,
                     [&editor, &module, mode] { editor.SetModuleBandlimitMode(&module, mode); });
    ++mode;
  }
  return menu;
}

Menu MakeClipMenu(SynEditor& editor, Module& module) {
  Menu menu = SynOptionMenu::Make();
  float last = -std::numeric_limits<float>::infinity();
  for (const ClipStep& step : kClipSteps) {
    const float level = module.GetClipLevel();
    menu->AddChecked(
        step.text, level > last && level <= step.markedUpTo,
        [&editor, &module, gain = step.gain] { editor.SetModuleClipLevel(&module, gain); });
    last = step.markedUpTo;
  }
  return menu;
}

void SetKnob(SynEditor& editor, ModuleKnob& knob, float value) {
  knob.setValue(value);
  editor.valueChanged(&knob);
  knob.invalid();
}

}  // namespace

SharedPointer<SynOptionMenu> MakeModuleMenu(SynEditor& editor, Module& module) {
  Menu menu = SynOptionMenu::Make();
  menu->Add("Delete Module", [&] { editor.commands.DeleteModule(module); });
  menu->Add("Copy", [&] { editor.moduleClipboard.Copy(editor, module); });
  menu->Add("Paste", [&] { editor.moduleClipboard.PasteOnto(module, editor); })
      .setEnabled(editor.moduleClipboard.HasData());
  menu->addSeparator();
  menu->AddChecked("No Oversampling", !module.oversampled,
                   [&] { editor.SetModuleOversampled(&module, !module.oversampled); })
      .setEnabled(module.oversamplingSelectable);
  menu->AddSubmenu("Bandlimit", MakeBandlimitMenu(editor, module));
  menu->setEntryEnabled(menu->getNbEntries() - 1, module.GetBandlimitMode() != -1);
  menu->AddChecked("Always ON", module.alwaysOn,
                   [&] { editor.SetModuleAlwaysOn(&module, !module.alwaysOn); });
  menu->AddChecked("Mono", module.mono, [&] { editor.voices.SetModuleMono(&module, !module.mono); })
      .setEnabled(module.monoSelectable);
  menu->AddSubmenu("Clip Level", MakeClipMenu(editor, module));
  menu->setEntryEnabled(menu->getNbEntries() - 1, module.GetClipLevel() > -1.0f);
  menu->Add("Info...", [&] { editor.manual.ShowPageOf(module); });
  return menu;
}

SharedPointer<SynOptionMenu> MakeSelectionMenu(SynEditor& editor, RackWindow& window,
                                               Module& module) {
  Menu menu = MainMenu(editor, window).MakeEdit();
  menu->addSeparator();
  menu->AddSubmenu("Module", MakeModuleMenu(editor, module));
  return menu;
}

SharedPointer<SynOptionMenu> MakeKnobMenu(SynEditor& editor, ModuleKnob& knob) {
  Menu menu = SynOptionMenu::Make();
  menu->Add("Copy", [&] { editor.knobClipboard = knob.getValue(); });
  menu->Add("Paste", [&] { SetKnob(editor, knob, editor.knobClipboard); });
  menu->addSeparator();
  menu->Add("Enter Value...", [&] { AskForValue(editor, knob); }).setShortcut(ShownShortcut("F2"));
  menu->Add("Reset", [&] { MoveControl(knob, knob.getDefaultValue()); });
  menu->addSeparator();
  AddMidiEntries(*menu, editor, knob);
  return menu;
}

SharedPointer<SynOptionMenu> MakeRackMenu(SynEditor& editor) {
  Menu menu = SynOptionMenu::Make();
  menu->Add("Paste Module", [&] { editor.commands.PasteModule(); })
      .setEnabled(editor.moduleClipboard.HasData());
  menu->addSeparator();
  AddCableColours(*menu, editor);
  return menu;
}

void AddCableColours(SynOptionMenu& menu, SynEditor& editor) {
  int colour = 0;
  for (const char* text : kColourTexts) {
    menu.AddChecked(text, editor.cables.cableColourChoice == colour,
                    [&editor, colour] { editor.cables.cableColourChoice = colour; });
    ++colour;
  }
}

}  // namespace halveron
