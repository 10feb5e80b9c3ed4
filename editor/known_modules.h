// The catalogue as text patches see it.
#pragma once

#include <vector>

#include "presets/text_patch.h"

namespace halveron {

std::vector<KnownModule> KnownModules();

}  // namespace halveron
