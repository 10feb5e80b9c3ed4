// What shows a menu while it is up.
#pragma once

#include <string>
#include <vector>

#include "gui/option_menu.h"

namespace halveron {

/// Covers the frame, transparent but for the panels of the menu and of its open submenus. Points
/// are the frame's.
class MenuPopup : public CView {
 public:
  /// The first panel goes to `where`, at least as wide as `leastWidth`.
  MenuPopup(COptionMenu* menu, CFrame* frame, const CPoint& where, CCoord leastWidth);
  ~MenuPopup() override;

  /// What is open: 1 for the menu alone, one more for each submenu.
  int getDepth() const { return static_cast<int>(panels.size()); }
  CRect getPanelRect(int depth) const;
  /// Where an entry of a panel is, cut to the panel; empty if it is scrolled out or is not there.
  CRect getEntryRect(int depth, int index) const;
  /// The title that is highlighted in the deepest panel, empty for none.
  std::string getHighlightedTitle() const;
  /// What was typed to find entries of submenus; empty unless such a list is shown.
  const std::string& getFindText() const { return findText; }
  /// Takes the menu down without a choice.
  void dismiss() { close(nullptr, -1); }

  void drawRect(CDrawContext* context, const CRect& updateRect) override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override;
  bool onKeyDown(const CKeyEvent& event) override;
  void onIdle() override;
  void cancelModal() override { dismiss(); }
  void leavingFrame(CFrame* root) override;

  HALVERON_TYPE_OF(MenuPopup, CView)

 private:
  struct Row {
    SharedPointer<CMenuItem> item;
    SharedPointer<COptionMenu> holder;
    int index;         ///< in the holder
    std::string hint;  ///< paler, at the right: a shortcut, or where a found entry comes from
    CCoord top;        ///< from the top of the panel's contents
    CCoord height;
  };
  struct Panel {
    std::vector<Row> rows;
    CRect rect;
    CCoord contents = 0;  ///< height of all rows
    CCoord scroll = 0;
    bool scrolls = false;
    int highlight = -1;
    int openRow = -1;  ///< the row whose submenu the next panel shows
  };
  struct Place {
    int panel = -1;
    int row = -1;
  };

  void addRow(Panel& panel, CMenuItem* item, COptionMenu* holder, int index, std::string hint);
  Panel makePanel(COptionMenu* menu);
  CPoint sizeOf(const Panel& panel) const;
  void place(Panel& panel, const CPoint& corner, CCoord leastWidth);
  void openSubmenu(int depth, int row, bool highlightFirst);
  void closeDeeperThan(int depth);
  void highlight(int depth, int row);
  void setScroll(Panel& panel, CCoord scroll);
  void reveal(Panel& panel, int row);
  CRect rowRect(const Panel& panel, int row) const;
  CRect listRect(const Panel& panel) const;
  Place placeAt(const CPoint& where) const;
  const Row* rowAt(const Place& place) const;
  void activate(int depth, int row, bool byKey);
  void close(COptionMenu* holder, int index);
  void moveHighlight(int from, int direction);
  void jumpTo(const std::string& typed);
  void typeCharacter(char32_t character);
  void showFound();
  void collectFound(COptionMenu* menu, const std::string& path, Panel& panel,
                    std::vector<Row>& others, int depth);
  void drawPanel(CDrawContext& context, const Panel& panel);
  void drawRow(CDrawContext& context, const Panel& panel, int row);
  void drawScrollArrow(CDrawContext& context, const CRect& rect, bool up);

  SharedPointer<COptionMenu> menu;
  double scale;
  SharedPointer<CFontDesc> font;
  SharedPointer<CFontDesc> headingFont;
  CCoord rowHeight;
  CCoord leastWidth;
  CPoint corner;
  std::vector<Panel> panels;

  std::string findText;
  std::string jumpText;
  double lastTyped = 0;

  // A menu opened by a press may be chosen from by that press's release.
  CPoint openedAt;
  bool openedByPress;
  bool movedSinceOpened = false;
  Place pressed;
  Place hovered;
  double hoveredSince = 0;
  int scrolling = 0;  // -1, 0, 1
  bool closing = false;
};

}  // namespace halveron
