#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <sstream>

#include "app/offline_host.h"
#include "app/run_command.h"
#include "editor/known_modules.h"
#include "media/audio_file.h"
#include "media/midi_file.h"
#include "presets/text_patch.h"
#include "tests/support/song_file.h"
#include "tests/support/source_folder.h"

namespace halveron {
namespace {

using halveron::testing::ReadFile;
using halveron::testing::ScratchFolder;
using halveron::testing::SongHeader;
using halveron::testing::SongTrack;

using Channels = std::vector<std::vector<float>>;

Channels ReadWave(const std::string& path) {
  media::AudioFileReader reader(path, 12);
  const auto width = static_cast<std::size_t>(reader.Channels());
  Channels channels(width);
  std::vector<float> block(width * 4096);
  while (const std::int64_t got = reader.Read(block.data(), 4096)) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(got) * width; ++i) {
      channels[i % width].push_back(block[i]);
    }
  }
  return channels;
}

Channels Render(const std::string& patch, const std::string& out,
                std::vector<std::string> options) {
  options.insert(options.begin(), {"halveron", "render", patch, "-o", out});
  std::vector<const char*> argv;
  for (const std::string& word : options) argv.push_back(word.c_str());
  std::ostringstream printed, err;
  EXPECT_EQ(RunCommand(static_cast<int>(argv.size()), argv.data(), printed, err), 0) << err.str();
  EXPECT_EQ(err.str(), "");
  EXPECT_EQ(printed.str().rfind(out + ": ", 0), 0u) << printed.str();
  return ReadWave(out);
}

const std::string kPatches = testing::SourceFolder() + "/patches/";

// Gate and pitch of a voice on host channels 3 and 4.
constexpr const char* kGatePatch = R"({"halveron": 1, "modules": [
  {"id": "host", "name": "SA03 MIDI/Sync From DAW"}, {"id": "midi", "name": "SD02 MIDI-CV/Sync"},
  {"id": "out", "name": "SA12 Audio/CV To DAW"}], "cables": [
  {"from": "host.MIDI", "to": "midi.MIDI in"}, {"from": "midi.Gate", "to": "out.1"},
  {"from": "midi.Pitch", "to": "out.2"}, {"from": "host.Clock", "to": "out.3"}]})";

std::vector<std::size_t> Rises(const std::vector<float>& gate) {
  std::vector<std::size_t> rises;
  for (std::size_t i = 0; i < gate.size(); ++i) {
    if (gate[i] > 0.5f && (i == 0 || gate[i - 1] <= 0.5f)) rises.push_back(i);
  }
  return rises;
}

TEST(Render, ASineComesOutOnTheThirdChannelOneSampleLater) {
  const ScratchFolder folder;
  const std::string patch = folder.Write("through.json", R"({"halveron": 1, "modules": [
    {"id": "in", "name": "SA11 Audio/CV From DAW"}, {"id": "out", "name": "SA12 Audio/CV To DAW"}],
    "cables": [{"from": "in.1", "to": "out.1"}]})");
  std::vector<float> sine(48000);
  for (std::size_t i = 0; i < sine.size(); ++i) {
    sine[i] = static_cast<float>(
        0.8 * std::sin(2.0 * std::numbers::pi * 1000.0 * static_cast<double>(i) / 48000.0));
  }
  {
    media::AudioFileWriter writer(folder.At("sine.wav"), 1, 48000, 48000);
    writer.Write(sine.data(), 48000);
    writer.Commit();
  }
  const Channels played =
      Render(patch, folder.At("out.wav"), {"--input", folder.At("sine.wav"), "--channels", "12"});
  ASSERT_EQ(played.size(), 12u);
  ASSERT_EQ(played[0].size(), 3u * 48000) << "the input and two seconds";
  std::vector<float> expected(played[2].size());
  std::copy(sine.begin(), sine.end(), expected.begin() + 1);
  EXPECT_EQ(played[2], expected);
  for (const std::size_t silent : {0, 1, 3, 11}) {
    EXPECT_EQ(std::count(played[silent].begin(), played[silent].end(), 0.0f), 3 * 48000) << silent;
  }
}

