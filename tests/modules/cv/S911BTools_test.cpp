// S911: functions of two signals.
#include <gtest/gtest.h>

#include <array>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(S911BTools, AppliesItsFunctions) {
  struct Case {
    float a, b;
    std::array<float, 8> out;  // -A, -B, Min, Max, Compare, Gate by B, Limit, Ratio
  };
  const Case cases[] = {{0.5f, 0.25f, {-0.5f, -0.25f, 0.25f, 0.5f, 1, 0.25f, 0.25f, 0.5f}},
                        {-0.5f, -0.25f, {0.5f, 0.25f, -0.5f, -0.25f, 0, -0.5f, -0.25f, 0.5f}},
                        {0.25f, 0.25f, {-0.25f, -0.25f, 0.25f, 0.25f, 0, 0.25f, 0.25f, 0.25f}},
                        {1.0f, -0.125f, {-1, 0.125f, -0.125f, 1, 1, 1, 0.125f, -1}},
                        {-1.0f, 0.0f, {1, 0, -1, 0, 0, -1, 0, -1}},
                        {0.0f, 0.0f, {0, 0, 0, 0, 0, 0, 0, 0}}};
  const char* const roles[] = {"-A", "-B", "Min", "Max", "Compare", "Gate by B", "Limit", "Ratio"};
  TestRack rack;
  Module& tools = rack.Add("S911 Binary Tools");
  for (const Case& each : cases) {
    rack.FeedConstant(tools, "A", each.a);
    rack.FeedConstant(tools, "B", each.b);
    rack.Run(3);
    for (std::size_t i = 0; i < each.out.size(); ++i) {
      EXPECT_EQ(rack.Out(tools, roles[i]), each.out[i])
          << roles[i] << " of " << each.a << " and " << each.b;
    }
  }
}

}  // namespace
}  // namespace halveron::testing
