#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "modules/midi/SD02MCVSKernel.h"
#include "tests/modules/midi/sd02_block.h"
#include "tests/support/midi_words.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr float kRate = 48000.0f;

struct Voice : SD02MCVSKernel {
  explicit Voice(float rate = kRate) {
    Prepare(rate);
    AssumeTempo(120.0);
  }
  void Idle(int samples) {
    while (samples-- > 0) Step({});
  }
  float Note() const { return pitch * 120.0f + 60.0f; }
  float Strength() const { return velocity * 127.0f; }
};

TEST(SD02MCVSKernel, LastNoteHasPriorityAndReleasedOnesAreForgotten) {
  struct Row {
    Word word;
    float gate, note, velocity;
  };
  const std::vector<std::vector<Row>> melodies = {
      // The middle note is released first: the last one falls back to the lowest, gate up.
      {{On(60, 10), 1, 60, 10},
       {On(64, 20), 0, 64, 20},
       {{}, 1, 64, 20},
       {On(67, 30), 0, 67, 30},
       {{}, 1, 67, 30},
       {Off(64), 1, 67, 30},
       {Off(67), 1, 60, 30},
       {Off(60), 0, 60, 30}},
      // One key twice: one release leaves it sounding.
      {{On(60), 1, 60, 100}, {On(60), 0, 60, 100}, {Off(60), 1, 60, 100}, {Off(60), 0, 60, 100}},
      // A velocity of 0 releases; keys that are not held, other channels and messages change
      // nothing.
      {{On(50, 0), 0, 60, 0},
       {On(50, 127, 3), 1, 50, 127},
       {On(51, 0), 1, 50, 127},
       {Word::FromBytes(0xC0, 50, 50), 1, 50, 127},
       {Controller(121, 0), 1, 50, 127},
       {On(50, 0), 0, 50, 127}},
      // All notes off empties the stack.
      {{On(40), 1, 40, 100},
       {On(41), 0, 41, 100},
       {Controller(123, 0), 0, 41, 100},
       {{}, 0, 41, 100},
       {On(42), 1, 42, 100},
       {Off(42), 0, 42, 100}},
  };
  for (const auto& melody : melodies) {
    Voice voice;
    int at = 0;
    for (const Row& row : melody) {
      SCOPED_TRACE(::testing::Message()
                   << "melody " << &melody - melodies.data() << " word " << at++);
      EXPECT_EQ(row.word.IsNoteOn(), voice.Step(row.word));
      EXPECT_EQ(row.gate, voice.gate);
      EXPECT_NEAR(row.note, voice.Note(), 1e-4);
      EXPECT_NEAR(row.velocity, voice.Strength(), 1e-4);
    }
  }
}

TEST(SD02MCVSKernel, AFullStackLosesTheNewestHeldNote) {
  Voice voice;
  for (int key = 1; key <= 52; ++key) voice.Step(On(key));
  voice.Idle(2);
  voice.Step(Off(50));  // overwritten by 51 when 52 came
  voice.Step(Off(52));
  EXPECT_NEAR(51, voice.Note(), 1e-4);
  for (int key = 51; key > 1; --key) {
    EXPECT_EQ(1.0f, voice.gate);
    voice.Step(Off(key));
    EXPECT_NEAR(key > 50 ? 49 : std::max(1, std::min(key - 1, 49)), voice.Note(), 1e-4);
  }
  voice.Step(Off(1));
  EXPECT_EQ(0.0f, voice.gate);
}

