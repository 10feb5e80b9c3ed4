#include "editor/module_list.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <utility>

#include "gui/draw_context.h"
#include "gui/theme.h"

namespace halveron {

namespace {

// Pixels at scale 1.
constexpr CCoord kBarWidth = 12;
constexpr CCoord kStarColumn = 26;
constexpr CCoord kStarSize = 12;
constexpr CCoord kIndent = 8;

constexpr const char* kNothingFound = "No module has all of these words";

}  // namespace

ModuleList::ModuleList(const CRect& size, double scale)
    : CViewContainer(size, nullptr),
      scale_(scale),
      rowHeight_(theme::Scaled(theme::kRowHeight, scale)),
      starWidth_(theme::Scaled(kStarColumn, scale)) {
  bar_ = new CScrollbar(BarRect(), this, 0, CScrollbar::kVertical);
  bar_->setWheelStep(3 * rowHeight_);
  addView(bar_);
}

CRect ModuleList::BarRect() const {
  return {getWidth() - theme::Scaled(kBarWidth, scale_), 0, getWidth(), getHeight()};
}

void ModuleList::setViewSize(const CRect& rect, bool invalidate) {
  CViewContainer::setViewSize(rect, invalidate);
  const CCoord scroll = bar_->getScrollPosition();
  bar_->setViewSize(BarRect(), invalidate);
  SizeBar();
  bar_->scrollTo(scroll);
  if (selected_ >= 0) ScrollToShow(selected_);
}

void ModuleList::SizeBar() {
  bar_->setScrollSize(static_cast<CCoord>(rows_.size()) * rowHeight_, getHeight());
  bar_->setVisible(bar_->canScroll());
}

const ModuleChoice* ModuleList::Selected() const {
  return selected_ < 0 ? nullptr : &rows_[static_cast<std::size_t>(selected_)].choice;
}

void ModuleList::SetRows(std::vector<ModuleRow> rows, bool keepSelection) {
  const ModuleIdentity before = Selected() ? Selected()->identity : ModuleIdentity();
  const int rowBefore = selected_;
  const CCoord scrollBefore = bar_->getScrollPosition();
  rows_ = std::move(rows);
  SizeBar();
  bar_->scrollTo(keepSelection ? scrollBefore : 0);
  // A module may stand in two groups: the nearer row is meant.
  int first = -1, kept = -1;
  for (int i = 0; i < static_cast<int>(rows_.size()); ++i) {
    const ModuleRow& row = rows_[static_cast<std::size_t>(i)];
    if (row.IsHeading()) continue;
    if (first < 0) first = i;
    if (row.choice.identity != before) continue;
    if (kept < 0 || std::abs(i - rowBefore) < std::abs(kept - rowBefore)) kept = i;
  }
  Select(keepSelection && kept >= 0 ? kept : first);
}

void ModuleList::Select(int row) {
  selected_ = row;
  if (row >= 0) ScrollToShow(row);
  invalid();
  if (onSelected) onSelected();
}

void ModuleList::ScrollToShow(int row) {
  // With the heading above it.
  const bool hasHeading = row > 0 && rows_[static_cast<std::size_t>(row) - 1].IsHeading();
  const CCoord top = (hasHeading ? row - 1 : row) * rowHeight_;
  const CCoord bottom = (row + 1) * rowHeight_;
  const CCoord scroll = bar_->getScrollPosition();
  if (top < scroll) bar_->scrollTo(top);
  if (bottom > scroll + getHeight()) bar_->scrollTo(bottom - getHeight());
}

void ModuleList::Move(int steps) {
  const int direction = steps < 0 ? -1 : 1;
  int row = selected_, wanted = std::abs(steps);
  for (int next = row + direction; wanted > 0 && next >= 0 && next < static_cast<int>(rows_.size());
       next += direction) {
    if (rows_[static_cast<std::size_t>(next)].IsHeading()) continue;
    row = next;
    --wanted;
  }
  if (row != selected_) Select(row);
}

int ModuleList::ModulesPerPage() const {
  return std::max(static_cast<int>(getHeight() / rowHeight_) - 1, 1);
}

CRect ModuleList::WholeRowRect(int index) const {
  const CCoord top = index * rowHeight_ - std::round(bar_->getScrollPosition());
  return {0, top, bar_->isVisible() ? bar_->getViewSize().left : getWidth(), top + rowHeight_};
}

CRect ModuleList::RowRect(int index) const {
  return WholeRowRect(index).bound({0, 0, getWidth(), getHeight()});
}

int ModuleList::RowAt(const CPoint& where) const {
  const CCoord y = toChildren(where).y + std::round(bar_->getScrollPosition());
  const int row = static_cast<int>(std::floor(y / rowHeight_));
  const bool isModule = row >= 0 && row < static_cast<int>(rows_.size()) &&
                        !rows_[static_cast<std::size_t>(row)].IsHeading();
  return isModule ? row : -1;
}

void ModuleList::valueChanged(CControl* /*control*/) { invalid(); }

CMouseEventResult ModuleList::onMouseDown(CPoint& where, const CButtonState& buttons) {
  const CMouseEventResult result = CViewContainer::onMouseDown(where, buttons);
  if (result != kMouseEventNotHandled || !buttons.isLeftButton()) return result;
  const int row = RowAt(where);
  if (row < 0) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  const bool isOnStar = toChildren(where).x < starWidth_;
  Select(row);
  // By a copy: what is called may change the rows.
  const ModuleChoice choice = rows_[static_cast<std::size_t>(row)].choice;
  if (isOnStar) {
    if (onStar) onStar(choice);
  } else if (onChosen) {
    onChosen(choice);
  }
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

CMouseEventResult ModuleList::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  const CMouseEventResult result = CViewContainer::onMouseMoved(where, buttons);
  const int row = buttons.getButtonState() == 0 ? RowAt(where) : -1;
  if (row < 0 || row == selected_ || !getViewSize().pointInside(where)) return result;
  // Without scrolling: the rows stay under the mouse.
  selected_ = row;
  invalid();
  if (onSelected) onSelected();
  return kMouseEventHandled;
}

bool ModuleList::onWheel(const CPoint& where, float distance, const CButtonState& buttons) {
  return bar_->onWheel(where, distance, buttons);
}

void ModuleList::drawBackgroundRect(CDrawContext* context, const CRect& updateRect) {
  context->setFillColor(theme::kField);
  context->fillRect(updateRect);
  context->setFont(theme::Font(scale_));
  const CRect whole(0, 0, getWidth(), getHeight());
  if (rows_.empty()) {
    context->setFontColor(theme::kDisabledText);
    context->drawString(kNothingFound, whole);
  }
  for (int i = 0; i < static_cast<int>(rows_.size()); ++i) {
    if (WholeRowRect(i).rectOverlap(updateRect)) DrawRow(*context, i);
  }
  context->setFrameColor(theme::kFieldEdge);
  context->setLineWidth(1);
  context->drawRect(whole, kDrawStroked);
}

void ModuleList::DrawRow(CDrawContext& context, int index) const {
  const ModuleRow& row = rows_[static_cast<std::size_t>(index)];
  CRect place = WholeRowRect(index);
  const CCoord indent = theme::Scaled(kIndent, scale_);
  if (row.IsHeading()) {
    context.setFont(theme::Font(scale_, kBoldFace));
    context.setFontColor(theme::kAccent);
    place.left += indent;
    context.drawString(row.heading, place, kLeftText);
    context.setFont(theme::Font(scale_));
    return;
  }
  const bool isSelected = index == selected_;
  if (isSelected) {
    context.setFillColor(theme::kHighlight);
    context.fillRect(place);
  }
  CRect star = place;
  star.setWidth(starWidth_);
  DrawStar(context, star, row.choice.isFavourite, !isSelected);
  place.left += starWidth_;
  place.right -= indent;
  context.setFontColor(isSelected ? theme::kHighlightText : theme::kText);
  context.drawString(row.choice.identity.first, place, kLeftText);
  const CCoord used = context.getStringWidth(row.choice.identity.first) + 2 * indent;
  place.left += used;
  if (context.getStringWidth(row.choice.category) > place.getWidth()) return;
  context.setFontColor(isSelected ? theme::kHighlightText : theme::kDisabledText);
  context.drawString(row.choice.category, place, kRightText);
}

void ModuleList::DrawStar(CDrawContext& context, const CRect& place, bool isSet,
                          bool isPale) const {
  if (!isSet && isPale) return;
  constexpr double kInnerShare = 0.45;
  constexpr int kTips = 5;
  std::array<CPoint, 2 * kTips + 1> corners;
  const CCoord radius = theme::Scaled(kStarSize, scale_) / 2;
  for (std::size_t i = 0; i < corners.size(); ++i) {
    const double angle = std::numbers::pi * (static_cast<double>(i) / kTips - 0.5);
    const CCoord reach = i % 2 == 0 ? radius : radius * kInnerShare;
    corners[i] = place.getCenter() + CPoint(std::cos(angle) * reach, std::sin(angle) * reach);
  }
  context.setFrameColor(isSet ? theme::kAccent : theme::kHighlightText);
  context.setFillColor(theme::kAccent);
  context.setLineWidth(1);
  context.drawPolygon(corners, isSet ? kDrawFilledAndStroked : kDrawStroked);
}

}  // namespace halveron
