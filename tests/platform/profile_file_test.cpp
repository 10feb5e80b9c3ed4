#include "platform/profile_file.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/user_folders.h"
#include "tests/support/scratch_folder.h"

namespace halveron::platform {
namespace {

namespace fs = std::filesystem;

class ProfileFileTest : public ::testing::Test {
 protected:
  void Write(const std::string& text) { std::ofstream(path_) << text; }
  std::string Written() const {
    std::ostringstream text;
    text << std::ifstream(path_).rdbuf();
    return text.str();
  }

  const testing::ScratchFolder scratch_;
  const fs::path folder_ = scratch_.At("");
  const std::string path_ = (folder_ / "Config.ini").string();
  const ProfileFile profile_{path_};
};

TEST_F(ProfileFileTest, ReadsWhatUsersWriteByHand) {
  Write(
      "\xEF\xBB\xBF; mine\r\n[Options]\r\n  cable_thickness =  5 rows\r\nskin = \" Night \"\r\n"
      "empty=\r\ntilted=abc\r\nshift=+12.5%\r\nhuge=1e999\r\nbig=99999999999\r\n"
      "[options]\r\nlate=7\r\n");
  EXPECT_EQ(profile_.GetInt("Options", "Cable_Thickness", 8), 5);
  EXPECT_EQ(profile_.GetText("Options", "Skin", ""), " Night ");
  EXPECT_EQ(profile_.Find("Options", "empty"), "");
  EXPECT_EQ(profile_.Find("Options", "absent"), std::nullopt);
  EXPECT_EQ(profile_.GetInt("Options", "tilted", 3), 3);
  EXPECT_EQ(profile_.GetInt("Options", "big", 3), 3);
  EXPECT_EQ(profile_.GetNumber("Options", "shift", 0), 12.5);
  EXPECT_EQ(profile_.GetNumber("Options", "huge", 4), 4);
  EXPECT_EQ(profile_.GetInt("Options", "late", 0), 7);
}

TEST_F(ProfileFileTest, WritesOneKeyAndKeepsTheRest) {
  Write("; mine\n[Other]\nkey = kept\n\n[Options]\n; thick\ncable_thickness = 5\n");
  ASSERT_TRUE(profile_.SetInt("Options", "cable_thickness", 7));
  ASSERT_TRUE(profile_.SetText("Options", "default_author", " Ada\n\"Countess\" "));
  EXPECT_EQ(profile_.GetInt("Options", "cable_thickness", 0), 7);
  EXPECT_EQ(profile_.GetText("Options", "default_author", ""), " Ada \"Countess\" ");
  EXPECT_EQ(profile_.GetText("Other", "key", ""), "kept");
  EXPECT_NE(Written().find("; mine"), std::string::npos);
  EXPECT_NE(Written().find("; thick"), std::string::npos);
  for (const std::string text :
       {"\"quoted\"", "a = b", "[x]", "; no comment", "", "\xC3\xA9t\xC3\xA9"}) {
    ASSERT_TRUE(profile_.SetText("Options", "text", text));
    EXPECT_EQ(profile_.GetText("Options", "text", "-"), text);
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 1) << "no rest of the write";
}

TEST_F(ProfileFileTest, BeginsAFileAndTellsWhereItCannot) {
  EXPECT_EQ(profile_.GetInt("Options", "x", 4), 4);
  EXPECT_TRUE(profile_.SetInt("Options", "x", 5));
  EXPECT_EQ(profile_.GetInt("Options", "x", 4), 5);
  EXPECT_FALSE(ProfileFile("").SetInt("Options", "x", 5));
  EXPECT_FALSE(ProfileFile((folder_ / "no" / "Config.ini").string()).SetInt("Options", "x", 5));
  EXPECT_FALSE(ProfileFile(folder_.string()).SetInt("Options", "x", 5));
  Write(std::string(ProfileFile::kMostBytes + 1, 'x'));
  EXPECT_EQ(profile_.GetInt("Options", "x", 4), 4);
  EXPECT_FALSE(profile_.SetInt("Options", "x", 6)) << "what cannot be read is not replaced";
}

/// In a process of its own, for the answer is kept from the first question on.
[[noreturn]] void TellDocumentsFolder(const fs::path& home, const char* userDirs) {
  fs::create_directories(home / ".config");
  if (userDirs) std::ofstream(home / ".config" / "user-dirs.dirs") << userDirs;
  setenv("HOME", home.c_str(), 1);
  unsetenv("XDG_CONFIG_HOME");
  std::cerr << "<" << DocumentsFolder() << ">";
  std::exit(0);
}

TEST_F(ProfileFileTest, DocumentsLieWhereTheDesktopSays) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(TellDocumentsFolder(folder_ / "plain", nullptr), ::testing::ExitedWithCode(0),
              "/plain/Documents>");
  EXPECT_EXIT(TellDocumentsFolder(folder_ / "named", "XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n"),
              ::testing::ExitedWithCode(0), "/named/Dokumente>");
}

}  // namespace
}  // namespace halveron::platform
