#include "editor/dialog_window.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "gui/draw_context.h"
#include "gui/frame.h"
#include "gui/text_button.h"
#include "gui/text_edit.h"
#include "gui/text_fit.h"
#include "gui/theme.h"

namespace halveron {

namespace {

// Pixels at the reference scale.
constexpr CCoord kMargin = 20;
constexpr CCoord kGap = 10;
constexpr CCoord kTitleHeight = 26;
constexpr CCoord kLineHeight = 19;
constexpr CCoord kFieldHeight = 26;
constexpr CCoord kButtonWidth = 96;
constexpr CCoord kWidest = 600;  // to which a dialog grows before its text is wrapped
constexpr CCoord kButtonHeight = 28;
constexpr std::size_t kMostFieldBytes = 4000;

CTextLabel* MakeLabel(const CRect& place, const std::string& text, double scale, int style) {
  auto* label = new CTextLabel(place, text.c_str(), nullptr, kNoFrame);
  label->setTransparency(true);
  label->setFont(theme::Font(scale, style));
  label->setFontColor(theme::kText);
  return label;
}

}  // namespace

DialogWindow::DialogWindow() : CViewContainer(CRect(), nullptr) { setVisible(false); }

DialogWindow::~DialogWindow() = default;

void DialogWindow::ShowDialog(DialogRequest request, double scale) {
  CloseDialog();
  request_ = std::move(request);
  LayOut(scale);
  setVisible(true);
  CFrame* root = getFrame();
  if (root && request_.modal) root->pushModalView(this);
  if (root && !fields_.empty()) Focus(*root, *fields_.front());
}

void DialogWindow::Focus(CFrame& root, CTextEdit& field) {
  root.setFocusView(&field);
  // What is typed takes its place.
  field.selectAll();
}

void DialogWindow::CloseDialog() {
  if (!isVisible()) return;
  if (CFrame* root = getFrame()) root->popModalView(this);
  setVisible(false);
  fields_.clear();
  removeAll();
}

std::string DialogWindow::FieldText(int index) const {
  return fields_[static_cast<std::size_t>(index)]->getText();
}

CCoord DialogWindow::WidthFor(double scale) const {
  const CCoord room = getParentView() ? getParentView()->getWidth() : kWidest * scale;
  const CCoord most = std::min(theme::Scaled(std::max(kWidest, request_.width), scale),
                               room - 2 * theme::Scaled(kGap, scale));
  CCoord width = theme::Scaled(request_.width, scale);
  const CCoord margins = 2 * theme::Scaled(kMargin, scale);
  width = std::max(width, theme::Font(scale)->measure(request_.text).x + margins);
  width = std::max(width, theme::Font(scale, kBoldFace)->measure(request_.title).x + margins);
  if (request_.image) width = std::max<CCoord>(width, request_.image->getWidth());
  return std::min(width, most);
}

void DialogWindow::LayOut(double scale) {
  const CCoord width = WidthFor(scale);
  setViewSize(CRect(0, 0, width, 0), false);
  CCoord bottom = AddTexts(theme::Scaled(kMargin, scale), scale);
  bottom = AddFields(bottom, scale);
  const CCoord height = AddButtons(bottom, scale) + theme::Scaled(kMargin, scale);

  const CRect room = getParentView() ? getParentView()->getViewSize() : CRect(0, 0, width, height);
  const CCoord left = std::max((room.getWidth() - width) * request_.xRatio, 0.0);
  const CCoord top =
      request_.y >= 0 ? request_.y * scale : (room.getHeight() - height) * request_.yRatio;
  const CRect place = CRect::FromSize(
      CPoint(theme::Scaled(left, 1), theme::Scaled(std::max(top, 0.0), 1)), width, height);
  setViewSize(place, false);
  setMouseableArea(place);
}

CTextLabel* DialogWindow::AddText(CCoord top, const std::string& text, CCoord leastHeight,
                                  double scale, int style) {
  const CCoord margin = theme::Scaled(kMargin, scale);
  const CRect line(margin, top, getWidth() - margin, top);
  const SharedPointer<CFontDesc> font = theme::Font(scale, style);
  const std::string wrapped = WrapText(*font, text, line.getWidth());
  CRect place = line;
  place.setHeight(std::max(leastHeight, font->measure(wrapped).y));
  CTextLabel* label = MakeLabel(place, wrapped, scale, style);
  addView(label);
  return label;
}

CCoord DialogWindow::AddTexts(CCoord top, double scale) {
  const CCoord gap = theme::Scaled(kGap, scale);
  if (!request_.title.empty()) {
    top = AddText(top, request_.title, theme::Scaled(kTitleHeight, scale), scale, kBoldFace)
              ->getViewSize()
              .bottom +
          gap;
  }
  if (request_.text.empty()) return top;
  const CCoord least = theme::Scaled(kLineHeight, scale) * request_.lineCount;
  CTextLabel* label = AddText(top, request_.text, least, scale, kNormalFace);
  label->setHoriAlign(request_.centered ? kCenterText : kLeftText);
  return label->getViewSize().bottom + gap;
}

CCoord DialogWindow::AddFields(CCoord top, double scale) {
  const CCoord margin = theme::Scaled(kMargin, scale);
  const CCoord right = getWidth() - margin;
  const CCoord labelHeight = theme::Scaled(kLineHeight, scale);
  const CCoord fieldHeight = theme::Scaled(kFieldHeight, scale);
  for (const DialogRequest::Field& field : request_.fields) {
    CTextLabel* label =
        MakeLabel(CRect(margin, top, right, top + labelHeight), field.label, scale, kNormalFace);
    label->setHoriAlign(kLeftText);
    addView(label);
    top += labelHeight;
    auto* edit = new CTextEdit(CRect(margin, top, right, top + fieldHeight));
    edit->setMaxLength(kMostFieldBytes);
    edit->setFont(theme::Font(scale));
    edit->setFontColor(theme::kText);
    edit->setBackColor(theme::kField);
    edit->setFrameColor(theme::kFieldEdge);
    edit->setHoriAlign(kLeftText);
    edit->setTextInset(CPoint(theme::Scaled(kGap / 2, scale), 0));
    edit->setText(field.value.c_str());
    edit->onReturn = [this](CTextEdit*) { Press(0); };
    fields_.push_back(edit);
    addView(edit);
    top += fieldHeight + theme::Scaled(kGap, scale);
  }
  return top;
}

CCoord DialogWindow::AddButtons(CCoord top, double scale) {
  CCoord width = theme::Scaled(kButtonWidth, scale);
  for (const std::string& caption : request_.buttons) {
    width =
        std::max(width, theme::Font(scale)->measure(caption).x + 2 * theme::Scaled(kGap, scale));
  }
  const CCoord height = theme::Scaled(kButtonHeight, scale);
  const CCoord gap = theme::Scaled(kGap, scale);
  const auto count = static_cast<CCoord>(request_.buttons.size());
  CCoord left = theme::Scaled((getWidth() - count * width - (count - 1) * gap) / 2, 1);
  top += gap;
  int number = 0;
  for (const std::string& caption : request_.buttons) {
    auto* button =
        new CTextButton(CRect(left, top, left + width, top + height), nullptr, 0, caption.c_str());
    button->setFont(theme::Font(scale));
    button->setProminent(number == 0);
    button->onPressed = [this, number] { Press(number); };
    ++number;
    addView(button);
    left += width + gap;
  }
  return top + height;
}

void DialogWindow::drawBackgroundRect(CDrawContext* context, const CRect& /*updateRect*/) {
  const CRect whole = CRect::FromSize({}, getWidth(), getHeight());
  CColor back = theme::kPanel;
  back.alpha = static_cast<std::uint8_t>(request_.alpha);
  context->setFillColor(back);
  context->setFrameColor(theme::kFieldEdge);
  context->setLineWidth(1);
  context->drawRoundRect(whole, theme::kCornerRadius, kDrawFilledAndStroked);
  if (request_.image && request_.image->load()) request_.image->draw(*context, whole);
}

CMouseEventResult DialogWindow::onMouseDown(CPoint& where, const CButtonState& buttons) {
  const CMouseEventResult result = CViewContainer::onMouseDown(where, buttons);
  return result == kMouseEventNotHandled ? kMouseDownEventHandledButDontNeedMovedOrUpEvents
                                         : result;
}

void DialogWindow::FocusNextField(bool backward) {
  CFrame* root = getFrame();
  if (!root || fields_.empty()) return;
  const auto count = fields_.size();
  const auto place = std::find(fields_.begin(), fields_.end(), root->getFocusView());
  const auto present = static_cast<std::size_t>(place - fields_.begin());
  Focus(*root,
        *fields_[place == fields_.end() ? 0 : (present + (backward ? count - 1 : 1)) % count]);
}

bool DialogWindow::onKeyDown(const CKeyEvent& event) {
  if (event.key == kKeyReturn) {
    Press(0);
  } else if (event.key == kKeyEscape) {
    Press(EscapeButton());
  } else if (event.key == kKeyTab) {
    FocusNextField(event.modifiers.isShiftSet());
  } else {
    return fields_.empty() && event.modifiers.getModifierState() == 0 &&
           PressByLetter(event.character);
  }
  return true;
}

bool DialogWindow::PressByLetter(char32_t letter) {
  int found = -1;
  for (std::size_t i = 0; i < request_.buttons.size(); ++i) {
    const std::string& caption = request_.buttons[i];
    if (caption.empty() || letter > 0x7F ||
        std::tolower(static_cast<unsigned char>(caption[0])) != static_cast<int>(letter)) {
      continue;
    }
    if (found >= 0) return false;  // two begin with it
    found = static_cast<int>(i);
  }
  if (found >= 0) Press(found);
  return found >= 0;
}

int DialogWindow::EscapeButton() const {
  const int last = static_cast<int>(request_.buttons.size()) - 1;
  return request_.escapeButton < 0 ? last : request_.escapeButton;
}

void DialogWindow::cancelModal() {
  if (IsShown()) Press(EscapeButton());
}

void DialogWindow::Press(int button) {
  const SharedPointer<DialogWindow> alive(this);
  if (!request_.callback) {
    CloseDialog();
    return;
  }
  // By a copy: the callback may show another dialog in this one's place.
  const DialogRequest::Callback callback = request_.callback;
  callback(*this, button);
}

}  // namespace halveron
