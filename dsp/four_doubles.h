// Four doubles side by side, for arithmetic within one instance that has four equal lanes.
#pragma once

#include <cstring>
#include <type_traits>

#include "dsp/lanes.h"

namespace halveron::dsp {

/// One by one, where there are no registers for them. Gives the bits of FourLanes.
struct FourDoubles {
  double lane[4];

  FourDoubles() = default;
  explicit FourDoubles(double same) : lane{same, same, same, same} {}
  FourDoubles(double a, double b, double c, double d) : lane{a, b, c, d} {}
  double operator[](int i) const { return lane[i]; }

  template <class F>
  static FourDoubles Each(F&& f) {
    return {f(0), f(1), f(2), f(3)};
  }
  FourDoubles operator*(const FourDoubles& b) const {
    return Each([&](int i) { return lane[i] * b.lane[i]; });
  }
  FourDoubles operator/(const FourDoubles& b) const {
    return Each([&](int i) { return lane[i] / b.lane[i]; });
  }
  FourDoubles operator+(const FourDoubles& b) const {
    return Each([&](int i) { return lane[i] + b.lane[i]; });
  }
  FourDoubles operator-(const FourDoubles& b) const {
    return Each([&](int i) { return lane[i] - b.lane[i]; });
  }
};

/// In one register of AVX2 and above, in two of SSE2. The unit keeps its code apart from others'.
template <class Unit>
struct FourLanes {
  static constexpr int kParts = Unit::kBytes >= 32 ? 1 : 2;
  static constexpr int kPerPart = 4 / kParts;
  typedef double Two __attribute__((vector_size(16)));
  typedef double All __attribute__((vector_size(32)));
  using Part = std::conditional_t<kParts == 1, All, Two>;
  Part part[kParts];

  FourLanes() = default;
  explicit FourLanes(double same) : FourLanes(same, same, same, same) {}
  FourLanes(double a, double b, double c, double d) {
    if constexpr (kParts == 1) {
      part[0] = All{a, b, c, d};
    } else {
      part[0] = Two{a, b};
      part[1] = Two{c, d};
    }
  }
  double operator[](int i) const { return part[i / kPerPart][i % kPerPart]; }

  template <class F>
  static FourLanes Each(F&& f) {
    FourLanes out;
    for (int i = 0; i < kParts; ++i) out.part[i] = f(i);
    return out;
  }
  FourLanes operator*(const FourLanes& b) const {
    return Each([&](int i) { return part[i] * b.part[i]; });
  }
  FourLanes operator/(const FourLanes& b) const {
    return Each([&](int i) { return part[i] / b.part[i]; });
  }
  FourLanes operator+(const FourLanes& b) const {
    return Each([&](int i) { return part[i] + b.part[i]; });
  }
  FourLanes operator-(const FourLanes& b) const {
    return Each([&](int i) { return part[i] - b.part[i]; });
  }
};

template <>
struct LaneNumber<FourDoubles> {
  using Type = double;
};
template <class Unit>
struct LaneNumber<FourLanes<Unit>> {
  using Type = double;
};

template <class Four>
[[gnu::always_inline]] inline Four LoadFour(const double* from) {
  Four four;
  std::memcpy(&four, from, sizeof four);
  return four;
}
template <class Four>
[[gnu::always_inline]] inline void StoreFour(const Four& from, double* to) {
  std::memcpy(to, &from, sizeof from);
}

}  // namespace halveron::dsp
