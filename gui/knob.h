#pragma once

#include "gui/control.h"
#include "gui/film_strip.h"

namespace halveron {

/// A rotary control.
///
/// A drag with the left button is linear: up and right raise the value, kDragPixels for the whole
/// range, and Shift makes that zoomFactor times as many; pressing or letting go of Shift in the
/// middle does not make the value jump. With Alt held at the press the knob follows the angle of
/// the mouse around its centre, held at the ends. The wheel moves it by kWheelStep of the range per
/// notch, a tenth of that with Shift.
class CKnob : public CControl {
 public:
  static constexpr float kDragPixels = 200;
  static constexpr float kWheelStep = 0.01f;

  CKnob(const CRect& size, CControlListener* listener, int tag, CBitmap* background,
        CBitmap* handle = nullptr);

  /// Radians, clockwise from 3 o'clock: where the minimum is, and from there the way to the
  /// maximum. 3/4 pi and 3/2 pi initially.
  void setStartAngle(float angle) { startAngle = angle; }
  float getStartAngle() const { return startAngle; }
  void setRangeAngle(float angle) { rangeAngle = angle; }
  float getRangeAngle() const { return rangeAngle; }
  /// How many times finer a drag with Shift is.
  void setZoomFactor(float factor) { zoomFactor = factor; }
  float getZoomFactor() const { return zoomFactor; }

  /// The value whose pointer passes through a point; in the gap below, the nearer end.
  float valueFromPoint(const CPoint& point) const;
  /// The point at `distance` pixels from the centre on the pointer of a value's share of the range.
  CPoint pointFromShare(float share, CCoord distance) const;

  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override;

  HALVERON_TYPE_OF(CKnob, CControl)

 protected:
  /// Pixels of a linear drag over the whole range with these buttons and keys.
  virtual float dragPixels(const CButtonState& buttons) const;
  /// The value of a drag at a point, before it is brought into its range; each keeps the drag's
  /// state up.
  virtual float linearValue(const CPoint& where, const CButtonState& buttons);
  virtual float radialValue(const CPoint& where);

  /// The share of the range, 0 to 1, that the pointer shows.
  virtual float pointerShare() const { return shownShare(); }
  void drawImage(CDrawContext& context) override;
  void drawPlain(CDrawContext& context) override;

  SharedPointer<CBitmap> handle;
  float startAngle;
  float rangeAngle;
  float zoomFactor = 1.5f;

  // The drag that is going on.
  CPoint firstPoint;
  CPoint lastPoint;
  CButtonState dragButtons;
  float anchorValue = 0;
  float stepPerPixel = 0;
  float radialStart = 0;
  bool radialMode = false;
};

/// A knob drawn from a film strip, the minimum in the first frame.
class CAnimKnob : public CKnob, public FilmStrip {
 public:
  /// One frame is as high as the view.
  CAnimKnob(const CRect& size, CControlListener* listener, int tag, int frames,
            CBitmap* background);

  /// The strip runs from the maximum to the minimum.
  void setInverseBitmap(bool inverse) { inverseBitmap = inverse; }
  bool getInverseBitmap() const { return inverseBitmap; }

  HALVERON_TYPE_OF(CAnimKnob, CKnob)

 protected:
  void drawImage(CDrawContext& context) override;

  bool inverseBitmap = false;
};

}  // namespace halveron
