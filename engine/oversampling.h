// The low-pass that decimates the oversampled main output pair to the host's rate.
#pragma once

#include <array>
#include <vector>

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

  void Push(float left, float right);
  void Decimate(float* left, float* right);

  /// 0 while the IIR filter is in force.
  int FirTaps() const { return firTaps_; }
  float IirCoefficient() const { return iirCoefficient_; }
  const float* FirCoefficients() const { return firCoefficients_.data(); }
  void AllowVector(bool cpuHasSse41) { cpuHasSse41_ = cpuHasSse41; }
  bool UsesVectorFir() const { return useVectorFir_; }

 private:
  struct Channel {
    std::vector<float> ring;
    float Iir();
    std::array<float, 4> iirState{};  // band and low of section 1, band and low of section 2
  };

  float SumSymmetric(const float* ring) const;
  float SumVector(const float* ring) const;
  void StepIir(Channel& channel, float x) const;

  std::array<Channel, 2> channels_;
  std::vector<float> firCoefficients_;
  float iirCoefficient_ = 0.0f;
  int firTaps_ = 0;
  int ringIndex_ = 0;  // write position of both rings, which fill downward
  bool cpuHasSse41_ = false;
  bool useVectorFir_ = false;
};

}  // namespace halveron
