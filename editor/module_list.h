// The list of the module browser.
#pragma once

#include <functional>
#include <vector>

#include "editor/module_search.h"
#include "gui/scrollbar.h"
#include "gui/view_container.h"

namespace halveron {

/// Rows of modules under headings, of which one module is selected if there is any. The mouse
/// selects and chooses; the owner passes the keys on.
class ModuleList final : public CViewContainer, private CControlListener {
 public:
  ModuleList(const CRect& size, double scale);

  HALVERON_TYPE_OF(ModuleList, CViewContainer)

  /// Selects the module that was selected, if `keepSelection` and it is still there, else the
  /// first.
  void SetRows(std::vector<ModuleRow> rows, bool keepSelection);
  const std::vector<ModuleRow>& Rows() const { return rows_; }
  /// Null if there is none.
  const ModuleChoice* Selected() const;
  /// Selects the module `steps` modules further down, or up if negative, as far as there are any.
  void Move(int steps);
  int ModulesPerPage() const;
  /// In the coordinates of the list's children, cut to what is seen.
  CRect RowRect(int index) const;

  std::function<void()> onSelected;
  /// A module was chosen by a click.
  std::function<void(const ModuleChoice&)> onChosen;
  /// The star of a module was clicked.
  std::function<void(const ModuleChoice&)> onStar;

  /// The bar goes along, and the selected row stays in sight.
  void setViewSize(const CRect& rect, bool invalidate = true) override;
  void drawBackgroundRect(CDrawContext* context, const CRect& updateRect) override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override;

 private:
  void valueChanged(CControl* control) override;
  CRect BarRect() const;
  void SizeBar();
  void Select(int row);
  void ScrollToShow(int row);
  CRect WholeRowRect(int index) const;
  int RowAt(const CPoint& where) const;
  void DrawRow(CDrawContext& context, int index) const;
  void DrawStar(CDrawContext& context, const CRect& place, bool isSet, bool isPale) const;

  CScrollbar* bar_;
  double scale_;
  CCoord rowHeight_;
  CCoord starWidth_;
  std::vector<ModuleRow> rows_;
  int selected_ = -1;
};

}  // namespace halveron
