#pragma once

#include "gui/control.h"

namespace halveron {

enum CSliderStyle : int { kHorizontal = 0, kVertical = 1 };

/// A handle on a straight way. The minimum is at the left or at the bottom. A press beside the
/// handle brings it there; a drag moves it, Shift making it zoomFactor times as slow.
class CSlider : public CControl {
 public:
  CSlider(const CRect& size, CControlListener* listener, int tag, CSliderStyle style,
          CBitmap* handle = nullptr, CBitmap* background = nullptr);

  /// Pixels along the way; the handle spans the view across it. 10 initially.
  void setHandleLength(CCoord length) { handleLength = length; }
  CCoord getHandleLength() const { return handleLength; }
  void setZoomFactor(float factor) { zoomFactor = factor; }
  float getZoomFactor() const { return zoomFactor; }
  CSliderStyle getStyle() const { return style; }

  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override;

  HALVERON_TYPE_OF(CSlider, CControl)

 protected:
  /// Where the handle is for a share of the range.
  CRect handleRect(float share) const;
  /// Pixels that the handle travels.
  CCoord travel() const;
  /// A point's place along the way in pixels, growing with the value.
  CCoord along(const CPoint& where) const;
  void drawImage(CDrawContext& context) override;
  void drawPlain(CDrawContext& context) override;

  CSliderStyle style;
  SharedPointer<CBitmap> handle;
  CCoord handleLength = 10;
  float zoomFactor = 5;
  CCoord dragPlace = 0;
  float dragValue = 0;
  CButtonState dragButtons;
};

}  // namespace halveron
