// A short text beside the mouse.
#pragma once

#include <string>

#include "gui/view.h"

namespace halveron {

/// Lies below the point, or above it where there is no room, within `bounds`. Takes no mouse.
class TooltipView : public CView {
 public:
  TooltipView(std::string text, const CPoint& at, const CRect& bounds, double scale);

  const std::string& getText() const { return text; }
  void draw(CDrawContext* context) override;
  bool hitTest(const CPoint& /*where*/, const CButtonState& /*buttons*/) override { return false; }

  HALVERON_TYPE_OF(TooltipView, CView)

 private:
  std::string text;
  double scale;
};

}  // namespace halveron
