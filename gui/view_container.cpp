#include "gui/view_container.h"

#include <algorithm>

#include "gui/draw_context.h"
#include "gui/frame.h"

namespace halveron {

CViewContainer::CViewContainer(const CRect& size, CFrame* frame_, CBitmap* bitmap)
    : CView(size), intendedFrame(frame_) {
  background = bitmap;
}

CViewContainer::~CViewContainer() {
  for (CView* view : childViews) {
    view->removed(this);
    view->forget();
  }
}

bool CViewContainer::addView(CView* view) { return addView(view, nullptr); }

bool CViewContainer::addView(CView* view, CView* before) {
  if (!view || view == this || view->getParentView()) return false;
  const auto place =
      before ? std::find(childViews.begin(), childViews.end(), before) : childViews.end();
  childViews.insert(place, view);
  view->attached(this);
  view->invalid();
  return true;
}

void CViewContainer::letGo(CView* view, bool withForget) {
  if (mouseDownView == view) mouseDownView = nullptr;
  view->removed(this);
  if (withForget) view->forget();
}

bool CViewContainer::removeView(CView* view, bool withForget) {
  const auto place = std::find(childViews.begin(), childViews.end(), view);
  if (place == childViews.end()) return false;
  view->invalid();
  childViews.erase(place);
  letGo(view, withForget);
  return true;
}

bool CViewContainer::removeAll(bool withForget) {
  invalid();
  while (!childViews.empty()) {
    CView* view = childViews.back();
    childViews.pop_back();
    letGo(view, withForget);
  }
  return true;
}

bool CViewContainer::isChild(const CView* view) const {
  return std::find(childViews.begin(), childViews.end(), view) != childViews.end();
}

CView* CViewContainer::getView(int index) const {
  return index >= 0 && index < getNbViews() ? childViews[static_cast<std::size_t>(index)] : nullptr;
}

bool CViewContainer::takesMouseAt(CView* view, const CPoint& local,
                                  const CButtonState& buttons) const {
  return view->isVisible() && view->getMouseEnabled() && view->hitTest(local, buttons);
}

CView* CViewContainer::getViewAt(const CPoint& where, bool deep) const {
  const CPoint local = toChildren(where);
  const auto hit = std::find_if(childViews.rbegin(), childViews.rend(),
                                [&](CView* view) { return takesMouseAt(view, local, {}); });
  if (hit == childViews.rend()) return nullptr;
  CViewContainer* container = deep ? (*hit)->asContainer() : nullptr;
  CView* inner = container ? container->getViewAt(local, true) : nullptr;
  return inner ? inner : *hit;
}

void CViewContainer::draw(CDrawContext* context) { drawRect(context, viewSize); }

void CViewContainer::drawRect(CDrawContext* context, const CRect& updateRect) {
  const CRect area = CRect(viewSize).bound(updateRect);
  if (area == viewSize) setDirty(false);
  if (area.isEmpty()) return;

  const DrawStateScope scope(*context);
  context->setClipRect(area);
  context->pushOffset(viewSize.getTopLeft());
  const CRect local = CRect(area).offset(-viewSize.left, -viewSize.top);
  drawBackgroundRect(context, local);
  for (CView* view : childViews) {
    if (!view->isVisible() || !view->getViewSize().rectOverlap(local)) continue;
    const DrawStateScope childScope(*context);
    context->setClipRect(view->getViewSize());
    view->drawRect(context, local);
  }
}

void CViewContainer::drawBackgroundRect(CDrawContext* context, const CRect& updateRect) {
  if (!transparent && backgroundColor.alpha > 0) {
    context->setFillColor(backgroundColor);
    context->fillRect(updateRect);
  }
  if (background) background->draw(*context, CRect::FromSize({}, getWidth(), getHeight()));
}

void CViewContainer::setBackgroundColor(const CColor& color) {
  backgroundColor = color;
  setDirty();
}

bool CViewContainer::isDirty() const {
  if (dirty) return true;
  return std::any_of(childViews.begin(), childViews.end(),
                     [](const CView* view) { return view->isVisible() && view->isDirty(); });
}

void CViewContainer::invalid() {
  setDirty(false);
  if (visible && parentView) parentView->invalidRect(viewSize);
}

void CViewContainer::invalidRect(const CRect& rect) {
  if (!visible || !parentView) return;
  parentView->invalidRect(CRect(rect).offset(viewSize.getTopLeft()).bound(viewSize));
}

void CViewContainer::invalidateDirtyViews() {
  if (dirty) return invalid();
  for (CView* view : childViews) {
    if (!view->isVisible()) continue;
    if (CViewContainer* container = view->asContainer()) {
      container->invalidateDirtyViews();
    } else if (view->isDirty()) {
      view->invalid();
    }
  }
}

void CViewContainer::attached(CView* parent) {
  intendedFrame = nullptr;
  CView::attached(parent);
}

void CViewContainer::removed(CView* parent) {
  dropHold();
  CView::removed(parent);
}

void CViewContainer::enteredFrame(CFrame* root) {
  CView::enteredFrame(root);
  for (CView* view : childViews) view->enteredFrame(root);
}

void CViewContainer::leavingFrame(CFrame* root) {
  for (CView* view : childViews) view->leavingFrame(root);
  CView::leavingFrame(root);
}

CFrame* CViewContainer::getFrame() const { return frame ? frame : intendedFrame; }

void CViewContainer::dropHold() {
  CView* held = mouseDownView;
  mouseDownView = nullptr;
  if (CViewContainer* container = held ? held->asContainer() : nullptr) container->dropHold();
}

CMouseEventResult CViewContainer::onMouseDown(CPoint& where, const CButtonState& buttons) {
  // A second button, or a release that never came, ends what the first press began.
  if (mouseDownView) {
    CPoint there = where;
    CViewContainer::onMouseUp(there, buttons);
  }
  for (std::size_t i = childViews.size(); i-- > 0;) {
    if (i >= childViews.size()) continue;
    CPoint local = toChildren(where);
    if (!takesMouseAt(childViews[i], local, buttons)) continue;
    const SharedPointer<CView> child(childViews[i]);
    const CMouseEventResult result = child->onMouseDown(local, buttons);
    if (result == kMouseEventHandled && child->getParentView() == this) mouseDownView = child;
    if (result == kMouseEventHandled ||
        result == kMouseDownEventHandledButDontNeedMovedOrUpEvents) {
      return result;
    }
  }
  return kMouseEventNotHandled;
}

CMouseEventResult CViewContainer::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  CPoint local = toChildren(where);
  if (mouseDownView) {
    const SharedPointer<CView> held(mouseDownView);
    return held->onMouseMoved(local, buttons);
  }
  for (std::size_t i = childViews.size(); i-- > 0;) {
    if (i >= childViews.size()) continue;
    local = toChildren(where);
    if (!takesMouseAt(childViews[i], local, buttons)) continue;
    const SharedPointer<CView> child(childViews[i]);
    if (child->onMouseMoved(local, buttons) == kMouseEventHandled) return kMouseEventHandled;
  }
  return kMouseEventNotHandled;
}

