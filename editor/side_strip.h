// The strip beside the rack.
#pragma once

#include "gui/view.h"

namespace halveron {

/// Shows an image two rows high as often as it fits and, under an odd number of rows, the one that
/// is one row high. The view's height is that of the rows.
class SideStrip final : public CView {
 public:
  SideStrip(const CRect& size, int rowHeight, CBitmap* twoRows, CBitmap* oneRow);

  HALVERON_TYPE_OF(SideStrip, CView)

  void draw(CDrawContext* context) override;

 private:
  int rowHeight_;
  SharedPointer<CBitmap> twoRows_;
  SharedPointer<CBitmap> oneRow_;
};

}  // namespace halveron
