#include "gui/dirty_region.h"

#include <algorithm>
#include <utility>

namespace halveron {
namespace {

CCoord AreaOf(const CRect& rect) { return rect.getWidth() * rect.getHeight(); }

/// By how much the union of two rectangles is larger than both together.
CCoord WasteOfUnion(const CRect& a, const CRect& b) {
  return AreaOf(CRect(a).unite(b)) - AreaOf(a) - AreaOf(b);
}

}  // namespace

void DirtyRegion::Add(const CRect& rect) {
  if (rect.isEmpty()) return;
  CRect added = rect;
  // A union that wastes nothing replaces its parts, and may then absorb further rectangles.
  for (std::size_t i = 0; i < rects_.size();) {
    if (WasteOfUnion(rects_[i], added) > 0) {
      ++i;
      continue;
    }
    added.unite(rects_[i]);
    rects_.erase(rects_.begin() + static_cast<std::ptrdiff_t>(i));
    i = 0;
  }
  if (rects_.size() < kMaxRects) {
    rects_.push_back(added);
    return;
  }
  const auto nearest =
      std::min_element(rects_.begin(), rects_.end(), [&added](const CRect& a, const CRect& b) {
        return WasteOfUnion(a, added) < WasteOfUnion(b, added);
      });
  added.unite(*nearest);
  rects_.erase(nearest);
  Add(added);
}

std::vector<CRect> DirtyRegion::Take() { return std::exchange(rects_, {}); }

}  // namespace halveron
