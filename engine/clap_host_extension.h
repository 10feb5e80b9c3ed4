// Extensions of a CLAP host.
#pragma once

#include "engine/clap_abi.h"

namespace halveron {

/// The host's side of an extension, null if it has none. Main thread, after the instance was made.
template <class Extension>
const Extension* FindHostExtension(const clap_host_t* host, const char* id) {
  const void* found = host && host->get_extension ? host->get_extension(host, id) : nullptr;
  return static_cast<const Extension*>(found);
}

}  // namespace halveron
