#include "gui/view.h"

#include "gui/draw_context.h"
#include "gui/frame.h"

namespace halveron {

CView::CView(const CRect& size) : viewSize(size), mouseableArea(size) {}

void CView::setViewSize(const CRect& rect, bool invalidate) {
  if (rect == viewSize) return;
  if (invalidate) invalid();
  if (mouseableArea == viewSize) mouseableArea = rect;
  viewSize = rect;
  if (invalidate) invalid();
}

void CView::setVisible(bool show) {
  if (show == visible) return;
  // Only a visible view can ask for its area: before it hides, after it shows.
  if (visible) invalid();
  visible = show;
  if (visible) invalid();
}

void CView::draw(CDrawContext* context) {
  if (background) background->draw(*context, viewSize);
  setDirty(false);
}

void CView::drawRect(CDrawContext* context, const CRect& updateRect) {
  const bool whole = CRect(viewSize).bound(updateRect) == viewSize;
  const bool wasDirty = isDirty();
  draw(context);
  // The part outside the update still shows what was.
  if (wasDirty && !whole) setDirty(true);
}

void CView::invalid() {
  setDirty(false);
  invalidRect(viewSize);
}

void CView::invalidRect(const CRect& rect) {
  if (visible && parentView) parentView->invalidRect(rect);
}

void CView::attached(CView* parent) {
  parentView = parent;
  if (parent && parent->frame) enteredFrame(parent->frame);
}

void CView::removed(CView* /*parent*/) {
  if (frame) leavingFrame(frame);
  parentView = nullptr;
}

void CView::enteredFrame(CFrame* root) {
  frame = root;
  if (idleWanted) frame->addIdleView(this);
}

void CView::leavingFrame(CFrame* root) {
  root->forgetView(this);
  frame = nullptr;
}

CMouseEventResult CView::onMouseDown(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  return kMouseEventNotImplemented;
}

CMouseEventResult CView::onMouseMoved(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  return kMouseEventNotImplemented;
}

CMouseEventResult CView::onMouseUp(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  return kMouseEventNotImplemented;
}

CMouseEventResult CView::onMouseEntered(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  return kMouseEventNotImplemented;
}

CMouseEventResult CView::onMouseExited(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  return kMouseEventNotImplemented;
}

bool CView::onWheel(const CPoint& /*where*/, float /*distance*/, const CButtonState& /*buttons*/) {
  return false;
}

bool CView::onKeyDown(const CKeyEvent& /*event*/) { return false; }

bool CView::onKeyUp(const CKeyEvent& /*event*/) { return false; }

bool CView::hitTest(const CPoint& where, const CButtonState& /*buttons*/) {
  return mouseableArea.pointInside(where);
}

bool CView::onDragMove(const CPoint& /*where*/) { return false; }

bool CView::onDrop(std::span<const std::string> /*files*/, const CPoint& /*where*/) {
  return false;
}

CPoint& CView::localToFrame(CPoint& point) const {
  for (const CView* v = parentView; v && v->parentView; v = v->parentView) {
    point.offset(v->viewSize.left, v->viewSize.top);
  }
  return point;
}

CPoint& CView::frameToLocal(CPoint& point) const {
  CPoint origin;
  localToFrame(origin);
  point = point - origin;
  return point;
}

void CView::setWantsIdle(bool wanted) {
  if (wanted == idleWanted) return;
  idleWanted = wanted;
  if (!frame) return;
  if (wanted) {
    frame->addIdleView(this);
  } else {
    frame->removeIdleView(this);
  }
}

void CView::setBackground(CBitmap* bitmap) {
  if (bitmap == background.get()) return;
  background = bitmap;
  setDirty();
}

}  // namespace halveron
