#include "editor/skin.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "engine/halveron.h"
#include "framework/shared_bitmaps.h"
#include "gui/draw_context.h"
#include "platform/library_path.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/user_rig.h"

namespace halveron {
namespace {

namespace fs = std::filesystem;

/// A program folder of the test's own, with skins of single images.
class SkinTest : public ::testing::Test {
 protected:
  void SetUp() override { fs::create_directories(program_ + "Data"); }

  void Image(const std::string& file, int width, int height) {
    const fs::path path = program_ + "Skins/" + file;
    fs::create_directories(path.parent_path());
    ASSERT_TRUE(COffscreenContext(width, height).writePng(path.string()));
  }
  void Text(const std::string& file, const std::string& text) {
    const fs::path path = program_ + file;
    fs::create_directories(path.parent_path());
    std::ofstream(path) << text;
  }
  DataFolders Folders() { return {program_, program_ + "Data/"}; }
  SkinChoice Choose() {
    const Options options(Folders().ConfigFile(), HostKind::kVst2);
    return SkinChoice(Folders(), options);
  }

  const testing::ScratchFolder scratch_;
  const std::string program_ = scratch_.At("");
};

TEST_F(SkinTest, TheDataFolderIsTheOneThatPathsNames) {
  Text("Paths.ini", "[Paths]\ndata_path = " + program_ + "Elsewhere/Deep\n");
  const DataFolders folders = DataFolders::Find(program_, UserFiles::kUse);
  EXPECT_EQ(folders.ConfigFile(), program_ + "Elsewhere/Deep/Config.ini");
  EXPECT_EQ(folders.Presets(), program_ + "Elsewhere/Deep/Presets/");
  EXPECT_TRUE(fs::is_directory(folders.data));
  const DataFolders alone = DataFolders::Find(program_, UserFiles::kLeaveAlone);
  EXPECT_EQ(alone.ConfigFile(), "");
  EXPECT_EQ(alone.Skins(), program_ + "Skins/");
}

TEST_F(SkinTest, OptionsAreBoundedAndWrittenWhenSet) {
  Text("Data/Config.ini",
       "[Options]\ncable_thickness=2\nviewable_rows=1\nflat_cables=1\nsample_accurate=1\n");
  const std::string file = Folders().ConfigFile();
  {
    Options options(file, HostKind::kVst2);
    EXPECT_EQ(options.cableThickness.Get(), 3);
    EXPECT_EQ(options.viewableRows.Get(), 2);
    EXPECT_TRUE(options.flatCables.Get());
    EXPECT_TRUE(options.ledsAlwaysOn.Get());
    EXPECT_EQ(options.skin.Get(), "Classic");
    EXPECT_FALSE(options.sampleAccurate.Get());
    options.cableThickness.Set(9);
    options.flatCables.Set(false);
    options.skin.Set("Night");
  }
  const Options options(file, HostKind::kClap);
  EXPECT_EQ(options.cableThickness.Get(), 8);
  EXPECT_FALSE(options.flatCables.Get());
  EXPECT_EQ(options.skin.Get(), "Night");
  EXPECT_TRUE(options.sampleAccurate.Get());
}

TEST_F(SkinTest, AChoiceThatIsNotThereGivesWayToTheFirst) {
  EXPECT_EQ(Choose().Chosen(), -1);
  EXPECT_EQ(Choose().Path(), "");
  Image("Brass/Huge/sidebar_s_L.png", 4, 400);
  Image("Brass/Tiny/sidebar_s_L.png", 4, 100);
  Image("Classic/Medium/sidebar_s_L.png", 4, 291);
  Image(".hidden/Medium/sidebar_s_L.png", 4, 291);
  fs::create_directories(program_ + "Skins/Brass/.git");
  const SkinChoice standard = Choose();
  ASSERT_EQ(standard.Entries().size(), 2u);
  EXPECT_EQ(standard.Entries()[0].sizes, (std::vector<std::string>{"Tiny", "Huge"}));
  EXPECT_EQ(standard.Path(), program_ + "Skins/Classic/Medium/");

  Text("Data/Config.ini", "[Options]\nSkin=classic\nSkin Size=Medium\n");
  const SkinChoice other = Choose();
  EXPECT_EQ(other.Chosen(), 0) << "names are compared exactly";
  EXPECT_EQ(other.Path(), program_ + "Skins/Brass/Tiny/");
  EXPECT_EQ(other.FallbackPath(), program_ + "Skins/Classic/Tiny/");
  EXPECT_EQ(other.RowHeight(), 100);
}

TEST_F(SkinTest, AllInstancesOfAProcessWearTheFirstOnesSkin) {
  Image("Classic/Medium/sidebar_s_L.png", 4, 291);
  Image("Night/Large/sidebar_s_L.png", 4, 436);
  Text("Data/Config.ini", "[Options]\nSkin=Night\nSkin Size=Medium\n");
  skinPath = program_ + "Skins/Classic/Medium/";
  skinFallbackPath = skinPath;
  const SkinChoice second = Choose();
  EXPECT_EQ(second.Entries()[static_cast<std::size_t>(second.Chosen())].name, "Night");
  EXPECT_EQ(second.Path(), skinPath);
  skinPath.clear();
  skinFallbackPath.clear();
  EXPECT_EQ(Choose().Path(), program_ + "Skins/Night/Large/");
}

TEST_F(SkinTest, WhatIsOpenStaysOpenUnderAnotherSkin) {
  Image("Night/Large/sidebar_s_L.png", 4, 436);
  const testing::UserRig user;
  const auto one = user.Start();
  DialogRequest request;
  request.fields = {{"Name", ""}};
  one->Window().ShowDialog(std::move(request));
  ASSERT_TRUE(WearSkin(Folders(), "Night", "Large"));
  one->Pass(0.1);
  EXPECT_EQ(one->Frame().getModalView(), &one->Dialog());
  one->Frame().onKeyDown({'a', kKeyNone, {}});
  EXPECT_EQ(one->Dialog().FieldText(0), "a");
  const auto views = one->Frame().children();
  EXPECT_LT(std::find(views.begin(), views.end(), &one->Window().Bar()),
            std::find(views.begin(), views.end(), &one->Dialog()));
  TakeOffSkin();
  skinPath.clear();
  skinFallbackPath.clear();
}

TEST_F(SkinTest, TheLayoutFileMovesElementsByPercents) {
  Image("Night/Large/topbar.png", 800, 60);
  Image("Night/Large/sidebar_L.png", 20, 540);
  Image("Night/Large/sidebar_s_L.png", 20, 582);
  Image("Night/Large/preset_screen.png", 200, 55);
  const std::string night = program_ + "Skins/Night/Large/";
  const std::string classic = program_ + "Skins/Classic/Large/";
  const SkinConfig plain(night, classic);
  EXPECT_EQ(plain.shifts.title, CPoint(0, 0));
  EXPECT_EQ(plain.presetText.font->getSize(), 16);
  EXPECT_EQ(plain.presetText.font->getStyle(), kBoldFace);
  EXPECT_EQ(plain.presetText.color, CColor(255, 255, 255, 140));
  EXPECT_EQ(ReadDigitColor(night, classic), CColor(245, 132, 0, 255));

  Text("Skins/Night/Large/skin_config.ini",
       "[XY_Alter]\ntitle_x=1.3\ntitle_y=-0.5\npreset_text_width=10\npreset_L_y=1e300\n"
       "[Preset Menu]\nfont_size=9\nfont=Serif\nfont_alpha=900\n[Other]\ndigit_red=1\n");
  Text("Skins/Classic/Large/skin_config.ini", "[Other]\ndigit_red=7\ndigit_blue=8\n");
  const SkinConfig moved(night, classic);
  EXPECT_EQ(moved.shifts.title, CPoint(10, -3));
  EXPECT_EQ(moved.shifts.presetTextSize, CPoint(80, 0));
  EXPECT_EQ(moved.shifts.presetPrevious.y, 6000);
  EXPECT_EQ(moved.presetText.font->getSize(), 18);
  EXPECT_STREQ(moved.presetText.font->getName(), "Serif");
  EXPECT_EQ(moved.presetText.font->getStyle(), kNormalFace);
  EXPECT_EQ(moved.presetText.color.alpha, 255);
  EXPECT_EQ(ReadDigitColor(night, classic), CColor(1, 132, 8, 255));
}

TEST_F(SkinTest, AFontFileOfTheSkinIsLoadedForThePresetScreen) {
  const fs::path font =
      fs::path(platform::LibraryPath()).parent_path() / "Skins/Classic/RobotoCondensed-Bold.ttf";
  if (!fs::exists(font)) GTEST_SKIP() << "the skins were painted without " << font;
  fs::create_directories(program_ + "Skins/Own/Small");
  fs::copy_file(font, program_ + "Skins/Own/type.ttf");
  Text("Skins/Own/Small/skin_config.ini",
       "[Preset Menu]\nfont=type.ttf\nfont_size=20\nfont_style=1\n");
  Image("Own/Small/sidebar_s_L.png", 4, 291);
  const std::string own = program_ + "Skins/Own/Small/";
  for (int opened = 0; opened < 2; ++opened) {
    const SkinConfig config(own, own);
    EXPECT_STREQ(config.presetText.font->getName(), "Roboto Condensed");
    EXPECT_EQ(config.presetText.font->getStyle(), kBoldFace);
    EXPECT_EQ(config.presetText.font->getSize(), 20);
  }
}

}  // namespace
}  // namespace halveron
