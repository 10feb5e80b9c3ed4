// A home for the user whom the plug-in files meet in tests, so that they leave yours alone.
// Whatever links test_home.cpp has it from its start to its end.
#pragma once

#include <string>

namespace halveron::testing {

/// Path of a file in the folder where the plug-in keeps what its user changes.
std::string TestDataFile(const std::string& name);

}  // namespace halveron::testing
