#include "editor/choice_field.h"

#include "gui/draw_context.h"
#include "gui/frame.h"
#include "gui/menu_popup.h"
#include "gui/text_fit.h"
#include "gui/theme.h"

namespace halveron {

namespace {

constexpr CCoord kArrow = 7;  // pixels at scale 1
constexpr CCoord kInset = 8;

}  // namespace

ChoiceField::ChoiceField(const CRect& size, CControlListener* choiceListener, double scale,
                         bool takesSeveral)
    : COptionMenu(size, choiceListener), takesSeveral_(takesSeveral) {
  setFont(theme::Font(scale));
}

std::string ChoiceField::Shown() const {
  std::string text;
  for (int i = 0; i < getNbEntries(); ++i) {
    if (!getEntry(i)->isChecked()) continue;
    if (!text.empty()) text += ", ";
    text += getEntry(i)->getTitle();
  }
  return text;
}

void ChoiceField::OpenList() {
  if (!getFrame()) return;
  CPoint below(viewSize.left, viewSize.bottom);
  if (!popup(getFrame(), localToFrame(below))) return;
  // The arrows go on from what is chosen.
  for (int i = 0; i <= getCurrentIndex(); ++i) getPopup()->onKeyDown({0, kKeyDown, {}});
}

bool ChoiceField::onKeyDown(const CKeyEvent& event) {
  const bool isStep = event.key == kKeyUp || event.key == kKeyDown;
  const bool opens = event.key == kKeyReturn || event.key == kKeySpace || event.character == U' ' ||
                     (takesSeveral_ && isStep);
  if (opens) OpenList();
  return opens || COptionMenu::onKeyDown(event);
}

bool ChoiceField::onWheel(const CPoint& /*where*/, float /*distance*/,
                          const CButtonState& /*buttons*/) {
  return false;  // a device is not to be opened by the way
}

CMouseEventResult ChoiceField::onMouseDown(CPoint& where, const CButtonState& buttons) {
  if (getFrame() && buttons.isLeftButton()) getFrame()->setFocusView(this);
  return COptionMenu::onMouseDown(where, buttons);
}

void ChoiceField::takeFocus() { invalid(); }

void ChoiceField::looseFocus() { invalid(); }

void ChoiceField::drawPlain(CDrawContext& context) {
  const bool hasFocus = getFrame() && (getFrame()->getFocusView() == this || isPoppedUp());
  const double scale = getFont()->getSize() / theme::kFontSize;
  context.setFillColor(theme::kField);
  context.setFrameColor(hasFocus ? theme::kAccent : theme::kFieldEdge);
  context.setLineWidth(1);
  context.drawRoundRect(viewSize, theme::Scaled(theme::kCornerRadius, scale),
                        kDrawFilledAndStroked);
  const CCoord inset = theme::Scaled(kInset, scale);
  const CCoord arrow = theme::Scaled(kArrow, scale);
  CRect text = viewSize;
  text.left += inset;
  text.right -= 2 * inset + arrow;
  context.setFont(getFont());
  context.setFontColor(theme::kText);
  context.drawString(FitText(*getFont(), Shown(), text.getWidth(), Ellipsis::kAtEnd), text,
                     kLeftText);
  const CPoint tip(viewSize.right - inset - arrow / 2, viewSize.getCenter().y + arrow * 0.3);
  const CPoint points[] = {
      {tip.x - arrow / 2, tip.y - arrow * 0.6}, {tip.x + arrow / 2, tip.y - arrow * 0.6}, tip};
  context.setFillColor(theme::kPaleText);
  context.drawPolygon(points, kDrawFilled);
}

}  // namespace halveron
