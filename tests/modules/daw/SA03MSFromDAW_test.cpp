// SA03: host events and clocks become words and pulses.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "modules/daw/SA03MSFromDAWKernel.h"
#include "modules/daw/SA04TempoFromDAWKernel.h"
#include "tests/modules/daw/host_events.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

/// Runs the SA03 kernel block after block and keeps what came out.
struct Bridge {
  SA03MSFromDAWKernel kernel;
  HostTransport transport;
  int steps = 1;
  int resolution = 1;
  bool sendsClock = true;
  std::vector<MidiCableWord> words;
  std::vector<float> clock;

  explicit Bridge(float rate = 48000) { kernel.Prepare(rate); }

  void Run(int frames) {
    kernel.StartBlock(frames, steps, transport, resolution, sendsClock);
    for (int i = 0; i < frames * steps; ++i) {
      words.push_back(kernel.Step(sendsClock));
      clock.push_back(kernel.clock);
    }
  }
  void Run(int frames, HostEvents& events) {
    kernel.ring.TakeEvents(events.List());
    Run(frames);
  }
  /// Sample and status byte of what came out in the last `frames` samples.
  std::vector<std::pair<int, int>> Tail(int frames) const {
    std::vector<std::pair<int, int>> sent;
    for (int i = 0; i < frames; ++i) {
      const MidiCableWord word = words[words.size() - static_cast<std::size_t>(frames - i)];
      if (!word.IsNone()) sent.emplace_back(i, word.Status());
    }
    return sent;
  }
};

using Sent = std::vector<std::pair<int, int>>;

TEST(HostEventStream, SpreadsEventsThatShareAFrame) {
  Bridge bridge;
  HostEvents events;
  events.Message(5, 1);
  events.Message(5, 2);
  events.Append(2, 5);  // a withdrawn type
  bridge.Run(64, events);
  EXPECT_EQ(bridge.words[5], HostEvents::Note(1));
  EXPECT_EQ(bridge.words[6], HostEvents::Note(2));
  EXPECT_EQ(bridge.Tail(64).size(), 2u);

  // 600 at the end of a block: one leaves in it, the others before anything of the next block.
  HostEvents burst, next;
  for (int i = 0; i < 600; ++i) burst.Message(511, i);
  next.Message(3, 600);
  Bridge late;
  late.Run(512, burst);
  late.Run(512, next);
  late.Run(512);
  EXPECT_TRUE(late.words[510].IsNone());
  for (int i = 0; i <= 600; ++i) ASSERT_EQ(late.words[511 + i], HostEvents::Note(i)) << i;
  EXPECT_TRUE(late.words[511 + 601].IsNone());
}

// Without ticks an event leaves on its own sample, or on the one behind its predecessor.
TEST(HostEventStream, KeepsOrderAndTimeForAnyBlockLengths) {
  for (const int steps : {1, 4}) {
    std::mt19937 random(7);
    Bridge bridge;
    bridge.steps = steps;
    std::vector<int> due;
    int start = 0;
    const auto play = [&](int frames, int count) {
      std::vector<int> deltas;
      for (int i = 0; i < count; ++i) deltas.push_back(static_cast<int>(random() % frames));
      std::sort(deltas.begin(), deltas.end());
      HostEvents events;
      for (const int delta : deltas) {
        events.Message(delta, static_cast<int>(due.size()));
        due.push_back((start + delta) * steps);
      }
      bridge.Run(frames, events);
      start += frames;
    };
    for (int block = 0; block < 400; ++block) {
      const int frames = 1 + static_cast<int>(random() % (block % 3 == 0 ? 700 : 20));
      play(frames, static_cast<int>(random() % 10 == 0 ? random() % 400 : random() % 12));
    }
    play(8000, 1);

    int earliest = 0;
    for (std::size_t i = 0; i < due.size(); ++i) {
      const int expected = std::max(due[i], earliest);
      ASSERT_EQ(bridge.words[static_cast<std::size_t>(expected)],
                HostEvents::Note(static_cast<int>(i)))
          << "event " << i << ", steps " << steps;
      earliest = expected + 1;
    }
    const auto sent = std::count_if(bridge.words.begin(), bridge.words.end(),
                                    [](MidiCableWord word) { return !word.IsNone(); });
    EXPECT_EQ(static_cast<std::size_t>(sent), due.size());
    EXPECT_EQ(bridge.kernel.ring.Capacity(), EventRing::kInitialCapacity);
  }
}

