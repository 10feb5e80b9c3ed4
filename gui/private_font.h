// Fonts that come with the program's files and not with the system.
#pragma once

#include <string>

namespace halveron {

/// Makes the fonts of a file known to this process alone, for as long as it lives, and returns the
/// family of the first; empty if there is no such file or no font in it.
std::string LoadFontFile(const std::string& path);

}  // namespace halveron