TEST(Render, TheSameBytesEachTimeAndTheSameAudioInBlocksOfAnySize) {
  const ScratchFolder folder;
  const std::string patch = kPatches + "lead.json";
  const std::vector<std::string> tune{"--midi", kPatches + "evening.mid", "--seconds", "6"};
  Render(patch, folder.At("first.wav"), tune);
  Render(patch, folder.At("again.wav"), tune);
  const std::string bytes = ReadFile(folder.At("first.wav"));
  EXPECT_EQ(ReadFile(folder.At("again.wav")), bytes);
  for (const char* size : {"1", "64", "4096"}) {
    auto options = tune;
    options.insert(options.end(), {"--block", size});
    Render(patch, folder.At("blocks.wav"), options);
    EXPECT_EQ(ReadFile(folder.At("blocks.wav")), bytes) << size;
  }
}

TEST(Render, TenMinutesOfDenseNotesLoseNoneAndHangNone) {
  constexpr int kNotes = 50000;  // 12 ms each, 100 000 events
  const auto keyOf = [](int note) { return 36 + note * 7 % 48; };
  SongTrack track;
  for (int note = 0; note < kNotes; ++note) {
    track.Add(120, {0x90, keyOf(note), 100}).Add(120, {0x80, keyOf(note), 0});
  }
  const ScratchFolder folder;
  const std::string midi = folder.Write("dense.mid", SongHeader(1, 10000, 0) + track.Chunk());
  const Channels played = Render(folder.Write("gate.json", kGatePatch), folder.At("out.wav"),
                                 {"--midi", midi, "--rate", "8000", "--channels", "4"});
  ASSERT_EQ(played[2].size(), 602u * 8000);
  const auto rises = Rises(played[2]);
  ASSERT_EQ(rises.size(), static_cast<std::size_t>(kNotes));
  int wrongKeys = 0;
  for (int note = 0; note < kNotes; ++note) {
    const float pitch = played[3][rises[static_cast<std::size_t>(note)] + 20];
    if (std::lround(pitch * 120.0f) + 60 != keyOf(note)) ++wrongKeys;
  }
  EXPECT_EQ(wrongKeys, 0);
  EXPECT_EQ(std::count(played[2].end() - 15000, played[2].end(), 0.0f), 15000);
}

TEST(Render, EventsAndClockFollowTheTempoMapUntilATempoIsGiven) {
  // A note every quarter; 120 for two quarters, then 60. The ticks come with the quarters.
  SongTrack track;
  track.Tempo(0, 500000).Add(6, {0x90, 60, 90}).Add(40, {0x80, 60, 0});
  track.Add(56, {0x90, 62, 90}).Add(40, {0x80, 62, 0});
  track.Tempo(50, 1000000).Add(6, {0x90, 64, 90}).Add(40, {0x80, 64, 0});
  track.Add(56, {0x90, 65, 90}).Add(40, {0x80, 65, 0});
  const ScratchFolder folder;
  const std::string midi = folder.Write("map.mid", SongHeader(1, 96, 0) + track.Chunk());
  const std::string patch = folder.Write("gate.json", kGatePatch);
  const std::string out = folder.At("out.wav");
  const auto render = [&](std::vector<std::string> options) {
    options.insert(options.end(), {"--midi", midi, "--channels", "5", "--block", "48"});
    return Render(patch, out, options);
  };
  // Ticks of 96 a quarter in samples at 48 kHz, two cables and so two samples after the event.
  const auto expectRises = [](const std::vector<float>& signal, std::vector<double> samples,
                              std::size_t delay) {
    auto rises = Rises(signal);
    rises.resize(std::min(rises.size(), samples.size()));
    ASSERT_EQ(rises.size(), samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
      EXPECT_EQ(rises[i], static_cast<std::size_t>(std::lround(samples[i])) + delay) << i;
    }
  };
  const Channels mapped = render({});
  expectRises(mapped[2], {1500, 25500, 48000 + 3000, 96000 + 3000}, 2);
  expectRises(mapped[4], {0, 24000, 48000, 96000}, 1);
  const Channels given = render({"--tempo", "240"});
  expectRises(given[2], {750, 12750, 24750, 36750}, 2);
  expectRises(given[4], {0, 12000, 24000, 36000}, 1);

  const Channels stopped = render({"--stopped"});
  EXPECT_EQ(Rises(stopped[4]).size(), 0u) << "the clock rests with the transport";
  expectRises(stopped[2], {1500, 25500, 48000 + 3000, 96000 + 3000}, 2);
}

