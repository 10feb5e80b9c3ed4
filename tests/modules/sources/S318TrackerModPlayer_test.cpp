#include "modules/sources/S318TrackerModPlayer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <thread>

#include "editor/known_modules.h"
#include "framework/text_label.h"
#include "platform/profile_file.h"
#include "presets/text_patch.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/test_rack.h"
#include "tests/support/web/tracker_file.h"
#include "tests/support/web/web_server.h"

namespace halveron::testing {
namespace {

using namespace std::chrono_literals;
using namespace S318TrackerModPlayerKernel;

TEST(S318ClockMeter, AveragesOverAtLeast6000SamplesAndAMeasure) {
  const auto tempos = [](int period, int clocks, int pulses, int samples) {
    ClockMeter meter;
    meter.clocks_per_measure = clocks;
    meter.pulses_per_quarter = pulses;
    std::vector<std::pair<int, float>> found;
    for (int i = 0; i < samples; ++i) {
      const float tempo = meter.Step(i % period == 0, 48000.0f);
      if (tempo > 0.0f) found.emplace_back(i, tempo);
    }
    return found;
  };
  // 24 pulses a quarter at 120 beats a minute are 1000 samples apart: 6 of them make 6000.
  const auto fast = tempos(1000, 1, 24, 20000);
  ASSERT_EQ(fast.size(), 3u);
  EXPECT_EQ(fast[0].first, 6000);
  EXPECT_EQ(fast[1].first, 12000);
  for (const auto& [at, tempo] : fast) EXPECT_EQ(tempo, 120.0f);
  // A slow clock gives one at each edge, a long measure waits for its edges.
  EXPECT_EQ(tempos(24000, 1, 1, 100000).size(), 4u);
  const auto measured = tempos(24000, 4, 1, 200000);
  ASSERT_EQ(measured.size(), 2u);
  EXPECT_EQ(measured[0], (std::pair<int, float>(96000, 120.0f)));
}

TEST(S318PlaybackLaw, TurnsSpeedIntoRateOrTempo) {
  EXPECT_EQ(PlaybackLaw::SpeedOf(1.0f, 44100), 88200.0f);
  EXPECT_EQ(PlaybackLaw::SpeedOf(-1.0f, 44100), 5000.0f);
  EXPECT_EQ(PlaybackLaw::SpeedOf(0.0f, 44100), 44100.0f);
  EXPECT_EQ(PlaybackLaw::SpeedOf(-3.0f, 44100), 0.0f);
  EXPECT_EQ(PlaybackLaw::SpeedOf(std::nanf(""), 44100), 0.0f);
  const auto resampled = PlaybackLaw::Of(44100, 125.0f, 0.0f, 5000.0f, true);
  EXPECT_EQ(resampled.rate, 5000.0);
  EXPECT_EQ(resampled.tempo, 1.0);
  const auto tempo = PlaybackLaw::Of(44100, 125.0f, 250.0f, 22050.0f, false);
  EXPECT_EQ(tempo.rate, 44100.0);
  EXPECT_EQ(tempo.tempo, 1.0) << "half the speed, twice the tempo";
  EXPECT_EQ(PlaybackLaw::Of(44100, 125.0f, 250.0f, -1.0f, true).rate, 88200.0);
  EXPECT_TRUE(PlaybackLaw::Of(44100, 100.0f, 500.0f, 441000.0f, false).needsResample);
  EXPECT_FALSE(PlaybackLaw::Of(44100, 100.0f, 500.0f, 441000.0f, true).needsResample);
}

/// A rack without a clock, in which workers are waited for.
struct PlayerRig {
  explicit PlayerRig(float rate = 48000.0f, int blockSize = 64) : rack(rate, blockSize) {
    rack.editor.rendersOffline = [] { return true; };
    rack.editor.files.dataFolder = folder.At("");
    song = folder.Write("song.mod", TrackerFile());
    module = &static_cast<S318TrackerModPlayer&>(rack.Add("S318 Tracker Mod Player"));
    rack.Tap(*module, "Left");
  }

  std::vector<float> Run(int samples) {
    const std::size_t before = rack.Recorded(*module, "Left").size();
    rack.Run(samples);
    const std::vector<float>& all = rack.Recorded(*module, "Left");
    return {all.begin() + static_cast<std::ptrdiff_t>(before), all.end()};
  }
  std::string Label(const std::string& role) {
    module->Refresh();
    return dynamic_cast<CTextLabelEx&>(rack.Control(*module, role)).Text();
  }
  void Press(const std::string& role) {
    rack.MoveControl(*module, role, 1.0f);
    rack.MoveControl(*module, role, 0.0f);
  }
  void AwaitLoad() {
    for (int i = 0; i < 2000 && module->player.IsLoading(); ++i) std::this_thread::sleep_for(5ms);
    module->Refresh();
  }

