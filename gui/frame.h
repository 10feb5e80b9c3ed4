#pragma once

#include <vector>

#include "gui/view_container.h"

namespace halveron {

/// The root of a tree of views. It stands on no window: whoever has one feeds it the mouse and the
/// keys, in its own coordinates, calls onIdle regularly, and draws what takeDirtyRegion names.
class CFrame : public CViewContainer {
 public:
  /// Rectangles kept apart in the dirty region; more are united.
  static constexpr std::size_t kMaxDirtyRects = 32;

  explicit CFrame(const CRect& size);
  ~CFrame() override;

  CFrame* getFrame() const override { return const_cast<CFrame*>(this); }

  /// Sends the press to the view under the mouse; that view, or the one that called setCapture,
  /// gets all moves and the release.
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
  /// The mouse left the window.
  CMouseEventResult onMouseExited(CPoint& where, const CButtonState& buttons) override;
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override;
  /// Asks the focus view and then its parents.
  bool onKeyDown(const CKeyEvent& event) override;
  bool onKeyUp(const CKeyEvent& event) override;

  /// Has all moves and the next release sent to one view of the tree, until the release.
  void setCapture(CView* view);
  void releaseCapture();
  CView* getCapture() const { return capture; }
  /// Null for none.
  void setFocusView(CView* view);
  CView* getFocusView() const { return focusView; }
  /// The innermost view under the mouse.
  CView* getMouseOverView() const { return mouseOverView; }

  void invalid() override;
  void invalidRect(const CRect& rect) override;
  bool hasDirtyRegion() const { return !dirtyRects.empty(); }
  /// The rectangles to redraw, which do not lie within each other; the region is then empty.
  std::vector<CRect> takeDirtyRegion();

  /// Runs the views that want it, then collects the dirty views into the dirty region.
  void onIdle() override;

  HALVERON_TYPE_OF(CFrame, CViewContainer)

 private:
  friend class CView;
  void forgetView(CView* view);
  void addIdleView(CView* view);
  void removeIdleView(CView* view);
  void updateMouseOver(const CPoint& where, const CButtonState& buttons);

  std::vector<CRect> dirtyRects;
  std::vector<CView*> idleViews;
  CView* capture = nullptr;
  CView* focusView = nullptr;
  CView* mouseOverView = nullptr;
};

}  // namespace halveron
