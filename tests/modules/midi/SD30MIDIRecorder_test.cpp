#include "modules/midi/SD30MIDIRecorder.h"

#include <gtest/gtest.h>

#include <map>

#include "modules/midi/recorded_take_file.h"
#include "tests/modules/midi/note_streams.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

using Kernel = SD30MIDIRecorderKernel;
using Timed = std::vector<std::pair<int, Word>>;

RecordedTake TakeOf(const Kernel& kernel) {
  RecordedTake take;
  kernel.CopyTake(take);
  return take;
}

/// A kernel at 48 kHz, where a sample is 2 units, and what it sent, by sample.
struct Recorder : Kernel {
  Recorder() { Prepare(48000.0f); }

  void Run(int samples, const std::map<int, Word>& words = {}, int period = 0) {
    for (int i = 0; i < samples; ++i) {
      const auto word = words.find(i);
      const float clock = period > 0 && clockSample % period < period / 2 ? 1.0f : 0.0f;
      ++clockSample;
      const Word out = Step(word == words.end() ? Word{} : word->second, clock);
      listener.Hear(out);
      if (!out.IsNone()) sent.emplace_back(i, out);
      ends += HasEnded();
    }
  }
  Timed Sent() { return std::exchange(sent, {}); }

  Timed sent;
  Listener listener;
  int ends = 0;
  int clockSample = 0;
};

TEST(SD30MIDIRecorderKernel, PlaysToTheSampleWhatItRecorded) {
  Recorder recorder;
  recorder.Record();
  recorder.Run(1000, {{0, On(60)}, {7, On(64, 50, 3)}, {500, Off(60)}, {900, Off(64, 3)}});
  const Timed live = recorder.Sent();
  ASSERT_EQ(live.size(), 4u) << "the input passes";
  recorder.Stop();
  EXPECT_EQ(recorder.Length(), 2000u);
  recorder.Play();
  recorder.Run(2000);
  EXPECT_EQ(recorder.Sent(), live);
  EXPECT_EQ(recorder.ends, 1);
  EXPECT_EQ(recorder.GetState(), Kernel::State::kStopped);

  recorder.transpose = 7;
  recorder.speed = 2.0;
  recorder.Play();
  recorder.Run(2000);
  const Timed fast = recorder.Sent();
  ASSERT_EQ(fast.size(), 4u);
  EXPECT_EQ(fast[0].second, On(67));
  EXPECT_EQ(fast[2].first, 250);
  EXPECT_EQ(fast[3].first, 450);
}

TEST(SD30MIDIRecorderKernel, QuantisesBeginningsAndKeepsLengths) {
  Recorder recorder;
  recorder.SetQuarter(800);    // 400 samples
  recorder.SetQuantise(0.25);  // 100 samples
  recorder.Record();
  recorder.Run(
      1000,
      {{60, On(60)}, {130, On(62)}, {180, Off(60)}, {230, Off(62)}, {970, On(64)}, {990, Off(64)}});
  recorder.Stop();
  recorder.Sent();
  recorder.loops = true;
  recorder.Play();
  recorder.Run(1100);
  Timed sent = recorder.Sent();
  ASSERT_GE(sent.size(), 6u);
  EXPECT_EQ((Timed{{sent[0].first, sent[0].second}, {sent[1].first, sent[1].second}}),
            (Timed{{100, On(60)}, {101, On(62)}}));
  EXPECT_EQ(sent[2].second.Data1(), 62);
  EXPECT_EQ(sent[2].first, 200);
  EXPECT_EQ(sent[3].first, 220);
  EXPECT_EQ(sent[4], (std::pair{1000, On(64)})) << "the end of a loop is its beginning";
  EXPECT_EQ(sent[5].first, 1020);
}

TEST(SD30MIDIRecorderKernel, OverdubsOntoALoop) {
  Recorder recorder;
  recorder.loops = recorder.overdubs = true;
  recorder.Record();
  recorder.Run(1000, {{100, On(60)}, {200, Off(60)}});
  recorder.Record();  // closes the loop and goes on
  EXPECT_EQ(recorder.GetState(), Kernel::State::kPlaying);
  recorder.Record();
  EXPECT_EQ(recorder.GetState(), Kernel::State::kOverdubbing);
  recorder.Run(1000, {{50, On(72)}, {150, Off(72)}, {900, On(74)}});  // 74 is held over the end
  recorder.Record();
  recorder.Sent();
  recorder.Run(1, {{0, Off(74)}});
  recorder.Sent();
  recorder.Run(1999);
  std::vector<int> keys;
  for (const auto& [sample, word] : recorder.Sent()) {
    if (word.IsNoteOn()) keys.push_back(word.Data1());
  }
  EXPECT_EQ(keys, (std::vector<int>{72, 60, 74, 72, 60, 74}));
  recorder.Stop();
  recorder.Run(10);
  EXPECT_EQ(recorder.listener.Sounding(), 0);
  EXPECT_EQ(recorder.EventCount(), 6u);
}

