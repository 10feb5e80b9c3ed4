#include "framework/panel_metrics.h"

#include "dsp/shaping.h"

namespace halveron {

int panelHeight = kReferencePanelHeight;
int panelHeightThird = kReferencePanelHeight / 3;
int panelHeightFifth = kReferencePanelHeight / 5;
float uiScale = 1.0f;
int panelUnitWidth = kReferenceUnitWidth;

void SetPanelMetrics(int rowHeight) {
  panelHeight = rowHeight;
  panelHeightThird = rowHeight / 3;
  panelHeightFifth = rowHeight / 5;
  uiScale = static_cast<float>(rowHeight) * 0.0034364262f;
  panelUnitWidth = static_cast<int>(uiScale * kReferenceUnitWidth);
}

void ResetPanelMetrics() {
  SetPanelMetrics(kReferencePanelHeight);
  uiScale = 1.0f;
  panelUnitWidth = kReferenceUnitWidth;
}

CCoord ScaleToPixels(double panelUnits) { return dsp::RoundHalfDown(panelUnits * uiScale); }

void ScaleRect(CRect& rect) {
  const double width = rect.getWidth();
  const double height = rect.getHeight();
  const double left = dsp::RoundHalfDown((rect.left + width / 2) * uiScale - width / 2);
  const double top = dsp::RoundHalfDown((rect.top + height / 2) * uiScale - height / 2);
  rect = CRect(left, top, left + width, top + height);
}

}  // namespace halveron
