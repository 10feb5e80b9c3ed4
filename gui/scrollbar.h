// A bar that scrolls something longer than what is seen of it.
#pragma once

#include "gui/control.h"

namespace halveron {

/// The value goes from 0, the beginning, to 1, the end. The handle is as long a share of the bar as
/// what is seen is of the whole.
class CScrollbar : public CControl {
 public:
  enum Direction : int { kHorizontal = 0, kVertical };

  CScrollbar(const CRect& size, CControlListener* listener, int tag, Direction direction,
             CBitmap* background = nullptr, CBitmap* handle = nullptr);

  /// Lengths of the whole and of what is seen of it, in pixels along the bar.
  virtual void setScrollSize(CCoord whole, CCoord seen);
  CCoord getScrollSize() const { return scrollSize; }
  CCoord getSeenSize() const { return seenSize; }
  /// True if there is something to scroll.
  bool canScroll() const { return scrollSize > seenSize; }
  /// Pixels of one wheel notch, 40 initially.
  void setWheelStep(CCoord pixels) { wheelStep = pixels; }
  /// Where what is seen begins, in pixels of the whole.
  CCoord getScrollPosition() const;
  /// Scrolls, calls the listener and asks for a redraw.
  void scrollTo(CCoord position);
  CRect getHandleRect() const;

  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override;

  HALVERON_TYPE_OF(CScrollbar, CControl)

 protected:
  /// The shortest handle, in pixels; with an image, the image's length.
  virtual CCoord leastHandle() const;
  void drawImage(CDrawContext& context) override;
  void drawPlain(CDrawContext& context) override;

  SharedPointer<CBitmap> handle;

 private:
  CCoord along(const CPoint& point) const { return direction == kVertical ? point.y : point.x; }
  CCoord barLength() const { return direction == kVertical ? getHeight() : getWidth(); }
  CCoord handleLength() const;
  void drawHandle(CDrawContext& context);

  Direction direction;
  CCoord scrollSize = 0;
  CCoord seenSize = 0;
  CCoord wheelStep = 40;
  CCoord grab = 0;
};

}  // namespace halveron
