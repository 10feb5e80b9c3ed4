// The plug-in's files in the user's folders, here those of test_home.cpp.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "platform/whole_file.h"
#include "tests/hosts/plugin_file.h"
#include "tests/hosts/vst2_host.h"

namespace halveron::testing {
namespace {

namespace fs = std::filesystem;

TEST(UserFiles, AFirstStartBringsTheFactoryPresetsAndALaterOneKeepsTheUsers) {
  const fs::path data = fs::path(std::getenv("HOME")) / "Documents/Halveron";
  const fs::path preset = data / "Presets/Bass/Round Bass.hvp";
  const platform::SharedLibrary file(kVst2File);
  const auto start = [&] { const Vst2Host host(file.FindFunction<Vst2Entry>("VSTPluginMain")); };
  start();
  ASSERT_TRUE(fs::exists(preset));
  EXPECT_EQ(platform::ReadWholeFile(preset.string()),
            platform::ReadWholeFile(HALVERON_PLUGIN_FOLDER "/Factory Presets/Bass/Round Bass.hvp"));
  std::ofstream(preset) << "mine";
  fs::remove(data / "Presets/Pad/Slow Pad.hvp");
  start();
  EXPECT_EQ(fs::file_size(preset), 4u);
  EXPECT_FALSE(fs::exists(data / "Presets/Pad/Slow Pad.hvp"));
}

}  // namespace
}  // namespace halveron::testing
