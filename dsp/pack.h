// Numbers side by side, worked on by vector instructions of a chosen width.
//
// The code of each unit is compiled with the options of its instructions, in files of its own, and
// every type in it names its unit: so no function of a wide unit can be taken for another's.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "dsp/lanes.h"
#include "dsp/vector_units.h"

namespace halveron::dsp {

template <class Unit>
inline constexpr int kLanesOf = Unit::kLanes;

template <class T>
using MaskLane = std::conditional_t<sizeof(T) == 8, std::int64_t, std::int32_t>;

template <class T, class Unit>
struct Registers {
  static constexpr int kPerPart =
      std::min(Unit::kBytes / static_cast<int>(sizeof(T)), kLanesOf<Unit>);
  static constexpr int kParts = kLanesOf<Unit> / kPerPart;
  typedef T Part __attribute__((vector_size(kPerPart * sizeof(T)), may_alias));

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
  Pack(const Pack&) = default;
  // Register by register, see Load.
  Pack& operator=(const Pack& other) {
    for (int i = 0; i < Base::kParts; ++i) this->part[i] = other.part[i];
    return *this;
  }
  explicit Pack(const Base& registers) : Base(registers) {}
  /// The same number in every lane.
  template <class U>
  requires std::is_arithmetic_v<U> && requires(U u) { T{u}; }
  Pack(U number) {
    Part same;
    for (int lane = 0; lane < Base::kPerPart; ++lane) same[lane] = static_cast<T>(number);
    for (Part& each : this->part) each = same;
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

  // Register by register: a copy of the whole goes through memory in smaller pieces, which a load
  // of a register waits for.
  static Pack Load(const T* cells) {
    return Each([&](int i) {
      Part part;
      std::memcpy(&part, cells + i * Base::kPerPart, sizeof part);
      return part;
    });
  }
  void Store(T* cells) const {
    for (int i = 0; i < Base::kParts; ++i) {
      const Part part = this->part[i];
      std::memcpy(cells + i * Base::kPerPart, &part, sizeof part);
    }
  }

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

template <class T, class Unit>
struct LaneNumber<Pack<T, Unit>> {
  using Type = T;
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
/// Whether doubles take one register, as floats do.
template <class Unit>
inline constexpr bool kDoublesInOnePart = Registers<double, Unit>::kParts == 1;

template <class Unit>
inline WideMask<Unit> ToWide(const NarrowMask<Unit>& mask) {
  using Part = typename WideMask<Unit>::Part;
  using Ops = VectorOps<Unit>;
  const auto narrow = (typename Ops::Ints)mask.part[0];
  if constexpr (kDoublesInOnePart<Unit>) {
    return {(Part)Ops::AllWide(narrow)};
  } else {
    return {(Part)Ops::LowWide(narrow), (Part)Ops::HighWide(narrow)};
  }
}
template <class Unit>
inline NarrowMask<Unit> ToNarrow(const WideMask<Unit>& mask) {
  using Part = typename NarrowMask<Unit>::Part;
  using Ops = VectorOps<Unit>;
  using WideInts = typename Ops::WideInts;
  if constexpr (kDoublesInOnePart<Unit>) {
    return {(Part)Ops::AllNarrow((WideInts)mask.part[0])};
  } else {
    return {(Part)Ops::JoinNarrow((WideInts)mask.part[0], (WideInts)mask.part[1])};
  }
}
template <class Unit>
inline const WideMask<Unit>& ToWide(const WideMask<Unit>& mask) {
  return mask;
}
template <class Unit>
inline const NarrowMask<Unit>& ToNarrow(const NarrowMask<Unit>& mask) {
  return mask;
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

template <class Unit, class Native>
inline Pack<double, Unit> DoublesOf(Native x) {
  Pack<double, Unit> out;
  if constexpr (kDoublesInOnePart<Unit>) {
    out.part[0] = VectorOps<Unit>::AllDoubles(x);
  } else {
    out.part[0] = VectorOps<Unit>::LowDoubles(x);
    out.part[1] = VectorOps<Unit>::HighDoubles(x);
  }
  return out;
}
template <class Unit>
inline Pack<double, Unit> ToDouble(const Pack<float, Unit>& x) {
  return DoublesOf<Unit>((typename VectorOps<Unit>::Floats)x.part[0]);
}
template <class Unit>
inline Pack<double, Unit> ToDouble(const Pack<std::int32_t, Unit>& x) {
  return DoublesOf<Unit>((typename VectorOps<Unit>::Ints)x.part[0]);
}
template <class Unit>
inline Pack<float, Unit> ToFloat(const Pack<double, Unit>& x) {
  using Doubles = typename VectorOps<Unit>::Doubles;
  Pack<float, Unit> out;
  if constexpr (kDoublesInOnePart<Unit>) {
    out.part[0] = VectorOps<Unit>::AllFloats((Doubles)x.part[0]);
  } else {
    out.part[0] = VectorOps<Unit>::JoinFloats((Doubles)x.part[0], (Doubles)x.part[1]);
  }
  return out;
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

/// What the unit's instructions take for a part.
template <class T, class Unit>
struct NativeOf {
  using Type = typename VectorOps<Unit>::Ints;
};
template <class Unit>
struct NativeOf<std::int64_t, Unit> {
  using Type = typename VectorOps<Unit>::WideInts;
};
template <class Unit>
struct NativeOf<float, Unit> {
  using Type = typename VectorOps<Unit>::Floats;
};
template <class Unit>
struct NativeOf<double, Unit> {
  using Type = typename VectorOps<Unit>::Doubles;
};

template <class T, class Unit>
inline Pack<T, Unit> Select(const LaneMask<MaskLane<T>, Unit>& mask, const Pack<T, Unit>& a,
                            const std::type_identity_t<Pack<T, Unit>>& b) {
  using Native = typename NativeOf<T, Unit>::Type;
  using NativeMask = typename NativeOf<MaskLane<T>, Unit>::Type;
  return Pack<T, Unit>::Each([&](int i) {
    return (typename Pack<T, Unit>::Part)VectorOps<Unit>::Blend(
        (NativeMask)mask.part[i], (Native)a.part[i], (Native)b.part[i]);
  });
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

template <class Unit>
inline unsigned LaneBits(const NarrowMask<Unit>& mask) {
  return VectorOps<Unit>::Bits32((typename VectorOps<Unit>::Ints)mask.part[0]);
}
template <class Unit>
inline unsigned LaneBits(const WideMask<Unit>& mask) {
  using WideInts = typename VectorOps<Unit>::WideInts;
  unsigned bits = 0;
  for (int i = 0; i < WideMask<Unit>::kParts; ++i) {
    bits |= VectorOps<Unit>::Bits64((WideInts)mask.part[i]) << i * WideMask<Unit>::kPerPart;
  }
  return bits;
}
template <class Unit>
inline bool Any(const NarrowMask<Unit>& mask) {
  return VectorOps<Unit>::Any32((typename VectorOps<Unit>::Ints)mask.part[0]);
}
template <class Unit>
inline bool Any(const WideMask<Unit>& mask) {
  auto any = mask.part[0];
  for (int i = 1; i < WideMask<Unit>::kParts; ++i) any |= mask.part[i];
  return VectorOps<Unit>::Any64((typename VectorOps<Unit>::WideInts)any);
}
template <class Unit>
inline bool All(const NarrowMask<Unit>& mask) {
  return LaneBits(mask) == (1u << NarrowMask<Unit>::kPerPart) - 1;
}
template <class Unit>
inline bool All(const WideMask<Unit>& mask) {
  auto all = mask.part[0];
  for (int i = 1; i < WideMask<Unit>::kParts; ++i) all &= mask.part[i];
  return VectorOps<Unit>::Bits64((typename VectorOps<Unit>::WideInts)all) ==
         (1u << WideMask<Unit>::kPerPart) - 1;
}

template <int count>
struct FloatVector {
  typedef float Type __attribute__((vector_size(count * sizeof(float)), may_alias));
};

template <class Unit>
inline void LoadPairs(const float* const* addresses, Pack<float, Unit>& first,
                      Pack<float, Unit>& second) {
  // A pair travels as one double; a vector that is put together from its lanes in memory would
  // wait for those stores.
  using Pairs = Registers<double, Unit>;
  using FloatPairs = typename FloatVector<2 * Pairs::kPerPart>::Type;
  constexpr auto kLoad = []<std::size_t... i>(const float* const* from, std::index_sequence<i...>) {
    const auto pair = [](const float* at) {
      double both;
      std::memcpy(&both, at, sizeof both);
      return both;
    };
    return typename Pairs::Part{pair(from[i])...};
  };
  constexpr auto kLanes = std::make_index_sequence<Pairs::kPerPart>();
  const auto low = (FloatPairs)kLoad(addresses, kLanes);
  auto high = low;
  if constexpr (!kDoublesInOnePart<Unit>)
    high = (FloatPairs)kLoad(addresses + Pairs::kPerPart, kLanes);
  [&]<std::size_t... i>(std::index_sequence<i...>) {
    first.part[0] = __builtin_shufflevector(low, high, (2 * i)...);
    second.part[0] = __builtin_shufflevector(low, high, (2 * i + 1)...);
  }
  (std::make_index_sequence<kLanesOf<Unit>>());
}

/// Of each lane the float at its address.
template <class Unit>
inline Pack<float, Unit> LoadEach(const float* const* addresses) {
  return Pack<float, Unit>::Each(
      [&](int) { return (typename Pack<float, Unit>::Part)VectorOps<Unit>::LoadEach(addresses); });
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