TEST(TransportClock, FollowsTheTransport) {
  Bridge bridge;
  bridge.kernel.Prepare(48000);
  const auto at = [&](bool playing, double position) {
    bridge.transport.playing = playing;
    bridge.transport.position = position;
    bridge.Run(64);
    return bridge.Tail(64);
  };
  EXPECT_EQ(bridge.kernel.stop, 1.0f);
  EXPECT_EQ(at(false, 0.0), Sent{});
  // Counting in before the start is no playing yet.
  EXPECT_EQ(at(true, -1.5), Sent{});
  EXPECT_EQ(bridge.kernel.stop, 1.0f);
  at(false, 0.0);

  HostEvents note;
  note.Message(0, 1);
  bridge.kernel.ring.TakeEvents(note.List());
  EXPECT_EQ(at(true, 0.0), (Sent{{0, 0xFA}, {1, 0x90}}));
  EXPECT_EQ(bridge.clock[bridge.clock.size() - 64], 1.0f);
  EXPECT_EQ(bridge.kernel.stop, 0.0f);
  EXPECT_EQ(at(true, 0.5), Sent{});
  // Elsewhere than at 0 it pauses, goes on between two ticks without one, and stops at 0 only.
  EXPECT_EQ(at(false, 3.3), Sent{});
  EXPECT_EQ(bridge.kernel.stop, 0.2f);
  for (int i = 0; i < 200; ++i) at(false, 3.3);
  EXPECT_EQ(bridge.kernel.clock, 0.0f);
  EXPECT_EQ(at(true, 3.3), (Sent{{0, 0xFB}}));
  EXPECT_EQ(bridge.kernel.clock, 0.0f);
  EXPECT_EQ(at(true, 3.3 + 64 / 24000.0), Sent{});
  EXPECT_EQ(at(true, 4.0), (Sent{{0, 0xF8}}));
  EXPECT_EQ(at(false, 0.0), (Sent{{0, 0xFC}}));
  EXPECT_EQ(bridge.kernel.stop, 1.0f);

  // With the clock switched off none of this is sent, and the levels are the same.
  for (int i = 0; i < 200; ++i) at(false, 0.0);
  bridge.sendsClock = false;
  EXPECT_EQ(at(true, 0.0), Sent{});
  EXPECT_EQ(bridge.kernel.clock, 1.0f);
  EXPECT_EQ(at(false, 0.0), Sent{});
  EXPECT_EQ(bridge.kernel.stop, 1.0f);
}

TEST(TransportClock, ATickOnTheLastSampleLeavesFramesAsTheyAre) {
  Bridge bridge;
  bridge.transport.playing = true;
  bridge.transport.position = 0.5;
  bridge.Run(1);  // the start forces a tick
  for (int i = 0; i < 8000; ++i) bridge.kernel.Step(true);
  ASSERT_EQ(bridge.kernel.clock, 0.0f);
  bridge.transport.position = 0.9999;  // 2.4 samples before the quarter
  HostEvents events;
  events.Message(3, 1);
  bridge.Run(4, events);
  EXPECT_EQ(bridge.Tail(4), (Sent{{3, 0xF8}}));
  bridge.transport.position = 0.9999 + 4 / 24000.0;
  bridge.Run(16);
  EXPECT_EQ(bridge.Tail(16), (Sent{{3, 0x90}}));
}

