#include "dsp/random.h"

#include <ctime>

namespace halveron::dsp {

SharedRandom sharedRandom;

void SeedRandomFromClock() {
  sharedRandom.randomSeed = static_cast<std::uint32_t>(std::time(nullptr));
  sharedRandom.pcgIncrement = static_cast<std::uint64_t>(std::time(nullptr)) * 2 + 1;
  sharedRandom.pcgState = sharedRandom.pcgIncrement * (kPcgMultiplier + 1) +
                          static_cast<std::uint64_t>(std::time(nullptr)) * kPcgMultiplier;
}

void SeedRandom(std::uint32_t seed) {
  sharedRandom.randomSeed = seed & 0x7FFFFFFFu;
  if (sharedRandom.randomSeed == 0) sharedRandom.randomSeed = 1;
  sharedRandom.pcgIncrement = std::uint64_t{seed} * 2 + 1;
  sharedRandom.pcgState =
      sharedRandom.pcgIncrement * (kPcgMultiplier + 1) + std::uint64_t{seed} * kPcgMultiplier;
}

}  // namespace halveron::dsp
