// How much memory the machine has.
#pragma once

#include <cstddef>

namespace halveron::platform {

/// Bytes of main memory, free or not.
std::size_t PhysicalMemory();

}  // namespace halveron::platform