TEST(SD30MIDIRecorderKernel, FollowsAClock) {
  Recorder recorder;
  recorder.clockIsCabled = true;
  recorder.Run(250, {}, 100);  // the pace is known
  recorder.Record();
  // Waits for the clock at 300; a note 130 samples later lies 1.3 clocks from the start.
  recorder.Run(50, {}, 100);
  recorder.Run(380, {{130, On(60)}, {180, Off(60)}}, 100);
  recorder.Stop();
  EXPECT_TRUE(recorder.IsClocked());
  EXPECT_EQ(recorder.Length(), 4u * 960) << "the nearest whole number of clocks";
  EXPECT_NEAR(TakeOf(recorder).events[0].time, 1.3 * 960, 10);

  // Played at another tempo, looping, it stays with the clock.
  recorder.loops = true;
  recorder.clockSample = 150;
  recorder.Run(150, {}, 200);
  recorder.clockSample = 150;
  recorder.Sent();
  recorder.Play();
  recorder.Run(50, {}, 200);
  recorder.Run(8000, {}, 200);
  std::vector<int> starts;
  for (const auto& [sample, word] : recorder.Sent()) {
    if (word.IsNoteOn()) starts.push_back(sample);
  }
  ASSERT_EQ(starts.size(), 10u);
  for (std::size_t i = 0; i < starts.size(); ++i) {
    EXPECT_NEAR(starts[i], 260 + 800 * static_cast<int>(i), 3);
  }
  // Where the clock stops, so does the take.
  const double before = recorder.Position();
  recorder.Run(5000);
  EXPECT_LE(recorder.Position() - before, 960.0);
}

TEST(SD30MIDIRecorderKernel, NoNoteHangsAndNoneIsDoubledWhateverIsPressed) {
  for (unsigned seed = 0; seed < 30; ++seed) {
    Kernel kernel;
    kernel.Prepare(48000.0f);
    std::mt19937 random(seed);
    KeyboardStream keyboard(seed);
    Listener listener;
    kernel.clockIsCabled = seed % 3 == 0;
    const auto run = [&](Word word, int sample) {
      // The dumps that are played would be heard twice.
      const Word out = kernel.Step(word, sample % 40 < 20 ? 1.0f : 0.0f);
      if (!out.IsPacket()) listener.Hear(out);
    };
    for (int i = 0; i < 20000; ++i) {
      if (random() % 400 == 0) {
        switch (random() % 5) {
          case 0:
            kernel.Record();
            break;
          case 1:
            kernel.Play();
            break;
          case 2:
            kernel.Stop();
            break;
          case 3:
            kernel.Reset();
            break;
          default:
            break;
        }
      }
      if (random() % 300 == 0) kernel.loops = random() % 4 != 0;
      if (random() % 300 == 0) kernel.overdubs = random() % 2 != 0;
      if (random() % 300 == 0) kernel.transpose = static_cast<int>(random() % 49) - 24;
      if (random() % 300 == 0) kernel.speed = std::exp2(static_cast<double>(random() % 5) - 2.0);
      if (random() % 300 == 0) kernel.SetQuantise(static_cast<double>(random() % 3) / 64);
      run(keyboard.Next(), i);
    }
    for (Word word = keyboard.Release(); !word.IsNone(); word = keyboard.Release()) run(word, 0);
    kernel.Stop();
    for (int i = 0; i < 3000; ++i) run({}, i);
    EXPECT_EQ(listener.Sounding(), 0) << seed;
    EXPECT_GT(listener.began, 500);
    // What was recorded holds together.
    const RecordedTake take = TakeOf(kernel);
    std::array<std::array<int, 128>, 16> held{};
    std::uint32_t last = 0;
    for (const auto& [time, word] : take.events) {
      EXPECT_GE(time, last);
      last = time;
      if (!word.IsNoteOn() && !word.IsNoteOff()) continue;
      held[word.Channel()][word.Data1()] = word.IsNoteOn();
    }
    EXPECT_LE(last, take.length);
    for (const auto& channel : held) {
      EXPECT_EQ(std::count(channel.begin(), channel.end(), 1), 0);
    }
  }
}

