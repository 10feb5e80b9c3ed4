// The low-pass that decimates the oversampled main output pair to the host's rate.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "engine/decimator_sums.h"

namespace halveron {

inline constexpr int kMaxFirTaps = 12800;
inline constexpr int kIirFilterRow = 0;

/// Taps of a filter row at an oversampling factor; 0 selects the IIR filter.
int OversamplingFilterTaps(int row, int factor);

/// Decimates two channels by 1 to 256. Push is called once per step, Decimate after the last step
/// of a host sample. The history is never cleared: a change lets old samples run out through the
/// new filter.
class OversamplingFilter {
 public:
  OversamplingFilter();

  /// Takes the coefficients of a filter row at a factor; not for the audio thread. Where the IIR
  /// filter would be unstable the default row is used instead. `hostRate` in hertz sets the IIR
  /// coefficient, which stays until the next change of factor.
  void Configure(int row, int factor);
  void SetIirRate(float hostRate, int factor);

  void Push(float left, float right) {
    if (firTaps_ == 0) {
      StepIir(channels_[0].iirState, left);
      StepIir(channels_[1].iirState, right);
      return;
    }
    ringIndex_ = (ringIndex_ == 0 ? firTaps_ : ringIndex_) - 1;
    channels_[0].ring[static_cast<std::size_t>(ringIndex_)] = left;
    channels_[1].ring[static_cast<std::size_t>(ringIndex_)] = right;
  }
  /// Either may be null.
  void Decimate(float* left, float* right);

  /// 0 while the IIR filter is in force.
  int FirTaps() const { return firTaps_; }
  float IirCoefficient() const { return iirCoefficient_; }
  const float* FirCoefficients() const { return firCoefficients_.data(); }
  /// The widest vectors that the FIR filter may use, by default none. The next Configure follows.
  void AllowVectors(VectorUnit unit) { unit_ = unit; }
  bool UsesVectorFir() const { return sum_ != SumSymmetric; }

 private:
  using IirState = std::array<float, 4>;  // band and low of section 1, band and low of section 2

  struct Channel {
    std::vector<float> ring;
    float Iir();
    IirState iirState{};
  };

  void StepIir(IirState& state, float x) const {
    auto& [band1, low1, band2, low2] = state;
    const float f = iirCoefficient_;
    low1 += f * band1;
    const float high1 = x - low1 - band1;
    band1 += f * high1;
    low2 += f * band2;
    const float high2 = low1 - low2 - band2;
    band2 += f * high2;
  }

  std::array<Channel, 2> channels_;
  std::vector<float> firCoefficients_;
  float iirCoefficient_ = 0.0f;
  int firTaps_ = 0;
  int ringIndex_ = 0;  // write position of both rings, which fill downward
  VectorUnit unit_ = VectorUnit::kNone;
  FirSum sum_ = SumSymmetric;
};

}  // namespace halveron
