#include "editor/side_strip.h"

#include "gui/draw_context.h"

namespace halveron {

namespace {

constexpr CColor kPlainStrip{64, 48, 38};  // where a skin has no image

}  // namespace

SideStrip::SideStrip(const CRect& size, int rowHeight, CBitmap* twoRows, CBitmap* oneRow)
    : CView(size), rowHeight_(rowHeight), twoRows_(twoRows), oneRow_(oneRow) {}

void SideStrip::draw(CDrawContext* context) {
  setDirty(false);
  if (!twoRows_->isLoaded()) {
    context->setFillColor(kPlainStrip);
    context->fillRect(viewSize);
    return;
  }
  CRect place = viewSize;
  while (place.bottom - place.top >= 2.0 * rowHeight_) {
    twoRows_->draw(*context, CRect(place.left, place.top, place.right, place.top + 2 * rowHeight_));
    place.top += 2 * rowHeight_;
  }
  // An odd row, and a row of which only a part shows.
  for (; !place.isEmpty(); place.top += rowHeight_) {
    oneRow_->draw(*context, CRect(place).bound(
                                CRect(place.left, place.top, place.right, place.top + rowHeight_)));
  }
}

}  // namespace halveron
