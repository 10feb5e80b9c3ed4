#include "editor/factory_presets.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/support/scratch_folder.h"

namespace halveron {
namespace {

namespace fs = std::filesystem;

class FactoryPresetsTest : public ::testing::Test {
 protected:
  static void Write(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << text;
  }
  static std::string Read(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  fs::path Factory(const std::string& name) const { return root_ / "Factory Presets" / name; }
  fs::path Mine(const std::string& name) const { return root_ / "data/Presets" / name; }

  const testing::ScratchFolder scratch_;
  const fs::path root_ = scratch_.At("");
  const DataFolders folders_{root_.string(), root_.string() + "data/"};
};

TEST_F(FactoryPresetsTest, EachComesOnceAndNothingOfTheUsersIsWrittenOver) {
  Write(Factory("Bass/Round.hvp"), "round");
  Write(Factory("Pad/Slow.hvp"), "slow");
  Write(Factory("Pad/notes.txt"), "no preset");
  Write(Mine("Pad/Slow.hvp"), "my own");
  InstallFactoryPresets(folders_);
  EXPECT_EQ(Read(Mine("Bass/Round.hvp")), "round");
  EXPECT_EQ(Read(Mine("Pad/Slow.hvp")), "my own");
  EXPECT_FALSE(fs::exists(Mine("Pad/notes.txt")));

  fs::remove(Mine("Bass/Round.hvp"));
  fs::remove(Mine("Pad/Slow.hvp"));
  Write(Factory("Bass/Later.hvp"), "later");
  InstallFactoryPresets(folders_);
  EXPECT_FALSE(fs::exists(Mine("Bass/Round.hvp"))) << "what the user removed stays away";
  EXPECT_FALSE(fs::exists(Mine("Pad/Slow.hvp")));
  EXPECT_EQ(Read(Mine("Bass/Later.hvp")), "later");
}

TEST_F(FactoryPresetsTest, WhatCannotBeWrittenIsTriedAgain) {
  Write(Factory("Bass/Round.hvp"), "round");
  Write(Mine("Bass"), "a file where the folder should be");
  InstallFactoryPresets(folders_);
  fs::remove(Mine("Bass"));
  InstallFactoryPresets(folders_);
  EXPECT_EQ(Read(Mine("Bass/Round.hvp")), "round");
  InstallFactoryPresets({root_.string(), ""});
}

}  // namespace
}  // namespace halveron
