// The frequency of a tone, measured on the audio thread in small pieces of work.
#pragma once

#include <cstddef>
#include <vector>

namespace halveron::dsp {

/// Measures tones of 20 Hz to 5 kHz, whatever their wave, many times a second.
///
/// The period is the first dip of the normalised difference function (de Cheveigne and Kawahara,
/// "YIN, a fundamental frequency estimator for speech and music", JASA 2002), looked for from 200
/// Hz up first, then, on a lowered rate, below. It is then refined at once, twice, four times...
/// its length, until the wave is compared with itself at least 40 ms earlier: that divides the
/// error by the number of periods, and what no longer resembles itself by then is no steady tone;
/// nor is one whose next measurement is more than 1.5 cents away.
///
/// A measurement looks at up to 0.14 s and is spread over the samples after it, at the same
/// samples on every run; from the start of a tone to its first result it takes less than 0.5 s.
class PitchMeter {
 public:
  enum class Tone {
    kUnknown,   ///< nothing measured so far
    kSilent,    ///< too soft: below 0.002
    kUnsteady,  ///< no period, or one that does not last; or outside of the range
    kSteady,
  };
  struct Result {
    Tone tone = Tone::kUnknown;
    double hertz = 0.0;  ///< of a steady tone
  };

  static constexpr double kLowest = 20.0, kHighest = 5000.0;  ///< hertz

  /// Allocates. Forgets the tone.
  void Prepare(float rate);
  /// One sample; true when there is a result that is new.
  bool Step(float x);
  const Result& Last() const { return result_; }

 private:
  enum class Stage { kIdle, kHigh, kLow, kRefine };
  static constexpr int kLags = 16;  // of the difference function in one piece of work

  bool StartMeasurement();
  void BeginSearch(Stage stage);
  /// One piece of work; true at the end of the measurement.
  bool Work();
  bool SearchPiece();
  bool RefinePiece();
  void BeginRefinement(double period);
  int RefineWindow() const;
  bool Fail();
  bool Finish(Tone tone, double hertz);
  /// Multiplications of the next piece.
  int NextCost() const;
  int FirstDip() const;

  // The signal, at 44.1 to 88.2 kHz, twice, so that any stretch of it lies in one piece.
  std::vector<float> ring_;
  std::size_t write_ = 0;
  int decimation_ = 1;
  int collected_ = 0;
  float sum_ = 0.0f;
  float lowPass_ = 1.0f;
  float softened1_ = 0.0f, softened2_ = 0.0f;
  double rate_ = 48000.0;  // of the ring

  // The measurement under way.
  Stage stage_ = Stage::kIdle;
  const float* newest_ = nullptr;  // just behind the stretch that is looked at
  double power_ = 0.0;             // of it, without its mean
  int budget_ = 0;
  int pause_ = 0;  // samples of the ring until the next measurement
  bool cameFromLow_ = false;

  // Search: the difference function of a stretch at a rate lowered by coarse_.
  std::vector<float> lowered_;
  std::vector<float> differences_;
  const float* searched_ = nullptr;  // just behind the stretch
  int coarse_ = 1;
  int lag_ = 1;  // of the next piece
  int lastLag_ = 0;
  int window_ = 0;

  // Refinement.
  double period_ = 0.0;
  int periods_ = 1;  // of which the lag consists
  int passes_ = 0;

  double lastHertz_ = 0.0;  // of the last measurement, 0 if it found no period
  Result result_;
};

}  // namespace halveron::dsp
