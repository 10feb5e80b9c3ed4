// The lamp of a limited output.
#pragma once

#include "framework/module_controls.h"

namespace halveron {

/// Limits samples and is lit for 0.2 s after the last one that it had to limit.
class ClipLamp : public HeldLamp {
 public:
  void SetSampleRate(float sampleRate) { SetHold(sampleRate, 0.2); }

  /// The sample within -level..level. Tick once per sample, before this.
  float Limit(float x, float level) {
    if (x > level) {
      Light();
      return level;
    }
    if (x < -level) {
      Light();
      return -level;
    }
    return x;
  }
};

}  // namespace halveron
