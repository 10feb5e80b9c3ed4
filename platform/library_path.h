// The place of the program's own file, and addresses of files.
#pragma once

#include <string>

namespace halveron::platform {

/// Full path of the shared library or executable that holds this code, empty if the loader does
/// not know.
std::string LibraryPath();

/// The `file:` address of a full path; empty if the path is not full.
std::string FileUrl(const std::string& path);

}  // namespace halveron::platform
