// Presets to text patches and back, to the last byte.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "app/patch_file.h"
#include "app/run_command.h"
#include "editor/module_catalogue.h"
#include "platform/file_error.h"
#include "platform/whole_file.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/source_folder.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

namespace fs = std::filesystem;

class ConvertTest : public ::testing::Test {
 protected:
  std::string Path(const std::string& name) const { return folder_.At(name); }

  int Run(const std::vector<std::string>& words) {
    std::vector<const char*> argv{"halveron"};
    for (const std::string& word : words) argv.push_back(word.c_str());
    out_.str("");
    err_.str("");
    return RunCommand(static_cast<int>(argv.size()), argv.data(), out_, err_);
  }

  void ExpectSameAfterRoundTrip(SynEditor& editor) {
    ASSERT_TRUE(editor.SavePreset(Path("first.hvp")));
    ASSERT_EQ(Run({"convert", Path("first.hvp"), Path("text.json")}), 0) << err_.str();
    ASSERT_EQ(Run({"convert", Path("text.json"), Path("second.hvp")}), 0) << err_.str();
    ExpectSameBytes("first.hvp", "second.hvp");
    ASSERT_EQ(Run({"convert", Path("second.hvp"), Path("again.json")}), 0) << err_.str();
    ExpectSameBytes("text.json", "again.json");
  }

  void ExpectSameBytes(const std::string& one, const std::string& other) {
    const std::vector<std::byte> a = platform::ReadWholeFile(Path(one));
    const std::vector<std::byte> b = platform::ReadWholeFile(Path(other));
    EXPECT_EQ(a.size(), b.size()) << one << " and " << other;
    const auto [inA, inB] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    EXPECT_TRUE(inA == a.end() && inB == b.end()) << "at byte " << inA - a.begin();
  }

  const ScratchFolder folder_;
  std::ostringstream out_, err_;
};

/// Every module that there is, cabled from the one before, after it has run for a while.
void FillRack(TestRack& rack) {
  std::vector<Module*> modules;
  int column = 0;
  for (const CatalogueEntry& entry : ModuleCatalogue()) {
    if (!entry.make) continue;
    Module& module = rack.Add(entry.name);
    CRect place = module.getViewSize();
    module.setViewSize(place.moveTo(column, 291 * (modules.size() % 3)));
    column += static_cast<int>(module.getWidth());
    modules.push_back(&module);
  }
  for (std::size_t i = 0; i + 1 < modules.size(); ++i) {
    for (CView* from : modules[i]->children()) {
      auto* output = dynamic_cast<PatchPoint*>(from);
      if (!output || output->type != kOutputPoint || !output->isVisible()) continue;
      for (CView* to : modules[i + 1]->children()) {
        auto* input = dynamic_cast<PatchPoint*>(to);
        if (!input || input->type != kInputPoint || input->cableCount > 0) continue;
        if (input->twoState != output->twoState || !input->isVisible()) continue;
        rack.editor.cables.ConnectCable(input, output,
                                        output->twoState ? 7 : 1 + static_cast<int>(i) % 6, -1);
        break;
      }
    }
  }
}

TEST_F(ConvertTest, PresetsComeBackByteForByte) {
  TestRack rack;
  rack.editor.voices.ApplyVoiceCount(3);
  FillRack(rack);
  rack.editor.author = "Z\xC3\xBC";
  rack.editor.description = "not in any \xFF encoding";
  rack.engine.ApplyOversamplingFactor(1);
  rack.engine.ApplyOversamplingFilter(0);
  rack.editor.voices.SetModuleMono(rack.editor.modules[0][1], true);
  rack.editor.SetModuleClipLevel(rack.editor.modules[0][4], 0.70794578f);
  rack.Run(3000);  // phases, lamps and random values are as a played rack has them
  ExpectSameAfterRoundTrip(rack.editor);
}

TEST_F(ConvertTest, ParametersAndPlacesOffTheUsualComeBackToo) {
  TestRack rack;
  Module& gone = rack.Add("S310 VCO");
  Module& vco = rack.Add("S310 VCO");
  rack.Add("S404 VCA");
  rack.editor.RemoveModule(&gone, true);
  rack.editor.parameters.UnregisterTag(&rack.Control(vco, "Shape"));
  CRect place = vco.getViewSize();
  vco.setViewSize(place.moveTo(1001, 17));
  ExpectSameAfterRoundTrip(rack.editor);
}

TEST_F(ConvertTest, AnEmptyRackComesBack) {
  TestRack rack;
  rack.editor.SetRows(7);
  ExpectSameAfterRoundTrip(rack.editor);
}

TEST_F(ConvertTest, MisuseTellsFileAndCauseAndLeavesNothing) {
  platform::WriteWholeFile(Path("short.hvp"), std::vector<std::byte>(11));
  struct Case {
    std::vector<std::string> words;
    const char* expected;
  };
  const Case cases[] = {
      {{"convert", Path("none.hvp"), Path("o.json")}, "none.hvp: cannot be opened"},
      {{"convert", Path("short.hvp"), Path("o.json")}, "short.hvp: "},
      {{"convert", Path("short.wav"), Path("o.json")}, "preset (.hvp) or a text patch (.json)"},
      {{"convert", Path("short.hvp"), Path("o")}, "has no extension"},
      {{"convert", Path("short.hvp")}, "OUT"},
      {{"convert", SourceFolder() + "/patches/bass.json", Path("no/such/folder.hvp")},
       "cannot be written"},
      {{"render", Path("short.hvp"), "-o", Path("o.wav")}, "short.hvp: "},
  };
  for (const Case& misuse : cases) {
    EXPECT_EQ(Run(misuse.words), 2);
    const std::string line = err_.str();
    EXPECT_NE(line.find(misuse.expected), std::string::npos) << line;
    EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1) << line;
    EXPECT_EQ(folder_.Names().size(), 1u) << line;
  }
}

TEST_F(ConvertTest, APresetPlaysAsItsTextDoes) {
  const std::string patch = SourceFolder() + "/patches/lead.json";
  const std::string tune = SourceFolder() + "/patches/evening.mid";
  ASSERT_EQ(Run({"convert", patch, Path("lead.hvp")}), 0) << err_.str();
  for (const std::string& kind : {patch, Path("lead.hvp")}) {
    const std::string wav = Path(fs::path(kind).extension().string().substr(1) + ".wav");
    ASSERT_EQ(Run({"render", kind, "--midi", tune, "--seconds", "3", "-o", wav}), 0) << err_.str();
  }
  ExpectSameBytes("json.wav", "hvp.wav");
  ASSERT_EQ(Run({"render", Path("lead.hvp"), "--midi", tune, "--seconds", "3", "--oversampling",
                 "4", "--voices", "2", "-o", Path("over.wav")}),
            0)
      << err_.str();
  EXPECT_TRUE(platform::ReadWholeFile(Path("json.wav")) !=
              platform::ReadWholeFile(Path("over.wav")));
}

}  // namespace
}  // namespace halveron::testing
