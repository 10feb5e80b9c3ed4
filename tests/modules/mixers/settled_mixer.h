// What the four-input mixers give for constant inputs.
#pragma once

#include "tests/support/test_rack.h"

namespace halveron::testing {

/// The output of a mixer with inputs "In 1" to "In 4" after constant values have passed it.
inline float Settled(TestRack& rack, Module& mixer, const float (&inputs)[4]) {
  static constexpr const char* kInputs[] = {"In 1", "In 2", "In 3", "In 4"};
  for (int i = 0; i < 4; ++i) rack.FeedConstant(mixer, kInputs[i], inputs[i]);
  rack.Run(4);
  return rack.Out(mixer, "Out");
}

}  // namespace halveron::testing
