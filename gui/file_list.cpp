#include "gui/file_list.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <utility>

#include "gui/draw_context.h"
#include "gui/frame.h"
#include "gui/text_search.h"
#include "gui/theme.h"

namespace halveron {
namespace {

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
    : RowList(size, root, scale_, theme::kRowHeight) {}

void FileList::setEntries(const std::vector<FolderEntry>* shown, const std::string& noteIfEmpty) {
  entries = shown;
  typed.clear();
  setCount(static_cast<int>(entries->size()), noteIfEmpty);
}

bool FileList::onKeyDown(const CKeyEvent& event) {
  if (RowList::onKeyDown(event)) return true;
  if (event.character == 0 || event.modifiers.isControlSet() || event.modifiers.isAltSet()) {
    return false;
  }
  const double now = getFrame() ? getFrame()->getTime() : 0;
  if (now - lastTyped > kTypingPause) typed.clear();
  lastTyped = now;
  AppendCodePoint(typed, event.character);
  if (!jumpTo(FoldedCase(typed)) && onUnknownName) onUnknownName(std::exchange(typed, {}));
  return true;
}

bool FileList::jumpTo(const std::string& folded) {
  for (int i = 0; i < getCount(); ++i) {
    if (!FoldedCase((*entries)[static_cast<std::size_t>(i)].name).starts_with(folded)) continue;
    select(i);
    return true;
  }
  return false;
}

void FileList::drawRow(CDrawContext& context, int index, const CRect& row) {
  const FolderEntry& entry = (*entries)[static_cast<std::size_t>(index)];
  const CCoord column = theme::Scaled(kIconColumn, scale);
  if (entry.isFolder) DrawFolderIcon(context, row, column);
  CRect text = row;
  text.left += column;
  context.drawString(entry.name, text, kLeftText);
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
