#include "editor/module_grid.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace halveron {

namespace {

/// Pixels by which two modules may overlap without being in each other's way.
constexpr CCoord kSlack = 1;

CRect Core(const CRect& rect) { return CRect(rect).inset(kSlack, kSlack); }

/// Pushing to the left is pushing to the right in a rack seen in a mirror.
CRect Mirrored(const CRect& rect, CCoord rackWidth) {
  return {rackWidth - rect.right, rect.top, rackWidth - rect.left, rect.bottom};
}

/// Shifts to the right the modules of a row that are in the way, and returns the left edge that is
/// left for the moving module.
CCoord PushRight(const CRect& place, CCoord rackWidth, std::span<CRect* const> row) {
  std::vector<CRect*> ahead;
  for (CRect* other : row) {
    if (other->right > place.left + kSlack) ahead.push_back(other);
  }
  std::sort(ahead.begin(), ahead.end(),
            [](const CRect* a, const CRect* b) { return a->left < b->left; });
  CCoord edge = place.right;
  std::size_t pushed = 0;
  for (; pushed < ahead.size() && ahead[pushed]->left < edge - kSlack; ++pushed) {
    ahead[pushed]->moveTo(edge, ahead[pushed]->top);
    edge = ahead[pushed]->right;
  }
  // What went over the edge comes back, from the last of the chain to the moving module.
  CCoord limit = rackWidth;
  for (std::size_t i = pushed; i-- > 0;) {
    CRect& other = *ahead[i];
    other.moveTo(std::min(other.left, limit - other.getWidth()), other.top);
    limit = other.left;
  }
  return std::min(place.left, limit - place.getWidth());
}

}  // namespace

GridTarget ModuleGrid::TargetOf(const CPoint& pulled, const CPoint& size) const {
  const CCoord rowHeight = geometry.rowHeight;
  const CCoord fifth = std::floor(rowHeight / 5);
  const CCoord row = std::floor(pulled.y / rowHeight);
  const CCoord below = pulled.y - row * rowHeight;
  const bool reachesNext = below > 4 * fifth;

  GridTarget target;
  target.corner = Clamp({std::floor(pulled.x / geometry.columnWidth) * geometry.columnWidth,
                         (reachesNext ? row + 1 : row) * rowHeight},
                        size);
  const bool isAboveRack = pulled.y < 0;
  const bool isInLastRow = row >= geometry.rows - 1;
  target.betweenRows = !reachesNext && !isAboveRack && !isInLastRow && below > fifth;
  target.nearest = Clamp({target.corner.x, std::round(pulled.y / rowHeight) * rowHeight}, size);
  return target;
}

CPoint ModuleGrid::Clamp(const CPoint& corner, const CPoint& size) const {
  return {std::clamp(corner.x, 0.0, std::max(geometry.rackWidth - size.x, 0.0)),
          std::clamp(corner.y, 0.0, std::max(geometry.RackHeight() - size.y, 0.0))};
}

bool ModuleGrid::IsFree(const CRect& place, std::span<const CRect> others) {
  return std::none_of(others.begin(), others.end(),
                      [core = Core(place)](const CRect& other) { return core.rectOverlap(other); });
}

std::optional<CPoint> ModuleGrid::NearestFreeInRow(CCoord left, int row, const CPoint& size,
                                                   std::span<const CRect> others) const {
  const CCoord top = static_cast<CCoord>(row) * geometry.rowHeight;
  const auto isFree = [&](int column) {
    const CCoord x = static_cast<CCoord>(column) * geometry.columnWidth;
    return IsFree(CRect::FromSize(CPoint(x, top), size.x, size.y), others);
  };
  const int last = static_cast<int>((geometry.rackWidth - size.x) / geometry.columnWidth);
  const int wanted =
      std::clamp(static_cast<int>(std::floor(left / geometry.columnWidth)), 0, std::max(last, 0));
  for (int distance = 0; distance <= std::max(wanted, last - wanted); ++distance) {
    for (const int column : {wanted + distance, wanted - distance}) {
      if (column < 0 || column > last || !isFree(column)) continue;
      return CPoint(static_cast<CCoord>(column) * geometry.columnWidth, top);
    }
  }
  return std::nullopt;
}

std::optional<CPoint> ModuleGrid::NearestFree(CCoord left, int row, const CPoint& size,
                                              std::span<const CRect> others) const {
  const int start = std::clamp(row, 0, geometry.rows - 1);
  for (int distance = 0; distance < geometry.rows; ++distance) {
    for (const int candidate : {start + distance, start - distance}) {
      if (candidate < 0 || candidate >= geometry.rows) continue;
      if (const auto place = NearestFreeInRow(left, candidate, size, others)) return place;
    }
  }
  return std::nullopt;
}

CCoord ModuleGrid::PushNeighbours(const CRect& place, int direction,
                                  std::span<CRect> others) const {
  const CCoord width = geometry.rackWidth;
  const bool leftward = direction < 0;
  std::vector<CRect*> row;
  for (CRect& other : others) {
    if (other.bottom > place.top + kSlack && other.top < place.bottom - kSlack) {
      row.push_back(&other);
    }
  }
  const auto mirrorRow = [&] {
    if (!leftward) return;
    for (CRect* other : row) *other = Mirrored(*other, width);
  };
  mirrorRow();
  CCoord left = PushRight(leftward ? Mirrored(place, width) : place, width, row);
  mirrorRow();
  if (leftward) left = width - left - place.getWidth();
  const CCoord columns = left / geometry.columnWidth;
  return std::max((leftward ? std::ceil(columns) : std::floor(columns)) * geometry.columnWidth,
                  0.0);
}

}  // namespace halveron