TEST(SD30MIDIRecorderKernel, DumpsAreRecordedWholeOrNotAtAll) {
  Recorder recorder;
  std::vector<Word> packets;
  SysExCutter cutter;
  const SysExAssembler::Dump dump{0xF0, 1, 2, 3, 4, 5, 6, 7, 0xF7};
  for (int i = 0; i < 3; ++i) cutter.Cut(dump, [&](Word packet) { packets.push_back(packet); });
  // Recording begins within the first and ends within the third.
  int sample = 0;
  for (const Word packet : packets) {
    if (sample == 2) recorder.Record();
    recorder.Step(packet, 0.0f);
    if (++sample == static_cast<int>(packets.size()) - 1) recorder.Stop();
  }
  EXPECT_EQ(recorder.EventCount(), packets.size() / 3);
  recorder.Play();
  recorder.Run(100);
  EXPECT_EQ(recorder.listener.dumps, std::vector<SysExAssembler::Dump>(1, dump));
}

TEST(SD30MIDIRecorderKernel, TakesAHundredThousandEventsAndTheirEnds) {
  Recorder recorder;
  recorder.Record();
  for (int i = 0; i < 120000; ++i) recorder.Step(On(i % 100, 1 + i / 100 % 127), 0.0f);
  recorder.Stop();
  EXPECT_LE(recorder.EventCount(), RecordedTake::kMostEvents);
  EXPECT_GT(recorder.EventCount(), RecordedTake::kMostEvents - 10);
  const RecordedTake take = TakeOf(recorder);
  int open = 0;
  for (auto event = take.events.end() - 100; event != take.events.end(); ++event) {
    open += event->word.IsNoteOff();
  }
  EXPECT_EQ(open, 100);
}

struct Rig {
  void Press(const char* role) {
    rack.MoveControl(module, role, 1.0f);
    rack.MoveControl(module, role, 0.0f);
  }
  void RecordNotes(int count) {
    std::vector<TimedWord> words;
    for (int i = 0; i < count; ++i) {
      words.push_back({i * 4, On(i % 128)});
      words.push_back({i * 4 + 2, Off(i % 128)});
    }
    Press("Record");
    rack.FeedMidi(module, "MIDI in", words);
    rack.Run(count * 4 + 64);
    Press("Stop");
    rack.Run(6000);  // the lamps go out
  }
  RecordedTake::Event EventAt(const std::vector<std::byte>& preset, std::size_t index) {
    RecordedTake::Event event;
    std::memcpy(&event, preset.data() + controls + 12 + index * 8, 8);
    return event;
  }

  TestRack rack;
  SD30MIDIRecorder& module = static_cast<SD30MIDIRecorder&>(rack.Add("SD30 MIDI Recorder"));
  std::size_t controls = static_cast<std::size_t>(module.GetControlValuesSize());
};

TEST(SD30MIDIRecorder, ButtonsAndGatesPlayAndTheEndIsTold) {
  Rig rig;
  rig.RecordNotes(10);
  EXPECT_EQ(rig.rack.Control(rig.module, "Record lamp").getValue(), 0.0f);
  rig.rack.Tap(rig.module, "MIDI out");
  rig.rack.Tap(rig.module, "End");
  rig.rack.Feed(rig.module, "Play", {0.0f, 1.0f, 1.0f});
  rig.rack.Run(1000);
  int began = 0, high = 0;
  for (const Word word : rig.rack.RecordedWords(rig.module, "MIDI out")) began += word.IsNoteOn();
  for (const float level : rig.rack.Recorded(rig.module, "End")) high += level == 1.0f;
  EXPECT_EQ(began, 10);
  EXPECT_EQ(high, 480);
  rig.Press("Clear");
  EXPECT_EQ(rig.module.GetPresetSize(), static_cast<int>(rig.controls) + 12);
}

