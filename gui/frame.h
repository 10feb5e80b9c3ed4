// The root of a tree of views, and the window that it may have.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "gui/dirty_region.h"
#include "gui/shortcut.h"
#include "gui/view_container.h"

namespace halveron {

class CVSTGUITimer;
class TooltipView;
class Window;

enum CCursorType : int {
  kCursorDefault = 0,
  kCursorText,
  kCursorCrosshair,
  kCursorHand,
  kCursorNotAllowed,
  kCursorHSize,
  kCursorVSize
};

/// The root of a tree of views.
///
/// Without a window (never opened, or closed) it gets the mouse and the keys from the test or the
/// code that draws it, in its own coordinates, and `takeDirtyRegion` names what to draw. Opened, it
/// has a window of its own, a child of a host's or a free one, which does all of that.
///
/// Everything happens in calls from outside, on one thread: `idle` handles the window's events,
/// fires timers, runs the views that want it and draws what changed. Call it some 30 times a
/// second.
class CFrame : public CViewContainer {
 public:
  /// Seconds that the mouse rests before a tooltip shows.
  static constexpr double kTooltipDelay = 0.7;

  explicit CFrame(const CRect& size);
  ~CFrame() override;

  CFrame* getFrame() const override { return const_cast<CFrame*>(this); }

  /// Opens a window of the frame's size: within the window `parent` (an X11 window id), or with
  /// null a free one with a title. False, with the cause in `error` if that is given, if there is
  /// no display or the window cannot be made, and if one is open. A parent that is gone is such a
  /// cause.
  bool open(void* parent, const char* title = nullptr, std::string* error = nullptr);
  /// Closes the window and ends menus and dialogs that are up; the views stay.
  void close();
  bool isOpen() const { return window != nullptr; }
  /// The window's id, to be the parent of others; null without one.
  void* getWindowHandle() const;
  /// Becomes readable when the window has events, so that `idle` is worth a call; -1 without a
  /// window. From this call on the window's timers wake it, too, at each idle period.
  int getEventDescriptor();
  /// Waits for the window's events, `seconds` at most.
  void waitForEvents(double seconds);
  /// True once the user has asked a free window to close.
  bool isCloseRequested() const;
  /// The window stays; the user may ask again.
  void refuseClose();
  /// The title of a free window; without a window nothing happens.
  void setTitle(const std::string& title);
  /// Size in pixels as the window system has it, which a host may have changed; the frame's without
  /// a window.
  CPoint getWindowSize() const;
  /// Resizes the frame, in units, and its window. A host's own window is the host's to resize.
  virtual bool setSize(CCoord width, CCoord height);
  /// Size in pixels of the screen that the window is on; 0, 0 without a window.
  CPoint getScreenSize() const;
  /// Pixels of the window per unit of the frame, 1 initially. The frame keeps its size in units, so
  /// that the window changes its own. Views draw and get the mouse in units all the same.
  void setZoom(double pixelsPerUnit);
  double getZoom() const { return zoom; }
  /// Takes both at once, so that the window is resized once. The size is in units.
  bool setSizeAndZoom(CCoord width, CCoord height, double pixelsPerUnit);
  /// Lets the user resize the window by its border, down to a size in pixels.
  void setResizable(const CPoint& least);
  /// The window has got another size from outside: by its border, the window manager or a host. In
  /// pixels. Usually answered by setSizeAndZoom; nothing happens by default.
  virtual void onWindowResized(const CPoint& /*pixels*/) {}
  /// The keyboard has gone to another window. Nothing happens by default.
  virtual void onKeyboardLost() {}

  /// The work of one idle period; see above. Without a window it leaves out the window's part.
  virtual void idle();
  /// Seconds of the frame's clock, which timers follow.
  double getTime() const;
  /// Stops the clock, from where on `advanceTime` moves it: for tests, and for drawing offline.
  void useManualClock();
  /// Moves a stopped clock on and makes idle calls on the way, each `kIdlePeriod` apart.
  void advanceTime(double seconds);
  static constexpr double kIdlePeriod = 1.0 / 30;

  /// Sends the press to the view under the mouse; that view, or the one that called setCapture,
  /// gets all moves and the release.
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
  /// The mouse left the window.
  CMouseEventResult onMouseExited(CPoint& where, const CButtonState& buttons) override;
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override;
  /// Asks the focus view and then its parents, the frame left out; with a modal view up, these only
  /// as far as they lie within it, and then the modal view.
  bool onKeyDown(const CKeyEvent& event) override;
  bool onKeyUp(const CKeyEvent& event) override;
  bool onDragMove(const CPoint& where) override;
  bool onDrop(std::span<const std::string> files, const CPoint& where) override;

