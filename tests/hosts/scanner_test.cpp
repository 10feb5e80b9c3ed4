// The plug-in files in a foreign program: the scanner of Debian's qtractor, which reads
// "TYPE:FILE" and prints "TYPE|name|audio in:out|MIDI in:out|parameters:outputs|flags|file|...".
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "tests/hosts/plugin_file.h"
#include "tests/hosts/vst2_host.h"
#include "tests/support/scratch_folder.h"

namespace halveron::testing {
namespace {

constexpr const char* kScanner = "/usr/lib/x86_64-linux-gnu/qtractor/qtractor_plugin_scan";

class ScannerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (*HALVERON_SANITIZERS) GTEST_SKIP() << "other programs cannot load a sanitized file";
    if (!std::filesystem::exists(kScanner)) {
      GTEST_SKIP() << "no " << kScanner << "; it comes with: apt-get install qtractor";
    }
  }

  /// The fields of what the scanner prints of a file.
  std::vector<std::string> Scan(const std::string& type, const std::string& file) {
    const std::string list = folder_.At("list"), log = folder_.At("log");
    const std::string command = "echo '" + type + ":" + file + "' | timeout 60 " + kScanner +
                                " > '" + list + "' 2> '" + log + "'";
    EXPECT_EQ(std::system(command.c_str()), 0) << ReadFile(log);
    std::istringstream line(ReadFile(list));
    std::vector<std::string> fields;
    for (std::string field; std::getline(line, field, '|');) fields.push_back(field);
    fields.resize(std::max<std::size_t>(fields.size(), 8));
    return fields;
  }

  static bool HasEditor() {
    const platform::SharedLibrary file(kVst2File);
    const Vst2Host host(file.FindFunction<Vst2Entry>("VSTPluginMain"));
    return (host.effect->flags & effFlagsHasEditor) != 0;
  }

  ScratchFolder folder_;
};

TEST_F(ScannerTest, ListsTheVst2File) {
  const std::vector<std::string> fields = Scan("VST2", kVst2File);
  EXPECT_EQ(fields[0], "VST");
  EXPECT_EQ(fields[1], "Halveron");
  EXPECT_EQ(fields[2], "10:12");
  EXPECT_EQ(fields[3], "1:1");
  EXPECT_EQ(fields[4], "1000:0");
  EXPECT_EQ(fields[5].find("GUI") != std::string::npos, HasEditor()) << fields[5];
  EXPECT_EQ(fields[6], kVst2File);
}

// This scanner counts the channels of the main ports only.
TEST_F(ScannerTest, ListsTheClapFile) {
  const std::vector<std::string> fields = Scan("CLAP", kClapFile);
  EXPECT_EQ(fields[0], "CLAP");
  EXPECT_EQ(fields[1], "Halveron Multi InOut");
  EXPECT_EQ(fields[2], "2:2");
  EXPECT_EQ(fields[3], "1:1");
  EXPECT_EQ(fields[4], "1000:0");
  EXPECT_EQ(fields[5].find("GUI") != std::string::npos, HasEditor()) << fields[5];
  EXPECT_EQ(fields[6], kClapFile);
}

}  // namespace
}  // namespace halveron::testing