TEST(TransportClock, TicksAndPulsesAtAllResolutions) {
  constexpr double kTempo = 127.0;
  for (const int ticks : kTicksPerQuarter) {
    const double period = 48000.0 * 60 / kTempo / ticks;
    const int pulse = static_cast<int>(0.3 * period);

    Bridge locked;
    locked.resolution = ticks;
    SA04TempoFromDAWKernel free;
    free.Prepare(48000);
    free.SetTempo(kTempo, ticks);
    std::vector<float> freeClock;
    for (int start = 0; start < 120000; start += 480) {
      locked.transport = {kTempo, start * kTempo / 2880000, true};
      locked.Run(480);
      for (int i = 0; i < 480; ++i) {
        free.Step(0.0f);
        freeClock.push_back(free.clock);
      }
    }
    const auto lockedPulses = Pulses(locked.clock);
    const auto freePulses = Pulses(freeClock);
    ASSERT_EQ(lockedPulses.size(), static_cast<std::size_t>(119999 / period) + 1);
    ASSERT_EQ(freePulses.size(), static_cast<std::size_t>(120000 / period));
    for (std::size_t k = 0; k < lockedPulses.size(); ++k) {
      EXPECT_EQ(lockedPulses[k].first, std::ceil(static_cast<double>(k) * period));
      if (k + 1 < lockedPulses.size()) {
        EXPECT_EQ(lockedPulses[k].second, pulse);
      }
    }
    for (std::size_t k = 0; k + 1 < freePulses.size(); ++k) {
      EXPECT_EQ(freePulses[k].first, std::ceil(static_cast<double>(k + 1) * period) - 1);
      EXPECT_EQ(freePulses[k].second, pulse);
    }
  }
}

TEST(HostTransport, DoesNotBelieveTheImpossible) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  HostTransport transport;
  VstTimeInfo info{};
  info.tempo = 90;
  info.ppqPos = 7.5;
  info.flags = kVstTransportPlaying;
  transport.Update(&info);
  for (const double bad : {std::nan(""), kInfinity, -kInfinity, 1e300, -1e300}) {
    info.tempo = info.ppqPos = bad;
    transport.Update(&info);
    EXPECT_EQ(transport.tempo, 90);
    EXPECT_EQ(transport.position, 7.5);
  }
  for (const double bad : {0.0, -120.0}) {
    info.tempo = bad;
    transport.Update(&info);
    EXPECT_EQ(transport.tempo, 90);
  }
  transport.Update(nullptr);
  EXPECT_FALSE(transport.playing);

  // What is just believed leaves a clock that still works at the next sensible tempo.
  SA04TempoFromDAWKernel free;
  free.Prepare(8000);
  free.SetTempo(HostTransport::kFastest, 24);
  for (int i = 0; i < 1000; ++i) free.Step(0.0f);
  free.SetTempo(120, 1);  // 4000 samples
  std::vector<float> clock;
  for (int i = 0; i < 16000; ++i) {
    free.Step(0.0f);
    clock.push_back(free.clock);
  }
  EXPECT_NEAR(static_cast<double>(Pulses(clock).size()), 4, 1);

  Bridge bridge(12288000);
  bridge.transport = {HostTransport::kFastest, HostTransport::kFarthest, true};
  bridge.Run(64);
  bridge.transport = {HostTransport::kSlowest, -HostTransport::kFarthest, true};
  bridge.Run(64);
  bridge.transport = {120, 0.0, true};
  bridge.Run(64);
  EXPECT_EQ(bridge.kernel.stop, 0.0f);
}

TEST(DumpFraming, CutsDumpsIntoPackets) {
  const auto packet = [](unsigned stream, unsigned a, unsigned b, unsigned c) {
    return MidiCableWord::FromBytes(stream, a, b, c);
  };
  Bridge bridge;
  HostEvents events;
  events.Dump(0, {0xF0});
  events.Dump(0, {});
  events.Dump(0, {0xF0, 1, 2, 3, 4});
  events.Dump(0, {5, 0xF7});
  bridge.Run(8, events);
  const std::vector<MidiCableWord> expected{packet(1, 0xF0, 0xF4, 0),
                                            packet(2, 0xF0, 0xF4, 0),
                                            packet(2, 1, 2, 3),
                                            packet(2, 4, 0xF4, 0xF4),
                                            packet(2, 5, 0xF7, 0xF4),
                                            {},
                                            {},
                                            {}};
  EXPECT_EQ(bridge.words, expected);

  // A crowd of the smallest dumps: two packets each, streams 1 to 16 in turn.
  HostEvents crowd;
  for (int i = 0; i < 900; ++i) crowd.Dump(0, {0xF0, 0xF7});
  Bridge crowded;
  crowded.Run(2000, crowd);
  for (int i = 0; i < 900; ++i) {
    ASSERT_EQ(crowded.words[i * 2], packet(i % 16 + 1, 0xF0, 0xF4, 0)) << i;
    ASSERT_EQ(crowded.words[i * 2 + 1], packet(i % 16 + 1, 0xF7, 0xF4, 0xF4)) << i;
  }
}

}  // namespace
}  // namespace halveron::testing
