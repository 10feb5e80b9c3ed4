// Masks, choices and conversions that read the same for one number and for a vector of them; see
// dsp/lanes.h.
#pragma once

#include <cstdint>

namespace halveron::dsp {

inline bool And(bool a, bool b) { return a && b; }
inline bool Or(bool a, bool b) { return a || b; }
template <class A, class B, class C>
inline auto And(const A& a, const B& b, const C& c) {
  return And(And(a, b), c);
}
template <class A, class B, class C>
inline auto Or(const A& a, const B& b, const C& c) {
  return Or(Or(a, b), c);
}
inline bool Any(bool mask) { return mask; }
inline bool All(bool mask) { return mask; }
/// A mask for doubles of one for floats, and back.
inline bool ToWide(bool mask) { return mask; }
inline bool ToNarrow(bool mask) { return mask; }
/// A bit for each lane in which the mask holds.
inline unsigned LaneBits(bool mask) { return mask ? 1u : 0u; }

inline float Select(bool mask, float a, float b) { return mask ? a : b; }
inline double Select(bool mask, double a, double b) { return mask ? a : b; }
inline std::int32_t Select(bool mask, std::int32_t a, std::int32_t b) { return mask ? a : b; }

inline double ToDouble(float x) { return x; }
inline double ToDouble(std::int32_t x) { return x; }
inline float ToFloat(double x) { return static_cast<float>(x); }
inline float ToFloat(std::int32_t x) { return static_cast<float>(x); }

}  // namespace halveron::dsp
