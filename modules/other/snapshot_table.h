// Snapshots of the host parameters at places on a line, and what lies between them.
#pragma once

#include <array>
#include <concepts>
#include <memory>
#include <optional>
#include <span>

#include "framework/byte_io.h"
#include "framework/rack_limits.h"

namespace halveron {

/// Up to kMost snapshots in ascending order of their positions, 0 to 1, each with one value for
/// every parameter tag from its first to its last.
///
/// A host may press a button on the audio thread, so all memory is taken at construction.
class SnapshotTable {
 public:
  static constexpr int kMost = 100;
  static constexpr int kLamps = 16;
  /// Stands for a value that a snapshot does not have.
  static constexpr float kMissing = -1000.0f;

  SnapshotTable();

  void Clear();
  int Count() const { return snapshotLast_ + 1; }
  float Position(int index) const { return entries_[index].position; }
  /// The first snapshot at `position` or above it, -1 if there is none.
  int FirstAtOrAbove(float position) const;
  /// kMissing where the snapshot does not cover the tag.
  float Value(int index, int tag) const {
    const Entry& entry = entries_[index];
    if (tag < entry.firstTag || tag > entry.lastTag) return kMissing;
    return entry.values[tag - entry.firstTag];
  }
  static bool IsValue(float value) { return value > kMissing; }

  /// The value of a parameter at `position`, between the nearest snapshots that know it; none if it
  /// is to be left alone. `upper` is FirstAtOrAbove(position), 0 or above. `differencesOnly` leaves
  /// parameters alone that only one side knows, or both with the same value.
  std::optional<float> Between(float position, int upper, int tag, bool differencesOnly) const;

  /// Makes room for a snapshot of the tags from `firstTag` to `lastTag`, and answers its values,
  /// which the caller is to fill. It takes the place of one at the same position or, in a full
  /// table, of the highest one below.
  std::span<float> Store(float position, int firstTag, int lastTag);
  /// Removes the snapshot that is nearest to a position, of two equally near ones the upper.
  void Delete(float position);
  /// Forgets the values of all tags for which `isAlive(tag)` is false.
  template <std::predicate<int> Test>
  void Purge(Test&& isAlive) {
    for (int i = 0; i < Count(); ++i) {
      Entry& entry = entries_[i];
      for (int tag = entry.firstTag; tag <= entry.lastTag; ++tag) {
        if (!isAlive(tag)) entry.values[tag - entry.firstTag] = kMissing;
      }
    }
  }

  /// How many snapshots stand under a lamp of the ring, 0 to kLamps - 1.
  int LampCount(int lamp) const { return lampCount_[lamp]; }
  static int LampAt(float position);

  int Bytes() const;
  void Save(ByteWriter& writer) const;
  /// Reads what Save wrote. Keeps the snapshots before the first one that is cut off or makes no
  /// sense.
  void Load(ByteReader& reader);

 private:
  struct Entry {
    float position = 0.0f;
    int firstTag = 0;
    int lastTag = -1;
    float* values = nullptr;  ///< room for all parameters

    std::size_t Size() const { return static_cast<std::size_t>(lastTag - firstTag + 1); }
  };

  bool LoadEntry(ByteReader& reader);

  std::unique_ptr<float[]> values_;
  // Every entry owns its room, those beyond the last too: order is changed by turning entries.
  std::array<Entry, kMost> entries_;
  std::array<int, kLamps> lampCount_{};
  int snapshotLast_ = -1;
};

}  // namespace halveron
