// A button on the bar over the rack.
#pragma once

#include <functional>
#include <string>

#include "gui/control.h"

namespace halveron {

/// Acts when it is pressed. One that opens a menu looks pressed until the menu is gone.
class BarButton final : public CControl {
 public:
  /// An image that is missing is replaced by a plain button with a caption; one without an image
  /// for the pressed state is drawn paler then.
  BarButton(const CRect& size, CBitmap* image, CBitmap* pressedImage, const char* caption);

  HALVERON_TYPE_OF(BarButton, CControl)

  void SetPressed(bool pressed);

  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;

  std::function<void(BarButton&)> onPress;

 protected:
  void drawImage(CDrawContext& context) override;
  void drawPlain(CDrawContext& context) override;

 private:
  SharedPointer<CBitmap> pressedImage_;
  std::string caption_;
};

}  // namespace halveron
