#pragma once

#include "gui/control.h"
#include "gui/film_strip.h"

namespace halveron {

/// Whether the listener or the redraw comes first when a COnOffButton is pressed.
enum COnOffButtonStyle : int { kPreListenerUpdate = 0, kPostListenerUpdate = 1 };

/// Each left press goes from the minimum to the maximum or back. The strip's two frames are off and
/// on.
class COnOffButton : public CControl, public FilmStrip {
 public:
  COnOffButton(const CRect& size, CControlListener* listener, int tag, CBitmap* background,
               int style = kPreListenerUpdate);

  int getStyle() const { return style; }
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;

  HALVERON_TYPE_OF(COnOffButton, CControl)

 protected:
  void drawImage(CDrawContext& context) override;
  void drawPlain(CDrawContext& context) override;

  int style;
};

/// At its maximum while the left button holds it down with the mouse over it, else at its minimum.
/// The strip's two frames are up and down.
class CKickButton : public CControl, public FilmStrip {
 public:
  CKickButton(const CRect& size, CControlListener* listener, int tag, CBitmap* background,
              int frames = 2);

  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;

  HALVERON_TYPE_OF(CKickButton, CControl)

 protected:
  void drawImage(CDrawContext& context) override;
  void drawPlain(CDrawContext& context) override;
};

}  // namespace halveron
