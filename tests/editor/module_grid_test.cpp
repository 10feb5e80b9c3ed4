#include "editor/module_grid.h"

#include <gtest/gtest.h>

#include <vector>

namespace halveron {
namespace {

constexpr int kRow = 291;
constexpr int kColumn = 12;

RackGeometry Rack(int rows = 3) { return {kRow, kColumn, 70 * kColumn, CPoint(24, 40), rows, 2}; }

CRect Place(int column, int row, int columns) {
  return CRect::FromSize(CPoint(column * kColumn, row * kRow), columns * kColumn, kRow);
}

TEST(RackGeometry, ScrollsFromFirstRowToLast) {
  RackGeometry rack = Rack(5);
  EXPECT_EQ(rack.WindowRect(), CRect(0, 0, 840 + 48, 40 + 582));
  EXPECT_EQ(rack.RackTop(0.0f), 0);
  EXPECT_EQ(rack.RackTop(1.0f), -3 * kRow);
  EXPECT_EQ(rack.RackTop(0.5f), -436) << "cut, not rounded";
  EXPECT_FLOAT_EQ(rack.ScrollOf(-3 * kRow / 2.0), 0.5f);

  rack.rows = 2;
  EXPECT_FALSE(rack.Scrolls());
  EXPECT_EQ(rack.RackTop(1.0f), 0) << "a rack that fits stands at the top";
  EXPECT_EQ(rack.ScrollOf(-100), 0.0f);
}

TEST(ModuleGrid, SnapsToColumnsAndToTheRowsNearby) {
  const RackGeometry rack = Rack();
  const ModuleGrid grid(rack);
  const CPoint size(8 * kColumn, kRow);
  const auto target = [&](double x, double y) { return grid.TargetOf({x, y}, size); };

  EXPECT_EQ(target(35, 0).corner, CPoint(24, 0)) << "down to the column";
  EXPECT_FALSE(target(35, 58).betweenRows) << "a fifth below its row it still belongs there";
  EXPECT_TRUE(target(35, 59).betweenRows);
  EXPECT_EQ(target(35, 59).corner, CPoint(24, 0));
  EXPECT_TRUE(target(35, 232).betweenRows);
  EXPECT_FALSE(target(35, 233).betweenRows) << "past four fifths it belongs to the next";
  EXPECT_EQ(target(35, 233).corner, CPoint(24, kRow));
  EXPECT_EQ(target(35, kRow + 10).corner, CPoint(24, kRow));

  EXPECT_FALSE(target(35, 2 * kRow + 100).betweenRows) << "there is no row below the last";
  EXPECT_EQ(target(35, 2 * kRow + 100).corner, CPoint(24, 2 * kRow));
  EXPECT_EQ(target(5000, 5000).corner, CPoint(62 * kColumn, 2 * kRow));
  EXPECT_EQ(target(-50, -120).corner, CPoint(0, 0));
  EXPECT_FALSE(target(-50, -120).betweenRows);
}

TEST(ModuleGrid, IsFreeWhereNobodyStands) {
  const std::vector<CRect> others = {Place(10, 0, 8)};
  EXPECT_TRUE(ModuleGrid::IsFree(Place(2, 0, 8), others)) << "side by side";
  EXPECT_TRUE(ModuleGrid::IsFree(Place(18, 0, 4), others));
  EXPECT_TRUE(ModuleGrid::IsFree(Place(10, 1, 8), others)) << "one below the other";
  EXPECT_FALSE(ModuleGrid::IsFree(Place(3, 0, 8), others));
  EXPECT_FALSE(ModuleGrid::IsFree(Place(12, 0, 2), others)) << "inside the other";
  EXPECT_TRUE(ModuleGrid::IsFree(Place(2, 0, 8).offset(1, 0), others)) << "one pixel off the grid";
}

TEST(ModuleGrid, FindsTheNearestFreePlace) {
  RackGeometry rack;
  rack.rowHeight = 291;
  rack.columnWidth = 12;
  rack.rackWidth = 40 * 12;
  rack.rows = 2;
  const ModuleGrid grid(rack);
  const CPoint size(8 * 12, 291);
  const auto nearest = [&](int column, int row, const std::vector<CRect>& others) {
    return grid.NearestFree(column * 12.0 + 3, row, size, others);
  };
  EXPECT_EQ(nearest(5, 0, {}), CPoint(5 * 12, 0));
  EXPECT_EQ(nearest(12, 0, {Place(10, 0, 8)}), CPoint(18 * 12, 0)) << "beside it";
  EXPECT_EQ(nearest(8, 0, {Place(10, 0, 8)}), CPoint(2 * 12, 0));
  EXPECT_EQ(nearest(8, 0, {Place(0, 0, 3), Place(10, 0, 8)}), CPoint(18 * 12, 0));
  EXPECT_EQ(nearest(8, 0, {Place(0, 0, 40)}), CPoint(8 * 12, 291)) << "the next row";
  EXPECT_EQ(nearest(8, 0, {Place(0, 0, 40), Place(0, 1, 40)}), std::nullopt);
}

struct Push {
  const char* what;
  CRect moving;
  int direction;
  std::vector<CRect> before;
  int left;  // column that the moving module gets
  std::vector<CRect> after;
};

TEST(ModuleGrid, PushesNeighboursInTheDirectionOfTheMove) {
  const std::vector<Push> cases = {
      {"one neighbour goes by the overlap",
       Place(4, 0, 8),
       1,
       {Place(10, 0, 6)},
       4,
       {Place(12, 0, 6)}},
      {"a chain goes on",
       Place(4, 0, 8),
       1,
       {Place(20, 0, 4), Place(10, 0, 6), Place(17, 0, 3)},
       4,
       {Place(21, 0, 4), Place(12, 0, 6), Place(18, 0, 3)}},
      {"a gap ends the chain",
       Place(4, 0, 8),
       1,
       {Place(10, 0, 6), Place(30, 0, 4)},
       4,
       {Place(12, 0, 6), Place(30, 0, 4)}},
      {"to the left, likewise",
       Place(12, 0, 8),
       -1,
       {Place(8, 0, 6), Place(4, 0, 4)},
       12,
       {Place(6, 0, 6), Place(2, 0, 4)}},
      {"the right edge stops the mover",
       Place(60, 0, 8),
       1,
       {Place(62, 0, 6)},
       56,
       {Place(64, 0, 6)}},
      {"the left edge stops the mover",
       Place(2, 0, 8),
       -1,
       {Place(4, 0, 4), Place(0, 0, 2)},
       6,
       {Place(2, 0, 4), Place(0, 0, 2)}},
      {"other rows stay",
       Place(4, 1, 8),
       1,
       {Place(6, 0, 6), Place(6, 2, 6)},
       4,
       {Place(6, 0, 6), Place(6, 2, 6)}},
      {"who is behind the mover stays",
       Place(10, 0, 8),
       1,
       {Place(0, 0, 10)},
       10,
       {Place(0, 0, 10)}},
  };
  const RackGeometry rack = Rack();
  const ModuleGrid grid(rack);
  for (const Push& push : cases) {
    SCOPED_TRACE(push.what);
    std::vector<CRect> others = push.before;
    EXPECT_EQ(grid.PushNeighbours(push.moving, push.direction, others), push.left * kColumn);
    EXPECT_EQ(others, push.after);
  }
}

TEST(ModuleGrid, APushNeverMakesModulesOverlapOrLeave) {
  const RackGeometry rack = Rack();
  const ModuleGrid grid(rack);
  // Every module of a tight row, pushed from every column in both directions.
  for (int direction : {-1, 1}) {
    for (int column = 0; column <= 60; ++column) {
      std::vector<CRect> others;
      for (int i = 0; i < 9; ++i) others.push_back(Place(10 + i * 6, 0, 6));
      CRect moving = Place(column, 0, 10);
      moving.moveTo(grid.PushNeighbours(moving, direction, others), 0);
      others.push_back(moving);
      for (std::size_t a = 0; a < others.size(); ++a) {
        EXPECT_GE(others[a].left, 0) << "column " << column;
        EXPECT_LE(others[a].right, rack.rackWidth) << "column " << column;
        if (&others[a] == &others.back()) continue;
        for (std::size_t b = a + 1; b + 1 < others.size(); ++b) {
          EXPECT_FALSE(others[a].rectOverlap(others[b])) << "column " << column;
        }
      }
    }
  }
}

}  // namespace
}  // namespace halveron
