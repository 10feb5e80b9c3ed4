#include "platform/memory.h"

#include <unistd.h>

namespace halveron::platform {

std::size_t PhysicalMemory() {
  static const auto bytes = static_cast<std::size_t>(sysconf(_SC_PHYS_PAGES)) *
                            static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  return bytes;
}

}  // namespace halveron::platform
