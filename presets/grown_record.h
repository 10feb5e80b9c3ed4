// Records of modules whose panels had fewer or more controls and points when they were saved.
#pragma once

#include <vector>

#include "presets/preset_document.h"

namespace halveron {

class CControl;
class Module;

/// A record as the present version of its module would have saved it: controls that were added have
/// their defaults and no parameter, points that were added are free. What a later version had
/// behind those of now is left out. All others come back as they are. `patchPointCount` stays that
/// of the record. Adds the new controls that can have a host parameter, as the fresh `module` has
/// them, to `newControls`.
PresetModule FitToPanel(const PresetModule& record, const Module& module,
                        std::vector<CControl*>& newControls);

}  // namespace halveron
