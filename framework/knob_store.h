// The knob values that the sample loop works on, packed and apart from views.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "dsp/smoothing.h"

namespace halveron {

/// What the audio thread reads and writes of a knob.
struct KnobCell {
  double smoothed_value = 0.0;  ///< what a module's arithmetic reads
  float value = 0.0f;           ///< target of a continuous knob
  float stepped_target = 0.0f;  ///< target of a stepped knob
  float smooth_step = 0.0f;     ///< fraction of the distance covered each sample

  /// One smoothing step toward `value`: a one-pole low-pass, ended by a snap within 0.001.
  void SmoothValue() { StepToward(value); }
  /// The same; true only if the value had arrived before.
  bool SmoothValueSettled() { return StepToward(value); }
  /// One smoothing step toward `stepped_target`.
  void SmoothSteppedValue() { StepToward(stepped_target); }

 private:
  bool StepToward(float target) { return dsp::SmoothToward(smoothed_value, target, smooth_step); }
};

/// The knob cells of one rack. Addresses are stable for the life of a cell, and cells that are
/// taken one after another lie side by side. Not for the audio thread: taking may allocate.
class KnobStore {
 public:
  /// A zeroed cell.
  KnobCell* Take();
  void GiveBack(KnobCell* cell) { free_.push_back(cell); }

 private:
  static constexpr std::size_t kChunk = 512;

  std::vector<std::unique_ptr<KnobCell[]>> chunks_;
  std::size_t used_ = kChunk;
  std::vector<KnobCell*> free_;
};

}  // namespace halveron
