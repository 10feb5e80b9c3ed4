#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "modules/daw/SA04TempoFromDAWKernel.h"
#include "tests/modules/daw/host_events.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(TempoClock, ResetFiresAtOnceOrAfterOneLowSample) {
  SA04TempoFromDAWKernel kernel;
  kernel.Prepare(48000);
  kernel.SetTempo(120, 24);  // 1000 samples a tick, 300 up
  const auto step = [&](float reset) {
    kernel.Step(reset);
    return kernel.clock;
  };
  for (int i = 0; i < 500; ++i) ASSERT_EQ(step(0.24f), 0.0f);
  EXPECT_EQ(step(0.25f), 1.0f);
  // Up: it drops for a sample, then fires; a reset that stays high is one reset.
  for (int i = 0; i < 10; ++i) EXPECT_EQ(step(0.0f), 1.0f);
  EXPECT_EQ(step(1.0f), 0.0f);
  int up = 0;
  for (int i = 0; i < 990; ++i) up += step(1.0f) == 1.0f;
  EXPECT_NEAR(up, 300, 1);
  EXPECT_EQ(kernel.clock, 0.0f);
}

}  // namespace
}  // namespace halveron::testing
