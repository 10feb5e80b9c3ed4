// The standalone's window, driven from outside by mouse and keyboard, and what comes of it in
// files, titles, sizes and pixels.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <map>
#include <stdexcept>

#include "tests/app/played.h"
#include "tests/support/display/test_display.h"
#include "tests/support/window_map.h"

namespace halveron::testing {
namespace {

namespace fs = std::filesystem;

constexpr const char* kVoice = R"({"halveron": 1, "rows": 2, "modules": [
  {"id": "osc", "name": "S310 VCO", "row": 0, "column": 2},
  {"id": "out", "name": "SA02 2 DAW", "row": 0, "column": 20}],
  "cables": [{"from": "osc.Saw", "to": "out.Left", "colour": "Red"}]})";
constexpr const char* kUnplugged = R"({"halveron": 1, "rows": 2, "modules": [
  {"id": "osc", "name": "S310 VCO", "row": 0, "column": 2},
  {"id": "out", "name": "SA02 2 DAW", "row": 0, "column": 20}]})";
constexpr const char* kKeyboard = R"({"halveron": 1, "rows": 2, "modules": [
  {"id": "midi", "name": "SA03 MIDI/Sync From DAW", "row": 0, "column": 2},
  {"id": "keys", "name": "SD02 MIDI-CV/Sync", "row": 0, "column": 20}],
  "cables": [{"from": "midi.MIDI", "to": "keys.MIDI in"}]})";
constexpr const char* kEmpty = R"({"halveron": 1, "rows": 2})";

struct Script {
  const char* name;
  const char* patch;  // null for a first start
  std::vector<const char*> steps;
};

/// Steps are a verb and its words. Places are a WindowMap's, files are those of the data folder.
const Script kScripts[] = {
    {"UndoesAndRedoes",
     kVoice,
     {"keys Ctrl+a", "keys Delete", "title Untitled * - Halveron", "keys Ctrl+z", "title Halveron",
      "keys Ctrl+Shift+z", "save gone", "holds gone 0 0", "keys Ctrl+z", "save back",
      "holds back 2 1", "wheel S310.Fine tune", "title back * - Halveron", "keys Ctrl+z",
      "title back - Halveron"}},
    {"AddsModulesFromTheBrowser",
     kVoice,
     {"move 30,1", "keys Ctrl+b", "type noise", "keys Return", "click 30,1", "save a",
      "holds a 3 1", "text Config.ini recent=", "double 50,1", "type s404", "keys Return", "save b",
      "holds b 4 1", "text Config.ini recent=S404 VCA|"}},
    {"CopiesASelectionAndKeepsSnippets",
     kVoice,
     {"drag 45,1 > 1,0", "keys Ctrl+d", "click 40,0", "save two", "holds two 4 2", "keys Ctrl+a",
      "menu edit > save selection", "type four", "keys Return", "file Snippets/four.hvp",
      "keys Ctrl+n", "title Halveron", "menu edit > insert > four", "click 10,0", "save again",
      "holds again 4 2"}},
    {"ShowsAndPlugsCables",
     kVoice,
     {"move 50,1", "picture", "keys Ctrl+h", "other picture", "keys Ctrl+h", "same picture",
      "hold Control_L", "drag SA02.Left > SA02.Right", "free Control_L", "save both",
      "holds both 2 2", "right S310.Saw", "type unplug", "keys Return", "save none",
      "holds none 2 0"}},
    {"ZoomsAndResizes",
     kVoice,
     {"keys Ctrl+Shift+plus", "width 110", "text Config.ini zoom=110", "keys Ctrl+0", "width 100",
      "text Config.ini zoom=0", "border 300", "save tall", "content tall \"rows\": 4"}},
    {"PlaysLettersAsNotes",
     kKeyboard,
     {"move 50,1", "light SD02.Gate lamp", "hold q", "other light", "free q", "same light"}},
    {"PatchesByKeyboardAlone",
     kUnplugged,
     {"keys Tab", "times 5 Down", "keys Return", "times 8 Right", "keys Return", "save plugged",
      "holds plugged 2 1", "keys Tab", "times 2 Down", "keys KP_Add",
      "title plugged * - Halveron"}},
    {"ShowsHintsOnAnEmptyRack",
     kEmpty,
     {"move 50,1", "picture", "keys Ctrl+b", "type s404", "keys Return", "click 90,1",
      "other picture", "keys Ctrl+a", "keys Delete", "keys Escape", "move 50,1", "same picture"}},
    {"OpensThePageOfTheModule",
     kVoice,
     {"move S310", "keys F1", "home opened S310", "move 50,1", "keys F1", "home opened index"}},
    {"StartsWithAVoiceAndKeepsFactoryPresets",
     nullptr,
     {"title Singing Lead - Halveron", "text Config.ini first_voice_shown", "keys Ctrl+s",
      "keys Return", "type mine", "keys Return", "title mine - Halveron",
      "file Presets/Lead/mine.hvp"}},
    {"FindsAndMarksPresets",
     kVoice,
     {"save aaa", "keys Ctrl+a", "keys Delete", "save bbb", "keys Ctrl+p", "type aaa",
      "keys Ctrl+f", "text Favourite_Presets.txt aaa.hvp", "keys Return", "title aaa - Halveron",
      "save ccc", "holds ccc 2 1"}},
};

