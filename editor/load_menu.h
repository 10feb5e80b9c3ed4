// The menu under the meter of the load.
#pragma once

#include "editor/syn_option_menu.h"

namespace halveron {

class RackWindow;
class SynEditor;

/// What was measured, and where the program has them itself, the sound card and the MIDI ports.
SharedPointer<SynOptionMenu> MakeLoadMenu(SynEditor& editor, RackWindow& window);

}  // namespace halveron
