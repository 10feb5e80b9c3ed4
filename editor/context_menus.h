// The menus of the right mouse button: on a module, on a knob, and on the free rack.
#pragma once

#include "editor/syn_option_menu.h"

namespace halveron {

class Module;
class RackWindow;
class ModuleKnob;
class SynEditor;

SharedPointer<SynOptionMenu> MakeModuleMenu(SynEditor& editor, Module& module);
/// Of a module that is selected with others.
SharedPointer<SynOptionMenu> MakeSelectionMenu(SynEditor& editor, RackWindow& window,
                                               Module& module);
SharedPointer<SynOptionMenu> MakeKnobMenu(SynEditor& editor, ModuleKnob& knob);
SharedPointer<SynOptionMenu> MakeRackMenu(SynEditor& editor);
/// The colour of cables that are plugged from now on.
void AddCableColours(SynOptionMenu& menu, SynEditor& editor);

}  // namespace halveron
