// The plug-in's files play racks with modules of libraries.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "editor/known_modules.h"
#include "presets/text_patch.h"
#include "tests/external/libraries.h"
#include "tests/hosts/clap_host.h"
#include "tests/hosts/plugin_file.h"
#include "tests/hosts/test_home.h"
#include "tests/hosts/vst2_host.h"

namespace halveron::testing {
namespace {

namespace fs = std::filesystem;

constexpr const char* kPatch = R"({"halveron": 1, "voices": 16, "modules": [
  {"id": "chain", "name": "SD05 MIDI Poly Chainer"},
  {"id": "wave", "name": "Example Drawn Wave", "vendor": "Halveron Examples"},
  {"id": "filter", "name": "Example Filter", "vendor": "Halveron Examples"},
  {"id": "mix", "name": "Example Mixer", "vendor": "Halveron Examples"},
  {"id": "out", "name": "SA02 2 DAW"}],
 "cables": [{"from": "wave.Out", "to": "filter.In", "colour": "Red"},
            {"from": "filter.Out", "to": "mix.In 2", "colour": "Red"},
            {"from": "mix.Out", "to": "out.Left", "colour": "Red"}]})";

class HostFiles : public ::testing::Test {
 protected:
  HostFiles() {
    for (const char* name : {"mixer", "filter", "drawn_wave"}) {
      fs::create_directories(folder_ / name);
      fs::copy(fs::path(SdkLibrary(std::string("examples/") + name)).parent_path(), folder_ / name,
               fs::copy_options::recursive);
    }
    TestRack rack;
    ApplyTextPatch(ParseTextPatch(kPatch, "test"), "test", rack.editor, KnownModules(rack.editor));
    const auto chunk = rack.editor.SaveChunk();
    state_.assign(chunk.begin(), chunk.end());
  }
  ~HostFiles() override { fs::remove_all(folder_); }

  static float Peak(const std::vector<float>& samples) {
    float peak = 0;
    for (const float sample : samples) peak = std::max(peak, std::abs(sample));
    return peak;
  }

  const fs::path folder_ = TestDataFile("Modules.x64");
  std::vector<std::byte> state_;
};

TEST_F(HostFiles, PlayThemUnderVst2) {
  const platform::SharedLibrary file(kVst2File);
  Vst2Host host(file.FindFunction<Vst2Entry>("VSTPluginMain"));
  host.Start(48000, 256);
  ASSERT_TRUE(host.Load(state_));
  EXPECT_TRUE(host.Save() == state_);
  host.Process(256);
  EXPECT_GT(Peak(host.Output(0)), 0.1f);
}

TEST_F(HostFiles, PlayThemUnderClap) {
  const ClapFile file;
  ClapHost host(file.Factory());
  host.Activate(48000, 256);
  ASSERT_TRUE(host.Load(state_));
  EXPECT_TRUE(host.Save() == state_);
  host.Process(256);
  EXPECT_GT(Peak(host.Output(0)), 0.1f);
}

}  // namespace
}  // namespace halveron::testing
