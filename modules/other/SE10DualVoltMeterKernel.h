// SE10 Dual Volt Meter kernel: the least, the greatest and the mean value of a signal over the time
// that has just passed.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace halveron {

/// One meter. The time is divided into slices; those that have passed and the present one together
/// never last longer than it, nor, once they have begun, more than a sixteenth less.
class SE10DualVoltMeterKernel {
 public:
  struct Reading {
    float value = 0.0f;  ///< the last sample
    float low = 0.0f;
    float high = 0.0f;
    double mean = 0.0;
    bool isMeasured = false;  ///< false until there has been a sample
    bool isNumber = true;     ///< false while the time holds an infinity or what is no number
  };

  /// Begins a new time, in samples.
  void SetTime(double samples) {
    slice_ = std::max(static_cast<int>(samples / kSlices), 1);
    Reset();
  }
  void Reset() {
    slices_ = {};
    present_ = 0;
  }

  void Step(float x) {
    if (slices_[present_].count == slice_) {
      present_ = (present_ + 1) % kSlices;
      slices_[present_] = {};
    }
    Slice& slice = slices_[present_];
    ++slice.count;
    last_ = x;
    if (!std::isfinite(x)) {
      slice.isNumber = false;
      return;
    }
    slice.low = std::min(slice.low, x);
    slice.high = std::max(slice.high, x);
    slice.sum += static_cast<double>(x);
  }

  Reading Read() const {
    Slice all;
    for (const Slice& slice : slices_) {
      all.low = std::min(all.low, slice.low);
      all.high = std::max(all.high, slice.high);
      all.sum += slice.sum;
      all.count += slice.count;
      all.isNumber &= slice.isNumber;
    }
    if (all.count == 0) return {};
    return {last_, all.low, all.high, all.sum / all.count, true, all.isNumber};
  }

 private:
  static constexpr std::size_t kSlices = 16;

  struct Slice {
    float low = std::numeric_limits<float>::infinity();
    float high = -std::numeric_limits<float>::infinity();
    double sum = 0.0;
    int count = 0;
    bool isNumber = true;
  };

  std::array<Slice, kSlices> slices_{};
  std::size_t present_ = 0;
  int slice_ = 1;  // samples
  float last_ = 0.0f;
};

}  // namespace halveron
