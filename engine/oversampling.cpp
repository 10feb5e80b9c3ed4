#include "engine/oversampling.h"

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
  // The vectors read from the ring position, which at 2X is not always a multiple of four.
  const bool isAligned = factor > 2 && firTaps_ % 4 == 0;
  sum_ = unit_ != VectorUnit::kNone && isAligned ? VectorSumOf(unit_) : SumSymmetric;
}

float OversamplingFilter::Channel::Iir() {
  // An infinity or a NaN would never leave the recursive state.
  const auto isFinite = [](float state) { return std::isfinite(state); };
  if (!std::all_of(iirState.begin(), iirState.end(), isFinite)) iirState.fill(0.0f);
  return iirState[3];
}

void OversamplingFilter::Decimate(float* left, float* right) {
  const StereoSum result = firTaps_ == 0 ? StereoSum{channels_[0].Iir(), channels_[1].Iir()}
                                         : sum_({firCoefficients_.data(), channels_[0].ring.data(),
                                                 channels_[1].ring.data(), firTaps_, ringIndex_});
  if (left) *left = result.left;
  if (right) *right = result.right;
}

}  // namespace halveron
