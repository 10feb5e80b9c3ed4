#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <deque>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "modules/bridge/SA03MSFromDAWKernel.h"
#include "modules/bridge/SA04TempoFromDAWKernel.h"
#include "modules/bridge/event_batch.h"
#include "tests/support/test_rack.h"

namespace halveron {
namespace {

using Bytes = std::vector<unsigned char>;

/// An event list as a host makes it.
class HostEvents {
 public:
  void Message(int frame, int note) {
    VstMidiSysexEvent& record = Append(kVstMidiType, frame);
    auto& event = reinterpret_cast<VstMidiEvent&>(record);
    const MidiCableWord word = Note(note);
    std::memcpy(event.midiData, &word.bits, 4);
  }
  void Dump(int frame, const Bytes& bytes) {
    VstMidiSysexEvent& event = Append(kVstSysExType, frame);
    dumps_.push_back(bytes);
    event.dumpBytes = static_cast<int>(bytes.size());
    event.sysexDump = reinterpret_cast<char*>(dumps_.back().data());
  }
  VstMidiSysexEvent& Append(int type, int frame) {
    VstMidiSysexEvent& record = records_.emplace_back();
    record.type = type;
    record.byteSize = type == kVstMidiType ? 32 : 48;
    record.deltaFrames = frame;
    list_.events[list_.numEvents++] = reinterpret_cast<VstEvent*>(&record);
    return record;
  }
  const VstEvents& List() { return *list_.Header(); }

  /// A note-on that carries a number up to 16383.
  static MidiCableWord Note(int number) {
    return MidiCableWord::FromBytes(0x90, number & 127, number >> 7, 0);
  }

 private:
  std::deque<VstMidiSysexEvent> records_;
  std::deque<Bytes> dumps_;
  VstEventBlock<1000> list_;
};

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
    EXPECT_LT(bridge.kernel.ring.Capacity(), 20000u);
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