TEST(SD02MCVSKernel, RetriggerGapInSamples) {
  Voice voice;
  for (const auto& [data, gap] : std::vector<std::pair<int, int>>{{0, 1}, {127, 6096}}) {
    voice.Step(Controller(81, data));
    voice.Step(On(60));
    voice.Step(On(62, 50));
    int low = 0;
    while (voice.gate == 0.0f && low < 10000) {
      ++low;
      // Another note under way takes over pitch and velocity and leaves the gap as it is.
      voice.Step(low == 1 && gap > 2 ? On(64, 60) : Word{});
    }
    EXPECT_EQ(gap, low);
    EXPECT_NEAR(gap > 2 ? 64 : 62, voice.Note(), 1e-4);
    voice.Silence();
  }
  // Switched off under way, the gap lasts until the switch comes back.
  voice.Step(On(60));
  voice.Step(On(62));
  voice.retriggerOn = false;
  voice.Idle(20000);
  voice.Step(On(64));
  EXPECT_EQ(0.0f, voice.gate);
  voice.retriggerOn = true;
  voice.Idle(6095);
  EXPECT_EQ(0.0f, voice.gate);
  voice.Idle(1);
  EXPECT_EQ(1.0f, voice.gate);
  voice.retriggerOn = false;
  voice.Step(On(66));
  EXPECT_EQ(1.0f, voice.gate);
}

TEST(SD02MCVSKernel, GlidesByBothLaws) {
  for (const float rate : {8000.0f, 48000.0f, 192000.0f}) {
    for (const float k : {0.1f, 0.5f, 1.0f}) {
      SCOPED_TRACE(::testing::Message() << rate << " Hz, knob " << k);
      Voice exponential(rate);
      exponential.SetGlideTime(k);
      exponential.Step(On(120));
      const double tau = k * k * k * 6.0 * rate;
      const int steps = static_cast<int>(tau);
      exponential.Idle(steps - 1);
      EXPECT_NEAR(0.5 * (1.0 - std::pow(1.0 - 1.0 / tau, steps)), exponential.pitch, 2e-4);

      Voice linear(rate);
      linear.Step(Controller(80, 1));
      linear.SetGlideTime(k);
      linear.Step(On(120));  // 60 semitones, half the scale
      const int samples = static_cast<int>((1.0 - k) * 6.0 * rate);
      linear.Idle(samples / 2 - 1);
      if (k < 1.0f) {
        EXPECT_NEAR(0.25, linear.pitch, 2e-3);
      }
      linear.Idle(samples / 2 + static_cast<int>(0.01 * samples));
      EXPECT_EQ(linear.pitchTarget, linear.pitch);
    }
  }
  // Without the first-note glide only a note over a held one glides.
  Voice voice;
  voice.SetGlideTime(0.5f);
  voice.firstNoteGlides = false;
  voice.Step(On(72));
  EXPECT_EQ(0.1f, voice.pitch);
  voice.Step(On(84));
  EXPECT_LT(voice.pitch, 0.11f);
  // Knob positions out of range land at once.
  for (const float k : {-1.0f, 1.2f, std::nanf("")}) {
    voice.glideConstantRate = k > 0.0f;
    voice.SetGlideTime(k);
    voice.Step(On(30));
    EXPECT_NEAR(-0.25f, voice.pitch, 1e-6) << k;
    voice.Step(On(90));
  }
}

TEST(SD02MCVSKernel, BendsExactlyByTheRange) {
  Voice voice;
  voice.Step(Controller(80, 3));  // no smoothing
  for (const auto& [k, semitones] :
       std::vector<std::pair<float, int>>{{0.0f, 1}, {0.4f, 13}, {1.0f, 78}}) {
    voice.SetBendRange(k);
    voice.Step(Word::FromBytes(0xE0, 0x7F, 0x7F));
    EXPECT_NEAR(semitones / 120.0, voice.bend, 1e-6);
    voice.Step(Word::FromBytes(0xE0, 0, 0));
    EXPECT_NEAR(-semitones / 120.0, voice.bend, 1e-6);
    voice.Step(Word::FromBytes(0xE0, 0, 64));
    EXPECT_EQ(0.0f, voice.bend);
  }
  voice.Step(Word::FromBytes(0xE0, 0x7F, 0x7F));
  voice.SetBendRange(0.0f);  // a held bend follows the knob, here with the smoothing of 35 ms
  voice.Step(Controller(80, 2));
  voice.Idle(static_cast<int>(kRate * 0.035) - 1);
  EXPECT_NEAR((1 + 77 * std::exp(-1.0)) / 120.0, voice.bend, 1e-4);
  voice.Idle(static_cast<int>(kRate * 0.3));
  EXPECT_EQ(voice.bendTarget, voice.bend);
}

