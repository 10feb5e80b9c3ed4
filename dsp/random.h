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

/// Park-Miller style multiplicative generator with a 31-bit mask, in 0..1, on a seed of the
/// caller's, for draws that must repeat.
inline double NextRandom(std::uint32_t& seed) {
  seed = (seed * 16807u) & 0x7FFFFFFFu;
  return seed * 4.656612873077393e-10;
}

/// The same on the shared seed.
inline double NextRandom() { return NextRandom(sharedRandom.randomSeed); }

/// PCG-XSH-RR (O'Neill, "PCG: A Family of Simple Fast Space-Efficient Statistically Good
/// Algorithms for Random Number Generation", 2014): 32 bits from a 64-bit congruential state.
/// `increment` is odd, and selects the sequence.
inline std::uint32_t StepPcg(std::uint64_t& state, std::uint64_t increment) {
  const std::uint64_t old = state;
  state = old * kPcgMultiplier + increment;
  const auto xorshifted = static_cast<std::uint32_t>(((old >> 18) ^ old) >> 27);
  return std::rotr(xorshifted, static_cast<int>(old >> 59));
}

inline std::uint32_t NextRandomPcg() {
  return StepPcg(sharedRandom.pcgState, sharedRandom.pcgIncrement);
}

/// 32 random bits as a number from -1 up to +1.
inline double ToBipolar(std::uint32_t bits) { return bits * 2.3283064370807974e-10 * 2.0 - 1.0; }

/// A generator of one's own, with a sequence that differs from all others: it is seeded from the
/// shared one, and so from the clock.
class OwnRandom {
 public:
  OwnRandom() : state_(Draw64()), increment_(Draw64() | 1u) {}

  std::uint32_t Next() { return StepPcg(state_, increment_); }

 private:
  static std::uint64_t Draw64() {
    const std::uint64_t high = NextRandomPcg();
    return high << 32 | NextRandomPcg();
  }

  std::uint64_t state_, increment_;
};

}  // namespace halveron::dsp
