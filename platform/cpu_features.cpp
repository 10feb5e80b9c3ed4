#include "platform/cpu_features.h"

namespace halveron::platform {

bool HasSse41() { return __builtin_cpu_supports("sse4.1") != 0; }

bool HasAvx2() { return __builtin_cpu_supports("avx2") != 0; }

bool HasAvx512() {
  return __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512dq") != 0 &&
         __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512vl") != 0;
}

}  // namespace halveron::platform
