// The notes that are held on one voice, in the order of their playing.
#pragma once

#include <algorithm>
#include <array>

namespace halveron {

/// A stack of a fixed size. A push onto a full one overwrites the newest entry, so that the oldest
/// notes outlive any number of keys.
template <class Entry>
class HeldNotes {
 public:
  static constexpr int kPlaces = 50;

  bool IsEmpty() const { return top_ < 0; }
  void Clear() { top_ = -1; }

  void Push(Entry entry) {
    if (top_ < kPlaces - 1) ++top_;
    entries_[top_] = entry;
  }

  /// Takes the newest entry; the stack must not be empty.
  Entry Pop() { return entries_[top_--]; }

  /// The place of the newest entry that equals this one, -1 if there is none.
  int Find(Entry entry) const {
    int place = top_;
    while (place >= 0 && entries_[place] != entry) --place;
    return place;
  }

  /// Whether one of the entries fits.
  template <class Predicate>
  bool Any(Predicate fits) const {
    return std::any_of(entries_.begin(), entries_.begin() + top_ + 1, fits);
  }

  void Replace(int place, Entry entry) { entries_[place] = entry; }

  /// Takes an entry out; those above it move down.
  void Remove(int place) {
    std::copy(entries_.begin() + place + 1, entries_.begin() + top_ + 1, entries_.begin() + place);
    --top_;
  }

 private:
  std::array<Entry, kPlaces> entries_{};
  int top_ = -1;
};

}  // namespace halveron
