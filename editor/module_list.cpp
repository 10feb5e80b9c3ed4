#include "editor/module_list.h"

#include <cstdlib>
#include <utility>

#include "gui/draw_context.h"
#include "gui/star.h"
#include "gui/theme.h"

namespace halveron {

namespace {

// Pixels at scale 1.
constexpr CCoord kStarColumn = 26;
constexpr CCoord kStarSize = 12;
constexpr CCoord kIndent = 8;

constexpr const char* kNothingFound = "No module has all of these words";

}  // namespace

ModuleList::ModuleList(const CRect& size, CFrame* root, double scale_)
    : RowList(size, root, scale_, theme::kRowHeight) {
  takesFocus = false;
}

const ModuleChoice* ModuleList::Selected() const {
  return getSelected() < 0 ? nullptr : &RowOf(getSelected()).choice;
}

void ModuleList::SetRows(std::vector<ModuleRow> rows, bool keepSelection) {
  const ModuleIdentity before = Selected() ? Selected()->identity : ModuleIdentity();
  const int rowBefore = getSelected();
  rows_ = std::move(rows);
  const int count = static_cast<int>(rows_.size());
  setCount(count, kNothingFound, keepSelection);
  // A module may stand in two groups: the nearer row is meant.
  int first = -1, kept = -1;
  for (int i = 0; i < count; ++i) {
    if (isHeading(i)) continue;
    if (first < 0) first = i;
    if (RowOf(i).choice.identity != before) continue;
    if (kept < 0 || std::abs(i - rowBefore) < std::abs(kept - rowBefore)) kept = i;
  }
  select(keepSelection && kept >= 0 ? kept : first);
}

CCoord ModuleList::StarWidth() const { return theme::Scaled(kStarColumn, scale); }

bool ModuleList::pressInRow(int index, CCoord x) {
  const SharedPointer<ModuleList> alive(this);
  select(index);
  // By a copy: what is called may change the rows.
  const ModuleChoice choice = RowOf(index).choice;
  const auto& report = x < StarWidth() ? onStar : onChosen;
  if (report) report(choice);
  return true;
}

CMouseEventResult ModuleList::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  const CMouseEventResult result = RowList::onMouseMoved(where, buttons);
  const int row = buttons.getButtonState() == 0 ? getRowAt(where) : -1;
  if (row < 0 || row == getSelected() || isHeading(row)) return result;
  selectInPlace(row);
  return kMouseEventHandled;
}

void ModuleList::drawRow(CDrawContext& context, int index, const CRect& row) {
  const auto& [heading, choice] = RowOf(index);
  CRect place = row;
  const CCoord indent = theme::Scaled(kIndent, scale);
  if (isHeading(index)) {
    context.setFont(theme::Font(scale, kBoldFace));
    context.setFontColor(theme::kAccent);
    place.left += indent;
    context.drawString(heading, place, kLeftText);
    context.setFont(theme::Font(scale));
    return;
  }
  const bool isSelected = index == getSelected();
  if (choice.isFavourite || isSelected) {
    CRect star = row;
    star.setWidth(StarWidth());
    DrawStar(context, star.getCenter(), theme::Scaled(kStarSize, scale) / 2, choice.isFavourite,
             theme::kHighlightText);
  }
  place.left += StarWidth();
  place.right -= indent;
  context.drawString(choice.identity.first, place, kLeftText);
  place.left += context.getStringWidth(choice.identity.first) + 2 * indent;
  if (context.getStringWidth(choice.category) > place.getWidth()) return;
  if (!isSelected) context.setFontColor(theme::kDisabledText);
  context.drawString(choice.category, place, kRightText);
}

}  // namespace halveron
