// What the CLAP entry point hands out.
#pragma once

#include "engine/clap_abi.h"

namespace halveron {

/// The plug-in factory by its identifier, null for any other.
const void* FindClapFactory(const char* id);

}  // namespace halveron
