// Fourier transforms of real signals, by FFTW in single precision.
#pragma once

#include <complex>
#include <memory>
#include <span>

namespace halveron::dsp {

/// A transform of one size over buffers of its own. Making and destroying one allocates and takes
/// a lock that all transforms share, and belongs off the audio thread. Forward and Inverse do
/// neither for sizes that are powers of two, and give the same bits on every run.
class RealFft {
 public:
  /// `size` in samples, even and 2 or more. Throws std::bad_alloc.
  explicit RealFft(int size);
  ~RealFft();
  RealFft(RealFft&&) noexcept;
  RealFft& operator=(RealFft&&) noexcept;

  int Size() const;
  /// `Size()` samples.
  std::span<float> Signal();
  /// Bins 0 (DC) to Size() / 2 (Nyquist), those included.
  std::span<std::complex<float>> Spectrum();

  /// Signal to spectrum, unscaled: a constant 1 gives Size() in bin 0. Keeps the signal.
  void Forward();
  /// Spectrum to signal, unscaled: after Forward it gives Size() times the signal. The spectrum is
  /// lost.
  void Inverse();

 private:
  struct Plans;
  std::unique_ptr<Plans> plans_;
};

}  // namespace halveron::dsp
