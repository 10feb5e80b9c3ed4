// Numbers side by side, worked on by vector instructions of a chosen width.
//
// The code of each unit is compiled with the options of its instructions, in files of its own, and
// every type in it names its unit: so no function of a wide unit can be taken for another's.
#pragma once

#include <immintrin.h>

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "dsp/lanes.h"

namespace halveron::dsp {

// A unit works on as many lanes as its register has floats; doubles take two registers.
struct Sse2 {
  static constexpr int kBytes = 16;
};
struct Avx2 {
  static constexpr int kBytes = 32;
};
struct Avx512 {
  static constexpr int kBytes = 64;
};

template <class Unit>
inline constexpr int kLanesOf = Unit::kBytes / static_cast<int>(sizeof(float));

template <class T>
using MaskLane = std::conditional_t<sizeof(T) == 8, std::int64_t, std::int32_t>;

template <class T, class Unit>
struct Registers {
  static constexpr int kPerPart = Unit::kBytes / static_cast<int>(sizeof(T));
  static constexpr int kParts = kLanesOf<Unit> / kPerPart;
  typedef T Part __attribute__((vector_size(Unit::kBytes), may_alias));

  Part part[kParts];
};

/// All bits of a lane set, or none; one type for lanes of each size.
template <class T, class Unit>
struct LaneMask : Registers<MaskLane<T>, Unit> {
  using Base = Registers<MaskLane<T>, Unit>;

  template <class F>
  static LaneMask Each(F&& f) {
    LaneMask out;
    for (int i = 0; i < Base::kParts; ++i) out.part[i] = f(i);
    return out;
  }
  friend LaneMask operator!(const LaneMask& a) {
    return Each([&](int i) { return ~a.part[i]; });
  }
};

/// One number a lane. What is no number of the same kind must be converted by name, so that an
/// operation is in float where it is in float for one voice.
template <class T, class Unit>
struct Pack : Registers<T, Unit> {
  using Base = Registers<T, Unit>;
  using Part = typename Base::Part;
  // A mask has one type a lane size.
  using Mask = LaneMask<MaskLane<T>, Unit>;

  Pack() = default;
  explicit Pack(const Base& registers) : Base(registers) {}
  /// The same number in every lane.
  template <class U>
  requires std::is_arithmetic_v<U> && requires(U u) { T{u}; }
  Pack(U number) {
    for (Part& each : this->part) each = Part{} + static_cast<T>(number);
  }

  template <class F>
  static Pack Each(F&& f) {
    Pack out;
    for (int i = 0; i < Base::kParts; ++i) out.part[i] = f(i);
    return out;
  }
  template <class F>
  static Mask Compare(F&& f) {
    return Mask::Each([&](int i) { return (typename Mask::Part)f(i); });
  }

  static Pack Load(const T* cells) {
    Pack out;
    std::memcpy(out.part, cells, sizeof out.part);
    return out;
  }
  void Store(T* cells) const { std::memcpy(cells, this->part, sizeof this->part); }

  friend Pack operator+(const Pack& a, const Pack& b) {
    return Each([&](int i) { return a.part[i] + b.part[i]; });
  }
  friend Pack operator-(const Pack& a, const Pack& b) {
    return Each([&](int i) { return a.part[i] - b.part[i]; });
  }
  friend Pack operator*(const Pack& a, const Pack& b) {
    return Each([&](int i) { return a.part[i] * b.part[i]; });
  }
  friend Pack operator/(const Pack& a, const Pack& b) {
    return Each([&](int i) { return a.part[i] / b.part[i]; });
  }
  friend Pack operator-(const Pack& a) {
    return Each([&](int i) { return -a.part[i]; });
  }
  Pack& operator+=(const Pack& b) { return *this = *this + b; }
  Pack& operator-=(const Pack& b) { return *this = *this - b; }
  Pack& operator*=(const Pack& b) { return *this = *this * b; }

