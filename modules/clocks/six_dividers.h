// What the clock divider modules share: six dividers of one clock, each with a jack and a lamp.
#pragma once

#include <array>
#include <cstddef>

#include "dsp/clock_divider.h"
#include "framework/module.h"

namespace halveron {

inline constexpr std::size_t kDividers = 6;

/// Six dividers of one clock.
struct SixDividers {
  std::array<dsp::ClockDivider, kDividers> dividers;

  void Clock() {
    for (dsp::ClockDivider& divider : dividers) divider.Clock();
  }
};

/// The outputs and lamps of six dividers.
struct DividerOutputs {
  std::array<Output, kDividers> outs;
  std::array<Lamp, kDividers> lamps;

  void Show(const SixDividers& bank) {
    for (std::size_t i = 0; i < kDividers; ++i) {
      const float level = bank.dividers[i].isHigh ? 1.0f : 0.0f;
      outs[i]->out = level;
      lamps[i].Set(level);
    }
  }
};

}  // namespace halveron
