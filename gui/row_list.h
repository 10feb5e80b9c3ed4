// A list of rows that scrolls and of which one may be selected.
#pragma once

#include <functional>
#include <string>

#include "gui/scrollbar.h"
#include "gui/view_container.h"

namespace halveron {

/// Derived classes have the rows' contents and draw them. It takes the keys: arrows move, Return
/// activates.
class RowList : public CViewContainer, public CControlListener {
 public:
  /// The height of a row is in pixels of the reference scale.
  RowList(const CRect& size, CFrame* frame, double scale, CCoord rowHeight);

  /// Selects nothing and goes to the top, or stays where it is scrolled to. The note stands in an
  /// empty list.
  void setCount(int rows, const std::string& noteIfEmpty, bool keepScroll = false);
  int getCount() const { return count; }
  /// -1 for none; scrolls it into sight.
  void select(int index);
  int getSelected() const { return selected; }
  /// In the coordinates of the list's children; cut to what is seen.
  CRect getRowRect(int index) const;
  /// The row at a point of the parent's coordinates; -1 for none.
  int getRowAt(const CPoint& where) const;
  /// The row under the mouse; -1 for none.
  int getHovered() const { return hovered; }
  void invalidRow(int index);
  /// What a key does that moves the selection, also for a field that has the focus instead.
  bool moveByKey(CVirtualKey key);

  std::function<void(int)> onSelected;
  std::function<void(int)> onActivated;
  std::function<void(int)> onHovered;

  void valueChanged(CControl* control) override;
  void drawBackgroundRect(CDrawContext* context, const CRect& updateRect) override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseExited(CPoint& where, const CButtonState& buttons) override;
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override;
  bool onKeyDown(const CKeyEvent& event) override;
  void takeFocus() override { invalid(); }
  void looseFocus() override { invalid(); }

  HALVERON_TYPE_OF(RowList, CViewContainer)

 protected:
  /// Over the background, which shows whether the row is selected; the font is set.
  virtual void drawRow(CDrawContext& context, int index, const CRect& row) = 0;
  /// A press within a row, measured from its left edge; true if it means something else than to
  /// select the row.
  virtual bool pressInRow(int /*index*/, CCoord /*x*/) { return false; }
  /// A heading can not be selected; it is scrolled into sight with the row below it.
  virtual bool isHeading(int /*index*/) const { return false; }
  /// Selects without scrolling, so that rows stay where they are under the mouse.
  void selectInPlace(int index);

  const double scale;
  bool takesFocus = true;  ///< when pressed

 private:
  CRect wholeRowRect(int index) const;
  /// The row `steps` rows further down, or up if negative, as far as there are any; headings are
  /// not counted.
  int rowAfter(int index, int steps) const;
  void scrollToShow(int index);
  void setHovered(int index);

  CScrollbar* bar;
  CCoord rowHeight;
  std::string note;
  int count = 0;
  int selected = -1;
  int hovered = -1;
};

}  // namespace halveron
