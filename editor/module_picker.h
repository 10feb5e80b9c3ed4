// The menu that modules are added from.
#pragma once

#include "editor/syn_option_menu.h"

namespace halveron {

class SynEditor;

/// One submenu for each category, in the order of the catalogue, external modules behind the
/// built-in ones; typing a part of a name finds a
/// module in any of them.
SharedPointer<SynOptionMenu> MakeModulePicker(SynEditor& editor);

}  // namespace halveron
