// What the user's desktop does for us.
#pragma once

#include <string>

namespace halveron::platform {

/// Opens an address or a file with the program that the desktop has for it, without waiting for
/// that program. False if the desktop could not be asked.
bool OpenOnDesktop(const std::string& address);

}  // namespace halveron::platform