/// A run of the program, and the verbs of the scripts.
class Session {
 public:
  Session(TestDisplay& display, const Script& script)
      : display_(display),
        map_(script.patch ? script.patch : kEmpty),
        played_(script.patch ? std::vector<std::string>{home_.Write("patch.json", script.patch)}
                             : std::vector<std::string>{},
                home_) {
    if (!WaitUntil([&] { return (window_ = display_.FindByTitle("Halveron")) != 0; }) ||
        !WaitUntil([&] { return !display_.ChildrenOf(window_).empty(); })) {
      throw std::runtime_error("no window: " + played_.Log());
    }
    display_.GetGeometry(window_, &left_, &top_, &width_, &height_);
    rack_ = display_.ChildrenOf(window_)[0];
    // Until it is on the screen it gets no keys, and no mouse.
    const auto isThere = [&] {
      display_.SetFocus(window_);
      return display_.FocusedWindow() == window_ && display_.PixelAt(rack_, 0, 0) != 0;
    };
    if (!WaitUntil(isThere)) {
      throw std::runtime_error("the window does not take the focus");
    }
  }

  /// False if what the step waits for does not come.
  bool Do(const std::string& step) {
    const std::size_t blank = step.find(' ');
    const std::string words = blank == std::string::npos ? "" : step.substr(blank + 1);
    if (!Verbs().at(step.substr(0, blank))(*this, words)) return false;
    // Keys come to the outer window and the mouse to the inner one, which take turns: their events
    // are in order only when those of a step are over.
    return AwaitPaint() && AwaitPaint();
  }
  std::string State() const { return display_.TitleOf(window_) + "\n" + played_.Log(); }

 private:
  using Verb = std::function<bool(Session&, const std::string& words)>;

