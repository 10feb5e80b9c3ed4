// The folder of the sources, for tests that read patches and scenes from it.
#pragma once

#include <string>

namespace halveron::testing {

/// Absolute, without a slash at its end.
std::string SourceFolder();

}  // namespace halveron::testing
