#include "engine/decimator_sums.h"

#include <immintrin.h>

namespace halveron {

namespace {

/// The samples of both channels at a position, in the low lanes.
__m128 Pair(const FirHistory& history, int position) {
  return _mm_unpacklo_ps(_mm_load_ss(history.left + position),
                         _mm_load_ss(history.right + position));
}

}  // namespace

StereoSum SumSymmetric(const FirHistory& history) {
  const int half = history.count / 2;
  __m128 sum = _mm_setzero_ps();
  int newer = history.newest;
  int older = (newer == 0 ? history.count : newer) - 1;
  for (int i = 0; i < half; ++i) {
    const __m128 pair = _mm_add_ps(Pair(history, newer), Pair(history, older));
    sum = _mm_add_ps(sum, _mm_mul_ps(_mm_set1_ps(history.taps[i]), pair));
    if (++newer == history.count) newer = 0;
    if (--older < 0) older = history.count - 1;
  }
  alignas(16) float sums[4];
  _mm_store_ps(sums, sum);
  return {sums[0], sums[1]};
}

namespace {

constexpr int kLanes = 16;

/// The partial sums of a channel.
struct alignas(64) Lanes {
  float sums[kLanes] = {};

  float Total() const {
    const __m128 low = _mm_add_ps(_mm_load_ps(sums), _mm_load_ps(sums + 4));
    const __m128 high = _mm_add_ps(_mm_load_ps(sums + 8), _mm_load_ps(sums + 12));
    alignas(16) float parts[4];
    _mm_store_ps(parts, _mm_add_ps(low, high));
    return (parts[0] + parts[1]) + (parts[2] + parts[3]);
  }
};

/// Samples that lie in a row in both channels, and their taps.
struct Run {
  const float* taps;
  const float* left;
  const float* right;
  int count;
};

/// Adds all products but the last `count` % 16.
using AddProducts = void (*)(const Run& run, Lanes& left, Lanes& right);

void AddInSse2(const Run& run, Lanes& left, Lanes& right) {
  __m128 l[4], r[4];
  for (int j = 0; j < 4; ++j) {
    l[j] = _mm_load_ps(left.sums + 4 * j);
    r[j] = _mm_load_ps(right.sums + 4 * j);
  }
  for (int i = 0; i + kLanes <= run.count; i += kLanes) {
    for (int j = 0; j < 4; ++j) {
      const __m128 taps = _mm_loadu_ps(run.taps + i + 4 * j);
      l[j] = _mm_add_ps(l[j], _mm_mul_ps(taps, _mm_loadu_ps(run.left + i + 4 * j)));
      r[j] = _mm_add_ps(r[j], _mm_mul_ps(taps, _mm_loadu_ps(run.right + i + 4 * j)));
    }
  }
  for (int j = 0; j < 4; ++j) {
    _mm_store_ps(left.sums + 4 * j, l[j]);
    _mm_store_ps(right.sums + 4 * j, r[j]);
  }
}

__attribute__((target("avx2"))) void AddInAvx2(const Run& run, Lanes& left, Lanes& right) {
  __m256 l[2], r[2];
  for (int j = 0; j < 2; ++j) {
    l[j] = _mm256_load_ps(left.sums + 8 * j);
    r[j] = _mm256_load_ps(right.sums + 8 * j);
  }
  for (int i = 0; i + kLanes <= run.count; i += kLanes) {
    for (int j = 0; j < 2; ++j) {
      const __m256 taps = _mm256_loadu_ps(run.taps + i + 8 * j);
      l[j] = _mm256_add_ps(l[j], _mm256_mul_ps(taps, _mm256_loadu_ps(run.left + i + 8 * j)));
      r[j] = _mm256_add_ps(r[j], _mm256_mul_ps(taps, _mm256_loadu_ps(run.right + i + 8 * j)));
    }
  }
  for (int j = 0; j < 2; ++j) {
    _mm256_store_ps(left.sums + 8 * j, l[j]);
    _mm256_store_ps(right.sums + 8 * j, r[j]);
  }
}

__attribute__((target("avx512f"))) void AddInAvx512(const Run& run, Lanes& left, Lanes& right) {
  __m512 l = _mm512_load_ps(left.sums);
  __m512 r = _mm512_load_ps(right.sums);
  for (int i = 0; i + kLanes <= run.count; i += kLanes) {
    const __m512 taps = _mm512_loadu_ps(run.taps + i);
    l = _mm512_add_ps(l, _mm512_mul_ps(taps, _mm512_loadu_ps(run.left + i)));
    r = _mm512_add_ps(r, _mm512_mul_ps(taps, _mm512_loadu_ps(run.right + i)));
  }
  _mm512_store_ps(left.sums, l);
  _mm512_store_ps(right.sums, r);
}

void AddFour(const float* taps, const float* samples, Lanes& to) {
  const __m128 product = _mm_mul_ps(_mm_loadu_ps(taps), _mm_loadu_ps(samples));
  _mm_store_ps(to.sums, _mm_add_ps(_mm_load_ps(to.sums), product));
}

template <AddProducts add>
StereoSum SumInVectors(const FirHistory& history) {
  const int untilEnd = history.count - history.newest;
  Lanes left, right;
  for (const Run& run :
       {Run{history.taps, history.left + history.newest, history.right + history.newest, untilEnd},
        Run{history.taps + untilEnd, history.left, history.right, history.newest}}) {
    add(run, left, right);
    for (int i = run.count / kLanes * kLanes; i < run.count; i += 4) {
      AddFour(run.taps + i, run.left + i, left);
      AddFour(run.taps + i, run.right + i, right);
    }
  }
  return {left.Total(), right.Total()};
}

}  // namespace

FirSum VectorSumOf(VectorUnit unit) {
  switch (unit) {
    case VectorUnit::kAvx512Eight:
    case VectorUnit::kAvx512:
      return SumInVectors<AddInAvx512>;
    case VectorUnit::kAvx2:
      return SumInVectors<AddInAvx2>;
    default:
      return SumInVectors<AddInSse2>;
  }
}

}  // namespace halveron
