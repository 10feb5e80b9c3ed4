// What stands behind the standard streams.
#pragma once

namespace halveron::platform {

/// True if a person reads the standard error stream as it is written.
bool StandardErrorIsTerminal();

}  // namespace halveron::platform
