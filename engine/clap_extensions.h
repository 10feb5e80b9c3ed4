// The extensions of the CLAP plug-in.
#pragma once

#include "engine/clap_abi.h"

namespace halveron {

/// The published record of an extension by its identifier, null for those that are not offered.
const void* FindClapExtension(const char* id);

}  // namespace halveron
