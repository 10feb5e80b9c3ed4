// The command with external modules, and what it says of broken ones.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
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

TEST_F(OwnModules, MayShareANameWithAnotherVendors) {
  fs::copy(HALVERON_LIBRARIES_FOLDER "/in_order.so", folder_);
  std::ofstream(folder_ / "in_order.ini") << Ini("Filter", {"Example Filter"});
  const std::string both = Call({"modules", "Example Filter"}).out;
  EXPECT_NE(both.find("Filter, by Halveron Examples, in "), std::string::npos) << both;
  EXPECT_NE(both.find("Filter, by Test Vendor, in "), std::string::npos) << both;
  EXPECT_EQ(nlohmann::json::parse(Call({"modules", "Example Filter", "--json"}).out).size(), 2u);
  const std::string one = "Example Filter by Test Vendor";
  const auto json = nlohmann::json::parse(Call({"modules", one, "--json"}).out);
  EXPECT_EQ(json["vendor"], "Test Vendor");
  const std::string picture = scratch_.At("a.png");
  const Answer unclear = Call({"screenshot", "--module", "Example Filter", "-o", picture});
  EXPECT_EQ(unclear.status, kExitMisuse);
  EXPECT_NE(unclear.err.find("or \"" + one + "\""), std::string::npos) << unclear.err;
  EXPECT_EQ(Call({"screenshot", "--module", one, "-o", picture}).status, 0);
  // A name that is not UTF-8 cannot be made, and the others are described all the same.
  std::ofstream(folder_ / "in_order.ini") << Ini("Filter", {"Gr\xFC\xDF"});
  const Answer all = Call({"modules", "--json"});
  EXPECT_EQ(all.status, 0) << all.err;
  EXPECT_GT(nlohmann::json::parse(all.out).size(), 3u);
}

TEST_F(OwnModules, HavePlaceholdersWhereTheyRefuseAVoice) {
  fs::copy(HALVERON_LIBRARIES_FOLDER "/unruly.so", folder_);
  std::ofstream(folder_ / "unruly.ini") << Ini("Filter", {"Quartet"});
  const std::string patch = scratch_.Write("patch.json", R"({"halveron": 1, "voices": 16,
    "modules": [{"id": "vco", "name": "S310 VCO", "row": 0, "column": 0},
                {"id": "four", "name": "Quartet", "vendor": "Test Vendor"},
                {"id": "out", "name": "SA02 2 DAW"}],
    "cables": [{"from": "vco.Saw", "to": "out.Left", "colour": "Red"}]})");
  const std::vector<std::string> words{
      "render", patch, "-o", scratch_.At("a.wav"), "--frames", "4800", "--placeholders"};
  const Answer rendered = Call(words);
  EXPECT_EQ(rendered.status, 0) << rendered.err;
  EXPECT_NE(rendered.err.find("Quartet Test Vendor is missing; a placeholder"), std::string::npos)
      << rendered.err;
  EXPECT_EQ(rendered.out.find("silent"), std::string::npos) << "the rest plays: " << rendered.out;
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

TEST_F(OwnModules, AreConvertedToTextAndBackWhileTheyAreMissing) {
  const std::string preset = scratch_.At("a.hvp");
  const std::string text = scratch_.At("a.json");
  ASSERT_EQ(Call({"convert", scratch_.Write("patch.json", kPatch), preset}).status, 0);
  for (const char* name : {"filter.ini", "drawn_wave.ini"}) fs::remove(folder_ / name);
  EXPECT_EQ(Call({"convert", preset, text}).status, kExitMisuse);
  const Answer written = Call({"convert", preset, text, "--placeholders"});
  EXPECT_EQ(written.status, 0) << written.err;
  EXPECT_NE(written.err.find("Example Drawn Wave Halveron Examples is missing"), std::string::npos);
  const auto json = nlohmann::json::parse(ReadFile(text));
  EXPECT_EQ(json["modules"][0]["name"], "Example Drawn Wave");
  EXPECT_EQ(json["modules"][0]["vendor"], "Halveron Examples");
  EXPECT_EQ(json["modules"][0]["saved"][0]["value"], 0.75);
  EXPECT_EQ(json["cables"][0]["to"], "example-2.Jack 1");
  EXPECT_EQ(Call({"convert", text, scratch_.At("b.hvp")}).status, 0);
  EXPECT_EQ(ReadFile(scratch_.At("b.hvp")), ReadFile(preset));

  const std::string wave = scratch_.At("a.wav");
  EXPECT_EQ(Call({"render", text, "-o", wave, "--frames", "480"}).status, kExitMisuse);
  const Answer rendered = Call({"render", text, "-o", wave, "--frames", "480", "--placeholders"});
  EXPECT_EQ(rendered.status, 0) << rendered.err;
  // With the libraries back it is what it was.
  for (const char* name : {"filter", "drawn_wave"}) {
    const fs::path ini = fs::path(SdkLibrary(std::string("examples/") + name)).parent_path();
    fs::copy(ini / (std::string(name) + ".ini"), folder_);
  }
  EXPECT_EQ(Call({"render", text, "-o", wave, "--frames", "480"}).status, 0);
  EXPECT_EQ(Call({"render", preset, "-o", scratch_.At("b.wav"), "--frames", "480"}).status, 0);
  EXPECT_EQ(ReadFile(wave), ReadFile(scratch_.At("b.wav")));

  // From text to text as well, with fewer libraries and with later ones.
  for (const char* name : {"filter.ini", "drawn_wave.ini"}) fs::remove(folder_ / name);
  const Answer again = Call({"convert", text, scratch_.At("c.json"), "--placeholders"});
  EXPECT_EQ(again.status, 0) << again.err;
  EXPECT_NE(again.err.find("Example Filter Halveron Examples is missing"), std::string::npos);
  EXPECT_EQ(ReadFile(scratch_.At("c.json")), ReadFile(text));

  const std::string broken = R"({"halveron": 1, "modules": [
    {"id": "a", "name": "A", "saved": [{"jack": "inptu"}]}]})";
  const Answer refused = Call({"convert", scratch_.Write("c.json", broken), preset});
  EXPECT_NE(refused.err.find("saved[0].jack: no kind of jack \"inptu\"; did you mean \"input\"?"),
            std::string::npos)
      << refused.err;
}

