#include "editor/syn_frame.h"

#include <cmath>
#include <utility>
#include <vector>

#include "editor/main_menu.h"
#include "editor/midi_learning.h"
#include "editor/rack_window.h"
#include "editor/value_entry.h"
#include "gui/text_edit.h"

namespace halveron {

namespace {

constexpr int kRepeatMilliseconds = 50;
constexpr int kPresetDisplayMilliseconds = 5000;

// Wheel events that follow each other this closely, in seconds and pixels, are one gesture.
constexpr double kGesturePause = 0.4;
constexpr double kGestureSlack = 8;

}  // namespace

SynFrame::SynFrame(const CRect& size, RackWindow& window, bool isInHost)
    : CFrame(size),
      mouseRepeat(this, kRepeatMilliseconds),
      dragRepeat(this, kRepeatMilliseconds),
      presetDisplay(this, kPresetDisplayMilliseconds),
      window_(window),
      isInHost_(isInHost) {
  if (!isInHost) return;
  std::vector<Shortcut> shortcuts = MainMenu::ShortcutsInHosts();
  for (const Shortcut& shortcut : ShortcutsOf("Tab Shift+Tab")) shortcuts.push_back(shortcut);
  setShortcutsInHosts(std::move(shortcuts));
}

CMouseEventResult SynFrame::onMouseDown(CPoint& where, const CButtonState& buttons) {
  window_.Keys().Clear();
  const bool asksForValue = buttons == CButtonState(kLButton | kDoubleClick) && !getModalView() &&
                            !window_.IsDragging() && TakesTypedValue(getViewAt(where, true));
  if (asksForValue && window_.EnterValue()) {
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  const CMouseEventResult result = CFrame::onMouseDown(where, buttons);
  window_.FollowMouse(getCurrentMouseLocation(), buttons);
  return result;
}

CMouseEventResult SynFrame::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  const CMouseEventResult result = CFrame::onMouseMoved(where, buttons);
  window_.FollowMouse(getCurrentMouseLocation(), buttons);
  return result;
}

CMouseEventResult SynFrame::onMouseUp(CPoint& where, const CButtonState& buttons) {
  const CMouseEventResult result = CFrame::onMouseUp(where, buttons);
  window_.FollowMouse(getCurrentMouseLocation(), buttons);
  return result;
}

bool SynFrame::onWheel(const CPoint& where, float distance, const CButtonState& buttons) {
  if (buttons.isControlSet() && !getModalView()) {
    window_.Zoom().Step(distance > 0 ? 1 : -1);
    return true;
  }
  // The rack moves knobs under the mouse while it scrolls; these are not meant.
  const CPoint moved = where - lastScrollPoint_;
  const bool goesOnScrolling = !getModalView() && getTime() - lastScrollTime_ < kGesturePause &&
                               std::hypot(moved.x, moved.y) < kGestureSlack;
  if (!goesOnScrolling && CFrame::onWheel(where, distance, buttons)) return true;
  if (getModalView() || !window_.ScrollByWheel(distance, buttons)) return false;
  lastScrollTime_ = getTime();
  lastScrollPoint_ = where;
  window_.FollowMouse(where, buttons);
  return true;
}

bool SynFrame::onKeyDown(const CKeyEvent& event) {
  // Before what has the focus takes Escape for itself: the next controller would be bound.
  if (event.key == kKeyEscape && !getModalView() && window_.Learning().Cancel()) return true;
  if (CFrame::onKeyDown(event)) return true;
  if (getModalView()) return false;
  // What is typed into a panel's field is not undone, saved or copied in the rack.
  const bool isTyping = dynamic_cast<CTextEdit*>(getFocusView()) != nullptr;
  if (isTyping && event.modifiers.isControlSet()) return false;
  // What has the keyboard's focus comes before the window.
  if (window_.Keys().FocusModule() && window_.Keys().OnKey(event)) return true;
  return window_.RunShortcut(event) || window_.UseKey(event);
}

bool SynFrame::onKeyUp(const CKeyEvent& event) {
  return CFrame::onKeyUp(event) || window_.UseKeyUp(event);
}

bool SynFrame::wantsKeyboard() const {
  return CFrame::wantsKeyboard() || (isInHost_ && window_.Keys().FocusModule());
}

void SynFrame::onKeyboardLost() { window_.Notes().AllOff(); }

void SynFrame::onWindowResized(const CPoint& pixels) { window_.Zoom().TakeSize(pixels); }

void SynFrame::onIdle() {
  window_.Follow();
  CFrame::onIdle();
}

bool SynFrame::onDragMove(const CPoint& where) {
  return CFrame::onDragMove(where) || !getModalView();
}

bool SynFrame::onDrop(std::span<const std::string> files, const CPoint& where) {
  if (CFrame::onDrop(files, where)) return true;
  return !getModalView() && window_.OpenDroppedPreset(files);
}

int SynFrame::notify(CBaseObject* sender, const char* message) {
  if (sender == &mouseRepeat) {
    CPoint where = getCurrentMouseLocation();
    onMouseMoved(where, getCurrentMouseButtons());
  } else if (sender == &dragRepeat) {
    window_.RepeatDrag(getCurrentMouseLocation(), getCurrentMouseButtons());
  } else if (sender == &presetDisplay) {
    window_.TogglePresetScreen();
  } else {
    return CFrame::notify(sender, message);
  }
  return kMessageNotified;
}

}  // namespace halveron
