// Where the user keeps files.
#pragma once

#include <string>

namespace halveron::platform {

/// The user's documents folder, without a slash at its end: the one that the desktop names, else
/// "Documents" in the home folder. It need not exist.
std::string DocumentsFolder();

}  // namespace halveron::platform
