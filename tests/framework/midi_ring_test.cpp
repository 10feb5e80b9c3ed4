#include "framework/midi_ring.h"

#include <gtest/gtest.h>

#include <thread>

namespace halveron {
namespace {

TEST(MidiRing, KeepsOrderWhileItGrows) {
  MidiRing ring;
  MidiCableWord word;
  EXPECT_FALSE(ring.TryPop(word));
  std::uint32_t pushed = 0;
  std::uint32_t popped = 0;
  const auto pop = [&](int words) {
    for (int i = 0; i < words; ++i) {
      ASSERT_TRUE(ring.TryPop(word));
      EXPECT_EQ(++popped, word.bits);
    }
  };
  const auto push = [&](int words) {
    for (int i = 0; i < words; ++i) ring.Push({++pushed});
  };
  push(6);
  EXPECT_EQ(6, ring.Capacity());
  pop(4);  // a ring that is emptied again does not grow, wherever its indices stand
  push(4);
  EXPECT_EQ(6, ring.Capacity());
  push(1);
  EXPECT_EQ(14, ring.Capacity());
  push(20);
  EXPECT_EQ(30, ring.Capacity());
  pop(27);
  EXPECT_FALSE(ring.TryPop(word));
}

TEST(MidiRing, LosesNothingBetweenThreads) {
  constexpr std::uint32_t kWords = 200000;
  MidiRing ring;
  std::thread writer([&ring] {
    for (std::uint32_t i = 1; i <= kWords; ++i) ring.Push({i});
  });
  std::uint32_t expected = 1;
  bool ordered = true;
  while (expected <= kWords && ordered) {
    MidiCableWord word;
    if (!ring.TryPop(word)) continue;
    ordered = word.bits == expected++;
  }
  writer.join();
  EXPECT_TRUE(ordered);
}

}  // namespace
}  // namespace halveron
