// Smoothing only of the knobs that are on their way to their values.
#pragma once

#include <algorithm>
#include <array>

#include "framework/module.h"

namespace halveron {

/// The knobs of a panel that move at present, for panels with so many that most of them rest. A
/// knob joins in ValueChanged and leaves when its smoothed value has arrived.
template <int kMost>
class MovingKnobs {
 public:
  /// Panel logic. A knob that is on the list stays once.
  void Join(Module& module, KnobCell& knob) {
    const ProcessingSection section(module);
    KnobCell** const end = knobs_.data() + count_;
    if (count_ < kMost && std::find(knobs_.data(), end, &knob) == end) knobs_[count_++] = &knob;
  }

  /// Audio thread: one smoothing step of each. True while one is on its way.
  bool Smooth() {
    for (std::size_t i = 0; i < count_;) {
      KnobCell& knob = *knobs_[i];
      knob.SmoothValue();
      if (knob.smoothed_value == static_cast<double>(knob.value)) {
        knobs_[i] = knobs_[--count_];
      } else {
        ++i;
      }
    }
    return count_ > 0;
  }

 private:
  std::array<KnobCell*, kMost> knobs_{};
  std::size_t count_ = 0;
};

}  // namespace halveron
