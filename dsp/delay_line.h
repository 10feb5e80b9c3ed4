// Delay lines that are read between their samples.
#pragma once

#include "dsp/lanes.h"
#include "dsp/zeroed_memory.h"

namespace halveron::dsp {

/// The index after `index` in a ring of `size` cells.
inline int NextIndex(int index, int size) { return index + 1 < size ? index + 1 : 0; }

/// A position that has moved back past 0, up to `size` cells, put back into the ring: 0 to below
/// `size`. A NaN becomes 0.
template <class Float>
inline Float WrapPosition(const Float& position, int size) {
  const auto length = static_cast<float>(size);
  const Float wrapped = Select(position < 0.0f, position + length, position);
  return Select(And(wrapped >= 0.0f, wrapped < length), wrapped, 0.0f);
}

/// Where a read that lies `delay` samples (0 to `size`) behind the write index falls.
template <class Double>
inline auto WrappedPosition(int index, const Double& delay, int size) {
  return WrapPosition(ToFloat(Double(ToDouble(index)) - delay), size);
}

/// A ring of floats that its module or kernel writes at an index of its own. Does not own its
/// cells: there are `size` and one more, which repeats the first for reads across the end.
struct DelayLine {
  float* cells = nullptr;
  int size = 0;

  void Write(int index, float value) const {
    cells[index] = value;
    if (index == 0) cells[size] = value;
  }
  /// Linear interpolation at a position from 0 to below `size`.
  float Read(float position) const {
    const int k = Truncate(position);
    const float f = position - ToFloat(k);
    return (1.0f - f) * cells[k] + f * cells[k + 1];
  }
  /// The cell `delay` whole samples behind the write index, 0 to `size`.
  float ReadWhole(int index, int delay) const {
    const int k = index - delay;
    return cells[k < 0 ? k + size : k];
  }
};

/// Owns the cells of several lines of one size. Not for the audio thread.
class DelayMemory {
 public:
  /// Silent lines of `size` cells. False if there is no memory for them; then there are none.
  bool Take(int lines, int size) {
    lines_ = size_ = 0;
    if (!cells_.Take(static_cast<std::size_t>(lines) * (static_cast<std::size_t>(size) + 1))) {
      return false;
    }
    lines_ = lines;
    size_ = size;
    return true;
  }
  void Release() {
    cells_.Release();
    lines_ = size_ = 0;
  }
  bool IsTaken() const { return lines_ > 0; }
  int Lines() const { return lines_; }
  /// Cells a line.
  int Size() const { return size_; }
  DelayLine Line(int i) const {
    const auto stride = static_cast<std::size_t>(size_) + 1;
    return {cells_.Floats() + stride * static_cast<std::size_t>(i), size_};
  }

 private:
  ZeroedMemory cells_;
  int lines_ = 0;
  int size_ = 0;
};

}  // namespace halveron::dsp
