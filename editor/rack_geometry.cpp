#include "editor/rack_geometry.h"

#include <algorithm>
#include <cmath>

namespace halveron {

CCoord RackGeometry::RackTop(float scroll) const {
  if (!Scrolls()) return 0;
  return ToPixel(-static_cast<CCoord>(scroll) * (RackHeight() - ViewHeight()));
}

CCoord RackGeometry::ToPixel(CCoord y) const { return std::trunc(y * pixelScale) / pixelScale; }

float RackGeometry::ScrollOf(CCoord rackTop) const {
  if (!Scrolls()) return 0;
  return static_cast<float>(std::clamp(-rackTop / (RackHeight() - ViewHeight()), 0.0, 1.0));
}

}  // namespace halveron
