#include "platform/cpu_features.h"

#include <cpuid.h>

namespace halveron::platform {

bool HasSse41() {
  unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
  return __get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0 && (ecx & bit_SSE4_1) != 0;
}

}  // namespace halveron::platform
