#include "engine/oversampling.h"

#include <immintrin.h>

#include <algorithm>
#include <cmath>

#include "dsp/fir_design.h"
#include "framework/oversampling_filters.h"

namespace halveron {

namespace {

// By filter row; 0: the IIR filter, or by the factor.
constexpr std::array<int, kOversamplingFilters> kTaps{0,    0,    0,    50,   100,  150,  200,
                                                      300,  400,  600,  800,  1000, 1300, 1600,
                                                      2000, 2600, 3200, 4800, 6400, 12800};

// With damping 1 the poles of a Chamberlin section leave the unit circle where
// 4 - 2 f - f^2 = 0, at f = sqrt(5) - 1.
constexpr float kUnstableIirCoefficient = 1.2360679f;

constexpr int kAutoRow = 1;
constexpr int kAutoDoubleRow = 2;
constexpr int kAutoTapsPerHalfFactor = 50;

}  // namespace

int OversamplingFilterTaps(int row, int factor) {
  if (factor > 1 && row == kAutoRow) return factor / 2 * kAutoTapsPerHalfFactor;
  if (factor > 1 && row == kAutoDoubleRow) return factor / 2 * kAutoTapsPerHalfFactor * 2;
  return kTaps[static_cast<std::size_t>(row)];
}

OversamplingFilter::OversamplingFilter() : firCoefficients_(kMaxFirTaps) {
  for (Channel& channel : channels_) channel.ring.resize(kMaxFirTaps);
}

void OversamplingFilter::SetIirRate(float hostRate, int factor) {
  iirCoefficient_ = 60000.0f / (hostRate * static_cast<float>(factor));
}

void OversamplingFilter::Configure(int row, int factor) {
  if (row == kIirFilterRow && !(iirCoefficient_ < kUnstableIirCoefficient)) row = kDefaultFilterRow;
  firTaps_ = OversamplingFilterTaps(row, factor);
  if (factor > 1 && firTaps_ > 0) {
    dsp::DesignFirFilter(firCoefficients_.data(), firTaps_, dsp::FirWindow::kBlackman,
                         static_cast<float>(1.0 / (factor * 2.0)));
    ringIndex_ = (ringIndex_ & ~3) + 4;
    if (ringIndex_ >= firTaps_) ringIndex_ = 0;
  }
  useVectorFir_ = cpuHasSse41_ && factor > 2 && firTaps_ % 4 == 0;
}

void OversamplingFilter::Push(float left, float right) {
  if (firTaps_ == 0) {
    StepIir(channels_[0], left);
    StepIir(channels_[1], right);
    return;
  }
  ringIndex_ = (ringIndex_ == 0 ? firTaps_ : ringIndex_) - 1;
  channels_[0].ring[static_cast<std::size_t>(ringIndex_)] = left;
  channels_[1].ring[static_cast<std::size_t>(ringIndex_)] = right;
}

float OversamplingFilter::Channel::Iir() {
  // An infinity or a NaN would never leave the recursive state.
  const auto isFinite = [](float state) { return std::isfinite(state); };
  if (!std::all_of(iirState.begin(), iirState.end(), isFinite)) iirState.fill(0.0f);
  return iirState[3];
}

void OversamplingFilter::Decimate(float* left, float* right) {
  const auto result = [&](Channel& channel) {
    if (firTaps_ == 0) return channel.Iir();
    return useVectorFir_ ? SumVector(channel.ring.data()) : SumSymmetric(channel.ring.data());
  };
  if (left) *left = result(channels_[0]);
  if (right) *right = result(channels_[1]);
}

float OversamplingFilter::SumSymmetric(const float* ring) const {
  float sum = 0.0f;
  int newer = ringIndex_;
  int older = ringIndex_ == 0 ? firTaps_ - 1 : ringIndex_ - 1;
  for (int i = 0; i < firTaps_ / 2; ++i) {
    sum += firCoefficients_[static_cast<std::size_t>(i)] * (ring[newer] + ring[older]);
    if (++newer == firTaps_) newer = 0;
    if (--older < 0) older = firTaps_ - 1;
  }
  return sum;
}

namespace {

/// Products of taps and samples, summed in four vectors so that one addition need not wait for the
/// one before.
class VectorSum {
 public:
  /// `count` is a multiple of 4.
  void Add(const float* taps, const float* samples, int count) {
    int i = 0;
    for (; i + 16 <= count; i += 16) {
      for (int lane = 0; lane < 4; ++lane) {
        sums_[lane] = _mm_add_ps(sums_[lane], Product(taps + i + 4 * lane, samples + i + 4 * lane));
      }
    }
    for (; i < count; i += 4) sums_[0] = _mm_add_ps(sums_[0], Product(taps + i, samples + i));
  }

  float Total() const {
    alignas(16) float parts[4];
    _mm_store_ps(parts, _mm_add_ps(_mm_add_ps(sums_[0], sums_[1]), _mm_add_ps(sums_[2], sums_[3])));
    return (parts[0] + parts[1]) + (parts[2] + parts[3]);
  }

 private:
  static __m128 Product(const float* a, const float* b) {
    return _mm_mul_ps(_mm_loadu_ps(a), _mm_loadu_ps(b));
  }

  __m128 sums_[4] = {_mm_setzero_ps(), _mm_setzero_ps(), _mm_setzero_ps(), _mm_setzero_ps()};
};

}  // namespace

float OversamplingFilter::SumVector(const float* ring) const {
  const int untilEnd = firTaps_ - ringIndex_;
  VectorSum sum;
  sum.Add(firCoefficients_.data(), ring + ringIndex_, untilEnd);
  sum.Add(firCoefficients_.data() + untilEnd, ring, ringIndex_);
  return sum.Total();
}

void OversamplingFilter::StepIir(Channel& channel, float x) const {
  auto& [band1, low1, band2, low2] = channel.iirState;
  const float f = iirCoefficient_;
  low1 += f * band1;
  const float high1 = x - low1 - band1;
  band1 += f * high1;
  low2 += f * band2;
  const float high2 = low1 - low2 - band2;
  band2 += f * high2;
}

}  // namespace halveron
