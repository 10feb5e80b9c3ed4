// Minimum-phase band-limited step: takes the aliasing out of an oscillator's discontinuities.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "dsp/lanes.h"

namespace halveron::dsp {

/// Table points per zero crossing of the sinc: one point is 1/16 of a sample at the base rate.
inline constexpr int kMinBlepDensity = 16;
inline constexpr int kMinBlepZeroCrossings = 24;
/// Points at which a step may still be inserted; the one behind them is the step's end, 1.
inline constexpr int kMinBlepLength = kMinBlepDensity * kMinBlepZeroCrossings;
inline constexpr int kMinBlepSize = kMinBlepLength + 1;

/// A step from about 0 to exactly 1 with nothing above the Nyquist frequency of the base rate, its
/// energy as early as its spectrum allows.
///
/// A Blackman-windowed sinc, made minimum phase through its real cepstrum and integrated (Brandt,
/// "Hard Sync Without Aliasing", ICMC 2001). Built at the first call, which allocates nothing but
/// takes some milliseconds: make it off the audio thread.
const std::array<float, kMinBlepSize>& GetMinBlepTable();

/// The same by rows for a step that goes through the table at its full density: point
/// `row + i * kMinBlepDensity` of the table is entry i of a row, so that what a step adds to
/// samples in turn lies side by side. Behind the step's end all entries are 1. A row more than the
/// density, for the point after that of the last.
using MinBlepRows = std::array<std::array<float, 2 * kMinBlepZeroCrossings>, kMinBlepDensity + 1>;
const MinBlepRows& GetMinBlepRows();

/// The residuals of the steps under way: what is to be added to the naive wave, sample by sample.
///
/// A step is inserted when the naive wave has jumped; the ring then leads from the old
/// level to the new one. Memory is part of the object, so no call allocates.
template <class Lanes = OneVoice>
class MinBlepRing {
 public:
  using Float = typename Lanes::Float;

  /// Table points per output sample, 1 to kMinBlepSize; others are limited to that. At 16 the step
  /// ends at the Nyquist frequency, at 8 at half of it. Forgets the steps under way.
  void SetStride(int stride) {
    stride_ = std::clamp(stride, 1, kMinBlepSize);
    size_ = kMinBlepSize / stride_ + 3;
    slots_.fill(Float(0.0f));
    read_ = 0;
    quietAt_.fill(now_);
  }
  int Stride() const { return stride_; }
  /// Samples that the ring holds, more than any step is long.
  int Size() const { return size_; }

  /// Inserts into a lane a step that fell by `amplitude`, `position` table points before the
  /// present sample. A position at or beyond the step's end, or a NaN, inserts
  /// nothing.
  void Insert(int lane, float position, float amplitude) {
    if (!(position < kMinBlepLength)) return;
    position = position < 0.0f ? 0.0f : position;
    int k = static_cast<int>(position);
    const float fraction = position - static_cast<float>(k);
    quietAt_[static_cast<std::size_t>(lane)] = now_ + size_;
    if (stride_ == kMinBlepDensity) {
      InsertAtFullDensity(lane, k, fraction, amplitude);
      return;
    }
    for (int slot = read_; k < kMinBlepLength; k += stride_) {
      const float value = table_[k] + (table_[k + 1] - table_[k]) * fraction;
      Lane(slots_[slot], lane) += (1.0f - value) * amplitude;
      if (++slot == size_) slot = 0;
    }
  }

  /// The residual of the present sample; goes on to the next.
  Float Read() {
    const Float residual = slots_[read_];
    slots_[read_] = Float(0.0f);
    if (++read_ == size_) read_ = 0;
    ++now_;
    return residual;
  }

  /// Takes over the steps under way of one voice, whose ring has the same stride.
  void LoadLane(int lane, const MinBlepRing<OneVoice>& voice) {
    if (Rest(lane) == 0 && voice.Rest(0) == 0) return;
    quietAt_[static_cast<std::size_t>(lane)] = now_ + voice.Rest(0);
    for (int i = 0, from = voice.read_, to = read_; i < size_; ++i) {
      Lane(slots_[to], lane) = voice.slots_[from];
      if (++from == size_) from = 0;
      if (++to == size_) to = 0;
    }
  }
  void StoreLane(int lane, MinBlepRing<OneVoice>& voice) const {
    if (Rest(lane) == 0 && voice.Rest(0) == 0) return;
    voice.quietAt_[0] = voice.now_ + Rest(lane);
    for (int i = 0, from = read_, to = voice.read_; i < size_; ++i) {
      voice.slots_[to] = Lane(slots_[from], lane);
      if (++from == size_) from = 0;
      if (++to == size_) to = 0;
    }
  }

 private:
  template <class Other>
  friend class MinBlepRing;

  /// The same as the loop of Insert, most of it for several samples at once.
  void InsertAtFullDensity(int lane, int k, float fraction, float amplitude) {
    const auto row = static_cast<std::size_t>(k % kMinBlepDensity);
    const int first = k / kMinBlepDensity;
    const float* const points = rows_[row].data() + first;
    const float* const next = rows_[row + 1].data() + first;
    std::array<float, kMinBlepZeroCrossings> residual;
    for (int i = 0; i < kMinBlepZeroCrossings; ++i) {
      const float value = points[i] + (next[i] - points[i]) * fraction;
      residual[i] = (1.0f - value) * amplitude;
    }
    const int count = kMinBlepZeroCrossings - first;
    const int beforeEnd = std::min(count, size_ - read_);
    for (int i = 0; i < beforeEnd; ++i) Lane(slots_[read_ + i], lane) += residual[i];
    for (int i = beforeEnd; i < count; ++i) Lane(slots_[i - beforeEnd], lane) += residual[i];
  }

  /// Samples after which a lane is all zeros, at most.
  std::int64_t Rest(int lane) const {
    const std::int64_t rest = quietAt_[static_cast<std::size_t>(lane)] - now_;
    return rest > 0 ? rest : 0;
  }

  const float* table_ = GetMinBlepTable().data();
  const std::array<float, 2 * kMinBlepZeroCrossings>* rows_ = GetMinBlepRows().data();
  int stride_ = kMinBlepDensity;
  int size_ = kMinBlepSize / kMinBlepDensity + 3;
  int read_ = 0;
  std::int64_t now_ = 0;  // samples read
  std::array<std::int64_t, Lanes::kLanes> quietAt_{};
  std::array<Float, kMinBlepSize + 3> slots_{};
};

}  // namespace halveron::dsp
