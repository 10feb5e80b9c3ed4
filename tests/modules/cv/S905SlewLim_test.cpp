// S905: times of both laws.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr float kLinear = 1.0f, kExponential = 0.0f;

struct SlewRig {
  SlewRig(float law, float rate) : slew(rack.Add("S905 Slew Limiter")) {
    rack.SetControl(slew, "Law", law);
    rack.SetControl(slew, "Rate", rate);
  }
  std::vector<float> StepResponse(int samples) {
    std::vector<float> step(static_cast<std::size_t>(samples), 1.0f);
    step[0] = 0.0f;
    rack.Feed(slew, "In 2", step);
    rack.Tap(slew, "Out 2");
    rack.Run(samples);
    return rack.Recorded(slew, "Out 2");
  }

  TestRack rack{1000.0f};
  Module& slew;
};

TEST(S905SlewLim, LinearStepsTakeTheirTimeWhateverTheirSize) {
  // 14 s times the cube of what the knob is turned down, for 1.0.
  for (const float rate : {0.9f, 0.8f, 0.5f}) {
    SlewRig rig(kLinear, rate);
    const double samples = 1000.0 * std::pow(1.0 - static_cast<double>(rate), 3) * 14.0;
    const std::vector<float> response = rig.StepResponse(static_cast<int>(samples) + 20);
    const auto half = static_cast<std::size_t>(samples / 2);
    EXPECT_NEAR(response[half], 0.5f, 1.0 / samples + 1e-3);
    EXPECT_LT(response[static_cast<std::size_t>(samples) - 1], 1.0f);
    EXPECT_EQ(response.back(), 1.0f);
  }
  EXPECT_EQ(SlewRig(kLinear, 1.0f).StepResponse(5), (std::vector<float>{0, 1, 1, 1, 1}));
}

TEST(S905SlewLim, ExponentialStepsFollowATimeConstant) {
  for (const float rate : {0.1f, 0.3f, 0.4f}) {
    SlewRig rig(kExponential, rate);
    const double constant = 1000.0 * std::pow(static_cast<double>(rate), 3) * 12.0;
    const std::vector<float> response = rig.StepResponse(static_cast<int>(3 * constant) + 2);
    for (const int n : {1, 2, 3}) {
      const auto at = static_cast<std::size_t>(n * constant);
      EXPECT_NEAR(response[at], 1.0 - std::pow(1.0 - 1.0 / constant, static_cast<double>(at)),
                  2e-3);
    }
  }
  EXPECT_EQ(SlewRig(kExponential, 0.0f).StepResponse(4), (std::vector<float>{0, 1, 1, 1}));
  EXPECT_EQ(SlewRig(kExponential, 0.04f).StepResponse(4), (std::vector<float>{0, 1, 1, 1}))
      << "less than a sample: the input is not passed by";
}

TEST(S905SlewLim, ASlowGlideArrives) {
  // Its last steps are far below the resolution of a float near 1.
  const std::vector<float> response = SlewRig(kExponential, 1.0f).StepResponse(200000);
  EXPECT_NEAR(response.back(), 1.0f, 1e-6f);
}

TEST(S905SlewLim, BothLanesFollowAndTheRateFollowsTheSampleRate) {
  SlewRig rig(kLinear, 0.5f);
  rig.rack.FeedConstant(rig.slew, "In 1", -1.0f);
  rig.rack.FeedConstant(rig.slew, "In 2", 1.0f);
  rig.rack.Run(100);
  const float slow = rig.rack.Out(rig.slew, "Out 1");
  EXPECT_EQ(rig.rack.Out(rig.slew, "Out 2"), -slow);
  rig.slew.SetSampleRate(500.0f);
  rig.rack.Run(100);
  EXPECT_NEAR(rig.rack.Out(rig.slew, "Out 1"), 3 * slow, 0.05f * std::fabs(slow));
}

}  // namespace
}  // namespace halveron::testing
