// How cables look: their palette, how they sag, and the tube that they are drawn as.
#pragma once

#include "gui/geometry.h"

namespace halveron {

class CDrawContext;

/// A colour of the palette: 0 the shadow, 1 to 6 those that users choose, 7 for MIDI cables.
CColor CableColour(int index);

/// What the user has chosen, in pixels of the present skin.
struct CableStyle {
  int width = 8;
  int alpha = 255;      ///< 0 to 255
  bool isFlat = false;  ///< one line instead of a tube of three
  bool isLite = false;  ///< hard edges, no alpha, no shadow
  double slack = 1.0;   ///< how far cables sag, 0 and up; 1 is 15 panel units

  /// By how much each layer of the tube is narrower than the one below it.
  int WidthStep() const;
};

/// Draws one cable at a time. A cable ends in two points of the context's coordinates.
class CablePainter {
 public:
  explicit CablePainter(const CableStyle& cableStyle) : style(cableStyle) {}

  void Draw(CDrawContext& context, const CPoint& from, const CPoint& to, int colour) const;
  /// What a cable may touch at most, with its shadow.
  CRect BoundsOf(const CPoint& from, const CPoint& to) const;
  /// The point by which a cable's curve passes midway: below both ends, and beside them where they
  /// are one above the other.
  static CPoint Middle(const CPoint& from, const CPoint& to, double slack = 1.0);

 private:
  void DrawShadow(CDrawContext& context, const CPoint& from, const CPoint& to) const;
  void DrawTube(CDrawContext& context, const CPoint& from, const CPoint& to, int colour) const;
  void DrawLite(CDrawContext& context, const CPoint& from, const CPoint& to, int colour) const;

  CableStyle style;
};

}  // namespace halveron
