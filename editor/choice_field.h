// A field of a dialog that shows what is chosen and opens the list of choices.
#pragma once

#include <string>

#include "gui/option_menu.h"

namespace halveron {

/// The listener is called for a choice, with the entry as the value. Where several entries may be
/// checked, the arrows choose nothing.
class ChoiceField final : public COptionMenu {
 public:
  ChoiceField(const CRect& size, CControlListener* listener, double scale, bool takesSeveral);

  HALVERON_TYPE_OF(ChoiceField, COptionMenu)

  /// What is checked, as it is shown.
  std::string Shown() const;
  /// Opens the list under the field, with what is chosen highlighted.
  void OpenList();

  bool onKeyDown(const CKeyEvent& event) override;
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  void takeFocus() override;
  void looseFocus() override;

 protected:
  void drawPlain(CDrawContext& context) override;

 private:
  bool takesSeveral_;
};

}  // namespace halveron
