#include "gui/frame.h"

#include <algorithm>
#include <utility>

namespace halveron {
namespace {

CCoord AreaOf(const CRect& rect) { return rect.getWidth() * rect.getHeight(); }

/// How much larger than the two together the rectangle around both is.
CCoord WasteOfUnion(const CRect& a, const CRect& b) {
  return AreaOf(CRect(a).unite(b)) - AreaOf(a) - AreaOf(b);
}

}  // namespace

CFrame::CFrame(const CRect& size)
    : CViewContainer(CRect::FromSize({}, size.getWidth(), size.getHeight()), nullptr) {
  frame = this;
}

CFrame::~CFrame() {
  // The children still ask their frame to forget them, so they go while it is one.
  CFrame::removeAll();
  frame = nullptr;
}

CMouseEventResult CFrame::onMouseDown(CPoint& where, const CButtonState& buttons) {
  updateMouseOver(where, buttons);
  if (!capture) return CViewContainer::onMouseDown(where, buttons);
  const SharedPointer<CView> view(capture);
  CPoint local = where;
  return view->onMouseDown(view->frameToLocal(local), buttons);
}

CMouseEventResult CFrame::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  updateMouseOver(where, buttons);
  if (!capture) return CViewContainer::onMouseMoved(where, buttons);
  const SharedPointer<CView> view(capture);
  CPoint local = where;
  return view->onMouseMoved(view->frameToLocal(local), buttons);
}

CMouseEventResult CFrame::onMouseUp(CPoint& where, const CButtonState& buttons) {
  if (!capture) return CViewContainer::onMouseUp(where, buttons);
  const SharedPointer<CView> view(capture);
  capture = nullptr;
  dropHold();
  CPoint local = where;
  return view->onMouseUp(view->frameToLocal(local), buttons);
}

CMouseEventResult CFrame::onMouseExited(CPoint& where, const CButtonState& buttons) {
  if (!mouseOverView) return kMouseEventNotHandled;
  const SharedPointer<CView> left(std::exchange(mouseOverView, nullptr));
  CPoint local = where;
  return left->onMouseExited(left->frameToLocal(local), buttons);
}

bool CFrame::onWheel(const CPoint& where, float distance, const CButtonState& buttons) {
  if (!capture) return CViewContainer::onWheel(where, distance, buttons);
  const SharedPointer<CView> view(capture);
  CPoint local = where;
  return view->onWheel(view->frameToLocal(local), distance, buttons);
}

void CFrame::updateMouseOver(const CPoint& where, const CButtonState& buttons) {
  // While a press is held the mouse counts as being over what holds it.
  if (capture || getMouseDownView()) return;
  const SharedPointer<CView> now(getViewAt(where, true));
  if (now.get() == mouseOverView) return;
  CPoint local = where;
  onMouseExited(local, buttons);
  if (!now || now->frame != this) return;
  mouseOverView = now;
  local = where;
  now->onMouseEntered(now->frameToLocal(local), buttons);
}

bool CFrame::onKeyDown(const CKeyEvent& event) {
  for (SharedPointer<CView> view(focusView); view && view != this; view = view->getParentView()) {
    if (view->onKeyDown(event)) return true;
  }
  return false;
}

bool CFrame::onKeyUp(const CKeyEvent& event) {
  for (SharedPointer<CView> view(focusView); view && view != this; view = view->getParentView()) {
    if (view->onKeyUp(event)) return true;
  }
  return false;
}

void CFrame::setCapture(CView* view) {
  if (!view || view->frame == this) capture = view;
}

void CFrame::releaseCapture() { capture = nullptr; }

void CFrame::setFocusView(CView* view) {
  if (view == focusView || (view && view->frame != this)) return;
  const SharedPointer<CView> old(std::exchange(focusView, view));
  if (old) old->looseFocus();
  if (view && focusView == view) view->takeFocus();
}

void CFrame::forgetView(CView* view) {
  if (capture == view) capture = nullptr;
  if (mouseOverView == view) mouseOverView = nullptr;
  if (focusView == view) setFocusView(nullptr);
  removeIdleView(view);
}

void CFrame::addIdleView(CView* view) { idleViews.push_back(view); }

void CFrame::removeIdleView(CView* view) {
  // Emptied, not erased: the idle call may be walking the list.
  std::replace(idleViews.begin(), idleViews.end(), view, static_cast<CView*>(nullptr));
}

void CFrame::invalid() {
  setDirty(false);
  invalidRect(viewSize);
}

void CFrame::invalidRect(const CRect& rect) {
  CRect added = CRect(rect).bound(viewSize);
  if (!visible || added.isEmpty()) return;
  // Whatever costs nothing to draw together is kept as one; that may bring it into reach of others.
  for (std::size_t i = 0; i < dirtyRects.size();) {
    if (WasteOfUnion(dirtyRects[i], added) > 0) {
      ++i;
      continue;
    }
    added.unite(dirtyRects[i]);
    dirtyRects.erase(dirtyRects.begin() + static_cast<std::ptrdiff_t>(i));
    i = 0;
  }
  if (dirtyRects.size() < kMaxDirtyRects) {
    dirtyRects.push_back(added);
    return;
  }
  const auto nearest = std::min_element(dirtyRects.begin(), dirtyRects.end(),
                                        [&added](const CRect& a, const CRect& b) {
                                          return WasteOfUnion(a, added) < WasteOfUnion(b, added);
                                        });
  added.unite(*nearest);
  dirtyRects.erase(nearest);
  invalidRect(added);
}

std::vector<CRect> CFrame::takeDirtyRegion() { return std::exchange(dirtyRects, {}); }

void CFrame::onIdle() {
  // By index, since a view that is called may add others.
  for (std::size_t i = 0; i < idleViews.size(); ++i) {  // NOLINT(modernize-loop-convert)
    const SharedPointer<CView> view(idleViews[i]);
    if (view) view->onIdle();
  }
  std::erase(idleViews, nullptr);
  invalidateDirtyViews();
}

}  // namespace halveron