TEST_F(OwnModules, AreConvertedFromTheTextOfAnEarlierVersion) {
  const auto install = [&](const std::string& library) {
    fs::copy(HALVERON_LIBRARIES_FOLDER "/" + library + ".so", folder_ / "probe.so",
             fs::copy_options::overwrite_existing);
    std::ofstream(folder_ / "probe.ini") << Ini("Amplifier", {"Probe"});
  };
  install("in_order");
  const std::string preset = scratch_.At("a.hvp");
  const std::string patch = scratch_.Write("patch.json", R"({"halveron": 1, "modules": [
    {"id": "probe", "name": "Probe", "vendor": "Test Vendor", "controls": {"Level": 0.25}},
    {"id": "other", "name": "Probe", "vendor": "Test Vendor", "controls": {"Level": 0.75}},
    {"id": "out", "name": "SA02 2 DAW"}],
    "cables": [{"from": "probe.Out", "to": "other.In", "colour": "Red"},
               {"from": "other.Out", "to": "out.Left", "colour": "Red"}]})");
  ASSERT_EQ(Call({"convert", patch, preset}).status, 0);
  fs::remove(folder_ / "probe.ini");
  const std::string kept = scratch_.At("kept.json");
  ASSERT_EQ(Call({"convert", preset, kept, "--placeholders"}).status, 0);
  install("grown");
  const Answer converted = Call({"convert", kept, scratch_.At("b.json")});
  ASSERT_EQ(converted.status, 0) << converted.err;
  const auto json = nlohmann::json::parse(ReadFile(scratch_.At("b.json")));
  EXPECT_EQ(json["modules"][0]["controls"]["Level"], 0.25);
  EXPECT_EQ(json["modules"][1]["controls"]["Level"], 0.75);
  std::set<std::string> ends;
  for (const auto& cable : json["cables"]) {
    const std::string from = cable["from"], to = cable["to"];
    ends.insert(from.substr(from.find('.')) + to.substr(to.find('.')));
  }
  EXPECT_EQ(ends, (std::set<std::string>{".Out.In", ".Out.Left"}));
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
      {"in_order",
       "stray=1\n[Configuration]\nVendor=Test Vendor\nvendro=x\n[Filters]\nM1=A\n[filter]\n"
       "number_of_module=1\nnumber_of_modules=1\nm1=A\nM10=B\nM99=C\n",
       {"before the first section", "the key \"vendro\" means nothing; did you mean \"Vendor\"?",
        "[Filters] is neither Configuration nor a category; did you mean \"Filter\"?",
        "\"number_of_module\" means nothing; did you mean \"number_of_modules\"?",
        "\"M10\" means nothing; the key of module 10 is \"M:\"", "has room for 12", "6 faults"}},
      {"no_initialize",
       "[configuration]\nVendr=x\n",
       {"did you mean \"Vendor\"?", "has no Vendor", "does not export DllInitialize"}},
      {"unruly",
       Ini("Filter", {"Few", "Shared", "Skewed", "Blinks", "Late"}),
       {"Few: create gives no instance beside 4 others",
        "Few: create gives no instance for voice 4",
        "Shared: the output 'Out' of a module among 16 is ",
        "Skewed: the output 'Out' of voice 3 by run_voices in 4 lanes is ",
        "Blinks: the output 'Out' is no finite number with", "Late: the output 'Out' of voice 0",
        "6 faults"}},
      {"in_order",
       "[Configuration]\nVendor=Test "
       "Vendor\n[Filter]\nnumber_of_modules=1\nM1=A\nM3=B\nM4=C\nM1=D\n"
       "[Other]\nM2=E\n[MIDI]\nnumber_of_modules=1\nM1=Gr\xFC\xDF\n",
       {"[Filter] has the key M1 2 times, of which the last counts",
        "[Filter] announces 1 modules, but has the key M3",
        "[Filter] announces 1 modules, but has the key M4",
        "[Other] has the key M2, but no number_of_modules", "[MIDI] M1 is not UTF-8",
        "name: is not UTF-8"}},
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
  const std::string falling = folder.Add("unruly", Ini("Filter", {"Falls"}));
  EXPECT_EXIT(Call({"modules", "--check", falling}), ::testing::ExitedWithCode(kExitMisuse),
              "Falls: crashes while it plays with its defaults .access to invalid memory");
  const std::string deep = folder.Add("unruly", Ini("Filter", {"Deep"}));
  EXPECT_EXIT(Call({"modules", "--check", deep}), ::testing::ExitedWithCode(kExitMisuse),
              "Deep: crashes while it plays with its defaults .access to invalid memory");
  const std::string alone = folder.Add("no_get_module", "");
  fs::remove(folder.Path() + "no_get_module.ini");
  const Answer withoutIni = Call({"modules", "--check", alone});
  EXPECT_EQ(withoutIni.status, kExitMisuse);
  for (const char* report : {"no_get_module.ini is missing", "does not export GetDllModule"}) {
    EXPECT_NE(withoutIni.out.find(report), std::string::npos) << withoutIni.out;
  }
}

}  // namespace
}  // namespace halveron::testing