TEST(SD02MCVSKernel, WheelVolumeAndPressure) {
  Voice voice;
  voice.Step(Controller(80, 7));  // no smoothing
  const auto wheel = [&voice](int number, int data) {
    voice.Step(Controller(number, data));
    return static_cast<int>(std::lround(voice.mod * 16383));
  };
  EXPECT_EQ(64 << 7, wheel(1, 64));
  EXPECT_EQ((64 << 7) + 5, wheel(33, 5));
  EXPECT_EQ((60 << 7) + 5, wheel(1, 60));
  voice.Step(
      Controller(80, 4));  // from here on the direction of the coarse value sets the fine one
  EXPECT_EQ((60 << 7) + 5, wheel(1, 60));
  EXPECT_EQ(61 << 7, wheel(1, 61));
  EXPECT_EQ((59 << 7) + 127, wheel(1, 59));
  EXPECT_EQ(16383, wheel(33, 127) + ((127 - 59) << 7));
  voice.Step(Controller(80, 8));  // fine values only wait
  EXPECT_EQ((59 << 7) + 127, wheel(33, 1));
  EXPECT_EQ((59 << 7) + 1, wheel(1, 59));
  voice.Step(Controller(80, 5));  // fine values start over
  EXPECT_EQ(59 << 7, wheel(1, 59));
  voice.Step(Controller(80, 10));
  voice.Step(Controller(80, 127));
  EXPECT_EQ(0, voice.lsbEnabled);
  EXPECT_EQ(59 << 7, wheel(33, 9));

  // The level applies to the notes that follow; its fine byte began as 127 and was cleared above.
  voice.Step(Controller(7, 64));
  voice.Step(On(60, 127));
  EXPECT_NEAR((64 << 7) / 16383.0, voice.velocity, 1e-6);
  voice.Step(Controller(7, 0));
  EXPECT_NEAR((64 << 7) / 16383.0, voice.velocity, 1e-6);

  voice.Step(Word::FromBytes(0xA0, 61, 127));  // not the note that sounds
  EXPECT_EQ(0.0f, voice.aftertouch);
  voice.Step(Word::FromBytes(0xA0, 60, 127));
  voice.Idle(static_cast<int>(kRate * 0.035) - 1);
  EXPECT_NEAR(1.0 - std::exp(-1.0), voice.aftertouch, 1e-3);
  voice.Idle(static_cast<int>(kRate));
  EXPECT_EQ(1.0f, voice.aftertouch);
  voice.Step(Word::FromBytes(0xD5, 0, 0));
  voice.Step(Word::FromBytes(0xD5, 64, 0));
  voice.Step(Controller(124, 0));
  voice.Idle(static_cast<int>(kRate));
  EXPECT_NEAR(64 / 127.0, voice.aftertouch, 1e-6);
  voice.Step(On(60));
  voice.Step(Off(60));
  voice.Idle(static_cast<int>(kRate));
  EXPECT_EQ(0.0f, voice.aftertouch);
}

