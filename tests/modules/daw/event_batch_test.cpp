#include "modules/daw/event_batch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "modules/daw/event_ring.h"
#include "tests/modules/daw/host_events.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

Bytes DumpIn(const VstEvents& list, int index) {
  const auto& event = *reinterpret_cast<const VstMidiSysexEvent*>(EventAt(list, index));
  if (event.type != kVstSysExType || event.byteSize != 48) return {};
  return Bytes(event.sysexDump, event.sysexDump + event.dumpBytes);
}

TEST(EventRing, KeepsOrderWhereItWrapsAndWhereItGrows) {
  EventRing ring;
  int taken = 0, sent = 0;
  constexpr int kNumbers = 16384;
  const auto take = [&](int count) {
    for (int i = 0; i < count; i += 1000) {
      HostEvents events;
      for (int j = 0; j < 1000; ++j) events.Message(0, taken++ % kNumbers);
      ring.TakeEvents(events.List());
    }
  };
  const auto send = [&](int count) {
    for (int i = 0; i < count; ++i) ASSERT_EQ(ring.PopFront(), HostEvents::Note(sent++ % kNumbers));
  };
  take(40000);
  send(30000);
  take(50000);
  EXPECT_EQ(ring.Capacity(), EventRing::kInitialCapacity);
  take(10000);
  EXPECT_GT(ring.Capacity(), EventRing::kInitialCapacity);
  send(70000);
  EXPECT_TRUE(ring.IsEmpty());
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

TEST(EventBatch, KeepsLongDumpsWholeWhereverTheyLie) {
  // More long dumps at once than there are long buffers.
  constexpr int kDumps = 6, kBytes = 3000, kNoLimit = 1000000000;
  std::vector<MidiCableWord> words;
  HostEvents events;
  for (int i = 0; i < kDumps; ++i) events.Dump(0, DumpOf(kBytes + 3 * i));
  EventRing ring;
  ring.TakeEvents(events.List());
  while (!ring.IsEmpty()) words.push_back(ring.PopFront());
  std::stable_sort(words.begin(), words.end(), [](MidiCableWord a, MidiCableWord b) {
    return a.Byte(1) == 0xF0 && b.Byte(1) != 0xF0;
  });
  EventBatch batch;
  for (int round = 0; round < 3; ++round) {
    batch.StartBlock();
    for (std::size_t i = 0; i < words.size(); ++i) {
      if (i == 100) batch.StartBlock();
      batch.Take(words[i], static_cast<int>(i), kNoLimit);
    }
    const VstEvents& list = *batch.Events();
    ASSERT_EQ(list.numEvents, kDumps);
    for (int i = 0; i < kDumps; ++i) {
      EXPECT_EQ(DumpIn(list, i), DumpOf(kBytes + 3 * i));
      EXPECT_EQ(EventAt(list, i)->deltaFrames, 1);  // they began in a block before
    }
    batch.Clear();
  }
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

}  // namespace
}  // namespace halveron::testing
