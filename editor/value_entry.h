// A value that the user types.
#pragma once

#include "editor/dialog_window.h"
#include "gui/control.h"

namespace halveron {

class SynEditor;

/// Whether a value can be typed for a view: a knob, a slider or a number.
bool TakesTypedValue(const CView* view);

/// Opens a small dialog beside a control. What cannot be understood stays in the field, with a line
/// that says what could be typed, and changes nothing.
void AskForValue(SynEditor& editor, CControl& control);

/// Opens a dialog beside a control for the fields of a request.
void ShowDialogBeside(SynEditor& editor, const CControl& control, DialogRequest request);

}  // namespace halveron