TEST(Render, TheLengthIsWhatIsAskedForOrTwoSecondsMoreThanTheMaterial) {
  const ScratchFolder folder;
  const std::string patch = folder.Write("empty.json", R"({"halveron": 1})");
  const std::string midi =
      folder.Write("rest.mid", SongHeader(1, 96, 0) + SongTrack().Chunk(192));  // one second
  const auto frames = [&](std::vector<std::string> options) {
    options.insert(options.end(), {"--rate", "8000"});
    return Render(patch, folder.At("out.wav"), options)[0].size();
  };
  EXPECT_EQ(frames({}), 80000u);
  EXPECT_EQ(frames({"--midi", midi}), 24000u);
  EXPECT_EQ(frames({"--midi", midi, "--tempo", "60"}), 32000u);
  EXPECT_EQ(frames({"--midi", midi, "--seconds", "0.5"}), 4000u);
  EXPECT_EQ(frames({"--frames", "777"}), 777u);
}

/// Steady level over a stretch.
double LevelOf(const std::vector<float>& samples, std::size_t begin, std::size_t length) {
  double sum = 0.0;
  for (std::size_t i = begin; i < begin + length; ++i) {
    sum += static_cast<double>(samples[i]) * static_cast<double>(samples[i]);
  }
  return std::sqrt(sum / static_cast<double>(length));
}

TEST(DemoContent, VoicesAreWellLevelledAndPlayFromTheFirstNoteToTheLast) {
  const ScratchFolder folder;
  const char* const takes[][2] = {{"bass", "morning"}, {"lead", "evening"}, {"pad", "morning"}};
  for (const auto& [voice, tune] : takes) {
    SCOPED_TRACE(voice);
    const std::string song = kPatches + tune + ".mid";
    const Channels played =
        Render(kPatches + voice + ".json", folder.At("take.wav"), {"--midi", song});
    for (const std::vector<float>& samples : played) {
      float peak = 0.0f;
      double sum = 0.0;
      for (const float sample : samples) {
        peak = std::max(peak, std::abs(sample));
        sum += static_cast<double>(sample);
      }
      EXPECT_GT(peak, 0.25f) << "-12 dBFS";
      EXPECT_LT(peak, 0.89f) << "-1 dBFS";
      EXPECT_LT(std::abs(sum / static_cast<double>(samples.size())), 0.01);
      EXPECT_EQ(LevelOf(samples, samples.size() - 4800, 4800), 0.0) << "silence after the end";
    }

    const media::MidiFile midi = media::ReadMidiFile(song);
    double begin = 0.0;
    int notes = 0;
    for (const media::MidiFileEvent& event : midi.events) {
      if ((event.bytes[0] & 0xF0) == 0x90) begin = event.seconds;
      if ((event.bytes[0] & 0xF0) != 0x80) continue;
      ++notes;
      // The second half of each note sounds.
      const double length = event.seconds - begin;
      EXPECT_GT(LevelOf(played[0], static_cast<std::size_t>((begin + length / 2) * 48000),
                        static_cast<std::size_t>(length / 2 * 48000)),
                0.02)
          << begin;
    }
    EXPECT_GT(notes, 60);
    // The first note comes without a click: nothing before it, little in its first half
    // millisecond.
    const auto first = static_cast<std::size_t>(midi.events[0].seconds * 48000);
    EXPECT_EQ(LevelOf(played[0], 0, first), 0.0);
    EXPECT_LT(LevelOf(played[0], first, 24), 0.02);
  }
}

