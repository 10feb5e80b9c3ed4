#include "editor/value_entry.h"

#include <algorithm>
#include <string>

#include "editor/rack_window.h"
#include "editor/syn_editor.h"
#include "framework/control_scale.h"
#include "framework/module.h"
#include "gui/slider.h"

namespace halveron {

namespace {

constexpr double kWidth = 250;
constexpr CCoord kGap = 10;
constexpr CCoord kUsualHeight = 170;  // of the dialog, at scale 1

void Ask(SynEditor& editor, const SharedPointer<CControl>& control, const std::string& typed,
         const std::string& text) {
  DialogRequest request;
  request.width = kWidth;
  request.title = control->role;
  request.text = text;
  request.lineCount = 1;
  request.fields = {{"Value", typed}};
  request.buttons = {"OK", "Cancel"};
  const std::string shown = ValueText(*control);
  request.callback = [&editor, control, shown](DialogWindow& dialog, int button) {
    const std::string entered = dialog.FieldText(0);
    dialog.CloseDialog();
    // The module may have gone meanwhile.
    if (button != 0 || !control->getFrame()) return;
    // The words are rounded; a value that nobody has touched stays exactly.
    if (entered == shown) return;
    const ParsedValue parsed = ParseValue(*control, entered);
    if (parsed.value) {
      MoveControl(*control, *parsed.value);
    } else {
      Ask(editor, control, entered, parsed.error);
    }
  };
  ShowDialogBeside(editor, *control, std::move(request));
}

}  // namespace

bool TakesTypedValue(const CView* view) {
  const auto* control = dynamic_cast<const CControl*>(view);
  if (!control || !*control->role || !dynamic_cast<const Module*>(control->getParentView())) {
    return false;
  }
  return dynamic_cast<const ModuleKnob*>(control) || dynamic_cast<const CSlider*>(control) ||
         dynamic_cast<const CSpecialDigit*>(control);
}

void AskForValue(SynEditor& editor, CControl& control) {
  if (!editor.Window() || !TakesTypedValue(&control)) return;
  Ask(editor, SharedPointer<CControl>(&control), ValueText(control), RangeText(control));
}

void ShowDialogBeside(SynEditor& editor, const CControl& control, DialogRequest request) {
  RackWindow* window = editor.Window();
  if (!window) return;
  const CRect frame = window->Frame().getViewSize();
  const double scale = window->Frame().getUiScale();
  CPoint corner = control.getViewSize().getTopLeft();
  control.localToFrame(corner);
  const double width = request.width * scale;
  const double room = std::max(frame.getWidth() - width, 1.0);
  request.xRatio = std::clamp((corner.x + control.getWidth() / 2 - width / 2) / room, 0.0, 1.0);
  const double height =
      (kUsualHeight + 45.0 * static_cast<double>(request.fields.size() - 1)) * scale;
  const double below = corner.y + control.getHeight() + kGap * scale;
  const double above = corner.y - height - kGap * scale;
  request.y = std::max(below + height <= frame.bottom ? below : above, 0.0) / scale;
  window->ShowDialog(std::move(request));
}

}  // namespace halveron
