// Where the program's own file lies.
#pragma once

#include <string>

namespace halveron::platform {

/// Full path of the shared library or executable that holds this code, empty if the loader does
/// not tell.
std::string LibraryPath();

}  // namespace halveron::platform
