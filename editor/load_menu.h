// The menu under the meter of the load.
#pragma once

#include "editor/syn_option_menu.h"

namespace halveron {

class RackWindow;
class SynEditor;

/// What was measured, of each module while that is on, and where the program has the sound card
/// itself, the way to its dialog.
SharedPointer<SynOptionMenu> MakeLoadMenu(SynEditor& editor, RackWindow& window);

}  // namespace halveron