TEST(SD02MCVSKernel, ClockPulsesLastThirtyPercent) {
  Voice voice;
  const Word clock = Word::FromBytes(0xF8, 0, 0);
  const auto samplesHigh = [&voice](int window, Word other) {
    int high = 0;
    for (int i = 1; i < window; ++i) {
      high += voice.clock == 1.0f;
      voice.Step(i == 3 ? other : Word{});
    }
    return high + (voice.clock == 1.0f);
  };
  EXPECT_EQ(4800, voice.clockPulseLength);  // at 120, 7200 samples, cut at 0.1 s
  voice.Idle(999);
  voice.Step(clock);
  EXPECT_EQ(299, samplesHigh(1000, {}));  // int(999 * 0.3)
  voice.Step(clock);
  EXPECT_EQ(301, samplesHigh(1000, On(60)));  // the clock stands still on a channel message
  voice.Step(clock);
  EXPECT_EQ(299, samplesHigh(100000, {}));
  voice.Step(clock);
  EXPECT_EQ(4800, samplesHigh(100000, {}));
  voice.Step(clock);
  voice.Step(clock);
  EXPECT_EQ(1, samplesHigh(10, {}));

  // A change of rate under way shortens the pulse in samples, and it still ends.
  voice.Idle(10000);
  voice.Step(clock);
  EXPECT_NEAR(3003, voice.clockPulseLength, 1);
  voice.Idle(2000);
  voice.Prepare(8000.0f);
  EXPECT_NEAR(500, voice.clockPulseLength, 1);
  voice.Idle(1);
  EXPECT_EQ(0.0f, voice.clock);

  const auto stopAfter = [&voice](int status) {
    voice.Step(Word::FromBytes(status, 0, 0));
    EXPECT_EQ(0.0f, voice.clock);
    return voice.stop;
  };
  EXPECT_EQ(1.0f, stopAfter(0xFC));
  EXPECT_EQ(1.0f, stopAfter(0xFE));
  EXPECT_EQ(0.0f, stopAfter(0xFA));
  EXPECT_EQ(1.0f, stopAfter(0xFC));
  EXPECT_EQ(0.0f, stopAfter(0xFB));
}

TEST(SD02MCVSKernel, StaysFiniteWithAnyWords) {
  std::minstd_rand random(7);
  for (const float rate : {8000.0f, 48000.0f, 12e6f}) {
    Voice voice(rate);
    for (int i = 0; i < 200000; ++i) {
      if (i % 5000 == 0) voice.SetGlideTime(static_cast<float>(i % 3) * 0.5f);
      const Word word = AnyWord(random, i);
      voice.Step(word);
      for (const float output : {voice.clock, voice.stop, voice.gate, voice.pitch, voice.velocity,
                                 voice.bend, voice.mod, voice.aftertouch}) {
        ASSERT_LE(std::fabs(output), 4.1f) << word.bits;
      }
    }
    voice.Step(Controller(123, 0));
    EXPECT_EQ(0.0f, voice.gate);
  }
}

TEST(SD02MCVS, PlaysFromACableAndFallsSilentWithoutIt) {
  TestRack rack;
  Module& sd02 = rack.Add("SD02 MIDI-CV/Sync");
  rack.FeedMidi(sd02, "MIDI in",
                {{10, On(72)},
                 {20, On(84)},
                 {40, Word::FromBytes(0xFC, 0, 0)},
                 {50, Word::FromBytes(0xF8, 0, 0)},
                 {60, Word::FromBytes(0xE0, 127, 127)}});
  rack.SetControl(sd02, "Bend range", 1.0f);
  for (const char* output : {"Gate", "Pitch", "Stop"}) rack.Tap(sd02, output);
  rack.Run(64);
  const std::vector<float> gate = rack.Recorded(sd02, "Gate");
  for (int i = 0; i < 64; ++i) EXPECT_EQ(i < 10 || i == 20 ? 0.0f : 1.0f, gate[i]) << i;
  EXPECT_EQ(0.1f, rack.Recorded(sd02, "Pitch")[19]);
  EXPECT_EQ(0.2f, rack.Recorded(sd02, "Pitch")[20]);
  EXPECT_EQ(0.0f, rack.Recorded(sd02, "Stop")[39]);
  EXPECT_EQ(1.0f, rack.Recorded(sd02, "Stop")[40]);
  for (const char* lamp : {"Gate lamp", "Stop lamp", "Clock lamp"}) {
    EXPECT_EQ(1.0f, rack.Control(sd02, lamp).getValue()) << lamp;
  }
  rack.Run(48000);
  EXPECT_EQ(0.0f, rack.Control(sd02, "Clock lamp").getValue());
  EXPECT_NEAR(0.65f, rack.Out(sd02, "Pitch bend"), 1e-6);
  rack.Disconnect(sd02, "MIDI in");
  EXPECT_EQ(0.0f, rack.Out(sd02, "Gate"));
  EXPECT_EQ(0.0f, rack.Control(sd02, "Gate lamp").getValue());
  EXPECT_EQ(1.0f, rack.Control(sd02, "Stop lamp").getValue());
}

