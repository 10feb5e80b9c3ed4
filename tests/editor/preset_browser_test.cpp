#include "editor/preset_browser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "editor/first_start.h"
#include "editor/play_hint.h"
#include "gui/text_edit.h"
#include "platform/whole_file.h"
#include "presets/preset_format.h"
#include "presets/preset_rack.h"
#include "tests/support/fake_sound.h"
#include "tests/support/user_rig.h"

namespace halveron {
namespace {

namespace fs = std::filesystem;
using testing::ReadFile;
using testing::UserRig;

class Browser : public ::testing::Test {
 protected:
  Browser() {
    Put("Pad 10", "", "");
    Put("Pad 2", "Ada", "Wide and slow");
    Put("Bass/Deep", "Bo", "A low note for the SLOW ones");
    platform::WriteWholeFile(user.Preset("Broken"), std::vector<std::byte>(7));
  }
  void Put(const std::string& name, const std::string& author, const std::string& description) {
    PresetDocument preset;
    preset.highestParameterIndex = -1;
    preset.author = author;
    preset.description = description;
    fs::create_directories(fs::path(user.Preset(name)).parent_path());
    platform::WriteWholeFile(user.Preset(name), WritePreset(preset, PresetForm::kFile));
  }
  PresetBrowser& Open() {
    Key(kKeyNone, U'p', kControl);
    PresetBrowser* browser = one->Window().OpenPresets();
    if (!browser) throw std::runtime_error("no browser");
    return *browser;
  }
  void Key(CVirtualKey key, char32_t letter = 0, int modifiers = 0) {
    one->Frame().onKeyDown({letter, key, CButtonState(modifiers)});
  }
  void Type(const std::string& text) {
    for (const char letter : text) Key(kKeyNone, static_cast<char32_t>(letter));
  }
  std::vector<std::string> Titles(PresetBrowser& browser) {
    std::vector<std::string> titles;
    for (const int i : browser.Rows().Presets()) titles.push_back(Index(browser, i).title);
    return titles;
  }
  const IndexedPreset& Index(PresetBrowser& browser, int i) {
    return browser.Index().Presets()[static_cast<std::size_t>(i)];
  }
  void ReadAll(PresetBrowser& browser) {
    for (int i = 0; i < 2000 && browser.Index().IsReading(); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    one->Pass(0.1);
  }

  UserRig user;
  const std::unique_ptr<UserRig::Instance> one = user.Start();
  SynEditor& editor = one->Editor();
};

using Names = std::vector<std::string>;

TEST_F(Browser, SearchesNamesFoldersAuthorsAndDescriptions) {
  PresetBrowser& browser = Open();
  EXPECT_EQ(Titles(browser), (Names{"Deep", "Broken", "Pad 2", "Pad 10"})) << "in natural order";
  ReadAll(browser);
  const std::pair<const char*, Names> cases[] = {{"pad", {"Pad 2", "Pad 10"}},
                                                 {"slow", {"Deep", "Pad 2"}},
                                                 {"slow ada", {"Pad 2"}},
                                                 {"bass", {"Deep"}},
                                                 {"nothing", {}}};
  for (const auto& [words, found] : cases) {
    browser.Search().selectAll();
    Type(words);
    EXPECT_EQ(Titles(browser), found) << words;
  }
  Key(kKeyEscape);
  EXPECT_EQ(one->Window().OpenPresets(), nullptr);
}

TEST_F(Browser, LoadsByKeysAndShowsWhatAPresetSays) {
  PresetBrowser& browser = Open();
  ReadAll(browser);
  Type("pad");
  EXPECT_EQ(browser.Details(), "Pad 2 by Ada\nWide and slow");
  Key(kKeyDown);
  EXPECT_EQ(browser.Details(), "Pad 10");
  Key(kKeyReturn, 0, kShift);
  EXPECT_EQ(editor.presetPath, user.Preset("Pad 10"));
  EXPECT_EQ(one->Window().OpenPresets(), &browser) << "to try the next one";
  Key(kKeyUp);
  Key(kKeyReturn);
  EXPECT_EQ(editor.presetPath, user.Preset("Pad 2"));
  EXPECT_EQ(one->Window().OpenPresets(), nullptr);

  // What cannot be loaded says so where the user sees it.
  PresetBrowser& again = Open();
  EXPECT_EQ(again.Details().substr(0, 5), "Pad 2") << "begins at the present preset";
  Type("broken");
  Key(kKeyReturn, 0, kShift);
  EXPECT_EQ(one->Window().OpenPresets(), nullptr);
  EXPECT_TRUE(one->Dialog().IsShown());
}

TEST_F(Browser, KeepsFavouritesFirst) {
  PresetBrowser& browser = Open();
  const CRect row = browser.Rows().getRowRect(3);
  CPoint star = row.getTopLeft() + CPoint(4, row.getHeight() / 2);
  star = browser.Rows().getViewSize().getTopLeft() + star;
  one->Frame().onMouseDown(star, CButtonState(kLButton));
  one->Frame().onMouseUp(star, CButtonState(kLButton));
  EXPECT_LT(browser.Rows().getSelected(), 0) << "a star is no choice";
  browser.Rows().select(0);
  Key(kKeyNone, U'f', kControl);
  Key(kKeyEscape);
  EXPECT_EQ(ReadFile(user.folders.FavouritePresets()), "Bass/Deep.hvp\nPad 10.hvp\n");
  const auto other = user.Start();
  other->Window().OpenPresetBrowser();
  EXPECT_EQ(Titles(*other->Window().OpenPresets()), (Names{"Deep", "Pad 10", "Broken", "Pad 2"}));
  PresetBrowser& again = Open();
  again.Rows().select(0);
  Key(kKeyNone, U'f', kControl);
  EXPECT_EQ(ReadFile(user.folders.FavouritePresets()), "Pad 10.hvp\n");
  Key(kKeyEscape);
  EXPECT_EQ(Titles(Open()), (Names{"Pad 10", "Deep", "Broken", "Pad 2"}));
}

TEST_F(Browser, TextsAreReadFromTheBeginningOfAFile) {
  PresetDocument preset;
  preset.author = "Ada";
  preset.description = std::string(3000, 'x');
  preset.modules.resize(200);
  for (PresetModule& module : preset.modules) {
    module.name = "S310 VCO";
    module.vendor = "x";
    module.clipLevel = 1.0f;
    module.mono = false;
    module.data.resize(1000);
  }
  preset.highestParameterIndex = -1;
  const std::vector<std::byte> bytes = WritePreset(preset, PresetForm::kFile);
  ASSERT_GT(bytes.size(), kPresetTextsBytes);
  const auto texts = ReadPresetTexts(std::span(bytes).first(kPresetTextsBytes));
  ASSERT_TRUE(texts);
  EXPECT_EQ(texts->author, "Ada");
  EXPECT_EQ(texts->description, preset.description);
  for (std::size_t size = 0; size < 3000; size += 7) {
    EXPECT_FALSE(ReadPresetTexts(std::span(bytes).first(size))) << size;
  }
}

TEST_F(Browser, TheFirstStartOpensAVoiceOnce) {
  Put("Lead/Singing Lead", "Halveron", "");
  EXPECT_TRUE(OpenFirstVoice(editor));
  EXPECT_EQ(editor.presetName, "Singing Lead");
  EXPECT_FALSE(editor.unsaved.Exist());
  EXPECT_FALSE(OpenFirstVoice(editor));
}

TEST_F(Browser, AFirstStartHintsAtTheLettersUntilTheyPlayOrTheRackChanges) {
  testing::FakeSound sound;
  editor.sound = &sound;
  editor.presetCommands.Load(user.Preset("Pad 2"));
  one->Pass(0.1);
  SynFrame& frame = one->Frame();
  const auto isHinting = [&] {
    // The first time the history settles, the second time the window follows it.
    one->Pass(0.1);
    one->Pass(0.1);
    const auto shown = [](const CView* view) {
      return dynamic_cast<const PlayHint*>(view) && view->isVisible();
    };
    return std::any_of(frame.children().begin(), frame.children().end(), shown);
  };
  EXPECT_FALSE(isHinting()) << "only when it is asked for";
  sound.hintsAtLetters = true;
  EXPECT_TRUE(isHinting());
  Key(kKeyPageUp);
  EXPECT_TRUE(isHinting()) << "plays nothing";
  Type("z");
  EXPECT_FALSE(isHinting());
  sound.hintsAtLetters = true;
  EXPECT_TRUE(isHinting());
  editor.commands.InsertModule("S310 VCO", kBuiltInVendor);
  one->Window().LandInsertion();
  EXPECT_FALSE(isHinting());
  editor.sound = nullptr;
  EXPECT_FALSE(isHinting());
}

TEST_F(Browser, F1OpensThePageOfTheModuleUnderTheMouse) {
  std::vector<std::string> opened;
  std::string problem;
  editor.manual.open = [&](const std::string& address) {
    opened.push_back(address.substr(address.rfind('/') + 1));
    return problem;
  };
  editor.manual.folder = user.folders.data;
  Key(kKeyF1);
  EXPECT_TRUE(opened.empty());
  EXPECT_NE(one->Dialog().Request().text.find("window.html"), std::string::npos)
      << "not installed, and said so";
  one->Dialog().Press(0);
  for (const char* page : {"window.html", "S310-VCO.html"}) {
    platform::WriteWholeFile(user.folders.data + page, {});
  }
  Module* module = editor.AddModule("S310 VCO", kBuiltInVendor);
  CPoint inside = module->getViewSize().getCenter();
  inside = module->getParentView()->localToFrame(inside);
  one->Frame().onMouseMoved(inside, {});
  Key(kKeyF1);
  CPoint bar(2, 2);
  one->Frame().onMouseMoved(bar, {});
  Key(kKeyF1);
  one->Window().Keys().Set(module, nullptr);
  Key(kKeyF1);
  EXPECT_EQ(opened, (Names{"S310-VCO.html", "window.html", "S310-VCO.html"}));
  EXPECT_FALSE(one->Dialog().IsShown());
  problem = "There is no browser";
  Key(kKeyF1);
  const std::string& text = one->Dialog().Request().text;
  EXPECT_NE(text.find(problem), std::string::npos) << text;
  EXPECT_NE(text.find(user.folders.data + "S310-VCO.html"), std::string::npos) << text;
}

TEST_F(Browser, AnEmptyRackShowsHintsUntilThereIsAModule) {
  SynFrame& frame = one->Frame();
  COffscreenContext picture(static_cast<int>(frame.getWidth()),
                            static_cast<int>(frame.getHeight()));
  const CRect view = one->Window().Geometry().ViewRect();
  const auto middle = [&] {
    frame.draw(&picture);
    return picture.getPixel(static_cast<int>(view.getCenter().x),
                            static_cast<int>(view.top) + one->Window().Geometry().rowHeight / 2);
  };
  const CColor hinted = middle();
  Module* module = editor.AddModule("S310 VCO", kBuiltInVendor);
  const CColor plain = middle();
  EXPECT_FALSE(hinted == plain);
  editor.RemoveModule(module, true);
  EXPECT_TRUE(middle() == hinted);
}

}  // namespace
}  // namespace halveron
