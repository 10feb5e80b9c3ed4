#include "editor/knob_clipboard.h"

#include "editor/syn_editor.h"
#include "framework/module_controls.h"

namespace halveron {

void KnobClipboard::Copy(const ModuleKnob& knob) { value_ = knob.getValue(); }

void KnobClipboard::PasteOnto(ModuleKnob& knob, SynEditor& editor) const {
  knob.setValue(value_);
  editor.valueChanged(&knob);
  knob.invalid();
}

}  // namespace halveron
