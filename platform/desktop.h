// What the user's desktop does for us.
#pragma once

#include <string>

namespace halveron::platform {

/// Opens an address or a file with the program that the desktop has for it, without waiting for
/// that program. Returns why the desktop could not be asked, as a sentence for the user without its
/// full stop; empty if it was.
std::string OpenOnDesktop(const std::string& address);

/// The program of that name that would be started: its path, by the variable PATH. Empty if there
/// is none.
std::string FindProgram(const std::string& name);

}  // namespace halveron::platform
