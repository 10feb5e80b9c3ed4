// The two random generators that all instances and voices of a process share.
#pragma once

#include <bit>
#include <cstdint>

namespace halveron::dsp {

/// State of both generators, one per loaded program file. Touched by any thread without a lock: a
/// lost update is harmless, noise need not be reproducible.
struct SharedRandom {
  std::uint32_t randomSeed = 1;
  std::uint64_t pcgState = 0x853C49E6748FEA9BULL;
  std::uint64_t pcgIncrement = 0xDA3E39CB94B95BDBULL;
};

extern SharedRandom sharedRandom;

inline constexpr std::uint64_t kPcgMultiplier = 0x5851F42D4C957F2DULL;

/// Seeds both generators from the clock of the C library.
void SeedRandomFromClock();

/// Seeds both generators from a number, for tests and measurements that must repeat.
void SeedRandom(std::uint32_t seed);

/// Park-Miller style multiplicative generator with a 31-bit mask, in 0..1.
inline double NextRandom() {
  sharedRandom.randomSeed = (sharedRandom.randomSeed * 16807u) & 0x7FFFFFFFu;
  return sharedRandom.randomSeed * 4.656612873077393e-10;
}

/// PCG-XSH-RR (O'Neill, "PCG: A Family of Simple Fast Space-Efficient Statistically Good
/// Algorithms for Random Number Generation", 2014): 32 bits from a 64-bit congruential state.
inline std::uint32_t NextRandomPcg() {
  const std::uint64_t old = sharedRandom.pcgState;
  sharedRandom.pcgState = old * kPcgMultiplier + sharedRandom.pcgIncrement;
  const auto xorshifted = static_cast<std::uint32_t>(((old >> 18) ^ old) >> 27);
  return std::rotr(xorshifted, static_cast<int>(old >> 59));
}

}  // namespace halveron::dsp