  /// Has all moves and the next release sent to one view of the tree, until the release.
  void setCapture(CView* view);
  void releaseCapture();
  /// Ends a press that is held, as if its button were released where the mouse is. Within the call
  /// of the press itself nothing happens.
  void endHold();
  CView* getCapture() const { return capture; }
  /// For a drag that only the way of the mouse counts for: until all buttons are released, the
  /// mouse goes on beyond the screen's edges. Its pointer is moved back inside while it does, and
  /// at the end to where the drag began.
  void setDragUnbounded();
  /// Gives a view the keys; null for none. An open window then asks for the keyboard, and gives it
  /// back to the host's when no view wants it.
  void setFocusView(CView* view);
  CView* getFocusView() const { return focusView; }
  /// Shortcuts that also come here while nothing has the focus and the keyboard is a host's, if the
  /// pointer is over the window. Before `open`.
  void setShortcutsInHosts(std::vector<Shortcut> shortcuts) {
    shortcutsInHosts = std::move(shortcuts);
  }
  const std::vector<Shortcut>& getShortcutsInHosts() const { return shortcutsInHosts; }
  /// Whether the window takes the keyboard from a host's.
  virtual bool wantsKeyboard() const { return focusView || !modalViews.empty(); }
  /// The innermost view under the mouse.
  CView* getMouseOverView() const { return mouseOverView; }
  /// Where the mouse was last seen, and what was down.
  CPoint getCurrentMouseLocation() const { return mouseLocation; }
  CButtonState getCurrentMouseButtons() const { return mouseButtons; }

  /// From now on mouse, wheel and keys go to this view alone, wherever the mouse is; the view is in
  /// the tree, usually a child of the frame and above all others. A press that is held elsewhere is
  /// ended. Modal views stack; the last one pushed counts.
  void pushModalView(CView* view);
  /// Ends that for a view, which need not be the last one. A view that leaves the tree ends it by
  /// itself.
  void popModalView(CView* view);
  /// Null if there is none.
  CView* getModalView() const { return modalViews.empty() ? nullptr : modalViews.back().view; }

  void setCursor(CCursorType type);
  CCursorType getCursor() const { return cursor; }

  /// Puts text on the clipboard: the window system's, or without a window one of the frame's own.
  void setClipboardText(std::string_view text);
  /// Calls back with the clipboard's text: at once if it is known here, else from a later idle
  /// call, and never if there is none.
  void getClipboardText(std::function<void(const std::string& text)> callback);

  /// Size of menus, dialogs and tooltips against those of a row of 291 pixels; 1 initially.
  void setUiScale(double scale);
  double getUiScale() const { return uiScale; }
  void setTooltipsEnabled(bool on);
  /// The text that is shown, empty if none is.
  std::string getShownTooltip() const;

  void invalid() override;
  void invalidRect(const CRect& rect) override;
  bool hasDirtyRegion() const { return !dirtyRegion.IsEmpty(); }
  /// The rectangles to redraw, of which none contains another; the region is empty afterwards. A
  /// paint begins with this call.
  std::vector<CRect> takeDirtyRegion();
  /// Paints begun so far. A view that is drawn several times in one paint sees the same number.
  std::uint64_t getPaintCount() const { return paintCount; }

  /// Runs the views that want it, then collects the dirty views into the dirty region.
  void onIdle() override;

  HALVERON_TYPE_OF(CFrame, CViewContainer)

 private:
  friend class CView;
  friend class CVSTGUITimer;
  friend class Window;

  struct Modal {
    CView* view;
    CView* focusBefore;
  };

  void forgetView(CView* view);
  void addIdleView(CView* view);
  void removeIdleView(CView* view);
  void addTimer(CVSTGUITimer* timer);
  void removeTimer(CVSTGUITimer* timer);
  void fireTimers();
  void updateMouseOver(const CPoint& where, const CButtonState& buttons);
  /// Who gets the mouse wherever it is: what captured it, unless a modal view keeps that out; then
  /// the modal view; else null.
  CView* mouseTarget() const;
  bool dispatchKey(const CKeyEvent& event, bool (CView::*handler)(const CKeyEvent&));
  void noteMouse(const CPoint& where, const CButtonState& buttons);
  void updateKeyboard();
  void updateTooltip();
  void hideTooltip();

  std::unique_ptr<Window> window;
  std::unique_ptr<Window> closedWindow;  // until the idle call that it was closed in ends
  DirtyRegion dirtyRegion;
  std::uint64_t paintCount = 0;
  std::vector<CView*> idleViews;
  std::vector<CVSTGUITimer*> timers;
  std::vector<Modal> modalViews;
  std::vector<Shortcut> shortcutsInHosts;
  CView* capture = nullptr;
  CView* focusView = nullptr;
  CView* mouseOverView = nullptr;
  CPoint mouseLocation;
  CButtonState mouseButtons;
  CCursorType cursor = kCursorDefault;
  std::string ownClipboard;
  TooltipView* tooltip = nullptr;
  double uiScale = 1;
  double zoom = 1;
  CPoint leastSize;
  double manualTime = -1;
  double mouseRestedSince = 0;
  bool tooltipsEnabled = true;
  bool tooltipDone = false;
  bool dispatchingPress = false;
  bool idling = false;
};

}  // namespace halveron
