// The walk of the step sequencers over their grid of 16 steps.
#pragma once

#include <array>
#include <span>

namespace halveron {

/// Four rows of four steps, each row with a playhead. The shape says which rows play together;
/// heads of rows that do not play by themselves follow the ones that do.
class StepGrid {
 public:
  static constexpr int kSteps = 16;
  static constexpr int kRows = 4;

  enum class Shape { kOneOfSixteen, kTwoOfEight, kFourOfFour };
  enum class Mode { kForward, kBackward, kPingPong };

  /// Of the length and the direction switch, three positions at 0, 0.5 and 1.
  static Shape ShapeOf(float position) {
    return position >= 1.0f   ? Shape::kFourOfFour
           : position >= 0.5f ? Shape::kTwoOfEight
                              : Shape::kOneOfSixteen;
  }
  static Mode ModeOf(float position) {
    return position >= 1.0f ? Mode::kPingPong : position >= 0.5f ? Mode::kBackward : Mode::kForward;
  }

  /// Rows whose heads walk by themselves.
  std::span<const int> IndependentRows() const;
  /// The step at which a row's head stands.
  int Head(int row) const { return heads_[row]; }
  /// Whether a row's head walks, by itself or while the head that it follows is in the row.
  bool IsRunning(int row) const { return heads_[LeaderOf(row)] == heads_[row]; }
  /// Puts an independent row's head on a step of its walk; any other step is refused.
  bool PlaceHead(int row, int step);

  void SetShape(Shape shape);
  /// Ping-pong keeps the direction that it finds.
  void SetMode(Mode mode);
  /// One step.
  void Advance();
  /// The last step of each row, from which a forward step leads to the first.
  void GoToStart() { heads_ = {3, 7, 11, 15}; }

 private:
  struct Range {
    int first, last;
  };
  /// The steps over which the independent head of a row walks.
  Range RangeOf(int row) const;
  /// The independent row whose head a row's head is or follows.
  int LeaderOf(int row) const;
  void Bounce();
  void FollowDependentHeads();

  std::array<int, kRows> heads_{};
  Shape shape_ = Shape::kOneOfSixteen;
  Mode mode_ = Mode::kForward;
  int direction_ = 1;
};

}  // namespace halveron
