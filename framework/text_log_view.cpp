#include "framework/text_log_view.h"

#include <algorithm>
#include <cmath>

#include "framework/display_view.h"
#include "framework/panel_metrics.h"
#include "framework/shared_bitmaps.h"
#include "framework/text_log.h"
#include "gui/frame.h"
#include "gui/theme.h"

namespace halveron {

namespace {

constexpr CCoord kMargin = 3;
constexpr double kBarWidth = 10;  // panel units
constexpr std::ptrdiff_t kRowsOfNotch = 3;

CRect BarRect(const CRect& size) {
  const CCoord width = ScaleToPixels(kBarWidth);
  return CRect(size.getWidth() - width, 0, size.getWidth(), size.getHeight());
}

}  // namespace

TextLogView::TextLogView(const CRect& size, CFrame* intended, TextLog& log, const char* fontFamily,
                         double fontSize)
    : CViewContainer(size, intended),
      log_(log),
      font_(SharedPointer<CFontDesc>::Adopt(new CFontDesc(fontFamily, fontSize))),
      bar_(new CScrollbar(BarRect(size), this, 0, CScrollbar::kVertical)) {
  constexpr const char* kSample = "0000000000";  // one digit alone is rounded too coarsely
  letter_ = font_->measure(kSample);
  letter_.x /= 10;
  addView(bar_);
  setBackgroundColor(DisplayView::kScreenColor);
  log_.SetWrapColumns(VisibleColumns());
  setWantsIdle(true);
  Refresh();
}

std::size_t TextLogView::VisibleRows() const {
  return static_cast<std::size_t>(std::max(1.0, std::floor((getHeight() - kMargin) / letter_.y)));
}

std::size_t TextLogView::VisibleColumns() const {
  const CCoord width = bar_->getViewSize().left - 2 * kMargin;
  return static_cast<std::size_t>(std::max(1.0, std::floor(width / letter_.x)));
}

std::size_t TextLogView::LastTop() const {
  const std::size_t rows = log_.EndRow() - log_.FirstRow();
  return log_.EndRow() - std::min(rows, VisibleRows());
}

void TextLogView::ScrollToRow(std::size_t row) {
  top_ = std::clamp(row, log_.FirstRow(), LastTop());
  following_ = top_ == LastTop();
  UpdateBar();
  invalid();
}

void TextLogView::Scroll(std::ptrdiff_t rows) {
  const auto first = static_cast<std::ptrdiff_t>(log_.FirstRow());
  ScrollToRow(static_cast<std::size_t>(std::max(static_cast<std::ptrdiff_t>(top_) + rows, first)));
}

void TextLogView::UpdateBar() {
  const auto rows = static_cast<CCoord>(log_.EndRow() - log_.FirstRow());
  bar_->setWheelStep(letter_.y * kRowsOfNotch);
  bar_->setScrollSize(std::max(rows * letter_.y, getHeight()), getHeight());
  const auto reach = static_cast<float>(LastTop() - log_.FirstRow());
  bar_->setValue(reach > 0 ? static_cast<float>(top_ - log_.FirstRow()) / reach : 1.0f);
}

void TextLogView::Refresh() {
  log_.Collect();
  shownFirst_ = log_.FirstRow();
  shownEnd_ = log_.EndRow();
  // A log that was cleared begins again.
  if (caret_.row < shownFirst_ && anchor_.row < shownFirst_) anchor_ = caret_ = {shownFirst_, 0};
  ScrollToRow(following_ ? LastTop() : top_);
}

void TextLogView::onIdle() {
  if (log_.Collect() || log_.FirstRow() != shownFirst_ || log_.EndRow() != shownEnd_) Refresh();
}

void TextLogView::enteredFrame(CFrame* root) {
  CViewContainer::enteredFrame(root);
  Refresh();
}

void TextLogView::leavingFrame(CFrame* root) {
  menu_.Close();
  CViewContainer::leavingFrame(root);
}

void TextLogView::valueChanged(CControl*) {
  const auto reach = static_cast<float>(LastTop() - log_.FirstRow());
  ScrollToRow(log_.FirstRow() + static_cast<std::size_t>(std::lround(bar_->getValue() * reach)));
}

void TextLogView::drawBackgroundRect(CDrawContext* context, const CRect& updateRect) {
  CViewContainer::drawBackgroundRect(context, updateRect);
  context->setFont(font_);
  const std::size_t end = std::min(log_.EndRow(), top_ + VisibleRows());
  CRect rect(kMargin, kMargin, bar_->getViewSize().left - kMargin, kMargin + letter_.y);
  for (std::size_t row = top_; row < end; ++row) {
    DrawRow(*context, row, rect);
    rect.offset(0, letter_.y);
  }
}

void TextLogView::DrawRow(CDrawContext& context, std::size_t row, const CRect& rect) const {
  const std::string& text = log_.At(row).text;
  const auto [from, to] = std::minmax(anchor_, caret_);
  if (from != to && row >= from.row && row <= to.row) {
    const auto xOf = [&](std::size_t column) {
      return std::min(rect.left + static_cast<CCoord>(column) * letter_.x, rect.right);
    };
    context.setFillColor(theme::kSelection);
    context.fillRect(CRect(row == from.row ? xOf(from.column) : rect.left, rect.top,
                           row == to.row ? xOf(to.column) : rect.right, rect.bottom));
  }
  context.setFontColor(digitColor);
  context.drawString(text, rect, kLeftText);
}

TextLogView::Place TextLogView::PlaceAt(const CPoint& where) const {
  const CPoint local = toChildren(where);
  const double row = std::floor((local.y - kMargin) / letter_.y) + static_cast<double>(top_);
  const auto first = static_cast<double>(log_.FirstRow());
  if (row < first) return {log_.FirstRow(), 0};
  if (row >= static_cast<double>(log_.EndRow())) return {log_.EndRow(), 0};
  const double column = std::max(0.0, std::round((local.x - kMargin) / letter_.x));
  return {static_cast<std::size_t>(row), static_cast<std::size_t>(column)};
}

CMouseEventResult TextLogView::onMouseDown(CPoint& where, const CButtonState& buttons) {
  const CMouseEventResult taken = CViewContainer::onMouseDown(where, buttons);
  if (taken == kMouseEventHandled || taken == kMouseDownEventHandledButDontNeedMovedOrUpEvents) {
    return taken;
  }
  if (buttons.isRightButton()) {
    OpenMenu(where);
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  if (!buttons.isLeftButton()) return kMouseEventNotHandled;
  if (CFrame* root = getFrame()) root->setFocusView(this);
  caret_ = PlaceAt(where);
  if (!buttons.isShiftSet()) anchor_ = caret_;
  selecting_ = true;
  invalid();
  return kMouseEventHandled;
}

CMouseEventResult TextLogView::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  if (!selecting_) return CViewContainer::onMouseMoved(where, buttons);
  const CPoint local = toChildren(where);
  if (local.y < 0) Scroll(-1);
  if (local.y > getHeight()) Scroll(1);
  caret_ = PlaceAt(where);
  invalid();
  return kMouseEventHandled;
}

CMouseEventResult TextLogView::onMouseUp(CPoint& where, const CButtonState& buttons) {
  if (!selecting_) return CViewContainer::onMouseUp(where, buttons);
  selecting_ = false;
  return kMouseEventHandled;
}

bool TextLogView::onWheel(const CPoint&, float distance, const CButtonState&) {
  Scroll(-static_cast<std::ptrdiff_t>(std::lround(distance * kRowsOfNotch)));
  return true;
}

bool TextLogView::onKeyDown(const CKeyEvent& event) {
  const auto page = static_cast<std::ptrdiff_t>(VisibleRows());
  if (event.modifiers.isControlSet() && event.key == kKeyNone) {
    if (event.character == 'c') CopySelection();
    if (event.character == 'a') SelectAll();
    return event.character == 'c' || event.character == 'a';
  }
  switch (event.key) {
    case kKeyUp:
      Scroll(-1);
      return true;
    case kKeyDown:
      Scroll(1);
      return true;
    case kKeyPageUp:
      Scroll(-page);
      return true;
    case kKeyPageDown:
      Scroll(page);
      return true;
    case kKeyHome:
      ScrollToRow(log_.FirstRow());
      return true;
    case kKeyEnd:
      ScrollToRow(LastTop());
      return true;
    case kKeyEscape:
      if (CFrame* root = getFrame()) root->setFocusView(nullptr);
      return true;
    default:
      return false;
  }
}

void TextLogView::SelectAll() {
  anchor_ = {log_.FirstRow(), 0};
  caret_ = {log_.EndRow(), 0};
  invalid();
}

std::string TextLogView::SelectedText() const {
  const auto [from, to] = std::minmax(anchor_, caret_);
  return log_.Text(from.row, from.column, to.row, to.column);
}

void TextLogView::CopySelection() {
  CFrame* root = getFrame();
  const std::string text = SelectedText();
  if (root && !text.empty()) root->setClipboardText(text);
}

void TextLogView::OpenMenu(const CPoint& where) {
  CPoint point = where;
  const bool selected = !SelectedText().empty();
  const auto copyAll = [this] {
    if (CFrame* root = getFrame()) root->setClipboardText(log_.Text());
  };
  menu_.OpenAt(
      getFrame(), localToFrame(point),
      {{.title = "Copy", .action = [this] { CopySelection(); }, .enabled = selected},
       {.title = "Copy All", .action = copyAll, .enabled = log_.EndRow() > log_.FirstRow()}});
}

}  // namespace halveron
