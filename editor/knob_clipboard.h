// The value of a knob that was copied.
#pragma once

namespace halveron {

class ModuleKnob;
class SynEditor;

/// One value for all knobs of a rack, 0 until one is copied.
class KnobClipboard {
 public:
  void Copy(const ModuleKnob& knob);
  /// Turns a knob to the value, in all voices, as the user does.
  void PasteOnto(ModuleKnob& knob, SynEditor& editor) const;

 private:
  float value_ = 0.0f;
};

}  // namespace halveron
