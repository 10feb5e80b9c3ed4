// The list of the module browser.
#pragma once

#include <functional>
#include <vector>

#include "editor/module_search.h"
#include "gui/row_list.h"

namespace halveron {

/// Rows of modules under headings, of which one module is selected if there is any. The mouse
/// selects and chooses; the owner passes the keys on.
class ModuleList final : public RowList {
 public:
  ModuleList(const CRect& size, CFrame* frame, double scale);

  HALVERON_TYPE_OF(ModuleList, RowList)

  /// Selects the module that was selected, if `keepSelection` and it is still there, else the
  /// first.
  void SetRows(std::vector<ModuleRow> rows, bool keepSelection);
  const std::vector<ModuleRow>& Rows() const { return rows_; }
  /// Null if there is none.
  const ModuleChoice* Selected() const;

  /// A module was chosen by a click.
  std::function<void(const ModuleChoice&)> onChosen;
  /// The star of a module was clicked.
  std::function<void(const ModuleChoice&)> onStar;

  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;

 protected:
  void drawRow(CDrawContext& context, int index, const CRect& row) override;
  bool pressInRow(int index, CCoord x) override;
  bool isHeading(int index) const override { return RowOf(index).IsHeading(); }

 private:
  const ModuleRow& RowOf(int index) const { return rows_[static_cast<std::size_t>(index)]; }
  CCoord StarWidth() const;

  std::vector<ModuleRow> rows_;
};

}  // namespace halveron
