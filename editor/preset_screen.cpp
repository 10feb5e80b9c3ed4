#include "editor/preset_screen.h"

#include "framework/panel_metrics.h"
#include "gui/draw_context.h"
#include "gui/text_fit.h"
#include "gui/theme.h"

namespace halveron {

namespace {

// Panel units beside a text that fills the screen; skins have the mark of a menu there.
constexpr int kTextMargin = 22;

}  // namespace

PresetScreen::PresetScreen(const CRect& size, const WindowImages& images, const SkinConfig& config)
    : CViewContainer(size, nullptr), screen_(images.presetScreen), stripes_(images.presetStripes) {
  const SkinConfig::Shifts& shifts = config.shifts;
  const CRect place = CRect::FromSize(shifts.presetText, size.getWidth() + shifts.presetTextSize.x,
                                      size.getHeight() + shifts.presetTextSize.y);
  presetNameLabel_ = AddLabel(place, config.presetText);
  presetAuthorLabel_ = AddLabel(place, config.presetText);
  presetAuthorLabel_->setVisible(false);
}

CTextLabel* PresetScreen::AddLabel(const CRect& place, const SkinConfig::PresetText& text) {
  auto* label = new CTextLabel(place, "", nullptr, kShadowText | kNoFrame);
  label->setTransparency(true);
  if (screen_->isLoaded()) label->setFont(text.font);
  label->setFontColor(text.color);
  label->setShadowColor(CColor(0, 0, 0, text.shadowAlpha));
  label->setMouseEnabled(false);
  addView(label);
  return label;
}

void PresetScreen::ShowName(const std::string& name, bool isChanged) {
  presetAuthorLabel_->setVisible(false);
  const std::string shown = name.empty() && isChanged ? "Untitled" : name;
  mark_ = isChanged ? " *" : "";
  name_ = shown + mark_;
  SetFitting(*presetNameLabel_, shown, mark_);
  SetFitting(*presetAuthorLabel_, author_, mark_);
  presetNameLabel_->setVisible(true);
  invalid();
}

void PresetScreen::SetAuthor(const std::string& author) {
  author_ = author;
  SetFitting(*presetAuthorLabel_, author, mark_);
}

void PresetScreen::SetFitting(CTextLabel& label, const std::string& text,
                              const std::string& suffix) {
  const CFontDesc& font = *label.getFont();
  const CCoord width = label.getWidth() - 2 * ScaleToPixels(kTextMargin) - font.measure(suffix).x;
  label.setText((FitText(font, text, width, Ellipsis::kAtEnd) + suffix).c_str());
}

void PresetScreen::Toggle() {
  const bool showsName = presetNameLabel_->isVisible();
  presetNameLabel_->setVisible(!showsName);
  presetAuthorLabel_->setVisible(showsName);
}

std::string PresetScreen::ShownText() const {
  return presetNameLabel_->isVisible() ? name_ : author_ + mark_;
}

void PresetScreen::drawBackgroundRect(CDrawContext* context, const CRect& /*updateRect*/) {
  const CRect whole = CRect::FromSize({}, getWidth(), getHeight());
  if (screen_->isLoaded()) {
    screen_->draw(*context, whole);
    return;
  }
  context->setFillColor(theme::kField);
  context->drawRoundRect(whole, theme::kCornerRadius, kDrawFilled);
}

void PresetScreen::drawRect(CDrawContext* context, const CRect& updateRect) {
  CViewContainer::drawRect(context, updateRect);
  stripes_->draw(*context, viewSize);
}

CMouseEventResult PresetScreen::onMouseDown(CPoint& /*where*/, const CButtonState& buttons) {
  const auto& press = buttons.isRightButton() ? onContextPress : onPress;
  if (!(buttons.isLeftButton() || buttons.isRightButton()) || !press) return kMouseEventNotHandled;
  press();
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

}  // namespace halveron
