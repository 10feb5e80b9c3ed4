#include "editor/placeholder_module.h"

#include <algorithm>

#include "gui/draw_context.h"
#include "gui/text_fit.h"

namespace halveron {

void PlaceholderModule::drawBackgroundRect(CDrawContext* context, const CRect& /*updateRect*/) {
  const double u = static_cast<double>(uiScale);
  const CRect whole = CRect::FromSize({}, getWidth(), getHeight());
  context->setFillColor(CColor{58, 60, 64});
  context->fillRect(whole);
  context->setFrameColor(CColor{70, 73, 78});
  context->setLineWidth(3 * u);
  // Stripes: no module's panel has them.
  const CCoord step = 16 * u;
  for (CCoord x = -whole.bottom; x < whole.right; x += step) {
    context->drawLine(CPoint(x, whole.bottom), CPoint(x + whole.bottom, 0));
  }
  context->setFrameColor(CColor{150, 96, 40});
  context->setLineWidth(2 * u);
  context->drawRect(whole);
  const auto font = SharedPointer<CFontDesc>::Adopt(
      new CFontDesc("Roboto Condensed", std::max(9.0 * u, 7.5), kBoldFace));
  const std::string text =
      WrapText(*font, Plan().identity.first + "\n" + Plan().identity.second + "\nmissing",
               whole.right - 8 * u);
  const CRect head(2 * u, 2 * u, whole.right - 2 * u, font->measure(text).y + 8 * u);
  context->setFillColor(CColor{34, 35, 38});
  context->fillRect(head);
  context->setFontColor(CColor{235, 180, 110});
  context->setFont(font);
  context->drawString(text, head);
}

}  // namespace halveron
