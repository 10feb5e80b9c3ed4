// How the checks of a library say what they find.
#pragma once

#include <functional>
#include <string>

namespace halveron {

/// Takes a fault: what it is about, and what it is.
using CheckReport = std::function<void(const std::string& place, const std::string& cause)>;

}  // namespace halveron