TEST(Render, WritesWhatThePatchSendsAsAMidiFile) {
  const ScratchFolder folder;
  const std::string patch = folder.Write("send.json", R"({"halveron": 1, "modules": [
    {"id": "in", "name": "SA03 MIDI/Sync From DAW", "controls": {"MIDI clock": 1}},
    {"id": "out", "name": "SA06 MIDI To DAW"}],
    "cables": [{"from": "in.MIDI", "to": "out.MIDI"}]})");
  const std::string song =
      folder.Write("song.mid", SongHeader(1, 480) + SongTrack()
                                                        .Tempo(0, 500000)
                                                        .Add(480, {0x90, 60, 100})
                                                        .Tempo(480, 1000000)
                                                        .Add(480, {0x80, 60, 0})
                                                        .Add(0, {0xF0, 3, 1, 2, 0xF7})
                                                        .Chunk());
  const auto call = [&](std::vector<std::string> options) {
    options.insert(options.begin(), {"halveron", "render", patch, "--midi", song});
    std::vector<const char*> argv;
    for (const std::string& word : options) argv.push_back(word.c_str());
    std::ostringstream out, err;
    EXPECT_EQ(RunCommand(static_cast<int>(argv.size()), argv.data(), out, err), 0) << err.str();
    return out.str();
  };
  const std::string sent = folder.At("sent.mid");
  EXPECT_NE(call({"--midi-output", sent}).find(sent + ": 4.000 s, 3 messages"), std::string::npos);
  const media::MidiFile midi = media::ReadMidiFile(sent);
  ASSERT_EQ(midi.events.size(), 3u);
  EXPECT_EQ(midi.events[0].bytes, (std::vector<std::uint8_t>{0x90, 60, 100}));
  EXPECT_EQ(midi.events[2].bytes, (std::vector<std::uint8_t>{0xF0, 1, 2, 0xF7}));
  // A frame or two later, which is up to two of 960 ticks.
  EXPECT_NEAR(midi.events[0].quarters, 1.0, 2.0 / 960);
  EXPECT_NEAR(midi.events[1].quarters, 3.0, 2.0 / 960);
  ASSERT_EQ(midi.tempos.size(), 2u);
  EXPECT_DOUBLE_EQ(midi.tempos[1].quarters, 2.0);
  EXPECT_NEAR(midi.tempos[1].tempo, 60.0, 1e-9);

  EXPECT_NE(call({"--midi-output", sent, "-o", folder.At("out.wav")}).find("out.wav: 4.000 s"),
            std::string::npos);
  EXPECT_EQ(ReadWave(folder.At("out.wav")).size(), 2u);
}

TEST(OfflineHost, HandsOverWhatThePluginSends) {
  OfflineHost host({48000, 64, false, SongPosition(120.0)});
  const std::string text = R"({"halveron": 1, "modules": [
    {"id": "in", "name": "SA03 MIDI/Sync From DAW"}, {"id": "out", "name": "SA06 MIDI To DAW"}],
    "cables": [{"from": "in.MIDI", "to": "out.MIDI"}]})";
  ApplyTextPatch(ParseTextPatch(text, ""), "", host.Rack(), KnownModules());
  const std::vector<HostMessage> sent{{0, {0x90, 60, 100}},
                                      {70, {0xF0, 1, 2, 3, 4, 5, 0xF7}},
                                      {70, {0xC3, 9}},
                                      {200, {0x80, 60, 0}}};
  std::vector<HostMessage> received;
  host.onMessage = [&](const HostMessage& message) { received.push_back(message); };
  host.SetMessages(sent);
  host.Start();
  for (int block = 0; block < 8; ++block) host.Process(64);
  ASSERT_EQ(received.size(), sent.size());
  for (std::size_t i = 0; i < sent.size(); ++i) {
    EXPECT_EQ(received[i].bytes, sent[i].bytes) << i;
    EXPECT_GE(received[i].frame, sent[i].frame) << i;
    EXPECT_LE(received[i].frame, sent[i].frame + 10) << i;
  }
}

}  // namespace
}  // namespace halveron
