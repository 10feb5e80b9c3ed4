#include "modules/other/snapshot_table.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace halveron {

SnapshotTable::SnapshotTable()
    : values_(std::make_unique_for_overwrite<float[]>(std::size_t{kMost} * kParameterCount)) {
  float* values = values_.get();
  for (Entry& entry : entries_) {
    entry.values = values;
    values += kParameterCount;
  }
}

void SnapshotTable::Clear() {
  snapshotLast_ = -1;
  lampCount_.fill(0);
}

int SnapshotTable::FirstAtOrAbove(float position) const {
  for (int i = 0; i <= snapshotLast_; ++i) {
    if (position <= entries_[i].position) return i;
  }
  return -1;
}

std::optional<float> SnapshotTable::Between(float position, int upper, int tag,
                                            bool differencesOnly) const {
  int l = upper - 1, h = upper;
  while (l >= 0 && !IsValue(Value(l, tag))) --l;
  while (h <= snapshotLast_ && !IsValue(Value(h, tag))) ++h;
  const bool hasLow = l >= 0, hasHigh = h <= snapshotLast_;
  if (!hasLow || !hasHigh) {
    if (differencesOnly || hasLow == hasHigh) return std::nullopt;
    return Value(hasLow ? l : h, tag);
  }
  const float a = Value(l, tag), b = Value(h, tag);
  if (a == b && differencesOnly) return std::nullopt;
  const float low = entries_[l].position;
  return (position - low) / (entries_[h].position - low) * (b - a) + a;
}

std::span<float> SnapshotTable::Store(float position, int firstTag, int lastTag) {
  const auto begin = entries_.begin(), end = begin + Count();
  auto place = std::find_if(begin, end, [&](const Entry& e) { return e.position >= position; });
  const bool replaces = place != end && place->position == position;
  if (!replaces && Count() == kMost && place != begin) --place;
  if (replaces || Count() == kMost) {
    --lampCount_[LampAt(place->position)];
  } else {
    ++snapshotLast_;
    std::rotate(place, end, end + 1);
  }
  place->position = position;
  place->firstTag = firstTag;
  place->lastTag = lastTag;
  ++lampCount_[LampAt(position)];
  return {place->values, place->Size()};
}

void SnapshotTable::Delete(float position) {
  if (snapshotLast_ < 0) return;
  int index = FirstAtOrAbove(position);
  if (index < 0) {
    index = snapshotLast_;
  } else if (index > 0 && position - Position(index - 1) < Position(index) - position) {
    --index;
  }
  --lampCount_[LampAt(Position(index))];
  const auto begin = entries_.begin();
  std::rotate(begin + index, begin + index + 1, begin + Count());
  --snapshotLast_;
}

int SnapshotTable::LampAt(float position) {
  const float place = position * static_cast<float>(kLamps - 1);
  const int lamp = static_cast<int>(place);
  return lamp + (place - static_cast<float>(lamp) > 0.5f ? 1 : 0);
}

int SnapshotTable::Bytes() const {
  std::size_t bytes = sizeof snapshotLast_ + sizeof lampCount_;
  for (int i = 0; i < Count(); ++i) {
    const Entry& entry = entries_[i];
    bytes += sizeof entry.position + sizeof entry.firstTag + sizeof entry.lastTag;
    bytes += entry.Size() * sizeof(float);
  }
  return static_cast<int>(bytes);
}

void SnapshotTable::Save(ByteWriter& writer) const {
  writer.Write(snapshotLast_);
  for (int i = 0; i < Count(); ++i) {
    const Entry& entry = entries_[i];
    writer.Write(entry.position);
    writer.Write(entry.firstTag);
    writer.Write(entry.lastTag);
    for (std::size_t v = 0; v < entry.Size(); ++v) writer.Write(entry.values[v]);
  }
  writer.Write(lampCount_);
}

void SnapshotTable::Load(ByteReader& reader) {
  Clear();
  int last = -1;
  reader.Read(last);
  const int count = last < kMost ? last + 1 : kMost;
  while (snapshotLast_ + 1 < count && LoadEntry(reader)) {
  }
  // The stored counts follow from the positions, and a damaged block may contradict them.
  for (int i = 0; i < Count(); ++i) ++lampCount_[LampAt(Position(i))];
}

bool SnapshotTable::LoadEntry(ByteReader& reader) {
  Entry& entry = entries_[snapshotLast_ + 1];
  reader.Read(entry.position);
  reader.Read(entry.firstTag);
  reader.Read(entry.lastTag);
  const float lowest = snapshotLast_ < 0 ? 0.0f : Position(snapshotLast_);
  if (reader.Failed() || !(entry.position >= lowest && entry.position <= 1.0f)) return false;
  if (entry.firstTag < 0 || entry.firstTag > entry.lastTag || entry.lastTag >= kParameterCount) {
    return false;
  }
  const auto stored = reader.Take(entry.Size() * sizeof(float));
  if (reader.Failed()) return false;
  std::memcpy(entry.values, stored.data(), stored.size());
  std::replace_if(
      entry.values, entry.values + entry.Size(), [](float v) { return !std::isfinite(v); },
      kMissing);
  ++snapshotLast_;
  return true;
}

}  // namespace halveron
