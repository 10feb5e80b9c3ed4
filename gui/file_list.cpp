#include "gui/file_list.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "gui/draw_context.h"
#include "gui/frame.h"
#include "gui/text_search.h"
#include "gui/theme.h"

namespace halveron {
namespace {

constexpr CCoord kBarWidth = 12;
constexpr CCoord kIconColumn = 28;
constexpr double kTypingPause = 1.0;
constexpr CCoord kPartGap = 16;

void DrawFolderIcon(CDrawContext& context, const CRect& row, CCoord column) {
  const CCoord w = std::round(column * 0.55);
  const CCoord h = std::round(w * 0.75);
  const CPoint c(row.left + column * 0.5, row.getCenter().y);
  const CCoord left = std::round(c.x - w * 0.5);
  const CCoord top = std::round(c.y - h * 0.5);
  context.setFillColor(theme::kAccent);
  context.drawRoundRect(CRect::FromSize({left, top}, w * 0.5, h * 0.5), 1, kDrawFilled);
  context.drawRoundRect(CRect::FromSize({left, top + h * 0.2}, w, h * 0.8), 1, kDrawFilled);
}

}  // namespace

FileList::FileList(const CRect& size, CFrame* root, double scale_)
    : CViewContainer(size, root),
      scale(scale_),
      rowHeight(theme::Scaled(theme::kRowHeight, scale_)) {
  const CCoord width = theme::Scaled(kBarWidth, scale);
  bar = new CScrollbar(CRect(getWidth() - width, 0, getWidth(), getHeight()), this, 0,
                       CScrollbar::kVertical);
  bar->setWheelStep(3 * rowHeight);
  addView(bar);
}

void FileList::setEntries(const std::vector<FolderEntry>* shown, const std::string& noteIfEmpty) {
  entries = shown;
  note = noteIfEmpty;
  selected = -1;
  typed.clear();
  bar->setScrollSize(count() * rowHeight, getHeight());
  bar->scrollTo(0);
  bar->setVisible(bar->canScroll());
  invalid();
}

CRect FileList::wholeRowRect(int index) const {
  const CCoord top = index * rowHeight - std::round(bar->getScrollPosition());
  return {0, top, bar->isVisible() ? bar->getViewSize().left : getWidth(), top + rowHeight};
}

CRect FileList::getRowRect(int index) const {
  if (index < 0 || index >= count()) return {};
  return wholeRowRect(index).bound({0, 0, getWidth(), getHeight()});
}

void FileList::select(int index) {
  selected = index >= 0 && index < count() ? index : -1;
  if (selected >= 0) {
    const CCoord top = selected * rowHeight;
    const CCoord scroll = bar->getScrollPosition();
    if (top < scroll) bar->scrollTo(top);
    if (top + rowHeight > scroll + getHeight()) bar->scrollTo(top + rowHeight - getHeight());
    if (onSelected) onSelected(selected);
  }
  invalid();
}

void FileList::valueChanged(CControl* /*control*/) { invalid(); }

CMouseEventResult FileList::onMouseDown(CPoint& where, const CButtonState& buttons) {
  if (CFrame* root = getFrame()) root->setFocusView(this);
  const CMouseEventResult result = CViewContainer::onMouseDown(where, buttons);
  if (result != kMouseEventNotHandled || !buttons.isLeftButton()) return result;
  const CCoord y = toChildren(where).y + std::round(bar->getScrollPosition());
  const int index = static_cast<int>(std::floor(y / rowHeight));
  const bool again = buttons.isDoubleClick() && index == selected;
  select(index);
  if (again && selected >= 0 && onActivated) onActivated(selected);
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

bool FileList::onWheel(const CPoint& where, float distance, const CButtonState& buttons) {
  return bar->onWheel(where, distance, buttons);
}

bool FileList::onKeyDown(const CKeyEvent& event) {
  const int page = std::max(1, static_cast<int>(getHeight() / rowHeight) - 1);
  const int last = count() - 1;
  switch (event.key) {
    case kKeyUp:
      if (last >= 0) select(selected < 0 ? last : std::max(selected - 1, 0));
      return true;
    case kKeyDown:
      if (last >= 0) select(std::min(selected + 1, last));
      return true;
    case kKeyPageUp:
      if (last >= 0) select(std::max(selected - page, 0));
      return true;
    case kKeyPageDown:
      if (last >= 0) select(std::min(std::max(selected, 0) + page, last));
      return true;
    case kKeyHome:
      select(0);
      return true;
    case kKeyEnd:
      select(last);
      return true;
    case kKeyReturn:
      if (selected < 0 || !onActivated) return false;
      onActivated(selected);
      return true;
    default:
      break;
  }
  if (event.character == 0 || event.modifiers.isControlSet() || event.modifiers.isAltSet()) {
    return false;
  }
  const double now = getFrame() ? getFrame()->getTime() : 0;
  if (now - lastTyped > kTypingPause) typed.clear();
  lastTyped = now;
  AppendCodePoint(typed, event.character);
  jumpTo(FoldedCase(typed));
  return true;
}

void FileList::jumpTo(const std::string& folded) {
  for (int i = 0; i < count(); ++i) {
    if (!FoldedCase((*entries)[static_cast<std::size_t>(i)].name).starts_with(folded)) continue;
    return select(i);
  }
}

void FileList::drawBackgroundRect(CDrawContext* context, const CRect& updateRect) {
  context->setFillColor(theme::kField);
  context->fillRect(updateRect);
  context->setFont(theme::Font(scale));
  const CRect whole(0, 0, getWidth(), getHeight());
  if (count() == 0) {
    context->setFontColor(theme::kDisabledText);
    context->drawString(note, whole);
  }
  for (int i = 0; i < count(); ++i) {
    if (wholeRowRect(i).rectOverlap(updateRect)) drawRow(*context, i);
  }
  const CFrame* root = getFrame();
  context->setFrameColor(root && root->getFocusView() == this ? theme::kHighlight
                                                              : theme::kFieldEdge);
  context->setLineWidth(1);
  context->drawRect(whole, kDrawStroked);
}

void FileList::drawRow(CDrawContext& context, int index) {
  const FolderEntry& entry = (*entries)[static_cast<std::size_t>(index)];
  CRect row = wholeRowRect(index);
  if (index == selected) {
    context.setFillColor(theme::kHighlight);
    context.fillRect(row);
  }
  const CCoord column = theme::Scaled(kIconColumn, scale);
  if (entry.isFolder) DrawFolderIcon(context, row, column);
  row.left += column;
  context.setFontColor(index == selected ? theme::kHighlightText : theme::kText);
  context.drawString(entry.name, row, kLeftText);
}

PathBar::PathBar(const CRect& size, double scale_) : CView(size), scale(scale_) {
  transparent = true;
}

void PathBar::setPath(const std::string& path) {
  parts.clear();
  std::filesystem::path whole;
  for (const auto& part : std::filesystem::path(path)) {
    whole /= part;
    parts.push_back({part.string(), whole.string(), {}});
  }
  layOut();
  invalid();
}

void PathBar::layOut() {
  const auto font = theme::Font(scale);
  const CCoord gap = theme::Scaled(kPartGap, scale);
  CCoord total = 0;
  for (Part& part : parts) {
    part.rect = CRect::FromSize({0, viewSize.top}, font->measure(part.name).x + gap, getHeight());
    total += part.rect.getWidth();
  }
  // What does not fit is lost at the root's end.
  CCoord x = viewSize.left - std::max(0.0, total - getWidth());
  for (Part& part : parts) {
    part.rect.moveTo(x, viewSize.top);
    x = part.rect.right;
  }
}

CRect PathBar::getPartRect(int depth) const {
  if (depth < 0 || depth >= static_cast<int>(parts.size())) return {};
  return CRect(parts[static_cast<std::size_t>(depth)].rect).bound(viewSize);
}

void PathBar::draw(CDrawContext* context) {
  setDirty(false);
  const DrawStateScope scope(*context);
  context->setClipRect(viewSize);
  context->setFont(theme::Font(scale));
  const CCoord unit = theme::Scaled(4, scale);
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const CRect& rect = parts[i].rect;
    const bool isLast = i + 1 == parts.size();
    context->setFontColor(isLast ? theme::kText : theme::kPaleText);
    context->drawString(parts[i].name, {rect.left, rect.top, rect.right, rect.bottom}, kLeftText);
    if (isLast) continue;
    const CPoint tip(rect.right - unit, rect.getCenter().y);
    const CPoint chevron[] = {{tip.x - unit, tip.y - unit}, tip, {tip.x - unit, tip.y + unit}};
    context->setFrameColor(theme::kDisabledText);
    context->setLineWidth(1.5);
    context->drawPolyline(chevron);
  }
}

CMouseEventResult PathBar::onMouseDown(CPoint& where, const CButtonState& buttons) {
  if (!buttons.isLeftButton()) return kMouseEventNotHandled;
  for (const Part& part : parts) {
    if (!part.rect.pointInside(where) || !onChosen) continue;
    onChosen(std::string(part.path));
    break;
  }
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

}  // namespace halveron