  friend Mask operator<(const Pack& a, const Pack& b) {
    return Compare([&](int i) { return a.part[i] < b.part[i]; });
  }
  friend Mask operator<=(const Pack& a, const Pack& b) {
    return Compare([&](int i) { return a.part[i] <= b.part[i]; });
  }
  friend Mask operator>(const Pack& a, const Pack& b) {
    return Compare([&](int i) { return a.part[i] > b.part[i]; });
  }
  friend Mask operator>=(const Pack& a, const Pack& b) {
    return Compare([&](int i) { return a.part[i] >= b.part[i]; });
  }
  friend Mask operator==(const Pack& a, const Pack& b) {
    return Compare([&](int i) { return a.part[i] == b.part[i]; });
  }
  friend Mask operator!=(const Pack& a, const Pack& b) {
    return Compare([&](int i) { return a.part[i] != b.part[i]; });
  }
};

/// The voices of a unit's registers.
template <class Unit>
struct VoicesOf {
  static constexpr int kLanes = kLanesOf<Unit>;
  using Float = Pack<float, Unit>;
  using Double = Pack<double, Unit>;
  using Int = Pack<std::int32_t, Unit>;
};

template <class Unit>
using WideMask = LaneMask<std::int64_t, Unit>;
template <class Unit>
using NarrowMask = LaneMask<std::int32_t, Unit>;

// Between lanes of 4 and of 8 bytes: the parts of the one are the halves of the other.

template <class To, class From, class Unit>
inline Registers<To, Unit> Widen(const Registers<From, Unit>& x) {
  Registers<To, Unit> out;
  constexpr int kHalf = Registers<To, Unit>::kPerPart;
  [&]<int... i>(std::integer_sequence<int, i...>) {
    out.part[0] = (typename Registers<To, Unit>::Part) __builtin_convertvector(
        __builtin_shufflevector(x.part[0], x.part[0], i...), typename Registers<To, Unit>::Part);
    out.part[1] = (typename Registers<To, Unit>::Part) __builtin_convertvector(
        __builtin_shufflevector(x.part[0], x.part[0], (i + kHalf)...),
        typename Registers<To, Unit>::Part);
  }
  (std::make_integer_sequence<int, kHalf>{});
  return out;
}

template <class To, class From, class Unit>
inline Registers<To, Unit> Narrow(const Registers<From, Unit>& x) {
  constexpr int kHalf = Registers<From, Unit>::kPerPart;
  typedef To Half __attribute__((vector_size(Unit::kBytes / 2)));
  const Half low = __builtin_convertvector(x.part[0], Half);
  const Half high = __builtin_convertvector(x.part[1], Half);
  Registers<To, Unit> out;
  [&]<int... i>(std::integer_sequence<int, i...>) {
    out.part[0] = (typename Registers<To, Unit>::Part)__builtin_shufflevector(low, high, i...);
  }
  (std::make_integer_sequence<int, 2 * kHalf>{});
  return out;
}

template <class Unit>
inline WideMask<Unit> ToWide(const NarrowMask<Unit>& mask) {
  return {Widen<std::int64_t>(mask)};
}
template <class Unit>
inline NarrowMask<Unit> ToNarrow(const WideMask<Unit>& mask) {
  return {Narrow<std::int32_t>(mask)};
}
template <class T, class Unit>
inline LaneMask<T, Unit> And(const LaneMask<T, Unit>& a, const LaneMask<T, Unit>& b) {
  return LaneMask<T, Unit>::Each([&](int i) { return a.part[i] & b.part[i]; });
}
template <class T, class Unit>
inline LaneMask<T, Unit> Or(const LaneMask<T, Unit>& a, const LaneMask<T, Unit>& b) {
  return LaneMask<T, Unit>::Each([&](int i) { return a.part[i] | b.part[i]; });
}
// Masks of both sizes meet in the narrow one.
template <class Unit>
inline NarrowMask<Unit> And(const NarrowMask<Unit>& a, const WideMask<Unit>& b) {
  return And(a, ToNarrow(b));
}

template <class Unit>
inline Pack<double, Unit> ToDouble(const Pack<float, Unit>& x) {
  return Pack<double, Unit>(Widen<double>(x));
}
template <class Unit>
inline Pack<double, Unit> ToDouble(const Pack<std::int32_t, Unit>& x) {
  return Pack<double, Unit>(Widen<double>(x));
}
template <class Unit>
inline Pack<float, Unit> ToFloat(const Pack<double, Unit>& x) {
  return Pack<float, Unit>(Narrow<float>(x));
}
template <class Unit>
inline Pack<float, Unit> ToFloat(const Pack<std::int32_t, Unit>& x) {
  using Float = Pack<float, Unit>;
  return Float::Each(
      [&](int i) { return __builtin_convertvector(x.part[i], typename Float::Part); });
}
template <class Unit>
inline Pack<std::int32_t, Unit> Truncate(const Pack<float, Unit>& x) {
  using Int = Pack<std::int32_t, Unit>;
  return Int::Each([&](int i) { return __builtin_convertvector(x.part[i], typename Int::Part); });
}
template <class Unit>
inline Pack<std::int32_t, Unit> RoundToInt(const Pack<float, Unit>& x) {
  // Where floats stand one apart, addition rounds as the processor does: to the nearest even.
  constexpr float kShift = 0x1.8p23f;
  return Truncate((x + kShift) - kShift);
}
template <class Unit>
inline Pack<float, Unit> ScaleByPowerOfTwo(const Pack<float, Unit>& x,
                                           const Pack<std::int32_t, Unit>& i) {
  using Float = Pack<float, Unit>;
  using IntPart = typename Pack<std::int32_t, Unit>::Part;
  return Float::Each(
      [&](int p) { return (typename Float::Part)((IntPart)x.part[p] + i.part[p] * (1 << 23)); });
}

template <class T, class Unit>
inline Pack<T, Unit> Select(const LaneMask<MaskLane<T>, Unit>& mask, const Pack<T, Unit>& a,
                            const std::type_identity_t<Pack<T, Unit>>& b) {
  return Pack<T, Unit>::Each([&](int i) { return mask.part[i] ? a.part[i] : b.part[i]; });
}
template <class Unit>
inline Pack<double, Unit> Select(const NarrowMask<Unit>& mask, const Pack<double, Unit>& a,
                                 const std::type_identity_t<Pack<double, Unit>>& b) {
  return Select(ToWide(mask), a, b);
}
template <class Unit>
inline Pack<float, Unit> Select(const WideMask<Unit>& mask, const Pack<float, Unit>& a,
                                const std::type_identity_t<Pack<float, Unit>>& b) {
  return Select(ToNarrow(mask), a, b);
}
/// A constant may come first, too.
template <class Mask, class U, class T, class Unit>
requires std::is_arithmetic_v<U>
inline Pack<T, Unit> Select(const Mask& mask, U a, const Pack<T, Unit>& b) {
  return Select(mask, Pack<T, Unit>(a), b);
}

template <class T, class Unit>
inline Pack<T, Unit> Abs(const Pack<T, Unit>& x) {
  using Bits = MaskLane<T>;
  using BitPart = typename Registers<Bits, Unit>::Part;
  constexpr Bits kSign = Bits(1) << (sizeof(Bits) * 8 - 1);
  return Pack<T, Unit>::Each(
      [&](int i) { return (typename Pack<T, Unit>::Part)((BitPart)x.part[i] & ~kSign); });
}
template <class Unit>
inline Pack<double, Unit> CopySign(const Pack<double, Unit>& magnitude,
                                   const Pack<double, Unit>& sign) {
  using BitPart = typename Registers<std::int64_t, Unit>::Part;
  constexpr std::int64_t kSign = INT64_MIN;
  return Pack<double, Unit>::Each([&](int i) {
    return (typename Pack<double, Unit>::Part)(((BitPart)magnitude.part[i] & ~kSign) |
                                               ((BitPart)sign.part[i] & kSign));
  });
}

template <class T, class Unit>
inline unsigned LaneBits(const LaneMask<T, Unit>& mask) {
  unsigned bits = 0;
  for (int i = 0; i < LaneMask<T, Unit>::kParts; ++i) {
    unsigned ofPart = 0;
    if constexpr (std::is_same_v<Unit, Sse2>) {
      ofPart = sizeof(T) == 8 ? static_cast<unsigned>(_mm_movemask_pd((__m128d)mask.part[i]))
                              : static_cast<unsigned>(_mm_movemask_ps((__m128)mask.part[i]));
    }
#ifdef __AVX2__
    if constexpr (std::is_same_v<Unit, Avx2>) {
      ofPart = sizeof(T) == 8 ? static_cast<unsigned>(_mm256_movemask_pd((__m256d)mask.part[i]))
                              : static_cast<unsigned>(_mm256_movemask_ps((__m256)mask.part[i]));
    }
#endif
#ifdef __AVX512DQ__
    if constexpr (std::is_same_v<Unit, Avx512>) {
      ofPart = sizeof(T) == 8 ? static_cast<unsigned>(_mm512_movepi64_mask((__m512i)mask.part[i]))
                              : static_cast<unsigned>(_mm512_movepi32_mask((__m512i)mask.part[i]));
    }
#endif
    bits |= ofPart << (i * LaneMask<T, Unit>::kPerPart);
  }
  return bits;
}
template <class T, class Unit>
inline bool Any(const LaneMask<T, Unit>& mask) {
  LaneMask<T, Unit> both = mask;
  for (int i = 1; i < LaneMask<T, Unit>::kParts; ++i) both.part[0] |= both.part[i];
  for (int i = 1; i < LaneMask<T, Unit>::kParts; ++i) both.part[i] = both.part[0];
  return LaneBits(both) != 0;
}
template <class T, class Unit>
inline bool All(const LaneMask<T, Unit>& mask) {
  return !Any(!mask);
}

template <class T, class Unit>
inline T& Lane(Pack<T, Unit>& x, int lane) {
  return reinterpret_cast<T*>(x.part)[lane];
}
template <class T, class Unit>
inline const T& Lane(const Pack<T, Unit>& x, int lane) {
  return reinterpret_cast<const T*>(x.part)[lane];
}

}  // namespace halveron::dsp
