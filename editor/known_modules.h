// The catalogue as text patches see it.
#pragma once

#include <vector>

#include "presets/text_patch.h"

namespace halveron {

class SynEditor;

/// The built-in modules.
std::vector<KnownModule> KnownModules();
/// These and the ones of the libraries that the rack knows.
std::vector<KnownModule> KnownModules(const SynEditor& editor);

}  // namespace halveron
