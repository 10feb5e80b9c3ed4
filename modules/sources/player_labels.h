// Lines of text on the panels of players.
#pragma once

#include <algorithm>

#include "framework/display_view.h"
#include "framework/panel_metrics.h"
#include "framework/shared_bitmaps.h"
#include "framework/text_label.h"

namespace halveron {

/// Gives a line its type and colours.
inline void SetUpPlayerLabel(CTextLabel& label) {
  constexpr double kFontSize = 10;
  label.setFont(SharedPointer<CFontDesc>::Adopt(
      new CFontDesc("Arial", std::max(kFontSize * static_cast<double>(uiScale), 1.0))));
  label.setFontColor(digitColor);
  label.setBackColor(DisplayView::kScreenColor);
  label.setHoriAlign(kLeftText);
  label.setTextInset(CPoint(3, 0));
}

}  // namespace halveron
