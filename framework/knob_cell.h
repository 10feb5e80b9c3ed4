// The values of a knob that the sample loop works on, apart from its view.
#pragma once

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
  bool SmoothSteppedValueSettled() { return StepToward(stepped_target); }

 private:
  bool StepToward(float target) { return dsp::SmoothToward(smoothed_value, target, smooth_step); }
};

}  // namespace halveron
