#include "framework/display_view.h"

#include <utility>

namespace halveron {

DisplayView::DisplayView(const CRect& size, CControlListener* shownTo) : CControl(size, shownTo) {}

void DisplayView::SetPainter(Painter painter) {
  painter_ = std::move(painter);
  setDirty();
}

void DisplayView::drawPlain(CDrawContext& context) {
  context.setFillColor(kScreenColor);
  context.fillRect(viewSize);
  if (!painter_) return;
  const DrawStateScope scope(context);
  context.setClipRect(viewSize);
  painter_(context, viewSize);
}

}  // namespace halveron
