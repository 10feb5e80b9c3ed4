#include "gui/theme.h"

#include <algorithm>
#include <cmath>

namespace halveron::theme {

SharedPointer<CFontDesc> Font(double scale, int style) {
  constexpr double kSmallest = 10;
  return SharedPointer<CFontDesc>::Adopt(
      new CFontDesc(nullptr, std::max(kSmallest, std::round(kFontSize * scale)), style));
}

CCoord Scaled(CCoord measure, double scale) { return std::max(1.0, std::round(measure * scale)); }

}  // namespace halveron::theme
