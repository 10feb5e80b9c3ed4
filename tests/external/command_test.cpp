// The command with external modules, and what it says of broken ones.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "app/run_command.h"
#include "tests/external/libraries.h"
#include "tests/hosts/test_home.h"

namespace halveron::testing {
namespace {

namespace fs = std::filesystem;

struct Answer {
  int status;
  std::string out;
  std::string err;
};

Answer Call(const std::vector<std::string>& words) {
  std::vector<const char*> argv{"halveron"};
  for (const std::string& word : words) argv.push_back(word.c_str());
  std::ostringstream out, err;
  const int status = RunCommand(static_cast<int>(argv.size()), argv.data(), out, err);
  return {status, out.str(), err.str()};
}

/// The examples in the user's module folder.
class OwnModules : public ::testing::Test {
 protected:
  OwnModules() {
    fs::create_directories(folder_);
    for (const char* name : {"mixer", "filter", "drawn_wave"}) {
      fs::copy(fs::path(SdkLibrary(std::string("examples/") + name)).parent_path(), folder_,
               fs::copy_options::recursive);
    }
  }
  ~OwnModules() override { fs::remove_all(folder_); }

  const fs::path folder_ = TestDataFile("Modules.x64");
  const ScratchFolder scratch_;
};

constexpr const char* kPatch = R"({"halveron": 1, "modules": [
  {"id": "wave", "name": "Example Drawn Wave", "vendor": "Halveron Examples", "row": 0,
   "column": 0, "controls": {"Tune": 0.75}},
  {"id": "filter", "name": "Example Filter", "vendor": "Halveron Examples"},
  {"id": "out", "name": "SA02 2 DAW"}],
 "cables": [{"from": "wave.Out", "to": "filter.In", "colour": "Red"},
            {"from": "filter.Out", "to": "out.Left", "colour": "Red"}]})";

TEST_F(OwnModules, AreListedWithVendorAndLibraryAndDescribed) {
  const std::string list = Call({"modules"}).out;
  const auto filter = nlohmann::json::parse(Call({"modules", "Example Filter", "--json"}).out);
  const std::string library = filter["library"];
  EXPECT_TRUE(fs::equivalent(library, folder_ / "filter.so")) << library;
  EXPECT_NE(list.find("  Example Filter  (Halveron Examples, " + library + ")\n"),
            std::string::npos)
      << list;
  EXPECT_NE(list.find("3 of them in libraries"), std::string::npos) << list;
  EXPECT_EQ(filter["vendor"], "Halveron Examples");
  EXPECT_EQ(filter["available"], true);
  EXPECT_EQ(filter["mono"], false);
  EXPECT_EQ(filter["columns"], 6);
  EXPECT_EQ(filter["controls"][0]["role"], "Cutoff");
  EXPECT_EQ(filter["inputs"][1]["role"], "Pitch");
}

TEST_F(OwnModules, AreRenderedConvertedAndDrawn) {
  const std::string patch = scratch_.Write("patch.json", kPatch);
  const Answer rendered =
      Call({"render", patch, "-o", scratch_.At("a.wav"), "--frames", "4800", "--voices", "4"});
  EXPECT_EQ(rendered.status, 0) << rendered.err;
  EXPECT_NE(rendered.out.find("peak -"), std::string::npos) << rendered.out;
  EXPECT_EQ(Call({"convert", patch, scratch_.At("a.hvp")}).status, 0);
  EXPECT_EQ(Call({"convert", scratch_.At("a.hvp"), scratch_.At("b.json")}).status, 0);
  EXPECT_EQ(Call({"convert", scratch_.At("b.json"), scratch_.At("b.hvp")}).status, 0);
  EXPECT_EQ(ReadFile(scratch_.At("a.hvp")), ReadFile(scratch_.At("b.hvp")));
  EXPECT_EQ(Call({"screenshot", patch, "-o", scratch_.At("rack.png")}).status, 0);
  const Answer panel =
      Call({"screenshot", "--module", "Example Drawn Wave", "-o", scratch_.At("panel.png")});
  EXPECT_EQ(panel.status, 0) << panel.err;
  EXPECT_NE(panel.out.find("144 by 291"), std::string::npos) << panel.out;
  const Answer unknown = Call({"modules", "Example Filtre"});
  EXPECT_NE(unknown.err.find("did you mean \"Example Filter\"?"), std::string::npos) << unknown.err;
}

