// What a control stands for, beside it, while the mouse rests on it or somebody moves it.
#pragma once

#include <string>

#include "gui/control.h"

namespace halveron {

class SynEditor;

/// The second line of the bubble: host parameter, controller, modulation; may be empty.
std::string DetailsOf(const SynEditor& editor, const CControl& control);

/// One view on the frame, above all others. It lies beside its control, within the frame, and never
/// under the mouse; it takes no mouse itself. While it shows, no tooltip does.
class ValueBubble final : public CView {
 public:
  /// Seconds that the mouse rests on a control before it shows, and that it stays after a move.
  static constexpr double kRest = 0.35;
  static constexpr double kStay = 1.2;

  explicit ValueBubble(SynEditor& editor);

  HALVERON_TYPE_OF(ValueBubble, CView)

  /// The user moves or takes a control.
  void Show(CControl& control);
  void Hide();
  /// Null while nothing shows.
  const CControl* Shown() const { return isVisible() ? control_.get() : nullptr; }
  const std::string& Text() const { return text_; }

  void draw(CDrawContext* context) override;
  bool hitTest(const CPoint& /*where*/, const CButtonState& /*buttons*/) override { return false; }
  void onIdle() override;

 private:
  void ShowBeside(CControl& control);
  /// The control that the mouse rests on, null if none.
  CControl* RestedOn();
  CRect PlaceBeside(const CRect& target) const;

  SynEditor& editor_;
  SharedPointer<CControl> control_;
  std::string text_;
  double shownUntil_ = -1e9;
  CPoint lastMouse_;
  double mouseRestedSince_ = 0.0;
  bool isDismissed_ = false;  // by a press, until the mouse goes elsewhere
};

}  // namespace halveron
