#include "modules/sources/sample_edit.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

namespace halveron {

namespace {

constexpr double kLowest = 20.0;            // hertz
constexpr double kMostRate = 192000.0;      // hertz, at which periods are searched for
constexpr std::size_t kShortestPeriod = 8;  // samples
constexpr std::size_t kWindow = 4096;       // samples compared
constexpr double kClearlyPeriodic = 0.1;
constexpr double kPeriodic = 0.35;

/// How much the signal differs from itself `period` samples later.
double Difference(std::span<const float> samples, std::size_t window, std::size_t period) {
  double sum = 0.0;
  for (std::size_t i = 0; i < window; ++i) {
    const double d = samples[i] - samples[i + period];
    sum += d * d;
  }
  return sum;
}

/// Where the parabola through three neighbouring values has its least, from the middle one.
double LeastOf(double before, double middle, double after) {
  const double curve = before - 2.0 * middle + after;
  return curve > 0.0 ? 0.5 * (before - after) / curve : 0.0;
}

}  // namespace

void Normalise(std::span<float> samples) {
  float peak = 0.0f;
  for (const float sample : samples) peak = std::max(peak, std::fabs(sample));
  if (peak == 0.0f) return;
  for (float& sample : samples) sample /= peak;
}

std::optional<double> FrequencyOf(std::span<const float> samples, double rate) {
  // A recording at a multiple of the host's rate has hundreds of thousands of samples in a period.
  if (const auto share = static_cast<std::size_t>(rate / kMostRate); share > 1) {
    const auto most = static_cast<std::size_t>(2.0 * kMostRate / kLowest) + kWindow;
    std::vector<float> thinned(std::min(samples.size() / share, most));
    for (std::size_t i = 0; i < thinned.size(); ++i) {
      const auto part = samples.subspan(i * share, share);
      thinned[i] = std::accumulate(part.begin(), part.end(), 0.0f) / static_cast<float>(share);
    }
    return FrequencyOf(thinned, rate / static_cast<double>(share));
  }
  const auto longest = std::min(static_cast<std::size_t>(rate / kLowest), samples.size() / 2);
  if (longest < kShortestPeriod + 2) return std::nullopt;
  const std::size_t window = std::min(kWindow, samples.size() - longest);
  std::vector<double> raw(longest), normal(longest, 1.0);
  double sum = 0.0;
  for (std::size_t period = 1; period < longest; ++period) {
    raw[period] = Difference(samples, window, period);
    sum += raw[period];
    if (sum > 0.0) normal[period] = raw[period] * static_cast<double>(period) / sum;
  }
  // The first deep valley, else the deepest.
  std::size_t found = 0;
  for (std::size_t period = kShortestPeriod; period + 1 < longest; ++period) {
    const bool isValley =
        normal[period] <= normal[period - 1] && normal[period] <= normal[period + 1];
    if (!isValley) continue;
    if (found == 0 || normal[period] < normal[found]) found = period;
    if (normal[period] < kClearlyPeriodic) break;
  }
  if (found == 0 || normal[found] > kPeriodic) return std::nullopt;
  // As many whole periods as fit refine it: the error of the last valley is shared by them all.
  double period = static_cast<double>(found) + LeastOf(raw[found - 1], raw[found], raw[found + 1]);
  for (std::size_t count = 2;; count *= 2) {
    const auto at = static_cast<std::size_t>(std::lround(period * static_cast<double>(count)));
    if (at + 2 >= longest || at + window + 1 >= samples.size()) break;
    const double before = raw[at - 1], middle = raw[at], after = raw[at + 1];
    if (middle > before || middle > after) break;
    period =
        (static_cast<double>(at) + LeastOf(before, middle, after)) / static_cast<double>(count);
  }
  return rate / period;
}

}  // namespace halveron
