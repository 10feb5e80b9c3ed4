#include "gui/frame.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "gui/timer.h"
#include "gui/tooltip.h"
#include "gui/window.h"

namespace halveron {
namespace {

bool IsWithin(const CView* view, const CView* ancestor) {
  while (view && view != ancestor) view = view->getParentView();
  return view != nullptr;
}

}  // namespace

CFrame::CFrame(const CRect& size)
    : CViewContainer(CRect::FromSize({}, size.getWidth(), size.getHeight()), nullptr) {
  frame = this;
}

CFrame::~CFrame() {
  // No view may get what was typed any more.
  focusView = nullptr;
  close();
  closedWindow.reset();
  // The children still ask their frame to forget them, so they go while it is one.
  CFrame::removeAll();
  for (CVSTGUITimer* timer : timers) {
    if (timer) timer->frameGone();
  }
  frame = nullptr;
}

bool CFrame::open(void* parent, const char* title, std::string* error) {
  std::string cause = "the window is open already";
  std::unique_ptr<Window> opened;
  if (!window) opened = Window::Open(*this, parent, title, cause);
  if (!opened) {
    if (error) *error = cause;
    return false;
  }
  window = std::move(opened);
  window->SetCursor(cursor);
  invalid();
  return true;
}

void CFrame::close() {
  hideTooltip();
  while (!modalViews.empty()) {
    const SharedPointer<CView> view(modalViews.back().view);
    view->cancelModal();
    popModalView(view);
  }
  setFocusView(nullptr);
  endHold();
  if (!window) return;
  // A call from within the window's own events leaves it to the end of them.
  if (idling) {
    window->Hide();
    closedWindow = std::move(window);
  } else {
    window.reset();
  }
}

void CFrame::refuseClose() {
  if (window) window->RefuseClose();
}

void CFrame::setTitle(const std::string& title) {
  if (window) window->SetTitle(title);
}

void* CFrame::getWindowHandle() const { return window ? window->Handle() : nullptr; }

int CFrame::getEventDescriptor() { return window ? window->EventDescriptor() : -1; }

void CFrame::waitForEvents(double seconds) {
  if (window) window->WaitForEvents(seconds);
}

bool CFrame::isCloseRequested() const { return window && window->IsCloseRequested(); }

CPoint CFrame::getWindowSize() const {
  if (window) return window->GetSize();
  return CPoint(std::round(getWidth() * zoom), std::round(getHeight() * zoom));
}

CPoint CFrame::getScreenSize() const { return window ? window->GetScreenSize() : CPoint(); }

bool CFrame::setSize(CCoord width, CCoord height) { return setSizeAndZoom(width, height, zoom); }

void CFrame::setZoom(double pixelsPerUnit) {
  setSizeAndZoom(getWidth(), getHeight(), pixelsPerUnit);
}

bool CFrame::setSizeAndZoom(CCoord width, CCoord height, double pixelsPerUnit) {
  constexpr double kLeastZoom = 0.1;
  constexpr double kMostZoom = 16;
  if (width < 1 || height < 1) return false;
  zoom = std::clamp(pixelsPerUnit, kLeastZoom, kMostZoom);
  const CRect before = viewSize;
  setViewSize(CRect::FromSize({}, width, height), false);
  // What covers the frame goes on to, such as the shade around a file selector.
  for (const Modal& modal : modalViews) {
    if (modal.view->getParentView() != this || modal.view->getViewSize() != before) continue;
    modal.view->setViewSize(viewSize, false);
    modal.view->setMouseableArea(viewSize);
  }
  dirtyRegion.Clear();
  if (window) window->FollowFrame();
  invalid();
  return true;
}

void CFrame::setResizable(const CPoint& least) {
  leastSize = least;
  if (window) window->FollowFrame();
}

void CFrame::idle() {
  // A host may call this again from within, and may release the frame.
  if (idling) return;
  const SharedPointer<CFrame> alive(this);
  idling = true;
  const auto end = [](CFrame* f) {
    f->idling = false;
    f->closedWindow.reset();
  };
  const std::unique_ptr<CFrame, decltype(end)> ending(this, end);

  if (window) window->HandleEvents();
  fireTimers();
  onIdle();
  updateTooltip();
  updateKeyboard();
  if (window) window->Draw();
}

double CFrame::getTime() const {
  if (manualTime >= 0) return manualTime;
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void CFrame::useManualClock() {
  if (manualTime < 0) manualTime = getTime();
}

void CFrame::advanceTime(double seconds) {
  useManualClock();
  // Counted from the end, so that the last call falls on the very end.
  const double end = manualTime + seconds;
  const int steps = std::max(1, static_cast<int>(seconds / kIdlePeriod + 0.5));
  for (int i = steps; i-- > 0;) {
    manualTime = end - i * seconds / steps;
    idle();
  }
}

void CFrame::noteMouse(const CPoint& where, const CButtonState& buttons) {
  const bool moved = where != mouseLocation;
  const bool pressed = buttons.getButtonState() != mouseButtons.getButtonState();
  if (moved) {
    mouseRestedSince = getTime();
    tooltipDone = false;
  }
  // Who presses knows what is there, until the mouse goes elsewhere.
  if (pressed) tooltipDone = true;
  if (moved || pressed) hideTooltip();
  mouseLocation = where;
  mouseButtons = buttons;
}

CView* CFrame::mouseTarget() const {
  CView* modal = getModalView();
  return capture && (!modal || IsWithin(capture, modal)) ? capture : modal;
}

CMouseEventResult CFrame::onMouseDown(CPoint& where, const CButtonState& buttons) {
  noteMouse(where, buttons);
  updateMouseOver(where, buttons);
  const std::size_t modalsBefore = modalViews.size();
  CMouseEventResult result = kMouseEventNotHandled;
  dispatchingPress = true;
  if (const SharedPointer<CView> view(mouseTarget()); view) {
    CPoint local = where;
    result = view->onMouseDown(view->frameToLocal(local), buttons);
  } else {
    result = CViewContainer::onMouseDown(where, buttons);
  }
  dispatchingPress = false;
  // A view that opened a menu or a dialog by this press gets no more of it.
  if (modalViews.size() > modalsBefore) {
    capture = nullptr;
    dropHold();
  }
  return result;
}

CMouseEventResult CFrame::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  noteMouse(where, buttons);
  updateMouseOver(where, buttons);
  const SharedPointer<CView> view(mouseTarget());
  if (!view) return CViewContainer::onMouseMoved(where, buttons);
  CPoint local = where;
  return view->onMouseMoved(view->frameToLocal(local), buttons);
}

CMouseEventResult CFrame::onMouseUp(CPoint& where, const CButtonState& buttons) {
  noteMouse(where, CButtonState(buttons.getModifierState()));
  const SharedPointer<CView> view(mouseTarget());
  if (!view) return CViewContainer::onMouseUp(where, buttons);
  if (view == capture) {
    capture = nullptr;
    dropHold();
  }
  CPoint local = where;
  return view->onMouseUp(view->frameToLocal(local), buttons);
}

CMouseEventResult CFrame::onMouseExited(CPoint& where, const CButtonState& buttons) {
  hideTooltip();
  tooltipDone = true;
  if (!mouseOverView) return kMouseEventNotHandled;
  const SharedPointer<CView> left(std::exchange(mouseOverView, nullptr));
  CPoint local = where;
  return left->onMouseExited(left->frameToLocal(local), buttons);
}

bool CFrame::onWheel(const CPoint& where, float distance, const CButtonState& buttons) {
  hideTooltip();
  const SharedPointer<CView> view(mouseTarget());
  if (!view) return CViewContainer::onWheel(where, distance, buttons);
  CPoint local = where;
  return view->onWheel(view->frameToLocal(local), distance, buttons);
}

void CFrame::updateMouseOver(const CPoint& where, const CButtonState& buttons) {
  // While a press is held the mouse counts as being over what holds it.
  if (capture || getMouseDownView()) return;
  SharedPointer<CView> now(getViewAt(where, true));
  if (CView* modal = getModalView(); modal && !IsWithin(now, modal)) now = nullptr;
  if (now.get() == mouseOverView) return;
  if (mouseOverView) {
    const SharedPointer<CView> left(std::exchange(mouseOverView, nullptr));
    CPoint local = where;
    left->onMouseExited(left->frameToLocal(local), buttons);
  }
  if (!now || now->frame != this) return;
  mouseOverView = now;
  CPoint local = where;
  now->onMouseEntered(now->frameToLocal(local), buttons);
}

bool CFrame::dispatchKey(const CKeyEvent& event, bool (CView::*handler)(const CKeyEvent&)) {
  hideTooltip();
  const SharedPointer<CView> modal(getModalView());
  const CView* end = modal ? static_cast<CView*>(modal) : this;
  if (!modal || IsWithin(focusView, modal)) {
    for (SharedPointer<CView> view(focusView); view && view != end; view = view->getParentView()) {
      if ((view->*handler)(event)) return true;
    }
  }
  return modal && (modal->*handler)(event);
}

bool CFrame::onKeyDown(const CKeyEvent& event) { return dispatchKey(event, &CView::onKeyDown); }

bool CFrame::onKeyUp(const CKeyEvent& event) { return dispatchKey(event, &CView::onKeyUp); }

bool CFrame::onDragMove(const CPoint& where) {
  return modalViews.empty() && CViewContainer::onDragMove(where);
}

bool CFrame::onDrop(std::span<const std::string> files, const CPoint& where) {
  return modalViews.empty() && CViewContainer::onDrop(files, where);
}

void CFrame::setCapture(CView* view) {
  if (!view || view->frame == this) capture = view;
}

void CFrame::releaseCapture() { capture = nullptr; }

void CFrame::setDragUnbounded() {
  if (window) window->SetDragUnbounded();
}

void CFrame::setFocusView(CView* view) {
  if (view == focusView || (view && view->frame != this)) return;
  const SharedPointer<CView> old(std::exchange(focusView, view));
  if (old) old->looseFocus();
  if (view && focusView == view) view->takeFocus();
}

void CFrame::updateKeyboard() {
  if (window) window->SetKeyboardWanted(wantsKeyboard());
}

void CFrame::endHold() {
  if (dispatchingPress) return;
  const CButtonState none;
  CPoint where = mouseLocation;
  if (capture) {
    const SharedPointer<CView> view(std::exchange(capture, nullptr));
    dropHold();
    view->onMouseUp(view->frameToLocal(where), none);
  } else if (getMouseDownView()) {
    CViewContainer::onMouseUp(where, none);
  }
}

void CFrame::pushModalView(CView* view) {
  if (!view || view->frame != this || view == getModalView()) return;
  hideTooltip();
  endHold();
  std::erase_if(modalViews, [view](const Modal& modal) { return modal.view == view; });
  modalViews.push_back({view, focusView});
  setFocusView(nullptr);
  // The mouse does not reach what is below from now on.
  updateMouseOver(mouseLocation, {});
}

void CFrame::popModalView(CView* view) {
  const auto place = std::find_if(modalViews.begin(), modalViews.end(),
                                  [view](const Modal& modal) { return modal.view == view; });
  if (place == modalViews.end()) return;
  CView* focusBefore = place->focusBefore;
  const bool wasLast = place + 1 == modalViews.end();
  modalViews.erase(place);
  if (wasLast) setFocusView(focusBefore);
}

void CFrame::setCursor(CCursorType type) {
  if (type == cursor) return;
  cursor = type;
  if (window) window->SetCursor(type);
}

void CFrame::setClipboardText(std::string_view text) {
  if (window) return window->SetClipboardText(text);
  ownClipboard = text;
}

void CFrame::getClipboardText(std::function<void(const std::string& text)> callback) {
  if (window) return window->RequestClipboardText(std::move(callback));
  if (!ownClipboard.empty()) callback(ownClipboard);
}

void CFrame::setUiScale(double scale) { uiScale = std::clamp(scale, 0.25, 8.0); }

void CFrame::setTooltipsEnabled(bool on) {
  tooltipsEnabled = on;
  if (!on) hideTooltip();
}

std::string CFrame::getShownTooltip() const { return tooltip ? tooltip->getText() : ""; }

void CFrame::updateTooltip() {
  if (!tooltipsEnabled || tooltip || tooltipDone || mouseButtons.getButtonState() != 0) return;
  if (!mouseOverView || getTime() - mouseRestedSince < kTooltipDelay) return;
  // One try for each time that the mouse rests.
  tooltipDone = true;
  for (CView* view = mouseOverView; view && view != this; view = view->getParentView()) {
    CPoint local = mouseLocation;
    const std::string text = view->tooltipAt(view->frameToLocal(local));
    if (text.empty()) continue;
    tooltip = new TooltipView(text, mouseLocation, viewSize, uiScale);
    addView(tooltip);
    return;
  }
}

void CFrame::hideTooltip() {
  if (tooltip) removeView(std::exchange(tooltip, nullptr));
}

void CFrame::forgetView(CView* view) {
  if (capture == view) capture = nullptr;
  if (mouseOverView == view) mouseOverView = nullptr;
  if (tooltip == view) tooltip = nullptr;
  for (Modal& modal : modalViews) {
    if (modal.focusBefore == view) modal.focusBefore = nullptr;
  }
  if (focusView == view) setFocusView(nullptr);
  popModalView(view);
  removeIdleView(view);
}

void CFrame::addTimer(CVSTGUITimer* timer) { timers.push_back(timer); }

void CFrame::removeTimer(CVSTGUITimer* timer) {
  std::replace(timers.begin(), timers.end(), timer, static_cast<CVSTGUITimer*>(nullptr));
}

void CFrame::fireTimers() {
  const double now = getTime();
  // By index, since what a timer calls may start and stop others.
  for (std::size_t i = 0; i < timers.size(); ++i) {  // NOLINT(modernize-loop-convert)
    const SharedPointer<CVSTGUITimer> timer(timers[i]);
    if (timer) timer->runIfDue(now);
  }
  std::erase(timers, nullptr);
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
  if (visible) dirtyRegion.Add(CRect(rect).bound(viewSize));
}

std::vector<CRect> CFrame::takeDirtyRegion() {
  ++paintCount;
  return dirtyRegion.Take();
}

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
