// Design of the S218 Spectral Filter: from bars on a logarithmic axis of frequency to the taps of a
// filter, as a sum of windowed ideal bands (A. V. Oppenheim and R. W. Schafer, "Discrete-Time
// Signal Processing": design by windowing).
#pragma once

#include <array>
#include <optional>
#include <span>

#include "dsp/fft.h"
#include "framework/voice_group.h"
#include "modules/filters/S218SpectralFilterFrames.h"

namespace halveron {

/// A band of equal gain between two edges, in shares of the Nyquist frequency.
struct S218Band {
  double low = 0.0;
  double high = 0.0;
  double amplitude = 0.0;
  double angle = 0.0;  ///< radians

  bool operator==(const S218Band&) const = default;
};

/// What a band is added to: taps and what they are weighted by, each a whole number of vectors
/// long.
struct S218BandTarget {
  float* taps;
  const float* weights;  ///< the window over pi times the distance from the centre
  int begin;             ///< first tap, on the border of a vector
  int end;
  int centre;
};

/// The loops over taps in the registers of a unit; defined where that unit's code is compiled.
template <class Unit>
class S218SpectralFilterVectors {
 public:
  /// The sum of taps[k] * line[k]; see S218SpectralFilterKernel::Convolve.
  static float Convolve(const float* taps, const float* line, int length);
  /// Adds the difference of the sines at both edges, or that of the cosines.
  static void AddSines(const S218BandTarget& target, const S218Band& band);
  static void AddCosines(const S218BandTarget& target, const S218Band& band);
};

/// Those loops of one unit. Every unit, and the plain loop of kNone, gives the same bits.
struct S218Loops {
  float (*convolve)(const float*, const float*, int);
  void (*addSines)(const S218BandTarget&, const S218Band&);
  void (*addCosines)(const S218BandTarget&, const S218Band&);

  static S218Loops Of(VectorUnit unit);
  /// The fastest of this machine.
  static VectorUnit BestUnit() { return std::min(WidestVectorUnit(), VectorUnit::kAvx2); }
};

/// Takes its memory and plans its transforms when it is made; nothing else here allocates.
class S218SpectralFilterDesign {
 public:
  static constexpr int kTapStep = 32;  ///< lengths are multiples of it
  static constexpr int kMostTaps = 1024;
  static constexpr int kBars = S218SpectralFilterFrames::kBars;
  static constexpr double kLowest = 30.0;  ///< hertz, where the first bar begins
  static constexpr int kLatticeModes = 5;  ///< with mode 0, which is no lattice

  struct Settings {
    int mode = 0;               ///< 0 FIR, 1 to 4 lattices
    bool equalLength = true;    ///< all bands have kernels of the whole length
    bool shortHigh = false;     ///< which law shortens the kernels of wide bands
    bool minPhase = false;      ///< the response is kept, its delay is not
    bool keepLength = false;    ///< no rounding to whole groups of four
    float kernelAmount = 0.0f;  ///< 0..1
    double rateShare = 1.0;     ///< filter rate over sample rate
    float sampleRate = 48000.0f;
    double scroll = 0.0;  ///< bars below the axis
  };

  explicit S218SpectralFilterDesign(VectorUnit unit = S218Loops::BestUnit());

  /// Windows and their quotients for a length from kTapStep to kMostTaps. A minimum phase takes a
  /// power of two, the one that lies nearest.
  void SetUp(int taps, bool minPhase);
  int Length() const { return length_; }

  /// Fills `taps`, of kMostTaps places, and answers how many of them count; the others are 0.
  int Design(std::span<const float> gains, std::span<const float> phases, const Settings& settings,
             float* taps);

  /// Upper end of the axis in hertz.
  static double TopOf(int mode) { return mode >= 3 ? 10000.0 : 20000.0; }
  /// Ratio of a bar's edges.
  static double BandRatio(int mode);

 private:
  struct Walk;
  void AddBand(const S218Band& band, const Settings& settings, float* taps);
  int FirstTapOf(const S218Band& band, const Settings& settings) const;
  void ToMinimumPhase(float* taps);
  dsp::RealFft& Transform();

  S218Loops loops_;
  int length_ = 0;
  int centre_ = 0;
  int firstTap_ = 0;  ///< of the longest kernel so far
  alignas(64) std::array<float, kMostTaps> window_{};
  alignas(64) std::array<float, kMostTaps> windowOverX_{};
  alignas(64) std::array<float, kMostTaps> shortened_{};
  /// Of sizes 2 * kTapStep, 4 * kTapStep and so on up to 2 * kMostTaps.
  std::array<std::optional<dsp::RealFft>, 6> transforms_;
};

}  // namespace halveron
