// Band-limited tables of a sample, so that it can be played high without aliasing.
//
// Level 0 is the sample. Level i holds only what lies below half the sample's rate times
// 2^(-i / levelScale), so played i / levelScale octaves up it reaches just to half the rate of the
// file. What a level has above that, up to the next one, falls above the output's band and is
// removed by playing at a multiple of the rate and decimating.
#pragma once

#include <memory>
#include <stop_token>
#include <vector>

#include "modules/sources/sample_set.h"

namespace halveron {

inline constexpr int kSampleQualities = 13;
inline constexpr int kMostSampleFactor = 256;
inline constexpr int kMostDecimatorTaps = 32 * kMostSampleFactor;

/// How a sample is played at a quality.
struct SampleQuality {
  int factor;  ///< steps per output sample
  int taps;    ///< length of the decimator in output samples; with factor 1, of the interpolation
};

/// Position 1 to 12 of the quality knob. A passage is two rows above a single cycle.
SampleQuality QualityOf(int position, bool isCycle);

struct SampleTables {
  struct Level {
    dsp::ZeroedMemory memory{};  ///< none in level 0, which is the sample itself
    double ratio = 1.0;          ///< table position = sample position * ratio

    const float* First() const { return memory.Floats() + SampleBuffer::kFrontGuard; }
  };

  std::vector<Level> levels;       ///< 1 or more
  double levelScale = 1.0;         ///< levels per octave
  double octaveBase = 0.0;         ///< log2(rate / 44100)
  int factor = 1;                  ///< steps per output sample
  std::vector<float> decimator{};  ///< taps * factor coefficients, none for factor 1
};

/// Makes the tables of a set's buffer for a quality position above 0. Null soon after a stop was
/// requested, however long the sample is. Throws std::bad_alloc.
std::shared_ptr<const SampleTables> BuildSampleTables(const SampleBuffer& buffer, double rate,
                                                      bool isCycle, int position,
                                                      const std::stop_token& stop);

}  // namespace halveron
