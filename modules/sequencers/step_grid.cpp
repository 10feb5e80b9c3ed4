#include "modules/sequencers/step_grid.h"

#include <algorithm>

namespace halveron {

namespace {

constexpr std::array<int, 4> kAllRows{0, 1, 2, 3};
constexpr std::array<int, 2> kPairRows{1, 3};
constexpr std::array<int, 1> kLastRow{3};

}  // namespace

std::span<const int> StepGrid::IndependentRows() const {
  switch (shape_) {
    case Shape::kFourOfFour:
      return kAllRows;
    case Shape::kTwoOfEight:
      return kPairRows;
    case Shape::kOneOfSixteen:
      break;
  }
  return kLastRow;
}

StepGrid::Range StepGrid::RangeOf(int row) const {
  const int last = row * 4 + 3;
  const int length = shape_ == Shape::kFourOfFour ? 4 : shape_ == Shape::kTwoOfEight ? 8 : 16;
  return {last - length + 1, last};
}

void StepGrid::SetShape(Shape shape) {
  shape_ = shape;
  for (const int row : IndependentRows()) {
    const auto [first, last] = RangeOf(row);
    heads_[row] = std::clamp(heads_[row], first, last);
  }
  FollowDependentHeads();
}

void StepGrid::SetMode(Mode mode) {
  mode_ = mode;
  if (mode != Mode::kPingPong) direction_ = mode == Mode::kForward ? 1 : -1;
}

void StepGrid::Advance() {
  if (mode_ == Mode::kPingPong) {
    Bounce();
  } else {
    for (const int row : IndependentRows()) {
      const auto [first, last] = RangeOf(row);
      int& head = heads_[row];
      if (mode_ == Mode::kForward) {
        head = head >= last ? first : head + 1;
      } else {
        head = head <= first ? last : head - 1;
      }
    }
  }
  FollowDependentHeads();
}

// The first head decides the turn; the others turn with it.
void StepGrid::Bounce() {
  const std::span<const int> rows = IndependentRows();
  const auto [first, last] = RangeOf(rows.front());
  const int next = heads_[rows.front()] + direction_;
  const bool turns = next > last || next < first;
  if (turns) direction_ = next > last ? -1 : 1;
  for (const int row : rows) {
    const Range range = RangeOf(row);
    if (turns) {
      heads_[row] = direction_ < 0 ? range.last - 1 : range.first + 1;
    } else {
      heads_[row] = std::clamp(heads_[row] + direction_, range.first, range.last);
    }
  }
}

int StepGrid::LeaderOf(int row) const {
  const std::span<const int> rows = IndependentRows();
  return *std::lower_bound(rows.begin(), rows.end(), row);
}

void StepGrid::FollowDependentHeads() {
  for (int row = 0; row < kRows; ++row) {
    const int leader = LeaderOf(row);
    const int head = heads_[leader];
    if (leader != row) heads_[row] = head / 4 == row ? head : row * 4 + 3;
  }
}

bool StepGrid::PlaceHead(int row, int step) {
  const auto [first, last] = RangeOf(row);
  if (LeaderOf(row) != row || step < first || step > last) return false;
  heads_[row] = step;
  FollowDependentHeads();
  return true;
}

}  // namespace halveron
