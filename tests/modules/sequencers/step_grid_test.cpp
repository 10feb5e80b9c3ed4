// The walking orders of the step sequencers.
#include "modules/sequencers/step_grid.h"

#include <gtest/gtest.h>

#include <vector>

namespace halveron {
namespace {

using Shape = StepGrid::Shape;
using Mode = StepGrid::Mode;

/// The step of a row's head after the start and after each of `count` steps.
std::vector<int> Walk(StepGrid& grid, int row, int count) {
  std::vector<int> steps{grid.Head(row)};
  for (int i = 0; i < count; ++i) {
    grid.Advance();
    steps.push_back(grid.Head(row));
  }
  return steps;
}

StepGrid Started(Shape shape, Mode mode) {
  StepGrid grid;
  grid.SetShape(shape);
  grid.SetMode(mode);
  grid.GoToStart();
  return grid;
}

TEST(StepGrid, WalksForwardBackwardAndPingPongOverEachShape) {
  StepGrid forward = Started(Shape::kFourOfFour, Mode::kForward);
  EXPECT_EQ(Walk(forward, 1, 6), (std::vector<int>{7, 4, 5, 6, 7, 4, 5}));
  StepGrid backward = Started(Shape::kTwoOfEight, Mode::kBackward);
  EXPECT_EQ(Walk(backward, 3, 9), (std::vector<int>{15, 14, 13, 12, 11, 10, 9, 8, 15, 14}));
  // Each end plays once.
  StepGrid four = Started(Shape::kFourOfFour, Mode::kPingPong);
  EXPECT_EQ(Walk(four, 0, 9), (std::vector<int>{3, 2, 1, 0, 1, 2, 3, 2, 1, 0}));
  EXPECT_EQ(four.Head(2), 8);
  StepGrid sixteen = Started(Shape::kOneOfSixteen, Mode::kPingPong);
  const std::vector<int> walk = Walk(sixteen, 3, 32);
  EXPECT_EQ(walk[15], 0);
  EXPECT_EQ(walk[16], 1);
  EXPECT_EQ(walk[30], 15);
  EXPECT_EQ(walk[31], 14);
}

TEST(StepGrid, DependentHeadsFollowWithinTheirRowsAndWaitAtTheirEnds) {
  StepGrid sixteen = Started(Shape::kOneOfSixteen, Mode::kForward);
  for (int step = 0; step < 16; ++step) {
    sixteen.Advance();
    for (int row = 0; row < 3; ++row) {
      const bool within = step / 4 == row;
      EXPECT_EQ(sixteen.Head(row), within ? step : row * 4 + 3) << step;
      EXPECT_EQ(sixteen.IsRunning(row), within) << step;
    }
    EXPECT_TRUE(sixteen.IsRunning(3));
  }
  StepGrid eight = Started(Shape::kTwoOfEight, Mode::kForward);
  for (int step = 0; step < 8; ++step) {
    eight.Advance();
    EXPECT_EQ(eight.Head(0), step < 4 ? step : 3);
    EXPECT_EQ(eight.Head(2), step < 4 ? step + 8 : 11);
  }
}

TEST(StepGrid, KeepsItsDirectionOverChangesOfLength) {
  StepGrid grid = Started(Shape::kFourOfFour, Mode::kPingPong);
  grid.Advance();  // turned at the end: downward from here on
  grid.SetShape(Shape::kOneOfSixteen);
  const std::vector<int> walk = Walk(grid, 3, 2);
  EXPECT_EQ(walk[1], walk[0] - 1);
  EXPECT_EQ(walk[2], walk[0] - 2);
}

}  // namespace
}  // namespace halveron