  ScratchFolder folder;
  TestRack rack;
  std::string song;
  S318TrackerModPlayer* module;
};

double PitchOf(const std::vector<float>& samples, double rate) {
  double first = -1, last = -1;
  int periods = -1;
  for (std::size_t i = 0; i + 1 < samples.size(); ++i) {
    if (samples[i] >= 0.0f || samples[i + 1] < 0.0f) continue;
    last = static_cast<double>(i) + static_cast<double>(samples[i] / (samples[i] - samples[i + 1]));
    if (first < 0) first = last;
    ++periods;
  }
  return periods > 0 ? periods * rate / (last - first) : 0.0;
}

TEST(S318TrackerModPlayer, PlaysASongAtItsPitchAndSaysWhatItIs) {
  for (const float rate : {44100.0f, 96000.0f}) {
    PlayerRig rig(rate);
    rig.module->LoadFile(rig.song);
    rig.Run(4800);
    EXPECT_NEAR(PitchOf(rig.Run(static_cast<int>(rate)), rate), kTrackerHertz, 0.2) << rate;
    EXPECT_EQ(rig.Label("Title"), "Four rows");
    EXPECT_EQ(rig.Label("Format"), "4ch MOD");
    EXPECT_EQ(rig.Label("Tempo display"), "125.00 BPM");
    EXPECT_NEAR(rig.module->player.Position(), 1.1, 0.3);
    rig.Run(static_cast<int>(2 * rate));
    EXPECT_EQ(rig.rack.Out(*rig.module, "Left"), 0.0f) << "the song is over";
    rig.rack.MoveControl(*rig.module, "Position", 0.4f);
    rig.Run(4800);
    EXPECT_NEAR(PitchOf(rig.Run(static_cast<int>(rate / 2)), rate), kTrackerHertz, 0.4);
  }
}

TEST(S318TrackerModPlayer, RendersTheSameAtEveryBlockSize) {
  const auto render = [](int blockSize) {
    PlayerRig rig(48000.0f, blockSize);
    rig.rack.SetControl(*rig.module, "Tempo", 0.4f);
    rig.rack.SetControl(*rig.module, "Pitch", 0.6f);
    rig.module->LoadFile(rig.song);
    return rig.Run(30000);
  };
  const std::vector<float> samples = render(64);
  EXPECT_NE(samples[20000], samples[20001]);
  EXPECT_EQ(render(64), samples);
  EXPECT_EQ(render(333), samples);
  EXPECT_EQ(render(4096), samples);
}

TEST(S318TrackerModPlayer, PlaysSoundFilesAndRefusesOthers) {
  PlayerRig rig;
  rig.module->LoadFile(
      rig.folder.Write("a.ogg", SineFile("ogg", 2.0, 300, 44100, 1, "Somebody", "Something")));
  rig.Run(4800);
  EXPECT_NEAR(PitchOf(rig.Run(24000), 48000.0), 300.0, 0.5);
  EXPECT_EQ(rig.Label("Title"), "Something");
  EXPECT_EQ(rig.Label("Details"), "Artist: Somebody");
  EXPECT_EQ(rig.Label("Tempo display"), "120.00 BPM");
  rig.module->LoadFile(rig.folder.Write("bad.mod", "no music"));
  rig.Run(64);
  EXPECT_EQ(rig.Label("Status"), "Loading failed!!");
  EXPECT_EQ(rig.Label("Title"), "");
  EXPECT_EQ(rig.rack.Out(*rig.module, "Left"), 0.0f);
}

TEST(S318TrackerModPlayer, FollowsSpeedPitchAndTempo) {
  const auto pitch = [](const std::string& input, float signal, bool resamples) {
    PlayerRig rig;
    rig.rack.SetControl(*rig.module, "Resample", resamples ? 1.0f : 0.0f);
    rig.rack.FeedConstant(*rig.module, input, signal);
    rig.rack.Run(200);
    rig.module->LoadFile(rig.song);
    rig.Run(9600);
    return PitchOf(rig.Run(24000), 48000.0) / kTrackerHertz;
  };
  EXPECT_NEAR(pitch("Speed", -1.0f, true), 5000.0 / 44100, 0.003);
  EXPECT_NEAR(pitch("Speed", 1.0f, true), 2.0, 0.01);
  EXPECT_NEAR(pitch("Speed", 0.5f, false), 1.0, 0.01) << "tempo alone";
  EXPECT_NEAR(pitch("Pitch", 0.1f, false), 2.0, 0.02);

  PlayerRig rig;
  rig.module->LoadFile(rig.song);
  rig.rack.SetControl(*rig.module, "Resample", 1.0f);
  rig.rack.MoveControl(*rig.module, "Tempo", (250.0f - 20.0f) / 480.0f);
  rig.Run(9600);
  EXPECT_NEAR(PitchOf(rig.Run(24000), 48000.0) / kTrackerHertz, 2.0, 0.01);
  EXPECT_EQ(rig.Label("Tempo display"), "250.00 BPM");
  rig.Press("Reset");
  EXPECT_EQ(rig.Label("Status"), "Tempo reset 125.00 BPM");
  EXPECT_EQ(rig.Label("Tempo display"), "125.00 BPM");
  rig.rack.MoveControl(*rig.module, "Resample", 0.0f);
  rig.rack.FeedConstant(*rig.module, "Speed", -3.0f);
  rig.Run(200);
  EXPECT_EQ(rig.Label("Status"), "Switch to resample");
}

TEST(S318TrackerModPlayer, LocksToAClock) {
  PlayerRig rig;
  rig.rack.SetControl(*rig.module, "Pulses per quarter", 0.0f);  // 1
  rig.rack.SetControl(*rig.module, "Clocks per measure", 0.0f);
  std::vector<float> clock(96000);
  for (std::size_t i = 0; i < clock.size(); ++i) clock[i] = i % 12000 < 100 ? 1.0f : 0.0f;
  rig.module->LoadFile(rig.song);
  rig.rack.Feed(*rig.module, "Clock", clock);
  rig.Run(30000);
  EXPECT_EQ(rig.Label("Tempo display"), "240.00 BPM");
  const double before = rig.module->player.Position();
  const std::vector<float> left = rig.Run(24000);
  EXPECT_NEAR(rig.module->player.Position() - before, 0.5 * 240 / 125, 0.1);
  EXPECT_NEAR(PitchOf(left, 48000.0), kTrackerHertz, 3.0) << "the pitch stays";
}

TEST(S318TrackerModPlayer, PlaysFromTheStartWhileItsGateIsHigh) {
  PlayerRig rig;
  std::vector<float> run(96000);
  for (std::size_t i = 0; i < run.size(); ++i) {
    run[i] = (i >= 1000 && i < 30000) || i >= 40000 ? 1.0f : 0.0f;
  }
  rig.rack.Feed(*rig.module, "Run", run);
  rig.module->LoadFile(rig.song);
  const std::vector<float> left = rig.Run(50000);
  const auto isSilent = [&](int from, int to) {
    return std::all_of(left.begin() + from, left.begin() + to, [](float v) { return v == 0.0f; });
  };
  EXPECT_TRUE(isSilent(0, 1000));
  EXPECT_FALSE(isSilent(1000, 1100)) << "the start was ready";
  EXPECT_TRUE(isSilent(30000, 40000));
  EXPECT_TRUE(std::equal(left.begin() + 1000, left.begin() + 9000, left.begin() + 40000))
      << "each start is the same, to the sample";
}

TEST(S318TrackerModPlayer, KeepsFilePlaceTempoAndPitchInItsPreset) {
  PlayerRig rig;
  rig.module->LoadFile(rig.song);
  rig.rack.MoveControl(*rig.module, "Tempo", 0.5f);
  rig.rack.MoveControl(*rig.module, "Pitch", 0.75f);
  rig.Run(48000);
  const std::vector<std::byte> saved = rig.rack.SavedPreset(*rig.module);
  const std::size_t tail = rig.song.size() + 1 + sizeof(double) + 2 * sizeof(float);
  ASSERT_GT(saved.size(), tail);
  const std::byte* const block = saved.data() + saved.size() - tail;
  EXPECT_STREQ(reinterpret_cast<const char*>(block), rig.song.c_str());
  double seconds = 0.0;
  float tempo = 0.0f, pitch = 0.0f;
  std::memcpy(&seconds, block + rig.song.size() + 1, sizeof seconds);
  std::memcpy(&tempo, block + rig.song.size() + 9, sizeof tempo);
  std::memcpy(&pitch, block + rig.song.size() + 13, sizeof pitch);
  EXPECT_GT(seconds, 1.0);
  EXPECT_EQ(tempo, 260.0f);
  EXPECT_NEAR(pitch, 2.0f, 1e-5f);
  auto& twin = static_cast<S318TrackerModPlayer&>(rig.rack.Add("S318 Tracker Mod Player"));
  twin.LoadPreset(saved.data(), static_cast<int>(saved.size()), 1000);
  for (int i = 0; i < 2000 && twin.player.IsLoading(); ++i) std::this_thread::sleep_for(5ms);
  EXPECT_TRUE(twin.player.Shown().hasSong);
  EXPECT_NEAR(twin.player.Position(), seconds, 0.7) << "to a row";
  // A file that is gone keeps its name in the preset.
  std::filesystem::remove(rig.song);
  auto& third = static_cast<S318TrackerModPlayer&>(rig.rack.Add("S318 Tracker Mod Player"));
  third.LoadPreset(saved.data(), static_cast<int>(saved.size()), 1000);
  for (int i = 0; i < 2000 && third.player.IsLoading(); ++i) std::this_thread::sleep_for(5ms);
  EXPECT_FALSE(third.player.Shown().hasSong);
  const std::vector<std::byte> kept = rig.rack.SavedPreset(third);
  ASSERT_EQ(kept.size(), saved.size());
  EXPECT_TRUE(std::equal(kept.end() - static_cast<std::ptrdiff_t>(tail), kept.end(), block));
}

TEST(S318TrackerModPlayer, UndoOfAKnobLeavesTheSongWhereItIs) {
  PlayerRig rig;
  SynEditor& editor = rig.rack.editor;
  editor.OpenViews();
  EditHistory& history = editor.history;
  history.Follow();
  rig.module->LoadFile(rig.song);
  rig.Run(24000);
  history.Settle();
  EXPECT_EQ(history.Steps(), 1u);
  rig.rack.MoveControl(*rig.module, "Pitch", 0.75f);
  history.Settle();
  rig.Run(24000);
  const auto stretch = rig.module->player.feed.Present().number;
  history.Undo();
  rig.AwaitLoad();
  rig.Run(4800);
  EXPECT_EQ(rig.rack.Control(*rig.module, "Pitch").getValue(), 0.5f);
  EXPECT_EQ(rig.module->player.feed.Present().number, stretch) << "it plays on without a break";
  rig.rack.MoveControl(*rig.module, "Position", 0.1f);
  rig.Run(4800);
  EXPECT_NE(rig.module->player.feed.Present().number, stretch);
  history.Settle();
  EXPECT_EQ(history.Steps(), 1u) << "where a song is belongs to no step";
  history.Undo();
  rig.AwaitLoad();
  EXPECT_FALSE(rig.module->player.Shown().hasSong);
  history.Redo();
  rig.AwaitLoad();
  EXPECT_TRUE(rig.module->player.Shown().hasSong);
}

TEST(S318TrackerModPlayer, IsNamedItsFileByATextPatch) {
  PlayerRig rig;
  const std::string file = rig.folder.At("patch.json");
  const auto presetOf = [&](const std::string& name, const std::string& keys) {
    const TextPatch patch = ParseTextPatch(
        R"({"halveron":1,"modules":[{"id":"p","name":")" + name + "\"" + keys + "}]}", file);
    return ToPreset(patch, file, rig.rack.editor, KnownModules());
  };
  const std::string player = "S318 Tracker Mod Player";
  const PresetDocument preset = presetOf(player, R"(,"file":"song.mod","controls":{"Pitch":0.75})");
  const std::vector<std::byte>& data = preset.modules.at(0).data;
  auto& module = static_cast<S318TrackerModPlayer&>(rig.rack.Add(player));
  module.LoadPreset(data.data(), static_cast<int>(data.size()), 1000);
  for (int i = 0; i < 2000 && module.player.IsLoading(); ++i) std::this_thread::sleep_for(5ms);
  EXPECT_TRUE(module.player.Shown().hasSong);
  EXPECT_NEAR(module.player.wishes.pitch, 2.0f, 1e-5f);
  const TextPatch text = ToText(preset, rig.rack.editor);
  EXPECT_EQ(ToPreset(text, file, rig.rack.editor, KnownModules()), preset);
  EXPECT_THROW(presetOf(player, R"(,"file":"gone.mod")"), platform::UserError);
  rig.folder.Write("words.py", "print()");
  EXPECT_THROW(presetOf(player, R"(,"file":"words.py")"), platform::UserError);
  EXPECT_THROW(presetOf("S303 Noise", R"(,"file":"song.mod")"), platform::UserError);
}

TEST(S318TrackerModPlayer, FetchesAModuleByChanceAndSavesIt) {
  PlayerRig rig;
  const auto await = [&](const std::string& status) {
    for (int i = 0; i < 2000; ++i) {
      if (rig.Label("Status") == status) return true;
      std::this_thread::sleep_for(5ms);
    }
    return false;
  };
  rig.Press("Random");
  EXPECT_EQ(rig.Label("Status"), "Set \"address\" under [Tracker Archive] in Config.ini");
  EXPECT_NE(ReadFile(rig.folder.At("Config.ini")).find("address"), std::string::npos);
  rig.Press("Save");
  EXPECT_EQ(rig.Label("Status"), "No download to save");
  rig.rack.editor.OpenViews();
  EditHistory& history = rig.rack.editor.history;
  history.Follow();

  WebServer server;
  server.Serve("/xml-tools.php", "text/xml", "<m><id>42</id></m>");
  server.Serve("/downloads.php", "application/octet-stream", TrackerFile("By chance"));
  const platform::ProfileFile options(rig.folder.At("Config.ini"));
  options.SetText("Tracker Archive", "address", server.Address(""));
  options.SetText("Tracker Archive", "key", "aaaaaaaa-bbbbbbbb-cccccccc-dddddddd");
  rig.Press("Random");
  EXPECT_EQ(rig.Label("Status"), "Downloading track...");
  ASSERT_TRUE(await(""));
  rig.AwaitLoad();
  EXPECT_EQ(rig.Label("Title"), "By chance");
  EXPECT_EQ(server.Targets().front(),
            "/xml-tools.php?key=aaaaaaaa-bbbbbbbb-cccccccc-dddddddd&request=random");
  EXPECT_EQ(server.Targets().back(), "/downloads.php?moduleid=42");
  rig.rack.MoveControl(*rig.module, "Pitch", 0.75f);
  history.Settle();
  const std::size_t steps = history.Steps();
  rig.Press("Save");
  const std::string path = rig.folder.At("Downloads/module_42.mod");
  EXPECT_EQ(rig.Label("Status"), "File saved to: " + path);
  EXPECT_EQ(ReadFile(path), TrackerFile("By chance"));

  // Undoing a knob across the saving takes neither the song nor the download.
  history.Settle();
  EXPECT_EQ(history.Steps(), steps);
  history.Undo();
  rig.AwaitLoad();
  EXPECT_EQ(rig.rack.Control(*rig.module, "Pitch").getValue(), 0.5f);
  EXPECT_TRUE(rig.module->player.Shown().hasSong);
  rig.Press("Save");
  EXPECT_EQ(rig.Label("Status"), "File saved to: " + path);

  // What arrives late does not take the place of a file that was chosen meanwhile.
  const std::size_t asked = server.Targets().size();
  rig.Press("Random");
  for (int i = 0; i < 2000 && server.Targets().size() < asked + 2; ++i) {
    std::this_thread::sleep_for(5ms);
  }
  std::this_thread::sleep_for(100ms);
  rig.module->LoadFile(rig.song);
  rig.AwaitLoad();
  EXPECT_TRUE(rig.module->player.Shown().hasSong);
  EXPECT_NE(rig.Label("Title"), "By chance");

  server.Serve("/refuse/xml-tools.php", "text/xml", "<error>unknown key</error>");
  options.SetText("Tracker Archive", "address", server.Address("/refuse/"));
  rig.Press("Random");
  EXPECT_TRUE(await("Download failed!! (K)"));
  server.SetDown(true);
  rig.Press("Random");
  EXPECT_TRUE(await("Download failed!!"));
}

TEST(S318TrackerModPlayer, GoesAtOnceWhileADownloadHangs) {
  WebServer server;
  server.Hang("/xml-tools.php");
  auto rig = std::make_unique<PlayerRig>();
  const platform::ProfileFile options(rig->folder.At("Config.ini"));
  options.SetText("Tracker Archive", "address", server.Address(""));
  rig->Press("Random");
  std::this_thread::sleep_for(100ms);
  const auto start = std::chrono::steady_clock::now();
  rig.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
}

}  // namespace
}  // namespace halveron::testing
