#include "platform/terminal.h"

#include <unistd.h>

namespace halveron::platform {

bool StandardErrorIsTerminal() { return isatty(STDERR_FILENO) == 1; }

}  // namespace halveron::platform
