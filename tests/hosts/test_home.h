// A home folder for tests, so that the plug-in files leave the user's own alone. Every program that
// links test_home.cpp has it from its start to its end.
#pragma once

#include <string>

namespace halveron::testing {

/// Path of a file in the plug-in's folder of user data.
std::string TestDataFile(const std::string& name);

}  // namespace halveron::testing
