// Sound of the S103: sums of four inputs by a matrix of crosspoints, and the master's gain.
#pragma once

#include <cmath>

namespace halveron {

struct S103MatrixMixerVCAKernel {
  /// 0 at 0, 1 in the middle, 4 at 1.
  static float MasterGain(float master) {
    return master >= 0.5f ? master * 6.0f - 2.0f : master * 2.0f;
  }

  /// What an input adds to an output through a crosspoint whose voltage nothing is cabled to.
  static double Plain(bool bipolar, double in, double knob) {
    return bipolar ? (knob * 2.0 - 1.0) * in : in * knob;
  }

  /// The same under a voltage. A unipolar crosspoint is an amplifier, which mutes at 0 and below; a
  /// bipolar one turns over.
  static double UnderVoltage(bool bipolar, double in, double knob, double voltage) {
    if (bipolar) return in * voltage * (knob * 2.0 - 1.0);
    return voltage > 0.0 ? voltage * in * knob : 0.0;
  }

  // A knob's value that keeps its effect when the polarity changes, as far as that can be.
  template <class Real>
  static Real Converted(Real knob, bool toBipolar) {
    return toBipolar ? (knob + Real(1)) * Real(0.5) : std::abs(knob * Real(2) - Real(1));
  }
};

}  // namespace halveron
