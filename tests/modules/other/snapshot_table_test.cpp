#include "modules/other/snapshot_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

namespace halveron {
namespace {

constexpr float kMissing = SnapshotTable::kMissing;

void Put(SnapshotTable& table, float position, int firstTag, const std::vector<float>& values) {
  const int lastTag = firstTag + static_cast<int>(values.size()) - 1;
  const auto room = table.Store(position, firstTag, lastTag);
  ASSERT_EQ(room.size(), values.size());
  std::copy(values.begin(), values.end(), room.begin());
}

std::vector<float> PositionsOf(const SnapshotTable& table) {
  std::vector<float> positions;
  for (int i = 0; i < table.Count(); ++i) positions.push_back(table.Position(i));
  return positions;
}

std::vector<std::byte> Saved(const SnapshotTable& table) {
  std::vector<std::byte> data(static_cast<std::size_t>(table.Bytes()));
  ByteWriter writer(data.data(), data.size());
  table.Save(writer);
  EXPECT_FALSE(writer.Failed());
  EXPECT_EQ(writer.Position(), data.size());
  return data;
}

void Load(SnapshotTable& table, const std::vector<std::byte>& data) {
  ByteReader reader(data.data(), data.size());
  table.Load(reader);
}

/// Whatever came in: what the table holds is in order and what the lamps count.
void ExpectSound(const SnapshotTable& table) {
  const std::vector<float> positions = PositionsOf(table);
  EXPECT_TRUE(std::is_sorted(positions.begin(), positions.end()));
  int lamps = 0;
  for (int i = 0; i < SnapshotTable::kLamps; ++i) {
    EXPECT_GE(table.LampCount(i), 0);
    lamps += table.LampCount(i);
  }
  EXPECT_EQ(lamps, table.Count());
}

TEST(SnapshotTable, KeepsItsOrderAndReplacesAtTheSamePlace) {
  SnapshotTable table;
  Put(table, 0.5f, 3, {1.0f});
  Put(table, 0.25f, 0, {2.0f, 3.0f});
  Put(table, 1.0f, 7, {4.0f});
  Put(table, 0.5f, 2, {5.0f, 6.0f});
  EXPECT_EQ(PositionsOf(table), (std::vector{0.25f, 0.5f, 1.0f}));
  EXPECT_EQ(table.Value(1, 2), 5.0f);
  EXPECT_EQ(table.Value(1, 3), 6.0f);
  EXPECT_EQ(table.Value(1, 4), kMissing);
  EXPECT_EQ(table.Value(0, 1), 3.0f);
  EXPECT_EQ(table.LampCount(SnapshotTable::LampAt(0.5f)), 1);
  EXPECT_EQ(table.FirstAtOrAbove(0.0f), 0);
  EXPECT_EQ(table.FirstAtOrAbove(0.5f), 1);
  EXPECT_EQ(table.FirstAtOrAbove(0.51f), 2);

  table.Delete(0.375f);  // as near to one as to the other: the upper
  EXPECT_EQ(PositionsOf(table), (std::vector{0.25f, 1.0f}));
  table.Delete(0.3f);
  EXPECT_EQ(PositionsOf(table), (std::vector{1.0f}));
  EXPECT_EQ(table.FirstAtOrAbove(1.0f), 0);
  table.Delete(0.0f);
  table.Delete(0.0f);
  EXPECT_EQ(table.Count(), 0);
  ExpectSound(table);
}

TEST(SnapshotTable, AFullTableReplacesTheHighestBelow) {
  SnapshotTable table;
  for (int i = 1; i <= SnapshotTable::kMost; ++i) {
    Put(table, static_cast<float>(i) / 128.0f, 0, {static_cast<float>(i)});
  }
  EXPECT_EQ(table.Count(), SnapshotTable::kMost);
  Put(table, 10.5f / 128.0f, 0, {-1.0f});
  EXPECT_EQ(table.Value(9, 0), -1.0f);
  EXPECT_EQ(table.Position(9), 10.5f / 128.0f);
  Put(table, 0.0f, 0, {-2.0f});
  EXPECT_EQ(table.Position(0), 0.0f);
  EXPECT_EQ(table.Value(0, 0), -2.0f);
  Put(table, 1.0f, 0, {-3.0f});
  EXPECT_EQ(table.Value(99, 0), -3.0f);
  EXPECT_EQ(table.Count(), SnapshotTable::kMost);
  ExpectSound(table);
}

TEST(SnapshotTable, LampsCountWhatStandsUnderThem) {
  EXPECT_EQ(SnapshotTable::LampAt(0.0f), 0);
  EXPECT_EQ(SnapshotTable::LampAt(0.5f / 15.0f), 0) << "a remainder of a half stays";
  EXPECT_EQ(SnapshotTable::LampAt(0.6f / 15.0f), 1);
  EXPECT_EQ(SnapshotTable::LampAt(1.0f), 15);
  SnapshotTable table;
  Put(table, 0.0f, 0, {1.0f});
  Put(table, 0.01f, 0, {1.0f});
  EXPECT_EQ(table.LampCount(0), 2);
  table.Delete(0.0f);
  EXPECT_EQ(table.LampCount(0), 1);
}

TEST(SnapshotTable, GoesBetweenTheNearestThatKnowAParameter) {
  SnapshotTable table;
  Put(table, 0.0f, 10, {0.0f, 0.5f, kMissing, 0.75f});
  Put(table, 0.25f, 10, {kMissing, 0.5f, kMissing, 0.25f});
  Put(table, 0.5f, 10, {kMissing, 0.5f, 0.25f});
  Put(table, 1.0f, 10, {1.0f, 0.5f, kMissing});
  const auto at = [&](float position, int tag, bool differencesOnly = false) {
    return table.Between(position, table.FirstAtOrAbove(position), tag, differencesOnly);
  };
  EXPECT_EQ(at(0.375f, 10), 0.375f) << "over two that do not know it";
  EXPECT_EQ(at(0.375f, 10, true), 0.375f);
  EXPECT_EQ(at(0.375f, 11), 0.5f);
  EXPECT_EQ(at(0.375f, 11, true), std::nullopt) << "the same on both sides";
  EXPECT_EQ(at(0.375f, 12), 0.25f) << "known above only";
  EXPECT_EQ(at(0.375f, 12, true), std::nullopt);
  EXPECT_EQ(at(0.375f, 13), 0.25f) << "known below only";
  EXPECT_EQ(at(0.0f, 13), 0.75f);
  EXPECT_EQ(at(0.375f, 9), std::nullopt);
  EXPECT_EQ(at(0.375f, 14), std::nullopt);
}

TEST(SnapshotTable, ComesBackFromItsPresetBlockAndRefusesNonsense) {
  SnapshotTable table;
  Put(table, 0.125f, 0, {0.5f, kMissing, 0.25f});
  Put(table, 0.5f, 996, {0.1f, 0.2f, 0.3f, 0.4f});
  table.Purge([](int tag) { return tag != 2 && tag != 999; });
  EXPECT_EQ(table.Value(0, 2), kMissing);
  EXPECT_EQ(table.Value(1, 999), kMissing);
  EXPECT_EQ(table.Value(1, 998), 0.3f);
  const std::vector<std::byte> data = Saved(table);
  EXPECT_EQ(data.size(), 4u + 12 + 12 + 12 + 16 + 64);
  SnapshotTable other;
  Put(other, 1.0f, 5, {1.0f});
  Load(other, data);
  EXPECT_EQ(Saved(other), data);

  for (std::size_t size = 0; size < data.size(); ++size) {
    SnapshotTable cut;
    Load(cut, {data.begin(), data.begin() + static_cast<std::ptrdiff_t>(size)});
    EXPECT_EQ(cut.Count(), size < 28 ? 0 : size < 56 ? 1 : 2) << size;
    ExpectSound(cut);
  }
  const auto spoilt = [&](std::size_t at, auto value) {
    std::vector<std::byte> bad = data;
    std::memcpy(bad.data() + at, &value, sizeof value);
    SnapshotTable result;
    Load(result, bad);
    ExpectSound(result);
    return result.Count();
  };
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(spoilt(0, -7), 0);
  EXPECT_EQ(spoilt(0, 0x7FFFFFFF), 2);
  EXPECT_EQ(spoilt(28, nan), 1);
  EXPECT_EQ(spoilt(28, 0.1f), 1) << "out of order";
  EXPECT_EQ(spoilt(4, 1.5f), 0);
  EXPECT_EQ(spoilt(8, -1), 0);
  EXPECT_EQ(spoilt(36, 1000), 1);
  EXPECT_EQ(spoilt(36, 0x7FFFFFFF), 1);
  EXPECT_EQ(spoilt(16, nan), 2) << "one value is missing";
}

TEST(SnapshotTable, StaysSoundUnderRandomEdits) {
  std::mt19937 random(7);
  const auto draw = [&](int limit) {
    return std::uniform_int_distribution<int>(0, limit - 1)(random);
  };
  SnapshotTable table, copy;
  for (int step = 0; step < 5000; ++step) {
    const float position = static_cast<float>(draw(400)) / 399.0f;
    if (draw(3) > 0) {
      const int first = draw(1000);
      const auto values = table.Store(position, first, first + draw(1000 - first));
      std::fill(values.begin(), values.end(), position);
    } else {
      table.Delete(position);
    }
    for (int i = 0; i < table.Count(); ++i) {
      // Rooms do not overlap: each snapshot still has what was written for its place.
      bool found = false;
      for (int tag = 0; tag < 1000 && !found; tag += 37) {
        const float value = table.Value(i, tag);
        if (SnapshotTable::IsValue(value)) {
          ASSERT_EQ(value, table.Position(i));
          found = true;
        }
      }
    }
  }
  ExpectSound(table);
  Load(copy, Saved(table));
  EXPECT_EQ(Saved(copy), Saved(table));
}

}  // namespace
}  // namespace halveron