  static const std::map<std::string, Verb>& Verbs() {
    static const std::map<std::string, Verb> kVerbs = {
        {"keys", [](Session& s, const auto& w) { return s.display_.TypeChord(w), true; }},
        {"times", [](Session& s, const auto& w) { return s.Repeat(std::stoi(w), Rest(w)); }},
        {"type", [](Session& s, const auto& w) { return s.display_.TypeText(w), true; }},
        {"hold", [](Session& s, const auto& w) { return s.display_.PressKey(w.c_str()), true; }},
        {"free", [](Session& s, const auto& w) { return s.display_.ReleaseKey(w.c_str()), true; }},
        {"move", [](Session& s, const auto& w) { return s.Move(w); }},
        {"click", [](Session& s, const auto& w) { return s.Move(w) && s.Press(1, 1); }},
        {"double", [](Session& s, const auto& w) { return s.Move(w) && s.Press(1, 2); }},
        {"right", [](Session& s, const auto& w) { return s.Move(w) && s.Press(3, 1); }},
        {"wheel", [](Session& s, const auto& w) { return s.Move(w) && s.Press(4, 1); }},
        {"drag", [](Session& s, const auto& w) { return s.Drag(w); }},
        {"menu", [](Session& s, const auto& w) { return s.Choose(w); }},
        {"save", [](Session& s, const auto& w) { return s.Save(w); }},
        {"border", [](Session& s, const auto& w) { return s.MoveBorder(std::stoi(w)); }},
        {"title", [](Session& s, const auto& w) { return s.AwaitTitle(w); }},
        {"file", [](Session& s, const auto& w) { return s.AwaitText(s.Data(w), ""); }},
        {"text", [](Session& s, const auto& w) { return s.AwaitText(s.Data(First(w)), Rest(w)); }},
        {"home",
         [](Session& s, const auto& w) { return s.AwaitText(s.home_.At(First(w)), Rest(w)); }},
        {"holds", [](Session& s, const auto& w) { return s.Holds(w); }},
        {"content",
         [](Session& s, const auto& w) {
           return s.Text(First(w)).find(Rest(w)) != std::string::npos;
         }},
        {"width", [](Session& s, const auto& w) { return s.AwaitWidth(std::stoi(w)); }},
        {"picture", [](Session& s, const auto&) { return s.Remember(s.map_.RackRect()); }},
        {"light", [](Session& s, const auto& w) { return s.Remember(s.Around(w)); }},
        {"other", [](Session& s, const auto&) { return s.AwaitPicture(false); }},
        {"same", [](Session& s, const auto&) { return s.AwaitPicture(true); }},
    };
    return kVerbs;
  }

  static std::string First(const std::string& words) {
    std::string word = words.substr(0, words.find(' '));
    std::replace(word.begin(), word.end(), '_', ' ');
    return word;
  }
  static std::string Rest(const std::string& words) { return words.substr(words.find(' ') + 1); }
  std::string Data(const std::string& file) const { return home_.At("Documents/Halveron/" + file); }
  std::string Preset(const std::string& name) const { return Data("Presets/" + name + ".hvp"); }

