#include "framework/voice_group.h"

#include "platform/cpu_features.h"

namespace halveron {

VectorUnit WidestVectorUnit() {
  if (platform::HasAvx512()) return VectorUnit::kAvx512;
  return platform::HasAvx2() ? VectorUnit::kAvx2 : VectorUnit::kSse2;
}

bool VoiceGroup::Stays() const { return false; }

std::uint64_t VoiceGroup::KeyOf(Module&) const { return 0; }

void VoiceGroup::Gather(std::span<const LineGather> lines) const {
  for (const LineGather& line : lines) {
    for (int lane = 0; lane < line.count; ++lane) line.to[lane] = *line.from[lane];
  }
}

}  // namespace halveron
