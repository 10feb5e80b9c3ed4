// The star that marks favourites.
#pragma once

#include "gui/geometry.h"

namespace halveron {

class CDrawContext;

/// Five tips at `radius` pixels from the centre: filled in the accent colour if set, else an
/// outline in the colour `edge`.
void DrawStar(CDrawContext& context, const CPoint& centre, CCoord radius, bool isSet,
              const CColor& edge);

}  // namespace halveron
