#pragma once

#include <vector>

#include "gui/geometry.h"

namespace halveron {

/// A region to redraw, as a short list of rectangles of which none contains another.
class DirtyRegion {
 public:
  /// Rectangles that are kept apart; beyond that the closest ones are united.
  static constexpr std::size_t kMaxRects = 32;

  /// Empty rectangles add nothing.
  void Add(const CRect& rect);
  bool IsEmpty() const { return rects_.empty(); }
  void Clear() { rects_.clear(); }
  /// The rectangles; the region is empty afterwards.
  std::vector<CRect> Take();

 private:
  std::vector<CRect> rects_;
};

}  // namespace halveron
