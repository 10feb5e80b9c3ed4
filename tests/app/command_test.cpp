#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "app/run_command.h"
#include "editor/module_catalogue.h"
#include "framework/manual_page.h"
#include "media/audio_file.h"
#include "tests/support/song_file.h"

namespace halveron {
namespace {

using halveron::testing::ReadFile;
using halveron::testing::ScratchFolder;
using halveron::testing::SongHeader;
using halveron::testing::SongTrack;

struct Answer {
  int status;
  std::string out;
  std::string err;
};

Answer Call(std::vector<std::string> words) {
  words.insert(words.begin(), "halveron");
  std::vector<const char*> argv;
  for (const std::string& word : words) argv.push_back(word.c_str());
  std::ostringstream out, err;
  const int status = RunCommand(static_cast<int>(argv.size()), argv.data(), out, err);
  return {status, out.str(), err.str()};
}

constexpr const char* kSilentPatch = R"({"halveron": 1})";

TEST(Command, HelpAndVersionAreNoMisuse) {
  const std::vector<std::string> calls[] = {{"--help"}, {"render", "--help"}, {"modules", "-h"}};
  for (const auto& call : calls) {
    const Answer answer = Call(call);
    EXPECT_EQ(answer.status, 0);
    EXPECT_NE(answer.out.find("Usage: halveron"), std::string::npos) << answer.out;
    EXPECT_EQ(answer.err, "");
  }
  EXPECT_NE(Call({"render", "--help"}).out.find("--midi"), std::string::npos);
  EXPECT_EQ(Call({"--version"}).out.rfind("halveron ", 0), 0u);
}

TEST(Command, MisuseIsOneLineAndLeavesEveryFileAsItWas) {
  const ScratchFolder folder;
  const std::string patch = folder.Write("good.json", kSilentPatch);
  const std::string broken = folder.Write("broken.json", "{\n\"halveron\": 1,,}");
  const std::string misnamed = folder.Write(
      "misnamed.json", R"({"halveron": 1, "modules": [{"id": "a", "name": "S404 VCB"}]})");
  const std::string midi = folder.Write("cut.mid", SongHeader(1, 96) + "MTrk\1\1\1\1");
  const std::string words = folder.Write("words.wav", "no sound");
  const std::string newline = folder.Write("new\nline.json", "[");
  const std::string wave = folder.At("in.wav");
  {
    media::AudioFileWriter writer(wave, 1, 44100, 1);
    const float sample = 0.5f;
    writer.Write(&sample, 1);
    writer.Commit();
  }
  const std::string out = folder.Write("out.wav", "an older take");
  struct Case {
    std::vector<std::string> call;
    std::vector<std::string> parts;  // of the line
  };
  const Case cases[] = {
      {{}, {"no command"}},
      {{"rendr", patch, "-o", out}, {"no command \"rendr\"", "\"render\""}},
      {{"--colour"}, {"no option \"--colour\""}},
      {{"render"}, {"render: PATCH is required"}},
      {{"render", patch}, {"--output or --midi-output is required"}},
      {{"render", patch, "-o", out, "--midi-output", out}, {"is to be sound and MIDI at once"}},
      {{"render", patch, "-o", out, "--secnds", "3"}, {"no option \"--secnds\"", "\"--seconds\""}},
      {{"render", patch, "more", "-o", out}, {"one argument too many, \"more\""}},
      {{"render", patch, "-o", out, "--rate", "fast"}, {"--rate", "fast"}},
      {{"render", patch, "-o", out, "--rate", "0"}, {"--rate", "1000 to 12000000"}},
      {{"render", patch, "-o", out, "--block", "0"}, {"--block"}},
      {{"render", patch, "-o", out, "--channels", "13"}, {"--channels", "1 to 12"}},
      {{"render", patch, "-o", out, "--voices", "17"}, {"--voices", "1 to 16"}},
      {{"render", patch, "-o", out, "--oversampling", "3"}, {"--oversampling: no power of two"}},
      {{"render", wave, "-o", out}, {wave + ": is of no known kind", "(.hvp)"}},
      {{"render", patch, "-o", out, "--seconds", "nan"}, {"--seconds: out of range"}},
      {{"render", patch, "-o", out, "--seconds", "-1"}, {"--seconds: out of range"}},
      {{"render", patch, "-o", out, "--seconds", "1", "--frames", "9"}, {"--frames", "--seconds"}},
      {{"render", patch, "-o", out, "--tempo", "0"}, {"--tempo: out of range"}},
      {{"render", broken, "-o", out}, {broken + ": line 2, column 15: "}},
      {{"render", misnamed, "-o", out}, {misnamed + ": modules[0].name: ", "\"S404 VCA\"?"}},
      {{"render", folder.At("none.json"), "-o", out},
       {"none.json: cannot be opened: No such file"}},
      {{"render", newline, "-o", out}, {"new line.json: line 1, column 2"}},
      {{"render", patch, "-o", out, "--midi", midi}, {midi + ": byte 14: track 1 reaches beyond"}},
      {{"render", patch, "-o", out, "--input", words}, {words + ": cannot be read as a sound"}},
      {{"render", patch, "-o", out, "--input", wave}, {wave + ": header: 44100", "--rate 44100"}},
      {{"render", patch, "-o", folder.At("none/x.wav")},
       {"none/x.wav: cannot be written: No such"}},
      {{"render", patch, "-o", folder.At("")}, {"is no regular file"}},
      {{"render", patch, "-o", patch}, {patch + ": is read as well"}},
      {{"modules", "S999"}, {"no module \"S999\"", "did you mean"}},
  };
  const std::vector<std::string> before = folder.Names();
  for (const Case& misuse : cases) {
    const Answer answer = Call(misuse.call);
    EXPECT_EQ(answer.status, 2) << answer.err;
    EXPECT_EQ(answer.out, "");
    EXPECT_EQ(answer.err.rfind("halveron: ", 0), 0u) << answer.err;
    EXPECT_EQ(std::count(answer.err.begin(), answer.err.end(), '\n'), 1) << answer.err;
    for (const std::string& part : misuse.parts) {
      EXPECT_NE(answer.err.find(part), std::string::npos) << answer.err << "without: " << part;
    }
    EXPECT_EQ(folder.Names(), before) << answer.err;
  }
  EXPECT_TRUE(ReadFile(out) == "an older take");
  EXPECT_EQ(ReadFile(patch), kSilentPatch);
}

TEST(Command, AnInputThatBreaksUnderWayLeavesTheOlderTake) {
  const ScratchFolder folder;
  const std::string patch = folder.Write("good.json", kSilentPatch);
  const std::string out = folder.Write("out.wav", "an older take");
  {
    std::vector<float> samples(5000);
    samples[4000] = INFINITY;
    media::AudioFileWriter writer(folder.At("in.wav"), 1, 48000, 5000);
    writer.Write(samples.data(), 5000);
    writer.Commit();
  }
  const Answer answer = Call({"render", patch, "-o", out, "--input", folder.At("in.wav")});
  EXPECT_EQ(answer.status, 2);
  EXPECT_NE(answer.err.find("frame 4000, channel 1"), std::string::npos) << answer.err;
  EXPECT_TRUE(ReadFile(out) == "an older take");
  EXPECT_EQ(folder.Names().size(), 3u);
}

TEST(Command, ManualHasAPageForEachModule) {
  const ScratchFolder folder;
  ASSERT_EQ(Call({"manual", folder.At("pages")}).status, 0);
  const std::string index = ReadFile(folder.At("pages/index.html"));
  for (const auto& module : nlohmann::json::parse(Call({"modules", "--json"}).out)) {
    if (!module["available"]) continue;
    const std::string name = module["name"];
    const std::string page = ReadFile(folder.At("pages/" + ManualPageName(name)));
    EXPECT_NE(page.find("</html>"), std::string::npos) << name;
    std::string link = ManualPageName(name);
    if (const auto at = link.find('&'); at != std::string::npos) link.replace(at, 1, "&amp;");
    EXPECT_NE(index.find("\"" + link + "\""), std::string::npos) << name;
    const auto rows = [&page](const std::string& tag) {
      std::size_t count = 0;
      for (auto at = page.find(tag); at != std::string::npos; at = page.find(tag, at + 1)) ++count;
      return count;
    };
    EXPECT_EQ(rows("<tr><td>"), module["controls"].size() + module["inputs"].size() +
                                    module["outputs"].size() + module["either way"].size())
        << name;
  }
  const std::string vca = ReadFile(folder.At("pages/S404-VCA.html"));
  EXPECT_NE(vca.find("<tr><td>Base gain</td><td>knob</td><td>-inf dB to +26 dB</td>"),
            std::string::npos)
      << vca;
  EXPECT_NE(vca.find("<tr><td>In 1</td><td>input</td><td>voltage</td></tr>"), std::string::npos);

  const Answer refused = Call({"manual", folder.Write("file", "") + "/pages"});
  EXPECT_EQ(refused.status, 2);
  EXPECT_NE(refused.err.find("the folder cannot be made"), std::string::npos) << refused.err;
}

TEST(Command, ModulesListsTheCatalogueAndEachPanel) {
  const std::string list = Call({"modules"}).out;
  const auto all = nlohmann::json::parse(Call({"modules", "--json"}).out);
  ASSERT_EQ(all.size(), ModuleCatalogue().size());
  for (std::size_t i = 0; i < all.size(); ++i) {
    const CatalogueEntry& entry = ModuleCatalogue()[i];
    EXPECT_EQ(all[i]["name"], entry.name);
    EXPECT_EQ(all[i]["available"], entry.make != nullptr);
    const std::string line = "  " + std::string(entry.name) + (entry.make ? "\n" : "  (to come)\n");
    EXPECT_NE(list.find(line), std::string::npos) << entry.name;
    if (!entry.make) continue;
    // Patches name these: a repeated role would be ambiguous.
    for (const char* group : {"controls", "inputs", "outputs"}) {
      std::set<std::string> roles;
      for (const auto& item : all[i][group]) {
        EXPECT_TRUE(roles.insert(item["role"]).second) << entry.name << " " << item["role"];
        EXPECT_NE(item["role"], "") << entry.name;
      }
    }
  }
  const auto vco = nlohmann::json::parse(Call({"modules", "S310 VCO", "--json"}).out);
  EXPECT_EQ(vco["controls"][4]["role"], "Octave");
  EXPECT_EQ(vco["controls"][4]["positions"], 13);
  EXPECT_EQ(vco["outputs"][3]["role"], "Pulse");
  EXPECT_EQ(vco["mono"], false);
  const auto bridge = nlohmann::json::parse(Call({"modules", "S121", "--json"}).out);
  EXPECT_EQ(bridge["inputs"].size(), 1u) << "the ring's other points cannot be reached";
  EXPECT_EQ(bridge["outputs"].size(), 16u);
  const std::string panel = Call({"modules", "SA03"}).out;
  EXPECT_NE(panel.find("MIDI (MIDI)"), std::string::npos) << panel;
  EXPECT_NE(panel.find("5 positions"), std::string::npos) << panel;
}

int ExitOf(const std::string& call) {
  const int status = std::system(call.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Command, TheProgramItselfAnswersAndCanBeInterrupted) {
  const ScratchFolder folder;
  const std::string program = HALVERON_COMMAND;
  const std::string patch = folder.Write("good.json", kSilentPatch);
  const std::string out = folder.At("out.wav");
  const std::string quiet = " > " + folder.At("log") + " 2>&1";
  EXPECT_EQ(ExitOf(program + " render " + patch + " --frames 100 -o " + out + quiet), 0);
  EXPECT_NE(ReadFile(folder.At("log")).find(out + ": 0.002 s, 2 channels"), std::string::npos);
  EXPECT_EQ(ReadFile(folder.At("log")).find("\r"), std::string::npos) << "no bar without terminal";
  const std::string take = ReadFile(out);
  EXPECT_EQ(ExitOf(program + " render " + patch + " --rte 5 -o " + out + quiet), 2);
  // When it has written something, which takes at most a minute.
  const std::string interrupt = " & program=$!; for i in $(seq 600); do [ \"$(find " +
                                folder.At("") + " -size +64k)\" ] && break; sleep 0.1; done; " +
                                "kill -INT $program; wait $program";
  EXPECT_EQ(ExitOf(program + " render " + patch + " --seconds 1e5 -o " + out + quiet + interrupt),
            130);
  EXPECT_NE(ReadFile(folder.At("log")).find("interrupted"), std::string::npos);
  EXPECT_EQ(ReadFile(out), take);
  EXPECT_EQ(folder.Names().size(), 3u);
}

}  // namespace
}  // namespace halveron