  bool Move(const std::string& place) {
    const CPoint where = map_.At(place);
    display_.MoveMouse(left_ + static_cast<int>(where.x), top_ + static_cast<int>(where.y));
    return true;
  }
  bool Repeat(int times, const std::string& key) {
    for (int i = 0; i < times; ++i) display_.TypeKey(key.c_str());
    return true;
  }
  bool Press(int button, int times) {
    for (int i = 0; i < times; ++i) {
      display_.Press(button);
      display_.Release(button);
    }
    return true;
  }
  bool Drag(const std::string& places) {
    const std::size_t between = places.find(" > ");
    const CPoint to = map_.At(places.substr(between + 3));
    Move(places.substr(0, between));
    display_.Press();
    // A press becomes a drag by moves, of which the window may see only the last that wait.
    display_.MoveMouse(left_ + static_cast<int>(to.x) + 5, top_ + static_cast<int>(to.y) + 5);
    Move(places.substr(between + 3));
    display_.Release();
    return true;
  }
  /// An entry of the main menu or of submenus, each found by typing.
  bool Choose(const std::string& entries) {
    display_.TypeKey("F10");
    for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + 3) {
      end = entries.find(" > ", begin);
      display_.TypeText(entries.substr(begin, end - begin));
      display_.TypeKey("Return");
    }
    return true;
  }
  bool Save(const std::string& name) {
    display_.TypeChord("Ctrl+Shift+s");
    display_.TypeText(name);
    display_.TypeKey("Return");
    return AwaitTitle(name + " - Halveron") && AwaitText(Preset(name), "");
  }
  /// The lower border; the rack's own window follows.
  bool MoveBorder(int down) {
    int width = 0, height = 0, before = 0;
    display_.GetGeometry(window_, nullptr, nullptr, &width, &height);
    display_.GetGeometry(rack_, nullptr, nullptr, nullptr, &before);
    display_.ResizeWindow(window_, width, height + down);
    return WaitUntil([&] {
      int now = 0;
      return display_.GetGeometry(rack_, nullptr, nullptr, nullptr, &now) && now == before + down;
    });
  }

  /// Until the rack's window has got all events so far. A second time it has got what these led to,
  /// and the outer window, whose turn is in between, its events.
  bool AwaitPaint() {
    const std::uint32_t before = display_.MarkPixel(rack_);
    return WaitUntil([&] { return display_.PixelAt(rack_, 0, 0) != before; });
  }
  bool AwaitTitle(const std::string& title) {
    return WaitUntil([&] { return display_.TitleOf(window_) == title; });
  }
  static bool AwaitText(const std::string& file, const std::string& part) {
    return WaitUntil(
        [&] { return fs::exists(file) && ReadFile(file).find(part) != std::string::npos; });
  }
  /// Of the width at the start, in per cent.
  bool AwaitWidth(int percent) {
    return WaitUntil([&] {
      int width = 0;
      display_.GetGeometry(window_, nullptr, nullptr, &width);
      return std::abs(width - width_ * percent / 100) <= 1;
    });
  }
  /// A saved preset as text.
  std::string Text(const std::string& name) {
    Convert(Preset(name), home_.At(name + ".json"));
    return ReadFile(home_.At(name + ".json"));
  }
  /// The numbers of modules and of cables in a saved preset.
  bool Holds(const std::string& words) {
    const std::string text = Text(First(words));
    const auto count = [&text](const std::string& part) {
      int found = 0;
      for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at) ++found;
      return found;
    };
    return std::to_string(count("\"id\":")) + " " + std::to_string(count("\"from\":")) ==
           Rest(words);
  }

  CRect Around(const std::string& place) {
    const CPoint middle = map_.At(place);
    return CRect(middle.x - 2, middle.y - 2, middle.x + 2, middle.y + 2);
  }
  std::vector<std::uint32_t> Pixels() {
    return display_.PixelsOf(window_, static_cast<int>(seen_.left), static_cast<int>(seen_.top),
                             static_cast<int>(seen_.getWidth()),
                             static_cast<int>(seen_.getHeight()));
  }
  /// Once it rests: what was done before may still be drawn.
  bool Remember(const CRect& place) {
    seen_ = place;
    int unchanged = 0;
    return WaitUntil([&] {
      auto now = Pixels();
      unchanged = now == picture_ ? unchanged + 1 : 0;
      picture_ = std::move(now);
      return unchanged > 100;
    });
  }
  bool AwaitPicture(bool isSame) {
    return WaitUntil([&] { return (Pixels() == picture_) == isSame; });
  }

  TestDisplay& display_;
  ScratchFolder home_;
  WindowMap map_;
  Played played_;
  TestDisplay::WindowId window_ = 0;
  TestDisplay::WindowId rack_ = 0;  // within it
  int left_ = 0, top_ = 0, width_ = 0, height_ = 0;
  CRect seen_;
  std::vector<std::uint32_t> picture_;
};

class WindowScripts : public ::testing::TestWithParam<Script> {};

TEST_P(WindowScripts, Runs) {
  HALVERON_NEEDS_DISPLAY(display);
  Session session(*display, GetParam());
  for (const char* step : GetParam().steps) {
    ASSERT_TRUE(session.Do(step)) << "after \"" << step << "\" the window is " << session.State();
  }
}

INSTANTIATE_TEST_SUITE_P(Window, WindowScripts, ::testing::ValuesIn(kScripts),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace halveron::testing
