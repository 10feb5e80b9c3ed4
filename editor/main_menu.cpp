#include "editor/main_menu.h"

#include "editor/context_menus.h"
#include "editor/midi_learning.h"
#include "editor/panel_loads.h"
#include "editor/preset_versions.h"
#include "editor/rack_window.h"
#include "editor/selection_commands.h"
#include "editor/sound_dialog.h"
#include "editor/syn_editor.h"
#include "framework/oversampling_filters.h"
#include "gui/shortcut.h"

namespace halveron {

namespace {

constexpr const char* kFactorTexts[] = {"None", "2X",  "4X",   "8X",  "16X",
                                        "32X",  "64X", "128X", "256X"};
constexpr const char* kTransparencyTexts[] = {"None", "1", "2", "3", "4"};
constexpr const char* kSlackTexts[] = {"Tight", "Short", "Usual", "Long", "Very Long"};
constexpr double kAboutWidth = 420;

void Toggle(Option<bool>& option) { option.Set(!option.Get()); }

void ShowAbout(SynEditor&, RackWindow& window) {
  DialogRequest request;
  request.width = kAboutWidth;
  request.title = "About Halveron";
  request.text =
      "Halveron 2.2\n"
      "A modular synthesizer in software, by Calderine\n"
      "and everybody who patched, listened and reported.\n"
      "Free software under the GNU General Public License 3";
  request.lineCount = 4;
  request.buttons = {"Close"};
  request.image = window.AboutImage();
  window.ShowDialog(std::move(request));
}

std::string AfterBlank(const std::string& step) { return step.empty() ? "" : " " + step; }

void RedrawCables(RackWindow& window) { window.TakeCableStyle(); }

}  // namespace

struct MainMenu::Entry {
  const char* text;                             // null for a separator
  const char* keys = "";                        // see gui/shortcut.h
  std::string (*detail)(SynEditor&) = nullptr;  // follows the text
  void (*act)(SynEditor&, RackWindow&) = nullptr;
  Menu (MainMenu::*submenu)() const = nullptr;
  bool (*isChecked)(const SynEditor&) = nullptr;
  bool (*isCheckedIn)(RackWindow&) = nullptr;
  bool (*isEnabled)(const SynEditor&) = nullptr;
  bool needsSelection = false;
  bool isHosts = false;  // hosts have such a command for their projects, by the same keys
  bool (*isOffered)(const SynEditor&) = nullptr;
};

// The first window shows all of it: what is used by its keys is in submenus.
const MainMenu::Entry MainMenu::kEntries[] = {
    {.text = "New",
     .keys = "Ctrl+N",
     .act = [](SynEditor& editor, RackWindow&) { editor.presetCommands.New(); },
     .isHosts = true},
    {.text = "Open...",
     .keys = "Ctrl+O",
     .act = [](SynEditor& editor, RackWindow&) { editor.presetCommands.Open(); },
     .isHosts = true},
    {.text = "Save",
     .keys = "Ctrl+S",
     .act = [](SynEditor& editor, RackWindow&) { editor.presetCommands.Save(); },
     .isHosts = true},
    {.text = "Save As...",
     .keys = "Ctrl+Shift+S",
     .act = [](SynEditor& editor, RackWindow&) { editor.presetCommands.SaveAs(); },
     .isHosts = true},
    {.text = "Save As New Version",
     .act = [](SynEditor& editor, RackWindow&) { editor.presetCommands.SaveAsNewVersion(); }},
    {.text = "Presets", .submenu = &MainMenu::MakePresets},
    {.text = "Edit", .submenu = &MainMenu::MakeEditWithHistory},
    {.text = nullptr},
    {.text = "Refresh Presets Library",
     .act = [](SynEditor& editor, RackWindow&) { editor.presetCommands.RefreshLibrary(); }},
    {.text = "Preset Description",
     .act = [](SynEditor& editor, RackWindow&) { editor.presetCommands.EditDescription(); }},
    {.text = "Default Author",
     .act = [](SynEditor& editor, RackWindow&) { editor.presetCommands.EditDefaultAuthor(); }},
    {.text = "Oversampling", .submenu = &MainMenu::MakeOversampling},
    {.text = "Oversampling Filter",
     .submenu = &MainMenu::MakeOversamplingFilter,
     .isOffered =
         [](const SynEditor& editor) { return editor.options.advancedOversampling.Get(); }},
    {.text = "Polyphony", .submenu = &MainMenu::MakePolyphony},
    {.text = "Sound and MIDI", .submenu = &MainMenu::MakeSound},
    {.text = "Skin", .submenu = &MainMenu::MakeSkin},
    {.text = "Window Height", .submenu = &MainMenu::MakeWindowHeight},
    {.text = "Zoom", .submenu = &MainMenu::MakeZoom},
    {.text = "Cable Transparency", .submenu = &MainMenu::MakeCableTransparency},
    {.text = "Cable Thickness", .submenu = &MainMenu::MakeCableThickness},
    {.text = "Flat Cables",
     .act =
         [](SynEditor& editor, RackWindow& window) {
           Toggle(editor.options.flatCables);
           RedrawCables(window);
         },
     .isChecked = [](const SynEditor& editor) { return editor.options.flatCables.Get(); }},
    {.text = "CPU Lite Cables",
     .act =
         [](SynEditor& editor, RackWindow& window) {
           Toggle(editor.options.cpuLiteCables);
           RedrawCables(window);
         },
     .isChecked = [](const SynEditor& editor) { return editor.options.cpuLiteCables.Get(); }},
    {.text = "Cables", .submenu = &MainMenu::MakeCables},
    {.text = "LEDs Always ON",
     .act = [](SynEditor& editor, RackWindow&) { Toggle(editor.options.ledsAlwaysOn); },
     .isChecked = [](const SynEditor& editor) { return editor.options.ledsAlwaysOn.Get(); }},
    {.text = "Sample Accurate Automation",
     .act = [](SynEditor& editor, RackWindow&) { editor.ToggleSampleAccurate(); },
     .isChecked = [](const SynEditor& editor) { return editor.parameters.sampleAccurate; },
     .isEnabled =
         [](const SynEditor& editor) { return editor.engine.hostKind == HostKind::kClap; }},
    {.text = "Manual",
     .keys = "F1",
     .act = [](SynEditor& editor, RackWindow&) { editor.manual.ShowPageHere(); }},
    {.text = "About", .act = ShowAbout},
    {.text = "Quit",
     .keys = "Ctrl+Q",
     .act = [](SynEditor& editor, RackWindow&) { editor.unsaved.AskThen(editor.unsaved.quit); },
     .isHosts = true,
     .isOffered = [](const SynEditor& editor) { return editor.unsaved.quit != nullptr; }},
};

const MainMenu::Entry MainMenu::kPresets[] = {
    {.text = "Preset Browser",
     .keys = "Ctrl+P",
     .act = [](SynEditor&, RackWindow& window) { window.OpenPresetBrowser(); }},
    {.text = "Previous Preset",
     .keys = "Ctrl+PageUp",
     .act = [](SynEditor& editor, RackWindow&) { editor.presetCommands.Step(-1); }},
    {.text = "Next Preset",
     .keys = "Ctrl+PageDown",
     .act = [](SynEditor& editor, RackWindow&) { editor.presetCommands.Step(1); }},
    {.text = nullptr},
    {.text = "Versions", .submenu = &MainMenu::MakeVersions},
    {.text = "Recover",
     .submenu = &MainMenu::MakeRecovery,
     .isOffered = [](const SynEditor& editor) { return editor.recovery.HasLeftovers(); }},
};

const MainMenu::Entry MainMenu::kHistory[] = {
    {.text = "Undo",
     .keys = "Ctrl+Z",
     .detail = [](SynEditor& editor) { return AfterBlank(editor.history.UndoName()); },
     .act = [](SynEditor& editor, RackWindow&) { editor.history.Undo(); },
     .isEnabled = [](const SynEditor& editor) { return editor.history.CanUndo(); }},
    {.text = "Redo",
     .keys = "Ctrl+Shift+Z Ctrl+Y",
     .detail = [](SynEditor& editor) { return AfterBlank(editor.history.RedoName()); },
     .act = [](SynEditor& editor, RackWindow&) { editor.history.Redo(); },
     .isEnabled = [](const SynEditor& editor) { return editor.history.CanRedo(); }},
    {.text = nullptr},
};

const MainMenu::Entry MainMenu::kZoomEntries[] = {
    {.text = "Zoom In",
     .keys = "Ctrl++",
     .act = [](SynEditor&, RackWindow& window) { window.Zoom().Step(1); }},
    {.text = "Zoom Out",
     .keys = "Ctrl+-",
     .act = [](SynEditor&, RackWindow& window) { window.Zoom().Step(-1); }},
    {.text = "Fit to Screen",
     .keys = "Ctrl+0",
     .act = [](SynEditor&, RackWindow& window) { window.Zoom().Reset(); },
     .isChecked = [](const SynEditor& editor) { return editor.options.zoom.Get() == 0; }},
};

const MainMenu::Entry MainMenu::kEdit[] = {
    {.text = "Copy",
     .keys = "Ctrl+C",
     .act = [](SynEditor& editor, RackWindow& window) { SelectionCommands(editor, window).Copy(); },
     .needsSelection = true},
    {.text = "Paste",
     .keys = "Ctrl+V",
     .act = [](SynEditor& editor, RackWindow&) { editor.commands.PasteModule(); },
     .isEnabled = [](const SynEditor& editor) { return editor.sharedClipboard.MayPaste(); }},
    {.text = "Duplicate",
     .keys = "Ctrl+D",
     .act = [](SynEditor& editor,
               RackWindow& window) { SelectionCommands(editor, window).Duplicate(); },
     .needsSelection = true},
    {.text = "Delete",
     .keys = "Delete",
     .act = [](SynEditor& editor,
               RackWindow& window) { SelectionCommands(editor, window).Delete(); },
     .needsSelection = true},
    {.text = "Select All",
     .keys = "Ctrl+A",
     .act = [](SynEditor& editor,
               RackWindow& window) { SelectionCommands(editor, window).SelectAll(); }},
    {.text = nullptr},
    {.text = "Save Selection as Snippet...",
     .act = [](SynEditor& editor,
               RackWindow& window) { SelectionCommands(editor, window).SaveSnippet(); },
     .needsSelection = true},
    {.text = "Insert Snippet", .submenu = &MainMenu::MakeSnippets},
    {.text = nullptr},
    {.text = "Add Row", .act = [](SynEditor& editor, RackWindow&) { editor.commands.AddRow(); }},
    {.text = "Remove Row",
     .act = [](SynEditor& editor, RackWindow&) { editor.commands.RemoveRow(); }},
};

const MainMenu::Entry MainMenu::kCables[] = {
    {.text = "Hide Cables",
     .keys = "Ctrl+H",
     .act =
         [](SynEditor&, RackWindow& window) {
           window.Rack().HideCables(!window.Rack().Cables().IsHidden());
         },
     .isCheckedIn = [](RackWindow& window) { return window.Rack().Cables().IsHidden(); }},
    {.text = "Lift Cables under the Mouse",
     .act = [](SynEditor& editor, RackWindow&) { Toggle(editor.options.liftCables); },
     .isChecked = [](const SynEditor& editor) { return editor.options.liftCables.Get(); }},
    {.text = "Colour by Signal",
     .act =
         [](SynEditor& editor, RackWindow& window) {
           Toggle(editor.options.signalColours);
           RedrawCables(window);
         },
     .isChecked = [](const SynEditor& editor) { return editor.options.signalColours.Get(); }},
    {.text = "Slack", .submenu = &MainMenu::MakeCableSlack},
    {.text = "New Cables", .submenu = &MainMenu::MakeNewCables},
};

const MainMenu::Entry MainMenu::kSound[] = {
    {.text = "Sound and MIDI...",
     .keys = "Ctrl+,",
     .act = [](SynEditor&, RackWindow& window) { window.Sound().Open(); },
     .isOffered = [](const SynEditor& editor) { return editor.sound != nullptr; }},
    {.text = "Show Load per Module",
     .keys = "Ctrl+Shift+L",
     .act = [](SynEditor&, RackWindow& window) { window.Loads().Switch(!window.Loads().IsOn()); },
     .isCheckedIn = [](RackWindow& window) { return window.Loads().IsOn(); }},
};

// Shortcuts of commands that no entry shows.
const MainMenu::Entry MainMenu::kKeysOnly[] = {
    {.text = "Browse Modules",
     .keys = "Return Ctrl+B",
     .act = [](SynEditor&, RackWindow& window) { window.OpenModuleBrowser(); }},
    {.text = "Modules",
     .keys = "Ctrl+M",
     .act = [](SynEditor&, RackWindow& window) { window.OpenModulePicker(); }},
    {.text = "Load",
     .keys = "Ctrl+L",
     .act = [](SynEditor&, RackWindow& window) { window.OpenLoadMenu(); }},
    {.text = "Enter Value",
     .keys = "F2",
     .act = [](SynEditor&, RackWindow& window) { window.EnterValue(); }},
    {.text = "Menu",
     .keys = "F10",
     .act = [](SynEditor&, RackWindow& window) { window.OpenMainMenu(); }},
};

SharedPointer<SynOptionMenu> MainMenu::Make() const {
  editor_.history.Settle();
  return MakeFrom(kEntries);
}

bool MainMenu::IsEnabled(const Entry& entry) const {
  if (entry.needsSelection && window_.Selection().IsEmpty()) return false;
  return !entry.isEnabled || entry.isEnabled(editor_);
}

std::vector<std::span<const MainMenu::Entry>> MainMenu::Tables() {
  return {kEntries, kPresets, kHistory, kZoomEntries, kEdit, kCables, kSound, kKeysOnly};
}

std::vector<ShortcutLine> MainMenu::Shortcuts() {
  std::vector<ShortcutLine> lines;
  for (const std::span<const Entry> table : Tables()) {
    for (const Entry& entry : table) {
      if (!*entry.keys) continue;
      std::string keys;
      for (const char* letter = entry.keys; *letter; ++letter) {
        keys += *letter == ' ' ? std::string(" or ") : std::string(1, *letter);
      }
      lines.push_back({entry.text, std::move(keys)});
    }
  }
  return lines;
}

std::vector<Shortcut> MainMenu::ShortcutsInHosts() {
  std::vector<Shortcut> shortcuts;
  for (const std::span<const Entry> table : Tables()) {
    for (const Entry& entry : table) {
      if (entry.isHosts) continue;
      for (const Shortcut& shortcut : ShortcutsOf(entry.keys)) {
        const bool isFunctionKey = shortcut.key >= kKeyF1 && shortcut.key <= kKeyF12;
        if (isFunctionKey || (shortcut.modifiers & kControl) != 0) shortcuts.push_back(shortcut);
      }
    }
  }
  return shortcuts;
}

bool MainMenu::RunShortcut(const CKeyEvent& event) const {
  for (const std::span<const Entry> table : Tables()) {
    for (const Entry& entry : table) {
      if (!entry.act || !MatchesShortcut(event, entry.keys)) continue;
      if (entry.isOffered && !entry.isOffered(editor_)) continue;
      editor_.history.Settle();
      if (IsEnabled(entry)) entry.act(editor_, window_);
      return true;
    }
  }
  return false;
}

MainMenu::Menu MainMenu::MakeFrom(std::span<const Entry> entries) const {
  Menu menu = SynOptionMenu::Make();
  AddTo(*menu, entries);
  return menu;
}

void MainMenu::AddTo(SynOptionMenu& menu, std::span<const Entry> entries) const {
  for (const Entry& entry : entries) {
    if (entry.isOffered && !entry.isOffered(editor_)) continue;
    if (!entry.text) {
      menu.addSeparator();
      continue;
    }
    if (entry.submenu) {
      const Menu submenu = (this->*entry.submenu)();
      menu.AddSubmenu(entry.text, submenu);
      menu.setEntryEnabled(menu.getNbEntries() - 1, submenu->getNbEntries() > 0);
      continue;
    }
    const std::string text = entry.text + (entry.detail ? entry.detail(editor_) : "");
    SynMenuItem& item = menu.Add(
        text, [act = entry.act, &editor = editor_, &window = window_] { act(editor, window); });
    item.setChecked((entry.isChecked && entry.isChecked(editor_)) ||
                    (entry.isCheckedIn && entry.isCheckedIn(window_)));
    item.setShortcut(ShownShortcut(entry.keys));
    item.setEnabled(IsEnabled(entry));
  }
}

MainMenu::Menu MainMenu::MakeVersions() const { return MakeVersionsMenu(editor_); }

MainMenu::Menu MainMenu::MakeRecovery() const { return editor_.recovery.MakeMenu(); }

MainMenu::Menu MainMenu::MakeOversampling() const {
  Menu menu = SynOptionMenu::Make();
  int row = 0;
  for (const char* text : kFactorTexts) {
    const bool isPresent = editor_.engine.oversamplingFactor == 1 << row;
    menu->AddChecked(text, isPresent,
                     [row, &engine = editor_.engine] { engine.ApplyOversamplingFactor(row); });
    ++row;
  }
  return menu;
}

MainMenu::Menu MainMenu::MakeOversamplingFilter() const {
  Menu menu = SynOptionMenu::Make();
  int row = 0;
  for (const char* text : kOversamplingFilterNames) {
    menu->AddChecked(text, editor_.engine.filterMenuIndex == row,
                     [row, &engine = editor_.engine] { engine.ApplyOversamplingFilter(row); });
    ++row;
  }
  return menu;
}

MainMenu::Menu MainMenu::MakePolyphony() const {
  Menu menu = SynOptionMenu::Make();
  for (int voices = 1; voices <= kMaxVoices; ++voices) {
    const std::string text = voices == 1 ? "1 Voice" : std::to_string(voices) + " Voices";
    menu->AddChecked(text, editor_.engine.voiceCount == voices,
                     [voices, &editor = editor_] { editor.commands.ChangeVoices(voices); });
  }
  return menu;
}

MainMenu::Menu MainMenu::MakeMidiControllers() const { return MakeMidiMenu(editor_); }

MainMenu::Menu MainMenu::MakeSkin() const {
  Menu menu = SynOptionMenu::Make();
  const SkinChoice choice(editor_.folders, editor_.options);
  int index = 0;
  for (const SkinEntry& skin : choice.Entries()) {
    Menu sizes = SynOptionMenu::Make();
    const bool isChosen = choice.Chosen() == index++;
    int sizeIndex = 0;
    for (const std::string& size : skin.sizes) {
      const auto choose = [&editor = editor_, name = skin.name, size] {
        editor.options.skin.Set(name);
        editor.options.skinSize.Set(size);
        WearSkin(editor.folders, name, size);
      };
      sizes->AddChecked(size, isChosen && choice.ChosenSize() == sizeIndex, choose);
      ++sizeIndex;
    }
    menu->AddSubmenu(skin.name, sizes);
    menu->checkEntry(menu->getNbEntries() - 1, isChosen);
  }
  return menu;
}

MainMenu::Menu MainMenu::MakeWindowHeight() const {
  Menu menu = SynOptionMenu::Make();
  const CCoord screen = window_.Frame().getScreenSize().y;  // 0 without a window
  for (int rows = Options::kFewestViewableRows; rows <= Options::kMostViewableRows; ++rows) {
    RackGeometry geometry = window_.Geometry();
    const bool isPresent = geometry.viewableRows == rows && geometry.extraHeight == 0;
    geometry.viewableRows = rows;
    geometry.extraHeight = 0;
    const bool fits =
        screen == 0 || geometry.WindowRect().getHeight() * geometry.pixelScale <= screen;
    menu->AddChecked(std::to_string(rows) + " Rows", isPresent,
                     [rows, &editor = editor_] { editor.commands.ChangeViewableRows(rows); })
        .setEnabled(fits || isPresent);
  }
  return menu;
}

MainMenu::Menu MainMenu::MakeZoom() const {
  constexpr int kPercents[] = {50, 75, 100, 125, 150, 175, 200, 250, 300};
  Menu menu = MakeFrom(kZoomEntries);
  menu->addSeparator();
  const int present = window_.Zoom().Percent();
  for (const int percent : kPercents) {
    menu->AddChecked(std::to_string(percent) + " %", present == percent,
                     [percent, &window = window_] { window.Zoom().SetPercent(percent); });
  }
  return menu;
}

MainMenu::Menu MainMenu::MakeCableTransparency() const {
  Menu menu = SynOptionMenu::Make();
  int step = 0;
  for (const char* text : kTransparencyTexts) {
    const auto choose = [step, &editor = editor_, &window = window_] {
      editor.options.transparency.Set(step);
      RedrawCables(window);
    };
    menu->AddChecked(text, editor_.options.transparency.Get() == step, choose);
    ++step;
  }
  return menu;
}

MainMenu::Menu MainMenu::MakeCableThickness() const {
  Menu menu = SynOptionMenu::Make();
  for (int units = Options::kThinnestCable; units <= Options::kThickestCable; ++units) {
    const auto choose = [units, &editor = editor_, &window = window_] {
      editor.options.cableThickness.Set(units);
      RedrawCables(window);
    };
    menu->AddChecked(std::to_string(units), editor_.options.cableThickness.Get() == units, choose);
  }
  return menu;
}

MainMenu::Menu MainMenu::MakePresets() const { return MakeFrom(kPresets); }

SharedPointer<SynOptionMenu> MainMenu::MakeEdit() const { return MakeFrom(kEdit); }

MainMenu::Menu MainMenu::MakeEditWithHistory() const {
  Menu menu = MakeFrom(kHistory);
  AddTo(*menu, kEdit);
  return menu;
}

MainMenu::Menu MainMenu::MakeSnippets() const {
  Menu menu = SynOptionMenu::Make();
  for (const Snippet& snippet : SelectionCommands(editor_, window_).Snippets()) {
    menu->Add(snippet.name, [snippet, &editor = editor_, &window = window_] {
      SelectionCommands(editor, window).InsertSnippet(snippet);
    });
  }
  if (menu->getNbEntries() == 0) menu->Add("None saved yet").setEnabled(false);
  return menu;
}

MainMenu::Menu MainMenu::MakeSound() const {
  Menu menu = MakeFrom(kSound);
  menu->AddSubmenu("MIDI Controllers", MakeMidiControllers());
  return menu;
}

void MainMenu::AddSound(SynOptionMenu& menu) const { AddTo(menu, kSound); }

MainMenu::Menu MainMenu::MakeCables() const { return MakeFrom(kCables); }

MainMenu::Menu MainMenu::MakeNewCables() const {
  Menu menu = SynOptionMenu::Make();
  AddCableColours(*menu, editor_);
  return menu;
}

MainMenu::Menu MainMenu::MakeCableSlack() const {
  Menu menu = SynOptionMenu::Make();
  int step = 0;
  for (const char* text : kSlackTexts) {
    const auto choose = [step, &editor = editor_, &window = window_] {
      editor.options.cableSlack.Set(step);
      RedrawCables(window);
    };
    menu->AddChecked(text, editor_.options.cableSlack.Get() == step, choose);
    ++step;
  }
  return menu;
}

}  // namespace halveron