  // With the clock switched off nothing of this is told, and the levels are the same.
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

/// Samples at which a recorded clock rises, and how long it stays up.
std::vector<std::pair<int, int>> Pulses(const std::vector<float>& clock) {
  std::vector<std::pair<int, int>> pulses;
  for (int i = 0; i < static_cast<int>(clock.size()); ++i) {
    if (clock[i] != 1.0f) continue;
    if (i == 0 || clock[i - 1] != 1.0f) pulses.emplace_back(i, 0);
    ++pulses.back().second;
  }
  return pulses;
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

TEST(TempoClock, ResetFiresAtOnceOrAfterOneLowSample) {
  SA04TempoFromDAWKernel kernel;
  kernel.Prepare(48000);
  kernel.SetTempo(120, 24);  // 1000 samples a tick, 300 up
  const auto step = [&](float reset) {
    kernel.Step(reset);
    return kernel.clock;
  };
  for (int i = 0; i < 500; ++i) ASSERT_EQ(step(0.24f), 0.0f);
  EXPECT_EQ(step(0.25f), 1.0f);
  // Up: it drops for a sample, then fires; a reset that stays high is one reset.
  for (int i = 0; i < 10; ++i) EXPECT_EQ(step(0.0f), 1.0f);
  EXPECT_EQ(step(1.0f), 0.0f);
  int up = 0;
  for (int i = 0; i < 990; ++i) up += step(1.0f) == 1.0f;
  EXPECT_NEAR(up, 300, 1);
  EXPECT_EQ(kernel.clock, 0.0f);
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

Bytes DumpOf(int size) {
  Bytes bytes(static_cast<std::size_t>(size), 0);
  std::iota(bytes.begin(), bytes.end(), 0);
  for (auto& byte : bytes) byte &= 0x7F;
  bytes.front() = 0xF0;
  bytes.back() = 0xF7;
  return bytes;
}

Bytes DumpIn(const VstEvents& list, int index) {
  const auto& event = *reinterpret_cast<const VstMidiSysexEvent*>(EventAt(list, index));
  if (event.type != kVstSysExType || event.byteSize != 48) return {};
  return Bytes(event.sysexDump, event.sysexDump + event.dumpBytes);
}

TEST(EventBatch, PutsDumpsTogetherStreamByStream) {
  // 16 streams at once, their packets mixed.
  std::vector<std::vector<MidiCableWord>> streams;
  for (int stream = 0; stream < 16; ++stream) {
    HostEvents events;
    for (int i = 0; i < stream; ++i) events.Dump(0, {0xF0, 0xF7});
    events.Dump(0, DumpOf(20 + stream));
    EventRing ring;
    ring.TakeEvents(events.List());
    for (int i = 0; i < stream * 2; ++i) ring.PopFront();
    auto& words = streams.emplace_back();
    while (!ring.IsEmpty()) words.push_back(ring.PopFront());
  }
  EventBatch batch;
  for (std::size_t i = 0; i < 16; ++i) {
    for (std::size_t s = 0; s < 16; ++s) {
      if (i < streams[s].size()) batch.Take(streams[s][i], static_cast<int>(i * 16 + s), 250);
    }
  }
  const VstEvents& list = *batch.Events();
  ASSERT_EQ(list.numEvents, 16);
  for (int i = 0; i < 16; ++i) {
    const Bytes dump = DumpIn(list, i);
    ASSERT_GE(dump.size(), 20u);
    EXPECT_EQ(dump, DumpOf(static_cast<int>(dump.size())));
    EXPECT_EQ(EventAt(list, i)->deltaFrames, static_cast<int>(dump.size()) - 20);
  }

  // A record that held a dump is a clean message afterwards.
  batch.Clear();
  batch.Take(MidiCableWord::FromBytes(0x91, 60, 100, 7), 9, 250);
  const auto& message = *reinterpret_cast<const VstMidiEvent*>(EventAt(*batch.Events(), 0));
  EXPECT_EQ(message.type, kVstMidiType);
  EXPECT_EQ(message.byteSize, 32);
  EXPECT_EQ(message.deltaFrames, 9);
  EXPECT_EQ(message.noteLength, 0);
  EXPECT_EQ(Bytes(message.midiData, message.midiData + 4), (Bytes{0x91, 60, 100, 7}));
}

TEST(EventBatch, CutsDumpsBeyondTheLimit) {
  const Bytes whole = DumpOf(100);
  HostEvents events;
  events.Dump(0, whole);
  EventRing ring;
  ring.TakeEvents(events.List());
  EventBatch batch;
  while (!ring.IsEmpty()) batch.Take(ring.PopFront(), 1, 25);
  // Packets of 3 behind the head make 28 the first length beyond 25, and 27 without a head.
  const VstEvents& list = *batch.Events();
  std::vector<std::size_t> sizes;
  Bytes joined;
  for (int i = 0; i < list.numEvents; ++i) {
    const Bytes part = DumpIn(list, i);
    sizes.push_back(part.size());
    joined.insert(joined.end(), part.begin(), part.end());
  }
  EXPECT_EQ(sizes, (std::vector<std::size_t>{28, 27, 27, 18}));
  EXPECT_EQ(joined, whole);
}

TEST(BridgeModules, EventsGoThroughTheRackAndBack) {
  using testing::TestRack;
  TestRack rack(10000);
  Module& from = rack.Add("SA03 MIDI/Sync From DAW");
  Module& to = rack.Add("SA06 MIDI To DAW");
  rack.SetControl(to, "SysEx limit", 1.0f);
  rack.Connect(from, "MIDI", to, "MIDI");
  // The cable takes a sample, and the first sample of a block is frame 1.
  rack.SendEvent(5, {0x90, 60, 100, 3});
  rack.SendEvent(62, {0xB0, 7, 1, 0});
  rack.RunBlock(64);
  ASSERT_EQ(rack.sentEvents.size(), 2u);
  EXPECT_EQ(rack.sentEvents[0].deltaFrames, 7);
  EXPECT_EQ(rack.sentEvents[0].bytes, (Bytes{0x90, 60, 100, 3}));
  EXPECT_EQ(rack.sentEvents[1].deltaFrames, 64);

  // Lamps are held for 0.1 s from the last word.
  const auto lamp = [&](Module& module, const char* role) {
    return rack.Control(module, role).getValue();
  };
  rack.RunBlock(998);
  EXPECT_EQ(lamp(from, "MIDI lamp"), 1.0f);
  rack.RunBlock(1);
  EXPECT_EQ(lamp(from, "MIDI lamp"), 0.0f);
  EXPECT_EQ(lamp(to, "Activity LED"), 1.0f);
  rack.RunBlock(1);
  EXPECT_EQ(lamp(to, "Activity LED"), 0.0f);

  // More than a batch holds, and dumps of all lengths, in one go.
  rack.sentEvents.clear();
  std::vector<Bytes> expected;
  for (int i = 0; i < 120; ++i) expected.push_back({0x80, static_cast<unsigned char>(i), 1, 0});
  for (int size = 2; size < 600; size += 13) expected.push_back(DumpOf(size));
  for (const Bytes& bytes : expected) rack.SendEvent(0, bytes);
  rack.RunBlock(100);
  EXPECT_EQ(rack.sentEvents.size(), 99u);
  for (int i = 0; i < 100; ++i) rack.RunBlock(64);
  ASSERT_EQ(rack.sentEvents.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    ASSERT_EQ(rack.sentEvents[i].bytes, expected[i]) << i;
  }

  // What a cable left behind in mid-dump is not mixed into what the next one brings.
  rack.sentEvents.clear();
  rack.SendEvent(0, {0xF0, 1, 2});
  rack.RunBlock(64);
  rack.Disconnect(to, "MIDI");
  EXPECT_EQ(lamp(to, "Activity LED"), 0.0f);
  rack.Connect(from, "MIDI", to, "MIDI");
  for (int i = 0; i < 16; ++i) rack.SendEvent(0, {0xF0, 9, 0xF7});
  rack.RunBlock(64);
  ASSERT_EQ(rack.sentEvents.size(), 16u);
  EXPECT_EQ(rack.sentEvents.back().bytes, (Bytes{0xF0, 9, 0xF7}));
}

TEST(BridgeModules, DumpsAreTimedAndCutByTheKnob) {
  using testing::TestRack;
  const int limits[] = {25, 50, 100, 150, 250, 500};
  for (int position = 0; position < 6; ++position) {
    TestRack rack;
    Module& from = rack.Add("SA03 MIDI/Sync From DAW");
    Module& to = rack.Add("SA06 MIDI To DAW");
    rack.Connect(from, "MIDI", to, "MIDI");
    if (position != 4) rack.SetControl(to, "SysEx limit", (position + 0.5f) / 6.0f);
    rack.SendEvent(10, DumpOf(600));
    for (int i = 0; i < 10; ++i) rack.RunBlock(64);
    ASSERT_FALSE(rack.sentEvents.empty());
    const int size = static_cast<int>(rack.sentEvents[0].bytes.size());
    EXPECT_GT(size, limits[position]);
    EXPECT_LE(size, limits[position] + 3);
    EXPECT_EQ(rack.sentEvents[0].deltaFrames, 12);
  }
}

TEST(BridgeModules, OversamplingKeepsEventsOnTheirHostSample) {
  using testing::TestRack;
  TestRack rack;
  rack.engine.oversamplingFactor = rack.engine.oversamplingSteps = 4;
  rack.engine.setSampleRate(48000);
  Module& from = rack.Add("SA03 MIDI/Sync From DAW");
  Module& to = rack.Add("SA06 MIDI To DAW");
  rack.Connect(from, "MIDI", to, "MIDI");
  for (const int frame : {0, 20, 20, 63}) rack.SendEvent(frame, {0x90, 60, 100, 0});
  rack.RunBlock(64);
  ASSERT_EQ(rack.sentEvents.size(), 4u);
  EXPECT_EQ(rack.sentEvents[0].deltaFrames, 1);
  EXPECT_EQ(rack.sentEvents[1].deltaFrames, 21);
  EXPECT_EQ(rack.sentEvents[2].deltaFrames, 21);
  EXPECT_EQ(rack.sentEvents[3].deltaFrames, 64);
}

TEST(BridgeModules, ClocksFollowKnobAndHost) {
  using testing::TestRack;
  for (std::size_t position = 0; position < kTicksPerQuarter.size(); ++position) {
    TestRack rack;
    rack.host = {100.0, 0.0, true, true};
    Module& locked = rack.Add("SA03 MIDI/Sync From DAW");
    Module& free = rack.Add("SA04 Tempo From DAW");
    for (Module* module : {&locked, &free}) {
      if (position != 4) rack.SetControl(*module, "Resolution", 0.25f * position + 0.01f);
      rack.Tap(*module, "Clock");
    }
    rack.Run(28800 * 4 - 100);  // four quarters
    const std::size_t ticks = static_cast<std::size_t>(kTicksPerQuarter[position]) * 4;
    EXPECT_EQ(Pulses(rack.Recorded(locked, "Clock")).size(), ticks);
    EXPECT_EQ(Pulses(rack.Recorded(free, "Clock")).size(), ticks - 1);
  }

  // Levels and lamps of the transport, also over a preset and where the host falls silent.
  TestRack rack;
  Module& module = rack.Add("SA03 MIDI/Sync From DAW");
  const auto levels = [&] {
    return std::pair(rack.Out(module, "Stop"), rack.Control(module, "Stop lamp").getValue());
  };
  EXPECT_EQ(levels(), std::pair(1.0f, 1.0f));
  const auto stopped = rack.SavedPreset(module);
  rack.host.playing = true;
  rack.Run(64);
  EXPECT_EQ(levels(), std::pair(0.0f, 0.0f));
  EXPECT_EQ(rack.Control(module, "Clock lamp").getValue(), 1.0f);
  module.LoadPreset(stopped.data(), static_cast<int>(stopped.size()), 1000);
  EXPECT_EQ(levels(), std::pair(0.0f, 0.0f));
  EXPECT_EQ(rack.Control(module, "Clock lamp").getValue(), 1.0f);
  rack.host.answersTimeInfo = false;
  rack.Run(64);
  EXPECT_EQ(levels(), std::pair(0.2f, 0.5f));
}

}  // namespace
}  // namespace halveron
