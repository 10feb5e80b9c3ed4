#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/noise.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

TEST(S815InOutConnector, PassesThreeSignals) {
  TestRack rack;
  Module& connector = rack.Add("S815 InOut Connector");
  for (int i = 1; i <= 3; ++i) {
    rack.Feed(connector, "In " + std::to_string(i), Noise(100, static_cast<unsigned>(40 + i)));
    rack.Tap(connector, "Out " + std::to_string(i));
  }
  rack.Run(100);
  for (int i = 1; i <= 3; ++i) {
    EXPECT_EQ(rack.Recorded(connector, "Out " + std::to_string(i)),
              Noise(100, static_cast<unsigned>(40 + i)));
  }
}

}  // namespace
}  // namespace halveron::testing
