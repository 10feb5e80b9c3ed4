// What the standard streams are connected to.
#pragma once

namespace halveron::platform {

/// True if a person reads the standard error stream as it is written.
bool StandardErrorIsTerminal();

}  // namespace halveron::platform
