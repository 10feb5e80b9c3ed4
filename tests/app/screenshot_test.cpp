#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "app/run_command.h"
#include "framework/panel_metrics.h"
#include "framework/shared_bitmaps.h"
#include "gui/bitmap.h"
#include "platform/whole_file.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/source_folder.h"

namespace halveron {
namespace {

namespace fs = std::filesystem;

class ScreenshotTest : public ::testing::Test {
 protected:
  ~ScreenshotTest() override {
    skinPath.clear();
    skinFallbackPath.clear();
  }

  std::string Path(const std::string& name) const { return folder_.At(name); }

  int Run(std::vector<std::string> words) {
    words.insert(words.begin(), {"halveron", "screenshot"});
    std::vector<const char*> argv;
    for (const std::string& word : words) argv.push_back(word.c_str());
    out_.str("");
    err_.str("");
    return RunCommand(static_cast<int>(argv.size()), argv.data(), out_, err_);
  }

  static CPoint SizeOf(const std::string& path) {
    const auto image = SharedPointer<CBitmap>::Adopt(new CBitmap(path));
    return CPoint(image->getWidth(), image->getHeight());
  }

  const std::string patch_ = testing::SourceFolder() + "/patches/pad.json";
  const testing::ScratchFolder folder_;
  std::ostringstream out_, err_;
};

TEST_F(ScreenshotTest, ShowsTheRowsOfThePatchInEachSkinAndTheSameEachTime) {
  ASSERT_EQ(Run({patch_, "-o", Path("a.png")}), 0) << err_.str();
  ASSERT_EQ(Run({patch_, "-o", Path("b.png"), "--size", "Medium"}), 0) << err_.str();
  EXPECT_EQ(platform::ReadWholeFile(Path("a.png")), platform::ReadWholeFile(Path("b.png")));
  ASSERT_EQ(Run({patch_, "-o", Path("night.png"), "--skin", "Night"}), 0) << err_.str();
  EXPECT_NE(platform::ReadWholeFile(Path("a.png")), platform::ReadWholeFile(Path("night.png")));
  EXPECT_EQ(SizeOf(Path("a.png")), SizeOf(Path("night.png")));
  ASSERT_EQ(Run({patch_, "-o", Path("three.png"), "--rows", "3"}), 0) << err_.str();
  EXPECT_EQ(SizeOf(Path("three.png")).y - SizeOf(Path("a.png")).y, 291) << "the patch has two";
  ASSERT_EQ(Run({patch_, "-o", Path("menu.png"), "--menu", "modules"}), 0) << err_.str();
  EXPECT_NE(platform::ReadWholeFile(Path("a.png")), platform::ReadWholeFile(Path("menu.png")));
  ASSERT_EQ(Run({patch_, "-o", Path("large.png"), "--size", "Large"}), 0) << err_.str();
  EXPECT_GT(SizeOf(Path("large.png")).x, 1.4 * SizeOf(Path("a.png")).x);
  EXPECT_EQ(panelHeight, kReferencePanelHeight) << "the last instance put the metrics back";
}

TEST_F(ScreenshotTest, ShowsOnePanelOfAModule) {
  ASSERT_EQ(Run({"--module", "S102 Unity Mixer", "-o", Path("panel.png")}), 0) << err_.str();
  EXPECT_EQ(SizeOf(Path("panel.png")), CPoint(4 * 12, 291));
  ASSERT_EQ(Run({"--module", "S102", "-o", Path("same.png")}), 0) << err_.str();
  EXPECT_EQ(platform::ReadWholeFile(Path("panel.png")), platform::ReadWholeFile(Path("same.png")));
  ASSERT_EQ(Run({"--module", "S102", "-o", Path("night.png"), "--skin", "Night"}), 0);
  EXPECT_NE(platform::ReadWholeFile(Path("panel.png")), platform::ReadWholeFile(Path("night.png")));
  ASSERT_EQ(Run({"--module", "S102", "-o", Path("large.png"), "--size", "Large"}), 0);
  EXPECT_EQ(SizeOf(Path("large.png")), CPoint(4 * 18, 437));
}

TEST_F(ScreenshotTest, MisuseIsToldInOneLineAndWritesNothing) {
  struct Case {
    std::vector<std::string> words;
    const char* expected;
  };
  const std::string picture = Path("none.png");
  const Case cases[] = {
      {{patch_}, "-o"},
      {{patch_, "-o", picture, "--skin", "nigth"}, "did you mean \"Night\""},
      {{patch_, "-o", picture, "--size", "Larg"}, "did you mean \"Large\""},
      {{patch_, "-o", picture, "--rows", "1"}, "--rows"},
      {{patch_, "-o", picture, "--menu", "file"}, "--menu"},
      {{"patch.txt", "-o", picture}, "name a preset"},
      {{Path("absent.json"), "-o", picture}, "absent.json"},
      {{patch_, "-o", Path("no/folder.png")}, "cannot be written"},
      {{patch_, "-o", picture, "--rosw", "3"}, "--rows"},
      {{"-o", picture}, "--module"},
      {{patch_, "--module", "S102", "-o", picture}, "exclude each other"},
      {{"--module", "S102 Unity Mixr", "-o", picture}, "did you mean \"S102 Unity Mixer\""},
      {{"--module", "S102", "--rows", "3", "-o", picture}, "for patches"},
  };
  for (const Case& each : cases) {
    EXPECT_EQ(Run(each.words), kExitMisuse);
    const std::string printed = err_.str();
    EXPECT_NE(printed.find(each.expected), std::string::npos) << printed;
    EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 1) << printed;
    EXPECT_FALSE(fs::exists(picture));
  }
}

}  // namespace
}  // namespace halveron