TEST_F(OwnModules, MayBeMissingWherePlaceholdersAreAskedFor) {
  const std::string patch = scratch_.Write("patch.json", kPatch);
  const std::string preset = scratch_.At("a.hvp");
  ASSERT_EQ(Call({"convert", patch, preset}).status, 0);
  fs::remove(folder_ / "filter.ini");
  const std::string wave = scratch_.At("a.wav");
  const Answer refused = Call({"render", preset, "-o", wave, "--frames", "480"});
  EXPECT_EQ(refused.status, kExitMisuse);
  EXPECT_NE(refused.err.find("Example Filter Halveron Examples failed to load"), std::string::npos)
      << refused.err;
  const Answer rendered = Call({"render", preset, "-o", wave, "--frames", "480", "--placeholders"});
  EXPECT_EQ(rendered.status, 0) << rendered.err;
  EXPECT_NE(rendered.err.find("Example Filter Halveron Examples is missing; a placeholder"),
            std::string::npos)
      << rendered.err;
  EXPECT_NE(rendered.out.find("silent"), std::string::npos) << rendered.out;
}

TEST(CheckLibrary, FindsNothingWrongWithTheExamplesAndTheTemplate) {
  for (const char* name :
       {"examples/mixer", "examples/filter", "examples/drawn_wave", "template/my_modules"}) {
    const Answer answer = Call({"modules", "--check", SdkLibrary(name)});
    EXPECT_EQ(answer.status, 0) << answer.out << answer.err;
    EXPECT_NE(answer.out.find("in order"), std::string::npos) << answer.out;
  }
}

TEST(CheckLibrary, ReportsEverythingThatIsWrong) {
  const LibraryFolder folder;
  struct Case {
    const char* library;
    std::string ini;
    std::vector<std::string> reports;
  };
  const Case cases[] = {
      {"no_initialize", Ini("Filter", {"A"}), {"does not export DllInitialize"}},
      {"no_get_module", Ini("Filter", {"A"}), {"does not export GetDllModule"}},
      {"null_create", Ini("Filter", {"A"}), {"A: create gives no instance", "1 fault"}},
      {"wild_pointers",
       Ini("Filter", {"A"}),
       {"A: points[0]: is not in readable memory", "A: process_sample: is no address"}},
      {"in_order",
       "[Configuration]\nVendor=Test Vendor\n[Filter]\nnumber_of_modules=3\nM1=Good\nM3=Unknown\n"
       "[MIDI]\nnumber_of_modules=two\n[Other]\nnumber_of_modules=2\nM1=Later\nM2=Good\n",
       {"[Filter] announces 3 modules and has 2 names", "[MIDI] number_of_modules is 'two'",
        "Unknown: the library does not know", "Later: requires version 201",
        "Good: is listed twice", "Good (Test Vendor): in order"}},
      {"endless_counts", "[Configuration]\n", {"section Configuration has no Vendor"}},
  };
  for (const Case& each : cases) {
    const std::string path = folder.Add(each.library, each.ini);
    const Answer answer = Call({"modules", "--check", path});
    EXPECT_EQ(answer.status, kExitMisuse) << each.library;
    for (const std::string& report : each.reports) {
      EXPECT_NE(answer.out.find(report), std::string::npos) << report << " in\n" << answer.out;
    }
  }
  const std::string path = folder.Add("endless_counts", Ini("Filter", {"A"}));
  EXPECT_EQ(Call({"modules", "--check", path}).status, kExitMisuse);
  const Answer none = Call({"modules", "--check", folder.Path() + "none.so"});
  EXPECT_EQ(none.status, kExitMisuse);
  EXPECT_NE(none.err.find("is no file"), std::string::npos) << none.err;
}

}  // namespace
}  // namespace halveron::testing
