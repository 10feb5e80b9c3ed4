// The corner of the window that resizes it where the host gives it no border to drag.
#pragma once

#include <functional>

#include "gui/view.h"

namespace halveron {

/// Three lines in the lower right corner. Sideways it zooms, downward it shows more rows.
class SizeGrip final : public CView {
 public:
  explicit SizeGrip(const CRect& size) : CView(size) {}

  HALVERON_TYPE_OF(SizeGrip, CView)

  void draw(CDrawContext* context) override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseEntered(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseExited(CPoint& where, const CButtonState& buttons) override;
  std::string tooltipAt(const CPoint& where) override;

  /// The size of the window, in pixels, that the mouse asks for.
  std::function<void(const CPoint& pixels)> onResize;

 private:
  CPoint Reached() const;

  bool isHeld_ = false;
  CPoint rest_;  // pixels from the mouse to the window's corner
};

}  // namespace halveron
