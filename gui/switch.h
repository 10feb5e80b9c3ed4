#pragma once

#include "gui/control.h"
#include "gui/film_strip.h"

namespace halveron {

/// A switch with positions in a row, the first at the minimum: position i of n has the share
/// i / (n - 1) of the range. A left press or drag takes the position under the mouse, the wheel
/// goes one position per notch. The strip's frames are the positions.
class CSwitchBase : public CControl, public FilmStrip {
 public:
  int getNumPositions() const { return subPixmaps; }
  /// The position nearest to the value.
  int getPosition() const { return frameOf(getValueNormalized()); }

  bool checkDefaultValue(const CButtonState& buttons) override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override;

  HALVERON_TYPE_OF(CSwitchBase, CControl)

 protected:
  CSwitchBase(const CRect& size, CControlListener* listener, int tag, int frames,
              CBitmap* background);
  /// Where a point is along the row of positions: 0 at the first's near edge, 1 at the last's far
  /// edge.
  virtual float shareAt(const CPoint& where) const = 0;
  /// The middle of a position, for the slot drawn without an image.
  virtual CPoint centreOf(int position) const = 0;
  void selectPosition(int position);
  void drawImage(CDrawContext& context) override;
  void drawPlain(CDrawContext& context) override;
};

/// The first position is the upper one.
class CVerticalSwitch : public CSwitchBase {
 public:
  CVerticalSwitch(const CRect& size, CControlListener* listener, int tag, int frames,
                  CBitmap* background);
  HALVERON_TYPE_OF(CVerticalSwitch, CSwitchBase)

 protected:
  float shareAt(const CPoint& where) const override;
  CPoint centreOf(int position) const override;
};

/// The first position is the left one. With a handle, the background is one picture and the handle
/// is at the position; else the background is a strip.
class CHorizontalSwitch : public CSwitchBase {
 public:
  CHorizontalSwitch(const CRect& size, CControlListener* listener, int tag, int frames,
                    CBitmap* background, CBitmap* handle = nullptr);
  HALVERON_TYPE_OF(CHorizontalSwitch, CSwitchBase)

 protected:
  float shareAt(const CPoint& where) const override;
  CPoint centreOf(int position) const override;
  void drawImage(CDrawContext& context) override;

  SharedPointer<CBitmap> handle;
};

}  // namespace halveron
