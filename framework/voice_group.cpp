#include "framework/voice_group.h"

#include "platform/cpu_features.h"

namespace halveron {

VectorUnit WidestVectorUnit() {
  if (platform::HasAvx512()) return VectorUnit::kAvx512;
  return platform::HasAvx2() ? VectorUnit::kAvx2 : VectorUnit::kSse2;
}

}  // namespace halveron
