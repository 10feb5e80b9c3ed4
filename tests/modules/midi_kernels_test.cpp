#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "modules/midi/SD02MCVSKernel.h"
#include "modules/midi/SD05MPCKernel.h"

namespace halveron {
namespace {

using Word = MidiCableWord;

constexpr float kRate = 48000.0f;

Word On(int key, int velocity = 100, int channel = 0) {
  return Word::FromBytes(0x90 + channel, key, velocity);
}
Word Off(int key, int channel = 0) { return Word::FromBytes(0x80 + channel, key, 64); }
Word Controller(int number, int data, int channel = 0) {
  return Word::FromBytes(0xB0 + channel, number, data);
}

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
      SCOPED_TRACE(testing::Message()
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
      SCOPED_TRACE(testing::Message() << rate << " Hz, knob " << k);
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

struct Chainer : SD05MPCKernel {
  explicit Chainer(std::uint32_t inUse) { outputsInUse = inUse; }
  /// The outputs that a word reaches, the first being 1.
  std::vector<int> Reach(Word word) {
    std::vector<int> reached;
    const std::uint32_t bits = Step(word).outputs;
    for (int i = 0; i < 32; ++i) {
      if (bits >> i & 1u) reached.push_back(i + 1);
    }
    return reached;
  }
};

using Outputs = std::vector<int>;

TEST(SD05MPCKernel, RotatesPrefersFreeOutputsAndSteals) {
  Chainer three(0b111);
  EXPECT_EQ(Outputs{1}, three.Reach(On(60)));
  EXPECT_EQ(Outputs{2}, three.Reach(On(61)));
  EXPECT_EQ(Outputs{1}, three.Reach(Off(60)));
  EXPECT_EQ(Outputs{3}, three.Reach(On(62)));  // in turn, although 1 is free
  EXPECT_EQ(Outputs{3}, three.Reach(Off(62)));
  EXPECT_EQ(Outputs{1}, three.Reach(On(63)));
  EXPECT_EQ(Outputs{3}, three.Reach(On(64)));  // over 2, which is busy
  EXPECT_EQ(Outputs{1}, three.Reach(On(65)));  // all busy: the next in turn
  EXPECT_EQ(Outputs{1}, three.Reach(Off(63)));
  EXPECT_EQ(Outputs{2}, three.Reach(On(66)));  // 1 still holds 65
  EXPECT_EQ(Outputs{}, three.Reach(Off(60)));

  Chainer one(0b1);
  for (int key = 60; key < 120; ++key) EXPECT_EQ(Outputs{1}, one.Reach(On(key)));
  EXPECT_EQ(Outputs{}, one.Reach(Off(110)));  // the stack of 50 was full: overwritten
  EXPECT_EQ(Outputs{1}, one.Reach(Off(119)));
  EXPECT_EQ(Outputs{1}, one.Reach(Off(60)));
  EXPECT_EQ(Outputs{}, one.Reach(Off(60)));

  Chainer sixteen(SD05MPCKernel::kAllOutputs);
  for (int i = 1; i <= 16; ++i) EXPECT_EQ(Outputs{i}, sixteen.Reach(On(40 + i)));
  for (int i = 16; i >= 1; --i) EXPECT_EQ(Outputs{i}, sixteen.Reach(On(40 + i, 0)));

  Chainer gap(0b101000);
  EXPECT_EQ(Outputs{4}, gap.Reach(On(60)));
  EXPECT_EQ(Outputs{6}, gap.Reach(On(61)));
  EXPECT_EQ(Outputs{4}, gap.Reach(On(62)));
  EXPECT_EQ(Outputs{}, Chainer(0).Reach(On(60)));
}

TEST(SD05MPCKernel, OtherMessagesFollowTheNotes) {
  Chainer chainer(0b111);
  const Word bend = Word::FromBytes(0xE2, 0, 0);
  const Outputs all{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  EXPECT_EQ(Outputs{}, chainer.Reach(bend));
  EXPECT_EQ(Outputs{1}, chainer.Reach(On(60, 90, 2)));
  EXPECT_EQ(Outputs{2}, chainer.Reach(On(60, 90, 5)));
  EXPECT_EQ(Outputs{3}, chainer.Reach(On(64, 90, 2)));
  EXPECT_EQ((Outputs{1, 3}), chainer.Reach(bend));
  EXPECT_EQ(Outputs{2}, chainer.Reach(Controller(1, 7, 5)));
  EXPECT_EQ((Outputs{1, 3}), chainer.Reach(Word::FromBytes(0xD2, 9, 0)));
  EXPECT_EQ(Outputs{}, chainer.Reach(Word::FromBytes(0xC0, 9, 0)));
  EXPECT_EQ(Outputs{2}, chainer.Reach(Word::FromBytes(0xA5, 60, 9)));  // key pressure, its own note
  EXPECT_EQ(Outputs{}, chainer.Reach(Word::FromBytes(0xA5, 64, 9)));
  EXPECT_EQ(Outputs{2}, chainer.Reach(Off(60, 5)));  // not the same key of the other channel
  EXPECT_EQ(Outputs{}, chainer.Reach({}));
  for (int stream : {1, 15, 16}) {
    EXPECT_EQ(Outputs{}, chainer.Reach(Word::FromBytes(stream, 0xF0, 0xF4)));
  }
  EXPECT_EQ(all, chainer.Reach(Word::FromBytes(0xF8, 0, 0)));
  EXPECT_EQ(all, chainer.Reach(Controller(123, 0, 9)));
  EXPECT_EQ(Outputs{}, chainer.Reach(bend));
  EXPECT_EQ(Outputs{}, chainer.Reach(Off(60, 2)));

  // The filter keeps notes of other channels from beginning; those that sound can end.
  chainer.Reach(On(60, 90, 2));
  chainer.channelFilter = 5;
  EXPECT_EQ(Outputs{}, chainer.Reach(On(61, 90, 2)));
  EXPECT_EQ(Outputs{1}, chainer.Reach(Off(60, 2)));
  EXPECT_EQ(Outputs{2}, chainer.Reach(On(61, 90, 5)));
}

TEST(MidiKernels, StayFiniteWithAnyWords) {
  std::minstd_rand random(7);
  for (const float rate : {8000.0f, 48000.0f, 12e6f}) {
    Voice voice(rate);
    Chainer chainer(0b10110);
    for (int i = 0; i < 200000; ++i) {
      // Any bits, with a message of a voice in every other word.
      Word word{static_cast<std::uint32_t>(random() * 2654435761u)};
      if (i % 2) word.bits |= 0x80;
      if (i % 5000 == 0) voice.SetGlideTime(static_cast<float>(i % 3) * 0.5f);
      voice.Step(word);
      chainer.Step(word);
      for (const float output : {voice.clock, voice.stop, voice.gate, voice.pitch, voice.velocity,
                                 voice.bend, voice.mod, voice.aftertouch}) {
        ASSERT_LE(std::fabs(output), 4.1f) << word.bits;
      }
    }
    voice.Step(Controller(123, 0));
    chainer.Step(Controller(123, 0));
    EXPECT_EQ(0.0f, voice.gate);
    EXPECT_EQ(1u, chainer.Reach(On(60)).size());
  }
}

}  // namespace
}  // namespace halveron
