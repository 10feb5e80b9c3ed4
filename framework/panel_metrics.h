// The scale of panels: pixels from panel units. Process-wide, as the skin's images are.
#pragma once

#include "gui/geometry.h"

namespace halveron {

/// Panel metrics in pixels, set from the height of one rack row.
extern int panelHeight;
extern int panelHeightThird;
extern int panelHeightFifth;
extern float uiScale;
extern int panelUnitWidth;

/// Panel units: the height of a row and the width of a grid column, pixels at scale 1.
inline constexpr int kReferencePanelHeight = 291;
inline constexpr int kReferenceUnitWidth = 12;

/// Sets the five metrics from the height of a row in pixels.
void SetPanelMetrics(int rowHeight);

/// Puts the metrics back to those of the reference height.
void ResetPanelMetrics();

/// A panel coordinate or size in pixels of the present scale, rounded half down.
CCoord ScaleToPixels(double panelUnits);

/// Moves a rectangle so that its centre lands on its centre times uiScale; its size is kept.
void ScaleRect(CRect& rect);

}  // namespace halveron
