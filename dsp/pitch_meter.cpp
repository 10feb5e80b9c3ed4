#include "dsp/pitch_meter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace halveron::dsp {

namespace {

constexpr double kLeastRate = 44100.0;
constexpr std::size_t kRing =
    32768;  // holds the longest stretch and what comes while it is worked on
constexpr int kWorkPerSample = 160;    // multiplications, a few tens of nanoseconds
constexpr double kBetween = 0.03;      // seconds from one measurement's start to the next, at least
constexpr double kStretch = 0.14;      // seconds
constexpr double kSplit = 200.0;       // hertz between the two searches
constexpr double kBelowLowest = 0.95;  // of the lowest frequency, where the search ends
constexpr int kLowering = 8;
constexpr double kLongLag = 0.04;     // seconds
constexpr double kLeastPower = 2e-6;  // a sine of 0.002
constexpr double kDip = 0.1;          // of the normalised difference
constexpr double kAlike = 0.1;        // of twice the power, for a wave that repeats itself
constexpr double kFlat = 0.02;        // a stretch with so little difference has nothing to search
constexpr double kSteadyOctaves = 1.5 / 1200.0;  // between two measurements
constexpr double kLowPassHertz = 3000.0;
constexpr double kLagsPerPeriod = 256.0;  // of a refinement, which reaches 7 either way
constexpr int kRadius = 7;                // lags about the expected one
constexpr int kMostPasses = 24;

/// Sum of (a[i] - a[i - lag])^2 over the last `window` samples before `end`.
float DifferenceAt(const float* end, int window, int lag) {
  constexpr int kParts = 8;
  std::array<float, kParts> sums{};
  const float* a = end - window;
  for (int rest = window / kParts; rest > 0; --rest, a += kParts) {
    const float* const b = a - lag;
    for (std::size_t k = 0; k < kParts; ++k) {
      const float d = a[k] - b[k];
      sums[k] += d * d;
    }
  }
  for (; a != end; ++a) sums[0] += (a[0] - a[-lag]) * (a[0] - a[-lag]);
  float sum = 0.0f;
  for (const float part : sums) sum += part;
  return sum;
}

}  // namespace

void PitchMeter::Prepare(float rate) {
  decimation_ = std::max(1, static_cast<int>(static_cast<double>(rate) / kLeastRate));
  rate_ = static_cast<double>(rate) / decimation_;
  lowPass_ = static_cast<float>(1.0 - std::exp(-2.0 * std::numbers::pi * kLowPassHertz / rate_));
  softened1_ = softened2_ = 0.0f;
  ring_.assign(2 * kRing, 0.0f);
  lowered_.assign(kRing / kLowering, 0.0f);
  differences_.assign(kRing / kLowering, 0.0f);
  write_ = 0;
  collected_ = 0;
  sum_ = 0.0f;
  stage_ = Stage::kIdle;
  budget_ = pause_ = 0;
  lastHertz_ = 0.0;
  result_ = {};
}

bool PitchMeter::Step(float x) {
  sum_ += std::isfinite(x) ? std::clamp(x, -100.0f, 100.0f) : 0.0f;
  if (++collected_ < decimation_) return false;
  // Harmonics near half the rate do not repeat from sample to sample.
  softened1_ += lowPass_ * (sum_ / static_cast<float>(decimation_) - softened1_);
  softened2_ += lowPass_ * (softened1_ - softened2_);
  ring_[write_] = ring_[write_ + kRing] = softened2_;
  write_ = (write_ + 1) % kRing;
  collected_ = 0;
  sum_ = 0.0f;
  if (pause_ > 0) --pause_;
  if (stage_ == Stage::kIdle) {
    if (pause_ > 0) return false;
    pause_ = static_cast<int>(rate_ * kBetween);
    return StartMeasurement();
  }
  budget_ += kWorkPerSample;
  if (budget_ < NextCost()) return false;
  budget_ = 0;
  return Work();
}

bool PitchMeter::StartMeasurement() {
  newest_ = ring_.data() + write_ + kRing;
  const int size = static_cast<int>(rate_ * kStretch);
  double sum = 0.0, squares = 0.0;
  for (const float* x = newest_ - size; x != newest_; ++x) {
    const auto value = static_cast<double>(*x);
    sum += value;
    squares += value * value;
  }
  power_ = squares / size - sum / size * (sum / size);
  if (power_ < kLeastPower) return Finish(Tone::kSilent, 0.0);
  BeginSearch(Stage::kHigh);
  return false;
}

void PitchMeter::BeginSearch(Stage stage) {
  stage_ = stage;
  cameFromLow_ = stage == Stage::kLow;
  coarse_ = cameFromLow_ ? kLowering : 1;
  const double rate = rate_ / coarse_;
  lastLag_ = static_cast<int>(rate / (cameFromLow_ ? kLowest * kBelowLowest : kSplit)) + 1;
  window_ = cameFromLow_ ? lastLag_ : 2 * lastLag_;
  lag_ = 1;
  searched_ = newest_;
  if (!cameFromLow_) return;
  const int size = window_ + lastLag_ + kLags;
  const float* from = newest_ - size * kLowering;
  for (int i = 0; i < size; ++i, from += kLowering) {
    float sum = 0.0f;
    for (int k = 0; k < kLowering; ++k) sum += from[k];
    lowered_[static_cast<std::size_t>(i)] = sum / kLowering;
  }
  searched_ = lowered_.data() + size;
}

