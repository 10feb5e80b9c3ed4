// Times of single blocks, and what they come to: medians, which a busy machine disturbs least.
#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <limits>
#include <vector>

namespace halveron::benchmarks {

/// Seconds that one call takes.
template <class F>
double SecondsOf(F&& call) {
  const auto start = std::chrono::steady_clock::now();
  call();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Of an even number of values the upper of the two in the middle; 0 of none.
inline double Median(std::vector<double> values) {
  if (values.empty()) return 0.0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// Nanoseconds of a sample in blocks that took so many seconds.
inline double NanosecondsPerSample(double blockSeconds, int blockSize) {
  return blockSeconds * 1e9 / blockSize;
}

/// Copies of a subject that lie differently in memory: at an unlucky place, where a load waits for
/// stores at other addresses of the same low bits, a sample may take twice its time.
inline constexpr std::size_t kLayouts = 5;

/// Block times of a subject in each of its layouts.
class LayoutTimes {
 public:
  void Add(std::size_t layout, double seconds) { times_[layout].push_back(seconds); }

  /// Median of the layout that does best; layouts that were not timed don't count.
  double BestMedian() const {
    double best = std::numeric_limits<double>::infinity();
    for (const std::vector<double>& times : times_) {
      if (!times.empty()) best = std::min(best, Median(times));
    }
    return best;
  }

 private:
  std::array<std::vector<double>, kLayouts> times_;
};

}  // namespace halveron::benchmarks
