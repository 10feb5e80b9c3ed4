// S910: five functions.
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(S910UTools, AppliesItsFunctions) {
  TestRack rack;
  Module& tools = rack.Add("S910 Unary Tools");
  struct Case {
    float in;
    std::array<float, 7> out;
  };
  const Case cases[] = {{0.5f, {-0.5f, 0.5f, -0.5f, 0.5f, 0.25f, 0.125f, 0.5f}},
                        {-2.0f, {2.0f, 2.0f, 2.0f, 0.0f, 4.0f, -8.0f, 1.0f}},
                        {0.0f, {0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f}},
                        {-0.0f, {0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f}},
                        {-0.25f, {0.25f, 0.25f, 0.25f, 0.0f, 0.0625f, -0.015625f, -0.75f}}};
  for (const Case& each : cases) {
    for (int i = 1; i <= 5; ++i) rack.FeedConstant(tools, "In " + std::to_string(i), each.in);
    rack.Run(3);
    for (std::size_t i = 0; i < each.out.size(); ++i) {
      EXPECT_EQ(rack.Out(tools, "Out " + std::to_string(i + 1)), each.out[i])
          << each.in << " " << i;
    }
  }
}

}  // namespace
}  // namespace halveron::testing