TEST(SD02MCVS, BindsNotesToItsVoiceWhereTheHostTracksThem) {
  static std::vector<std::pair<int, int>> bound;
  TestRack rack;
  Module& sd02 = rack.Add("SD02 MIDI-CV/Sync");
  sd02.hostTable.BindNoteSlotToVoice = [](RackModel*, int voice, int slot) {
    bound.emplace_back(voice, slot);
  };
  const auto play = [&] {
    rack.FeedMidi(sd02, "MIDI in", {{1, Word::FromBytes(0x90, 60, 1, 254)}, {2, On(60, 0)}});
    rack.Run(64);
  };
  play();
  EXPECT_TRUE(bound.empty());
  rack.engine.hostKind = HostKind::kClap;
  play();
  EXPECT_EQ((std::vector<std::pair<int, int>>{{0, 254}}), bound);
}

TEST(SD02MCVS, LoadsPresetsOfAllVersions) {
  TestRack rack;
  Module& source = rack.Add("SD02 MIDI-CV/Sync");
  rack.SetControl(source, "Glide time", 0.5f);
  rack.SetControl(source, "First-note glide", 0.0f);
  std::vector<TimedWord> options;
  for (int option : {1, 3, 4, 7, 8}) options.push_back({option, Controller(80, option)});
  options.push_back({20, Controller(81, 100)});
  options.push_back({21, Controller(7, 64)});
  options.push_back({22, Controller(1, 32)});
  rack.FeedMidi(source, "MIDI in", options);
  rack.Run(64);
  const std::vector<std::byte> saved = rack.SavedPreset(source);
  ASSERT_EQ(kControlBytes + 17u, saved.size());

  struct Case {
    int version, controls, block,
        keptFrom;  // bytes of the block from keptFrom on stay as they were
    float glide;
  };
  for (const Case& c :
       {Case{1004, kControlBytes, 17, 17, 0.5f}, Case{1003, kControlBytes, 16, 16, 0.5f},
        Case{1002, kControlBytes - 4, 13, 13, 0.5f},
        Case{1001, kControlBytes - 4, 13, 13, 0.592815551f}, Case{1004, kControlBytes, 9, 9, 0.5f},
        Case{1004, 8, 0, 0, 0.5f}}) {
    SCOPED_TRACE(::testing::Message() << c.version << ", " << c.block);
    Module& target = rack.Add("SD02 MIDI-CV/Sync");
    const std::vector<std::byte> fresh = rack.SavedPreset(target);
    std::vector<std::byte> data(saved.begin(), saved.begin() + c.controls);
    data.insert(data.end(), saved.begin() + kControlBytes, saved.begin() + kControlBytes + c.block);
    target.LoadPreset(data.data(), static_cast<int>(data.size()), c.version);
    const std::vector<std::byte> loaded = rack.SavedPreset(target);
    for (int i = 0; i < 17; ++i) {
      EXPECT_EQ((i < c.keptFrom ? saved : fresh)[kControlBytes + i], loaded[kControlBytes + i])
          << i;
    }
    EXPECT_NEAR(c.glide, ValueAt<float>(loaded, 0), 1e-6);
    EXPECT_EQ(c.version < 1002 || c.controls == 8 ? 1.0f : 0.0f, ValueAt<float>(loaded, 8));
  }

  // Levels that are no number, and a gap out of range.
  std::vector<std::byte> broken = saved;
  const float nan = std::numeric_limits<float>::quiet_NaN();
  std::memcpy(broken.data() + kControlBytes + 5, &nan, sizeof nan);
  std::memcpy(broken.data() + kControlBytes + 9, &nan, sizeof nan);
  broken[kControlBytes + 4] = std::byte{0x7F};
  source.LoadPreset(broken.data(), static_cast<int>(broken.size()), 1004);
  const std::vector<std::byte> kept = rack.SavedPreset(source);
  EXPECT_EQ(127, ValueAt<int>(kept, kControlBytes + 1));
  EXPECT_TRUE(
      std::equal(kept.begin() + kControlBytes + 5, kept.end(), saved.begin() + kControlBytes + 5));
}

}  // namespace
}  // namespace halveron::testing
