// `halveron modules --check`: everything that is wrong with a library of modules.
#pragma once

#include <iosfwd>
#include <string>

namespace halveron {

/// Reads the library's .ini, loads it, checks what it says of each module, and tries each: makes
/// it, moves its controls to both ends, plays it at several rates, saves and loads it, draws it.
/// Prints a line for each module that is in order and one for each fault; returns kExitDone if
/// there is none, else kExitMisuse. Throws platform::FileError if there is no such file.
int CheckLibrary(const std::string& path, std::ostream& out);

}  // namespace halveron