TEST(SD30MIDIRecorder, TheTakeTravelsInThePresetAndBrokenOnesDoNoHarm) {
  Rig rig;
  rig.RecordNotes(5000);
  const std::vector<std::byte> saved = rig.rack.SavedPreset(rig.module);
  ASSERT_EQ(saved.size(), rig.controls + 12 + 10000 * 8);
  Rig other;
  const auto load = [&](const std::vector<std::byte>& preset) {
    other.module.LoadPreset(preset.data(), static_cast<int>(preset.size()), 1000);
    return other.rack.SavedPreset(other.module);
  };
  const auto takeOf = [&](const std::vector<std::byte>& preset) {
    return std::vector<std::byte>(preset.begin() + static_cast<std::ptrdiff_t>(rig.controls),
                                  preset.end());
  };
  EXPECT_EQ(takeOf(load(saved)), takeOf(saved));

  std::vector<std::byte> cut(saved.begin(),
                             saved.begin() + static_cast<std::ptrdiff_t>(rig.controls) + 12 + 20);
  EXPECT_EQ(load(cut).size(), rig.controls + 12 + 16) << "two whole events";

  // Times that go back or lie beyond the end, words that are none, a count out of all bounds.
  std::vector<std::byte> broken = saved;
  const std::uint32_t far = 0xFFFFFFFF, none = 0;
  std::byte* events = broken.data() + rig.controls + 12;
  std::memcpy(broken.data() + rig.controls + 8, &far, 4);
  std::memcpy(events + 8, &far, 4);
  std::memcpy(events + 20, &none, 4);
  const auto kept = load(broken);
  ASSERT_EQ(kept.size(), saved.size() - 8);
  std::uint32_t length = 0;
  std::memcpy(&length, kept.data() + rig.controls + 4, 4);
  EXPECT_EQ(other.EventAt(kept, 1).time, length);
  EXPECT_EQ(other.EventAt(kept, 9000).time, length);
}

TEST(SD30MIDIRecorder, ImportsAndExportsMidiFiles) {
  const ScratchFolder folder;
  Rig rig;
  rig.RecordNotes(20);
  ASSERT_TRUE(rig.module.Export(folder.At("take.mid"))) << rig.module.Message();
  Rig other;
  const std::string path = folder.At("take.mid");
  EXPECT_TRUE(other.module.onDrop(std::span(&path, 1), CPoint(1, 1)));
  const auto first = rig.rack.SavedPreset(rig.module);
  const auto second = other.rack.SavedPreset(other.module);
  ASSERT_EQ(first.size(), second.size());
  for (std::size_t i = 0; i < 40; ++i) {
    EXPECT_EQ(rig.EventAt(first, i).word, other.EventAt(second, i).word);
    EXPECT_NEAR(rig.EventAt(first, i).time, other.EventAt(second, i).time, 30) << "half a tick";
  }
  EXPECT_FALSE(other.module.Import(folder.Write("broken.mid", "MThd and no more")));
  EXPECT_EQ(std::string(other.module.Message()).find("broken.mid"), 0u) << "not its folder";
  EXPECT_EQ(other.rack.SavedPreset(other.module), second) << "what stood stays";
  EXPECT_FALSE(other.module.Export(folder.At("nowhere/take.mid")));
}

TEST(RecordedTakeFile, DumpsTempoAndExcessSurvive) {
  RecordedTake take;
  take.isClocked = true;
  take.length = 4 * 960;
  SysExCutter cutter;
  const SysExAssembler::Dump dump{0xF0, 0x41, 1, 2, 3, 0xF7};
  cutter.Cut(dump, [&](Word packet) { take.events.push_back({960, packet}); });
  take.events.push_back({1920, Word::FromBytes(0xC3, 5, 0)});
  const media::MidiFile file = ToMidiFile(take, 77.0);
  ASSERT_EQ(file.events.size(), 2u);
  EXPECT_EQ(file.events[0].bytes, dump);
  EXPECT_DOUBLE_EQ(file.events[0].quarters, 1.0);
  EXPECT_EQ(file.events[1].bytes, (SysExAssembler::Dump{0xC3, 5}));
  EXPECT_DOUBLE_EQ(file.quarters, 4.0);
  std::size_t left = 0;
  EXPECT_EQ(ToTake(file, true, left).events, take.events);

  media::MidiFile large;
  for (int i = 0; i < 100010; ++i) large.events.push_back({i * 0.001, i * 0.002, {0x90, 60, 1}});
  EXPECT_EQ(ToTake(large, false, left).events.size(), RecordedTake::kMostEvents);
  EXPECT_EQ(left, 10u);
}

}  // namespace
}  // namespace halveron::testing