CMouseEventResult CViewContainer::onMouseUp(CPoint& where, const CButtonState& buttons) {
  if (!mouseDownView) return kMouseEventNotHandled;
  const SharedPointer<CView> held(mouseDownView);
  mouseDownView = nullptr;
  CPoint local = toChildren(where);
  return held->onMouseUp(local, buttons);
}

template <class F>
bool CViewContainer::askChildrenAt(const CPoint& where, const CButtonState& buttons, F&& f) {
  const CPoint local = toChildren(where);
  for (std::size_t i = childViews.size(); i-- > 0;) {
    // What is asked may take views away.
    if (i >= childViews.size() || !takesMouseAt(childViews[i], local, buttons)) continue;
    const SharedPointer<CView> child(childViews[i]);
    if (f(*child, local)) return true;
  }
  return false;
}

bool CViewContainer::onWheel(const CPoint& where, float distance, const CButtonState& buttons) {
  return askChildrenAt(where, buttons, [&](CView& child, const CPoint& local) {
    return child.onWheel(local, distance, buttons);
  });
}

bool CViewContainer::onDragMove(const CPoint& where) {
  return askChildrenAt(where, {},
                       [](CView& child, const CPoint& local) { return child.onDragMove(local); });
}

bool CViewContainer::onDrop(std::span<const std::string> files, const CPoint& where) {
  return askChildrenAt(
      where, {}, [files](CView& child, const CPoint& local) { return child.onDrop(files, local); });
}

}  // namespace halveron
