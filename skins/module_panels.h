// Paints panels while the program runs, for modules that no skin has a picture of.
#pragma once

namespace halveron::skins {

/// Has the panels of other authors' modules painted as the build paints those of our own.
void PaintModulePanels();

}  // namespace halveron::skins
