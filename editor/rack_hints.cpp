#include "editor/rack_hints.h"

#include <algorithm>
#include <cmath>

#include "framework/panel_metrics.h"
#include "gui/text_fit.h"
#include "gui/theme.h"

namespace halveron {

namespace {

struct Hint {
  const char* title;
  const char* text;
};

constexpr Hint kHints[] = {
    {"Add a module", "Double click an empty place, or press \"Modules\" above."},
    {"Play a preset", "Press its screen in the bar, or Ctrl+P to search. Arrows step on."},
    {"Patch and learn", "Drag from jack to jack for a cable. F1 opens the manual."}};
constexpr int kCount = 3;

// Panel units.
constexpr int kCardWidth = 250;
constexpr int kCardHeight = 96;
constexpr int kGap = 22;
constexpr int kPadding = 14;
constexpr int kTitleHeight = 26;

constexpr CColor kCard{255, 255, 255, 16};
constexpr CColor kEdge{255, 255, 255, 40};
constexpr CColor kBehindText{20, 20, 23, 150};
constexpr CColor kTitle{255, 255, 255, 170};
constexpr CColor kText{255, 255, 255, 130};

}  // namespace

void DrawRackHints(CDrawContext& context, const CRect& place) {
  const DrawStateScope scope(context);
  const CCoord gap = ScaleToPixels(kGap);
  const CCoord width =
      std::min<CCoord>(ScaleToPixels(kCardWidth), (place.getWidth() - (kCount + 1) * gap) / kCount);
  const CCoord height = ScaleToPixels(kCardHeight);
  const CCoord whole = kCount * width + (kCount - 1) * gap;
  CPoint corner(std::round(place.left + (place.getWidth() - whole) / 2),
                std::round(place.top + (place.getHeight() - height) / 2));
  context.setLineWidth(1);
  for (const Hint& hint : kHints) {
    CRect card = CRect::FromSize(corner, width, height);
    // Readable on any rail that a skin may have.
    context.setFillColor(kBehindText);
    context.drawRoundRect(card, ScaleToPixels(8), kDrawFilled);
    context.setFillColor(kCard);
    context.setFrameColor(kEdge);
    context.drawRoundRect(card, ScaleToPixels(8), kDrawFilledAndStroked);
    card.inset(ScaleToPixels(kPadding), ScaleToPixels(kPadding) / 2);
    CRect title = card;
    title.bottom = title.top + ScaleToPixels(kTitleHeight);
    context.setFont(theme::Font(uiScale, kBoldFace));
    context.setFontColor(kTitle);
    context.drawString(hint.title, title, kLeftText);
    const SharedPointer<CFontDesc> font = theme::Font(uiScale);
    context.setFont(font);
    context.setFontColor(kText);
    card.top = title.bottom;
    context.drawString(WrapText(*font, hint.text, card.getWidth()), card, kLeftText, kTopText);
    corner.x += width + gap;
  }
}

}  // namespace halveron
