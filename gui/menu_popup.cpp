#include "gui/menu_popup.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "gui/draw_context.h"
#include "gui/frame.h"
#include "gui/text_search.h"
#include "gui/theme.h"

namespace halveron {
namespace {

constexpr CCoord kCheckColumn = 24;
constexpr CCoord kArrowColumn = 22;
constexpr CCoord kSeparatorHeight = 9;
constexpr CCoord kEdge = 4;  // above the first entry and below the last
constexpr CCoord kHintGap = 24;
constexpr CCoord kScrollZone = 14;
constexpr CCoord kSubmenuOverlap = 3;
constexpr CCoord kFindWidth = 260;
constexpr double kHoverDelay = 0.12;
constexpr double kTypingPause = 1.0;
constexpr CCoord kStickyPixels = 5;
constexpr CCoord kRowsPerIdle = 0.5;
constexpr CCoord kRowsPerNotch = 3;
constexpr int kMostFound = 200;
// Menus do not nest deeper; a menu that contains itself must not hang the search.
constexpr int kDeepest = 16;

bool IsStep(const CMenuItem& item) { return item.isSelectable(); }

}  // namespace

MenuPopup::MenuPopup(COptionMenu* menu_, CFrame* root, const CPoint& where, CCoord leastWidth_)
    : CView(root->getViewSize()),
      menu(menu_),
      scale(root->getUiScale()),
      font(theme::Font(scale)),
      headingFont(theme::Font(scale, kBoldFace)),
      rowHeight(theme::Scaled(theme::kRowHeight, scale)),
      leastWidth(leastWidth_),
      corner(where),
      openedAt(root->getCurrentMouseLocation()),
      openedByPress(root->getCurrentMouseButtons().getButtonState() != 0),
      hoveredSince(root->getTime()) {
  transparent = true;
  setWantsIdle(true);
  panels.push_back(makePanel(menu));
  place(panels[0], corner, leastWidth);
  const int current = menu->getCurrentIndex();
  for (std::size_t i = 0; i < panels[0].rows.size(); ++i) {
    if (panels[0].rows[i].index == current) reveal(panels[0], static_cast<int>(i));
  }
}

MenuPopup::~MenuPopup() = default;

void MenuPopup::addRow(Panel& panel, CMenuItem* item, COptionMenu* holder, int index,
                       std::string hint) {
  const CCoord height = item->isSeparator() ? theme::Scaled(kSeparatorHeight, scale) : rowHeight;
  panel.rows.push_back({item, holder, index, std::move(hint), panel.contents, height});
  panel.contents += height;
}

MenuPopup::Panel MenuPopup::makePanel(COptionMenu* shown) {
  Panel panel;
  for (int i = 0; i < shown->getNbEntries(); ++i) {
    addRow(panel, shown->getEntry(i), shown, i, shown->getEntry(i)->getShortcut());
  }
  return panel;
}

CPoint MenuPopup::sizeOf(const Panel& panel) const {
  CCoord width = 0;
  for (const Row& row : panel.rows) {
    const CFontDesc& face = row.item->isTitle() ? *headingFont : *font;
    CCoord w = face.measure(row.item->getTitle()).x;
    if (!row.hint.empty()) w += theme::Scaled(kHintGap, scale) + font->measure(row.hint).x;
    width = std::max(width, w);
  }
  width += theme::Scaled(kCheckColumn, scale) + theme::Scaled(kArrowColumn, scale);
  if (!findText.empty()) width = std::max(width, theme::Scaled(kFindWidth, scale));
  const CCoord heading = findText.empty() ? 0 : rowHeight;
  return {width, panel.contents + heading + 2 * theme::Scaled(kEdge, scale)};
}

void MenuPopup::place(Panel& panel, const CPoint& at, CCoord least) {
  const CPoint size = sizeOf(panel);
  const CCoord width = std::min(std::max(size.x, least), getWidth());
  const CCoord height = std::min(size.y, getHeight());
  const CCoord left = std::clamp(at.x, viewSize.left, viewSize.right - width);
  const CCoord top = std::clamp(at.y, viewSize.top, viewSize.bottom - height);
  panel.rect = CRect::FromSize({std::round(left), std::round(top)}, width, height);
  panel.scrolls = size.y > height;
}

CRect MenuPopup::getPanelRect(int depth) const {
  return depth >= 0 && depth < getDepth() ? panels[static_cast<std::size_t>(depth)].rect : CRect();
}

CRect MenuPopup::getEntryRect(int depth, int index) const {
  if (depth < 0 || depth >= getDepth()) return {};
  const Panel& panel = panels[static_cast<std::size_t>(depth)];
  return index >= 0 && index < static_cast<int>(panel.rows.size())
             ? rowRect(panel, index).bound(listRect(panel))
             : CRect();
}

std::string MenuPopup::getHighlightedTitle() const {
  if (panels.empty()) return {};
  const Row* row = rowAt({getDepth() - 1, panels.back().highlight});
  return row ? row->item->getTitle() : "";
}

CRect MenuPopup::listRect(const Panel& panel) const {
  CRect rect = panel.rect;
  rect.inset(0, theme::Scaled(panel.scrolls ? kScrollZone : kEdge, scale));
  if (!findText.empty()) rect.top += rowHeight;
  return rect;
}

CRect MenuPopup::rowRect(const Panel& panel, int row) const {
  const Row& r = panel.rows[static_cast<std::size_t>(row)];
  const CRect list = listRect(panel);
  return CRect::FromSize({list.left, list.top + r.top - panel.scroll}, list.getWidth(), r.height);
}

const MenuPopup::Row* MenuPopup::rowAt(const Place& at) const {
  if (at.panel < 0 || at.panel >= getDepth()) return nullptr;
  const Panel& panel = panels[static_cast<std::size_t>(at.panel)];
  if (at.row < 0 || at.row >= static_cast<int>(panel.rows.size())) return nullptr;
  return &panel.rows[static_cast<std::size_t>(at.row)];
}

MenuPopup::Place MenuPopup::placeAt(const CPoint& where) const {
  for (int depth = getDepth() - 1; depth >= 0; --depth) {
    const Panel& panel = panels[static_cast<std::size_t>(depth)];
    if (!panel.rect.pointInside(where)) continue;
    if (!listRect(panel).pointInside(where)) return {depth, -1};
    for (int row = 0; row < static_cast<int>(panel.rows.size()); ++row) {
      if (rowRect(panel, row).pointInside(where)) return {depth, row};
    }
    return {depth, -1};
  }
  return {};
}

void MenuPopup::setScroll(Panel& panel, CCoord scroll) {
  const CCoord most = std::max(0.0, panel.contents - listRect(panel).getHeight());
  const CCoord next = std::clamp(std::round(scroll), 0.0, most);
  if (next == panel.scroll) return;
  panel.scroll = next;
  invalidRect(panel.rect);
}

void MenuPopup::reveal(Panel& panel, int row) {
  const Row& r = panel.rows[static_cast<std::size_t>(row)];
  const CCoord seen = listRect(panel).getHeight();
  if (r.top < panel.scroll) setScroll(panel, r.top);
  if (r.top + r.height > panel.scroll + seen) setScroll(panel, r.top + r.height - seen);
}

void MenuPopup::highlight(int depth, int row) {
  Panel& panel = panels[static_cast<std::size_t>(depth)];
  const Row* target = rowAt({depth, row});
  const int next = target && IsStep(*target->item) ? row : -1;
  if (next == panel.highlight) return;
  panel.highlight = next;
  invalidRect(panel.rect);
}

void MenuPopup::closeDeeperThan(int depth) {
  while (getDepth() > depth + 1) {
    invalidRect(panels.back().rect);
    panels.pop_back();
  }
  panels.back().openRow = -1;
}

void MenuPopup::openSubmenu(int depth, int row, bool highlightFirst) {
  Panel& parent = panels[static_cast<std::size_t>(depth)];
  if (parent.openRow != row || getDepth() == depth + 1) {
    closeDeeperThan(depth);
    COptionMenu* submenu = rowAt({depth, row})->item->getSubmenu();
    if (submenu->getNbEntries() == 0 || depth + 1 >= kDeepest) return;
    Panel panel = makePanel(submenu);
    const CRect entry = rowRect(parent, row);
    const CCoord overlap = theme::Scaled(kSubmenuOverlap, scale);
    const CCoord width = sizeOf(panel).x;
    const bool fitsRight = parent.rect.right - overlap + width <= viewSize.right;
    const bool fitsLeft = parent.rect.left + overlap - width >= viewSize.left;
    const CCoord left =
        fitsRight || !fitsLeft ? parent.rect.right - overlap : parent.rect.left + overlap - width;
    place(panel, {left, entry.top - theme::Scaled(kEdge, scale)}, 0);
    parent.openRow = row;
    panels.push_back(std::move(panel));
    invalidRect(panels.back().rect);
  }
  if (highlightFirst) moveHighlight(-1, 1);
}

void MenuPopup::activate(int depth, int row, bool byKey) {
  const Row* target = rowAt({depth, row});
  if (!target || !IsStep(*target->item)) return;
  highlight(depth, row);
  if (target->item->getSubmenu()) return openSubmenu(depth, row, byKey);
  // The menu may have changed since it was shown.
  const int index = target->holder->getIndexOf(target->item);
  close(index >= 0 ? target->holder.get() : nullptr, index);
}

void MenuPopup::close(COptionMenu* holder, int index) {
  if (closing) return;
  closing = true;
  const SharedPointer<COptionMenu> chosen(holder);
  const SharedPointer<COptionMenu> opened(menu);
  const SharedPointer<MenuPopup> alive(this);
  // Closed before the callbacks, which may open the next menu or dialog.
  if (CFrame* root = getFrame()) root->removeView(this);
  opened->popupClosed(chosen, index);
}

void MenuPopup::leavingFrame(CFrame* root) {
  CView::leavingFrame(root);
  if (closing) return;
  // Removed with its frame, or by other code.
  closing = true;
  menu->popupClosed(nullptr, -1);
}

CMouseEventResult MenuPopup::onMouseDown(CPoint& where, const CButtonState& /*buttons*/) {
  openedByPress = false;
  pressed = placeAt(where);
  if (pressed.panel < 0) {
    dismiss();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  const Row* row = rowAt(pressed);
  if (row && IsStep(*row->item)) {
    highlight(pressed.panel, pressed.row);
    if (row->item->getSubmenu()) openSubmenu(pressed.panel, pressed.row, false);
  }
  return kMouseEventHandled;
}

CMouseEventResult MenuPopup::onMouseMoved(CPoint& where, const CButtonState& /*buttons*/) {
  const CPoint moved = where - openedAt;
  if (std::abs(moved.x) > kStickyPixels || std::abs(moved.y) > kStickyPixels) {
    movedSinceOpened = true;
  }
  const Place at = placeAt(where);
  scrolling = 0;
  if (at.panel >= 0 && at.row < 0) {
    const Panel& panel = panels[static_cast<std::size_t>(at.panel)];
    const CRect list = listRect(panel);
    if (panel.scrolls) scrolling = where.y < list.top ? -1 : where.y >= list.bottom ? 1 : 0;
  }
  if (at.panel != hovered.panel || at.row != hovered.row) {
    hovered = at;
    hoveredSince = getFrame()->getTime();
  }
  if (at.panel >= 0 && at.row >= 0) highlight(at.panel, at.row);
  // On the way here the mouse may have crossed other entries of the panels before.
  for (int depth = 0; depth < at.panel; ++depth) {
    highlight(depth, panels[static_cast<std::size_t>(depth)].openRow);
  }
  return kMouseEventHandled;
}

CMouseEventResult MenuPopup::onMouseUp(CPoint& where, const CButtonState& /*buttons*/) {
  const Place at = placeAt(where);
  if (std::exchange(openedByPress, false)) {
    // Where it opened, the release only ends the click that opened it.
    if (!movedSinceOpened || at.panel < 0) return kMouseEventHandled;
  } else if (pressed.panel < 0) {
    return kMouseEventHandled;
  }
  pressed = {};
  const Row* row = rowAt(at);
  // A submenu that the press opened stays open.
  if (row && IsStep(*row->item)) activate(at.panel, at.row, false);
  return kMouseEventHandled;
}

bool MenuPopup::onWheel(const CPoint& where, float distance, const CButtonState& buttons) {
  const Place at = placeAt(where);
  if (at.panel < 0) return true;
  if (at.panel < getDepth() - 1) closeDeeperThan(at.panel);
  Panel& panel = panels[static_cast<std::size_t>(at.panel)];
  setScroll(panel, panel.scroll - static_cast<CCoord>(distance) * kRowsPerNotch * rowHeight);
  CPoint point = where;
  onMouseMoved(point, buttons);
  return true;
}

void MenuPopup::onIdle() {
  if (scrolling != 0 && hovered.panel >= 0 && hovered.panel < getDepth()) {
    Panel& panel = panels[static_cast<std::size_t>(hovered.panel)];
    if (hovered.panel < getDepth() - 1) closeDeeperThan(hovered.panel);
    setScroll(panel, panel.scroll + scrolling * kRowsPerIdle * rowHeight);
  }
  // A submenu waits a moment for the mouse to come to rest, so that the way into one that is open
  // may lead across other entries.
  const Row* row = rowAt(hovered);
  if (!row || getFrame()->getTime() - hoveredSince < kHoverDelay) return;
  const Place at = std::exchange(hovered, Place{});
  if (!IsStep(*row->item) || !row->item->getSubmenu()) {
    closeDeeperThan(at.panel);
  } else {
    openSubmenu(at.panel, at.row, false);
  }
}

void MenuPopup::moveHighlight(int from, int direction) {
  Panel& panel = panels.back();
  const int count = static_cast<int>(panel.rows.size());
  if (count == 0) return;
  int row = from < 0 && direction < 0 ? count : from;
  for (int tries = 0; tries < count; ++tries) {
    row = (row + direction + count) % count;
    if (!IsStep(*panel.rows[static_cast<std::size_t>(row)].item)) continue;
    highlight(getDepth() - 1, row);
    reveal(panel, row);
    return;
  }
}

bool MenuPopup::onKeyDown(const CKeyEvent& event) {
  Panel& panel = panels.back();
  hovered = {};
  // What is typed after that is about another place.
  if (event.character == 0) jumpText.clear();
  const int depth = getDepth() - 1;
  const int page = std::max(1, static_cast<int>(listRect(panel).getHeight() / rowHeight) - 1);
  const int last = static_cast<int>(panel.rows.size()) - 1;
  switch (event.key) {
    case kKeyUp:
      moveHighlight(panel.highlight, -1);
      return true;
    case kKeyDown:
      moveHighlight(panel.highlight, 1);
      return true;
    case kKeyPageUp:
      moveHighlight(std::max(panel.highlight - page, 0) - 1, 1);
      return true;
    case kKeyPageDown:
      moveHighlight(std::min(panel.highlight + page, last) + 1, -1);
      return true;
    case kKeyHome:
      moveHighlight(-1, 1);
      return true;
    case kKeyEnd:
      moveHighlight(-1, -1);
      return true;
    case kKeyRight:
      if (const Row* row = rowAt({depth, panel.highlight}); row && row->item->getSubmenu()) {
        activate(depth, panel.highlight, true);
      }
      return true;
    case kKeyReturn:
      activate(depth, panel.highlight, true);
      return true;
    case kKeyLeft:
      if (depth > 0) closeDeeperThan(depth - 1);
      return true;
    case kKeyEscape:
      if (!findText.empty()) {
        findText.clear();
        showFound();
      } else if (depth > 0) {
        closeDeeperThan(depth - 1);
      } else {
        dismiss();
      }
      return true;
    case kKeyBack:
      if (!findText.empty()) {
        DropLastCharacter(findText);
        showFound();
      }
      return true;
    default:
      break;
  }
  // The host's keys stay out while the menu is up.
  if (event.character != 0 && !event.modifiers.isControlSet() && !event.modifiers.isAltSet()) {
    typeCharacter(event.character);
  }
  return true;
}

void MenuPopup::typeCharacter(char32_t character) {
  if (menu->getStyle() & kFindInSubmenus) {
    if (findText.empty() && character == ' ') return;
    AppendCodePoint(findText, character);
    return showFound();
  }
  const double now = getFrame()->getTime();
  if (now - lastTyped > kTypingPause) jumpText.clear();
  lastTyped = now;
  AppendCodePoint(jumpText, character);
  jumpTo(FoldedCase(jumpText));
}

void MenuPopup::jumpTo(const std::string& typed) {
  Panel& panel = panels.back();
  int holding = -1;
  for (int row = 0; row < static_cast<int>(panel.rows.size()); ++row) {
    const CMenuItem& item = *panel.rows[static_cast<std::size_t>(row)].item;
    if (!IsStep(item)) continue;
    const std::string title = FoldedCase(item.getTitle());
    const std::size_t at = title.find(typed);
    if (at == 0) {
      holding = row;
      break;
    }
    if (at != std::string::npos && holding < 0) holding = row;
  }
  if (holding < 0) return;
  highlight(getDepth() - 1, holding);
  reveal(panel, holding);
}

void MenuPopup::collectFound(COptionMenu* searched, const std::string& path, Panel& panel,
                             std::vector<Row>& others, int depth) {
  const std::string typed = FoldedCase(findText);
  for (int i = 0; i < searched->getNbEntries(); ++i) {
    CMenuItem* item = searched->getEntry(i);
    if (!IsStep(*item)) continue;
    if (COptionMenu* submenu = item->getSubmenu()) {
      if (depth < kDeepest) collectFound(submenu, item->getTitle(), panel, others, depth + 1);
      continue;
    }
    const std::string title = FoldedCase(item->getTitle());
    if (!HoldsAllPieces(title, typed)) continue;
    const std::size_t at = title.find(typed);
    const bool beginsWord = at == 0 || (at != std::string::npos && title[at - 1] == ' ');
    if (beginsWord) {
      addRow(panel, item, searched, i, path);
    } else {
      others.push_back({item, searched, i, path, 0, rowHeight});
    }
  }
}

void MenuPopup::showFound() {
  for (const Panel& panel : panels) invalidRect(panel.rect);
  panels.clear();
  if (findText.empty()) {
    panels.push_back(makePanel(menu));
  } else {
    // What begins a word with the text comes before what only holds it.
    Panel panel;
    std::vector<Row> others;
    collectFound(menu, "", panel, others, 0);
    for (const Row& row : others) addRow(panel, row.item, row.holder, row.index, row.hint);
    if (panel.rows.size() > kMostFound) {
      panel.rows.resize(kMostFound);
      panel.contents = panel.rows.back().top + panel.rows.back().height;
    }
    panels.push_back(std::move(panel));
  }
  place(panels[0], corner, leastWidth);
  invalidRect(panels[0].rect);
  if (!findText.empty()) moveHighlight(-1, 1);
}

void MenuPopup::drawRect(CDrawContext* context, const CRect& updateRect) {
  setDirty(false);
  for (const Panel& panel : panels) {
    if (panel.rect.rectOverlap(updateRect)) drawPanel(*context, panel);
  }
}

void MenuPopup::drawPanel(CDrawContext& context, const Panel& panel) {
  const DrawStateScope scope(context);
  theme::DrawPanel(context, panel.rect, scale);
  const CRect list = listRect(panel);
  if (!findText.empty()) {
    CRect line =
        CRect::FromSize({panel.rect.left, list.top - rowHeight}, panel.rect.getWidth(), rowHeight);
    line.inset(theme::Scaled(theme::kPadding, scale), 0);
    context.setFont(font);
    context.setFontColor(panel.rows.empty() ? theme::kDisabledText : theme::kAccent);
    context.drawString(findText + (panel.rows.empty() ? ": nothing found" : ""), line, kLeftText);
  }
  if (panel.scrolls) {
    const CCoord most = panel.contents - list.getHeight();
    if (panel.scroll > 0) {
      drawScrollArrow(
          context, {list.left, list.top - theme::Scaled(kScrollZone, scale), list.right, list.top},
          true);
    }
    if (panel.scroll < most) {
      drawScrollArrow(context, {list.left, list.bottom, list.right, panel.rect.bottom}, false);
    }
  }
  context.setClipRect(list);
  for (int row = 0; row < static_cast<int>(panel.rows.size()); ++row) {
    if (rowRect(panel, row).rectOverlap(list)) drawRow(context, panel, row);
  }
}

void MenuPopup::drawScrollArrow(CDrawContext& context, const CRect& rect, bool up) {
  const CPoint c = rect.getCenter();
  const CCoord half = theme::Scaled(5, scale);
  const CCoord tip = up ? -half * 0.6 : half * 0.6;
  const CPoint points[] = {{c.x - half, c.y - tip}, {c.x + half, c.y - tip}, {c.x, c.y + tip}};
  context.setFillColor(theme::kPaleText);
  context.drawPolygon(points, kDrawFilled);
}

void MenuPopup::drawRow(CDrawContext& context, const Panel& panel, int index) {
  const Row& row = panel.rows[static_cast<std::size_t>(index)];
  const CMenuItem& item = *row.item;
  const CRect rect = rowRect(panel, index);
  const CPoint c = rect.getCenter();
  if (item.isSeparator()) {
    context.setFrameColor(theme::kSeparator);
    context.setLineWidth(1);
    const CCoord y = std::floor(c.y) + 0.5;
    context.drawLine({rect.left + theme::Scaled(kEdge, scale), y},
                     {rect.right - theme::Scaled(kEdge, scale), y});
    return;
  }
  const bool isLit = index == (panel.highlight >= 0 ? panel.highlight : panel.openRow);
  if (isLit) {
    context.setFillColor(theme::kHighlight);
    context.fillRect({rect.left + 1, rect.top, rect.right - 1, rect.bottom});
  }
  const CColor color = item.isTitle()      ? theme::kPaleText
                       : !item.isEnabled() ? theme::kDisabledText
                       : isLit             ? theme::kHighlightText
                                           : theme::kText;
  const CCoord unit = theme::Scaled(4, scale);
  context.setFrameColor(color);
  context.setFillColor(color);
  if (item.isChecked()) {
    const CPoint start(rect.left + theme::Scaled(kCheckColumn, scale) * 0.5 - unit, c.y);
    const CPoint tick[] = {
        start, {start.x + unit * 0.7, c.y + unit * 0.8}, {start.x + unit * 2, c.y - unit}};
    context.setLineWidth(std::max(1.5, 2 * scale));
    context.drawPolyline(tick);
  }
  const CCoord left = rect.left + theme::Scaled(kCheckColumn, scale);
  const CCoord right = rect.right - theme::Scaled(kArrowColumn, scale);
  context.setFont(item.isTitle() ? headingFont : font);
  context.setFontColor(color);
  context.drawString(item.getTitle(), {left, rect.top, right + unit, rect.bottom}, kLeftText);
  if (!row.hint.empty()) {
    context.setFontColor(isLit ? theme::kHighlightText : theme::kPaleText);
    context.drawString(row.hint, {left, rect.top, rect.right - 2 * unit, rect.bottom}, kRightText);
  }
  if (item.getSubmenu() && findText.empty()) {
    const CCoord x = rect.right - theme::Scaled(kArrowColumn, scale) * 0.55;
    const CPoint points[] = {
        {x - unit * 0.6, c.y - unit}, {x - unit * 0.6, c.y + unit}, {x + unit * 0.6, c.y}};
    context.drawPolygon(points, kDrawFilled);
  }
}

}  // namespace halveron
