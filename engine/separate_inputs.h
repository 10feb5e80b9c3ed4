// Input channels of a block, kept apart from the outputs.
#pragma once

#include <array>
#include <vector>

#include "framework/rack_limits.h"

namespace halveron {

/// A host may give one buffer to an input and an output. The rack reads and writes sample by
/// sample in no defined order, and may clear its outputs before it reads: an input that overlaps an
/// output is copied first, others are passed through.
class SeparateInputs {
 public:
  /// Room for blocks of up to `frames` samples. Not on the audio thread.
  void Prepare(int frames);

  /// kDawInputs channels to read from in place of `inputs`, until the next call. Channels may be
  /// null. A block longer than was prepared, or than 2^18 samples, is passed through. Audio
  /// thread.
  float* const* Of(float* const* inputs, float* const* outputs, int frames);

 private:
  std::array<std::vector<float>, kDawInputs> copies_;
  std::array<float*, kDawInputs> channels_{};
};

}  // namespace halveron
