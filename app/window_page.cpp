#include "app/window_page.h"

#include <sstream>

#include "app/html_page.h"
#include "editor/main_menu.h"
#include "framework/manual_page.h"

namespace halveron {

namespace {

struct Chapter {
  const char* id;
  const char* title;
  const char* text;  // HTML
};

constexpr Chapter kChapters[] = {
    {"modules", "Modules",
     "<p>A double click or Return on free rack opens the <b>module browser</b>, and so does "
     "<kbd>Ctrl+B</kbd>. Type a number, a name or a subject, such as \"310\", \"VCO\" or "
     "\"envelope\"; the arrows select, Return adds, <kbd>Ctrl+F</kbd> or the star marks a "
     "favourite. Favourites and the modules added last stand at the top.</p>"
     "<p>A new module follows the mouse. A click puts it down in the nearest free place, Escape or "
     "the right button discards it. Drag a module by its panel to move it; with Control it pushes "
     "others aside. The right button opens a module's menu: copy and paste, oversampling, voices, "
     "clipping, and its page of this manual.</p>"},
    {"selection", "Selection, copies and snippets",
     "<p>Draw a frame on free rack, or click panels with Shift. What is selected moves together "
     "and "
     "is copied (<kbd>Ctrl+C</kbd>), pasted (<kbd>Ctrl+V</kbd>), duplicated (<kbd>Ctrl+D</kbd>) "
     "and deleted (<kbd>Delete</kbd>) with the cables among it.</p>"
     "<p>Copies go to the clipboard of the system: paste them in another instance, in another "
     "host, or as a text patch into a letter. A text patch from a letter pastes as modules: copy "
     "its text, then paste on the rack.</p>"
     "<p>\"Save Selection as Snippet...\" in the menu \"Edit\" keeps a selection for all racks, "
     "\"Insert Snippet\" adds it. Copies and snippets bring along the controllers of their knobs, "
     "unless the rack uses these already.</p>"},
    {"cables", "Cables",
     "<p>Drag from jack to jack. Jacks that would take the cable have a ring. Drag a plug off a "
     "jack "
     "to move it, or let it go on free rack to unplug it. Control with a drag from an input takes "
     "a "
     "copy of its cable. The right button on a jack unplugs, colours, and goes to the other "
     "end.</p>"
     "<p>The mouse on a jack lifts its cables above all others. <kbd>Ctrl+H</kbd> hides cables. "
     "The main menu has their transparency, thickness and slack, and colours by kind of "
     "signal.</p>"},
    {"values", "Values",
     "<p>A bubble tells the value of a control in its unit where the mouse rests and while it is "
     "turned. Drag a knob up and down, or turn it by the wheel; Shift is fine. A double click, "
     "<kbd>F2</kbd> or \"Enter Value...\" takes a typed value: \"440 Hz\", \"-3 dB\", \"C#4\", "
     "\"50 %\". Control with a click, or \"Reset\" in its menu, sets the default.</p>"},
    {"midi", "MIDI learn",
     "<p>\"MIDI Learn\" in a knob's menu binds the next controller that is moved. Range, channel "
     "and "
     "pick-up are chosen by \"MIDI Controller...\"; with pick-up the knob waits until the "
     "controller "
     "meets its value. Bound knobs have a mark. \"MIDI Controllers\" in the main menu's \"Sound "
     "and MIDI\" lists all of "
     "the rack.</p>"},
    {"undo", "Undo",
     "<p><kbd>Ctrl+Z</kbd> undoes and <kbd>Ctrl+Shift+Z</kbd> redoes all that changes the rack: "
     "modules, cables, knobs, presets. The menu names the step. What does not change sounds "
     "on.</p>"},
    {"presets", "Presets",
     "<p>A press on the preset screen opens the library as a menu; the arrows beside it step. The "
     "<b>preset browser</b> (<kbd>Ctrl+P</kbd>, or the right button on the screen) searches names, "
     "folders, authors and descriptions; Return loads and closes, Shift+Return loads and stays, "
     "<kbd>Ctrl+F</kbd> marks a favourite. A preset that is dropped on the window is opened.</p>"},
    {"recovery", "Nothing is lost",
     "<p>\"*\" marks changes that are not saved, and <code>halveron play</code> asks before they "
     "would be lost. They are kept in a file of their own every 15 seconds. After a crash, also of "
     "a "
     "host, the next window offers them; later they are in the menu \"Recover\". \"Versions\" "
     "brings back the last ten contents of a saved preset.</p>"},
    {"zoom", "Size and zoom",
     "<p>The width of the window zooms from 50 to 300 %, its height shows more rows. "
     "<kbd>Ctrl++</kbd>, <kbd>Ctrl+-</kbd> and Control with the wheel zoom, <kbd>Ctrl+0</kbd> "
     "fits the screen. In hosts without a border drag the corner at the lower right. Skins and "
     "their "
     "sizes are in the main menu.</p>"},
    {"sound", "Sound and load",
     "<p>The bar shows the share of its time that the sound takes, and its peak. A click on it, or "
     "<kbd>Ctrl+L</kbd>, tells more. In <code>halveron play</code> the dialog \"Sound and MIDI\" "
     "chooses device, rate, block size and MIDI ports. \"Show Load per Module\" tells what each "
     "module "
     "takes.</p>"},
    {"keyboard", "The rack by keyboard",
     "<p>Tab walks the modules and the arrows their controls and jacks. Return presses a button, "
     "opens the menu of a knob or a module, and begins and ends a cable. In <code>halveron "
     "play</code> two rows of letters play notes into <code>SA03</code>: Z is C with its sharp on "
     "S, Q is the C above.</p>"},
};

/// Keys that no command of the menus has.
constexpr std::pair<const char*, const char*> kOtherKeys[] = {
    {"Next, previous module", "Tab, Shift+Tab"},
    {"Next control or jack", "Left, Right, Up, Down"},
    {"Press, open a menu, begin or end a cable", "Return"},
    {"Turn a control, finely", "+ and -, with Shift"},
    {"Menu of the module, control or jack", "Shift+F10 or the menu key"},
    {"End a cable, a drag, a selection, the focus", "Escape"},
    {"Zoom", "Ctrl+wheel"},
    {"Octave of the letters (halveron play)", "PageUp, PageDown"},
    {"Velocity of the letters (halveron play)", "Shift+PageUp, Shift+PageDown"},
    {"Full velocity (halveron play)", "Shift with a letter"},
};

void AddKeys(std::ostream& page, const std::string& what, const std::string& keys) {
  const std::string cells[] = {EscapedHtml(what), EscapedHtml(keys)};
  AddHtmlRow(page, "td", cells);
}

}  // namespace

std::string WindowPage() {
  std::ostringstream page;
  BeginHtmlPage(page, "Halveron: the window");
  page << "<p><a href=\"" << kManualStart << "\">All modules</a></p>\n<ul>\n";
  for (const Chapter& chapter : kChapters) {
    page << "<li><a href=\"#" << chapter.id << "\">" << chapter.title << "</a></li>\n";
  }
  page << "<li><a href=\"#keys\">All keys</a></li>\n</ul>\n";
  for (const Chapter& chapter : kChapters) {
    page << "<h2 id=\"" << chapter.id << "\">" << chapter.title << "</h2>\n"
         << chapter.text << "\n";
  }
  page << "<h2 id=\"keys\">All keys</h2>\n<p>They work while no menu and no dialog is open and no "
          "text is being typed.</p>\n<table>\n";
  const std::string heads[] = {"Command", "Keys"};
  AddHtmlRow(page, "th", heads);
  for (const ShortcutLine& line : MainMenu::Shortcuts()) AddKeys(page, line.command, line.keys);
  for (const auto& [what, keys] : kOtherKeys) AddKeys(page, what, keys);
  page << "</table>\n";
  EndHtmlPage(page);
  return page.str();
}

}  // namespace halveron
