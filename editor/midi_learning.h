// Controllers for knobs: learning them, marks on bound knobs, and menus to edit and remove them.
#pragma once

#include <map>
#include <string>

#include "editor/syn_option_menu.h"
#include "framework/midi_map.h"
#include "framework/module_controls.h"

namespace halveron {

class SynEditor;

/// "CC 74" or "CC 74, channel 3".
std::string BindingText(const MidiBinding& binding);

/// A view without a size on the frame, that waits for a controller and keeps the marks up to date.
class MidiLearning final : public CView {
 public:
  explicit MidiLearning(SynEditor& editor);
  ~MidiLearning() override;

  HALVERON_TYPE_OF(MidiLearning, CView)

  /// The next controller turns this knob.
  void Begin(ModuleKnob& knob);
  /// False if nothing waits.
  bool Cancel();
  /// The knob that waits, null if none.
  const ModuleKnob* Waiting() const { return waiting_.get(); }

  bool hitTest(const CPoint& /*where*/, const CButtonState& /*buttons*/) override { return false; }
  void onIdle() override;

 private:
  void UpdateMarks();

  SynEditor& editor_;
  SharedPointer<ModuleKnob> waiting_;
  std::map<const ModuleKnob*, SharedPointer<CView>> marks_;
  int shownVersion_ = -1;
};

/// Entries of a knob's menu.
void AddMidiEntries(SynOptionMenu& menu, SynEditor& editor, ModuleKnob& knob);
/// All controllers of the rack.
SharedPointer<SynOptionMenu> MakeMidiMenu(SynEditor& editor);
/// Asks for controller, channel, range and pick-up.
void EditBinding(SynEditor& editor, ModuleKnob& knob);

}  // namespace halveron
