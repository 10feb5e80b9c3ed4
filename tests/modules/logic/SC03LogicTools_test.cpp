#include <gtest/gtest.h>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(SC03LogicTools, FollowsItsTruthTablesOverTheCabledInputs) {
  constexpr const char* kInputs[] = {"A", "B", "C"};
  constexpr const char* kInverted[] = {"Not A", "Not B", "Not C"};
  for (int cabled = 0; cabled < 8; ++cabled) {
    TestRack rack;
    Module& logic = rack.Add("SC03 Logic Tools");
    for (int bits = 0; bits < 8; ++bits) {
      bool all = true, any = false, odd = false;
      for (int i = 0; i < 3; ++i) {
        const bool high = (cabled & bits) >> i & 1;
        if (cabled >> i & 1) {
          rack.FeedConstant(logic, kInputs[i], high ? 0.25f : 0.249f);
          all &= high;
        }
        any |= high;
        odd ^= high;
      }
      rack.Run(4);
      const std::pair<const char*, bool> outputs[] = {
          {"AND", all}, {"NAND", !all}, {"OR", any}, {"NOR", !any}, {"XOR", odd}, {"XNOR", !odd}};
      for (const auto& [output, high] : outputs) {
        EXPECT_EQ(rack.Out(logic, output), high ? 1.0f : 0.0f)
            << output << " of " << bits << " with cables " << cabled;
      }
      for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(rack.Out(logic, kInverted[i]), (cabled & bits) >> i & 1 ? 0.0f : 1.0f);
      }
    }
  }
}

}  // namespace
}  // namespace halveron::testing