int PitchMeter::NextCost() const {
  if (stage_ != Stage::kRefine) return kLags * window_;
  return kLags * RefineWindow();
}

bool PitchMeter::Work() { return stage_ == Stage::kRefine ? RefinePiece() : SearchPiece(); }

bool PitchMeter::SearchPiece() {
  for (int l = 0; l < kLags; ++l, ++lag_) {
    differences_[static_cast<std::size_t>(lag_)] = DifferenceAt(searched_, window_, lag_);
  }
  if (lag_ <= lastLag_) return false;
  const int dip = FirstDip();
  if (dip == 0) return Fail();
  BeginRefinement(static_cast<double>(dip) * coarse_);
  return false;
}

int PitchMeter::FirstDip() const {
  double sum = 0.0;
  for (int lag = 1; lag <= lastLag_; ++lag) {
    sum += static_cast<double>(differences_[static_cast<std::size_t>(lag)]);
  }
  if (sum < kFlat * 2.0 * power_ * window_ * lastLag_) return 0;
  const auto normalised = [this](int lag, double sumSoFar) {
    const auto difference = static_cast<double>(differences_[static_cast<std::size_t>(lag)]);
    return sumSoFar > 0.0 ? difference * lag / sumSoFar : 1.0;
  };
  sum = 0.0;
  double least = kDip;
  int dip = 0;
  for (int lag = 1; lag <= lastLag_; ++lag) {
    sum += static_cast<double>(differences_[static_cast<std::size_t>(lag)]);
    const double value = normalised(lag, sum);
    if (value < least) {
      least = value;
      dip = lag;
    } else if (dip != 0 && value > least) {
      return dip;
    }
  }
  return 0;  // still falling where the search ends
}

void PitchMeter::BeginRefinement(double period) {
  stage_ = Stage::kRefine;
  period_ = period;
  periods_ = 1;
  passes_ = 0;
}

int PitchMeter::RefineWindow() const { return static_cast<int>(std::max(period_, rate_ / 100.0)); }

bool PitchMeter::RefinePiece() {
  if (++passes_ > kMostPasses) return Fail();
  const int window = RefineWindow();
  const int stride = std::max(static_cast<int>(period_ / kLagsPerPeriod), 1);
  const int centre = static_cast<int>(std::lround(period_ * periods_));
  // A dip is as narrow as the strongest partials have it.
  const int radius = std::clamp(static_cast<int>(period_ / 6.0), period_ < 8.0 ? 1 : 2, kRadius);
  std::array<double, 2 * kRadius + 1> values{};
  int best = 0;
  const auto valueAt = [&](int l) -> double& {
    return values[static_cast<std::size_t>(l + kRadius)];
  };
  for (int l = -radius; l <= radius; ++l) {
    const int lag = std::max(centre + l * stride, 1);
    valueAt(l) = static_cast<double>(DifferenceAt(newest_, window, lag));
    if (valueAt(l) < valueAt(best)) best = l;
  }
  if (best != 0) {
    // The dip is elsewhere: another pass about it.
    period_ = static_cast<double>(centre + best * stride) / periods_;
    return false;
  }
  if (valueAt(0) > kAlike * 2.0 * power_ * window) return Fail();

  // The parabola nearest to all of these.
  double slope = 0.0, bend = 0.0, squares = 0.0, fourths = 0.0;
  const double count = 2.0 * radius + 1.0;
  for (int l = -radius; l <= radius; ++l) squares += static_cast<double>(l * l);
  for (int l = -radius; l <= radius; ++l) {
    const double even = static_cast<double>(l * l) - squares / count;
    slope += l * valueAt(l) / squares;
    bend += even * valueAt(l);
    fourths += even * even;
  }
  if (!(bend > 0.0)) return Fail();
  const double way = std::clamp(-0.5 * slope * fourths / bend, -1.0, 1.0) * stride;
  period_ = (centre + way) / periods_;
  constexpr double kSettled = 0.75;  // samples
  if (std::abs(way) > kSettled && passes_ < kMostPasses / 2) return false;
  if (period_ * periods_ < kLongLag * rate_) {
    periods_ *= 2;
    return false;
  }
  const double hertz = rate_ / period_;
  constexpr double kSlack = 1.03;
  const bool isWithin = hertz <= kHighest * kSlack && hertz >= kLowest / kSlack;
  const double change = lastHertz_ > 0.0 ? std::abs(std::log2(hertz / lastHertz_)) : 1.0;
  const bool isSteady = isWithin && change < kSteadyOctaves;
  const bool isNew = Finish(isSteady ? Tone::kSteady : Tone::kUnsteady, isSteady ? hertz : 0.0);
  lastHertz_ = hertz;
  return isNew;
}

bool PitchMeter::Fail() {
  if (cameFromLow_) return Finish(Tone::kUnsteady, 0.0);
  BeginSearch(Stage::kLow);
  return false;
}

bool PitchMeter::Finish(Tone tone, double hertz) {
  stage_ = Stage::kIdle;
  budget_ = 0;
  lastHertz_ = 0.0;
  result_ = {tone, hertz};
  return true;
}

}  // namespace halveron::dsp
