// The vector units, and of each the few operations that plain vector arithmetic does not name well.
//
// Floats and 32-bit masks take one register. Doubles and 64-bit masks take two, the low lanes
// first, or one of twice the size, in units that have no more lanes than it has doubles.
#pragma once

#include <immintrin.h>

namespace halveron::dsp {

struct Sse2 {
  static constexpr int kBytes = 16;
  static constexpr int kLanes = 4;
};
/// AVX2 for four lanes.
struct Avx2Four {
  static constexpr int kBytes = 32;
  static constexpr int kLanes = 4;
};
struct Avx2 {
  static constexpr int kBytes = 32;
  static constexpr int kLanes = 8;
};
/// AVX-512 for eight lanes.
struct Avx512Eight {
  static constexpr int kBytes = 64;
  static constexpr int kLanes = 8;
};
struct Avx512 {
  static constexpr int kBytes = 64;
  static constexpr int kLanes = 16;
};

/// Known where the compiler may use the unit.
template <class Unit>
struct VectorOps;

template <>
struct VectorOps<Sse2> {
  using Floats = __m128;
  using Doubles = __m128d;
  using Ints = __m128i;
  using WideInts = Ints;

  static Doubles LowDoubles(Floats x) { return _mm_cvtps_pd(x); }
  static Doubles HighDoubles(Floats x) { return _mm_cvtps_pd(_mm_movehl_ps(x, x)); }
  static Doubles LowDoubles(Ints x) { return _mm_cvtepi32_pd(x); }
  static Doubles HighDoubles(Ints x) { return _mm_cvtepi32_pd(_mm_unpackhi_epi64(x, x)); }
  static Floats JoinFloats(Doubles low, Doubles high) {
    return _mm_movelh_ps(_mm_cvtpd_ps(low), _mm_cvtpd_ps(high));
  }
  static Ints LowWide(Ints mask) { return _mm_unpacklo_epi32(mask, mask); }
  static Ints HighWide(Ints mask) { return _mm_unpackhi_epi32(mask, mask); }
  static Ints JoinNarrow(Ints low, Ints high) {
    return _mm_castps_si128(
        _mm_shuffle_ps(_mm_castsi128_ps(low), _mm_castsi128_ps(high), _MM_SHUFFLE(2, 0, 2, 0)));
  }
  static Ints Blend(Ints mask, Ints a, Ints b) {
    return _mm_or_si128(_mm_and_si128(mask, a), _mm_andnot_si128(mask, b));
  }
  static Floats Blend(Ints mask, Floats a, Floats b) {
    return _mm_castsi128_ps(Blend(mask, _mm_castps_si128(a), _mm_castps_si128(b)));
  }
  static Doubles Blend(Ints mask, Doubles a, Doubles b) {
    return _mm_castsi128_pd(Blend(mask, _mm_castpd_si128(a), _mm_castpd_si128(b)));
  }
  static unsigned Bits32(Ints mask) {
    return static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(mask)));
  }
  static unsigned Bits64(Ints mask) {
    return static_cast<unsigned>(_mm_movemask_pd(_mm_castsi128_pd(mask)));
  }
  static bool Any32(Ints mask) { return Bits32(mask) != 0; }
  static bool Any64(Ints mask) { return Bits64(mask) != 0; }
  static Floats LoadEach(const float* const* at) {
    return _mm_setr_ps(*at[0], *at[1], *at[2], *at[3]);
  }
};

#ifdef __AVX2__
template <>
struct VectorOps<Avx2Four> {
  using Floats = __m128;
  using Doubles = __m256d;
  using Ints = __m128i;
  using WideInts = __m256i;

  static Doubles AllDoubles(Floats x) { return _mm256_cvtps_pd(x); }
  static Doubles AllDoubles(Ints x) { return _mm256_cvtepi32_pd(x); }
  static Floats AllFloats(Doubles x) { return _mm256_cvtpd_ps(x); }
  static WideInts AllWide(Ints mask) { return _mm256_cvtepi32_epi64(mask); }
  static Ints AllNarrow(WideInts mask) {
    return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(_mm256_castsi256_si128(mask)),
                                           _mm_castsi128_ps(_mm256_extracti128_si256(mask, 1)),
                                           _MM_SHUFFLE(2, 0, 2, 0)));
  }
  static Ints Blend(Ints mask, Ints a, Ints b) { return _mm_blendv_epi8(b, a, mask); }
  static Floats Blend(Ints mask, Floats a, Floats b) {
    return _mm_blendv_ps(b, a, _mm_castsi128_ps(mask));
  }
  static Doubles Blend(WideInts mask, Doubles a, Doubles b) {
    return _mm256_blendv_pd(b, a, _mm256_castsi256_pd(mask));
  }
  static unsigned Bits32(Ints mask) {
    return static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(mask)));
  }
  static unsigned Bits64(WideInts mask) {
    return static_cast<unsigned>(_mm256_movemask_pd(_mm256_castsi256_pd(mask)));
  }
  static bool Any32(Ints mask) {
    const Floats bits = _mm_castsi128_ps(mask);
    return _mm_testz_ps(bits, bits) == 0;
  }
  static bool Any64(WideInts mask) {
    const Doubles bits = _mm256_castsi256_pd(mask);
    return _mm256_testz_pd(bits, bits) == 0;
  }
  static Floats LoadEach(const float* const* at) {
    return _mm_setr_ps(*at[0], *at[1], *at[2], *at[3]);
  }
};

template <>
struct VectorOps<Avx2> {
  using Floats = __m256;
  using Doubles = __m256d;
  using Ints = __m256i;
  using WideInts = Ints;

  static Doubles LowDoubles(Floats x) { return _mm256_cvtps_pd(_mm256_castps256_ps128(x)); }
  static Doubles HighDoubles(Floats x) { return _mm256_cvtps_pd(_mm256_extractf128_ps(x, 1)); }
  static Doubles LowDoubles(Ints x) { return _mm256_cvtepi32_pd(_mm256_castsi256_si128(x)); }
  static Doubles HighDoubles(Ints x) { return _mm256_cvtepi32_pd(_mm256_extracti128_si256(x, 1)); }
  static Floats JoinFloats(Doubles low, Doubles high) {
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm256_cvtpd_ps(low)), _mm256_cvtpd_ps(high),
                                1);
  }
  static Ints LowWide(Ints mask) { return _mm256_cvtepi32_epi64(_mm256_castsi256_si128(mask)); }
  static Ints HighWide(Ints mask) {
    return _mm256_cvtepi32_epi64(_mm256_extracti128_si256(mask, 1));
  }
  static Ints JoinNarrow(Ints low, Ints high) {
    return _mm256_permute4x64_epi64(_mm256_packs_epi32(low, high), _MM_SHUFFLE(3, 1, 2, 0));
  }
  static Ints Blend(Ints mask, Ints a, Ints b) { return _mm256_blendv_epi8(b, a, mask); }
  static Floats Blend(Ints mask, Floats a, Floats b) {
    return _mm256_blendv_ps(b, a, _mm256_castsi256_ps(mask));
  }
  static Doubles Blend(Ints mask, Doubles a, Doubles b) {
    return _mm256_blendv_pd(b, a, _mm256_castsi256_pd(mask));
  }
  static unsigned Bits32(Ints mask) {
    return static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(mask)));
  }
  static unsigned Bits64(Ints mask) {
    return static_cast<unsigned>(_mm256_movemask_pd(_mm256_castsi256_pd(mask)));
  }
  static bool Any32(Ints mask) {
    const Floats bits = _mm256_castsi256_ps(mask);
    return _mm256_testz_ps(bits, bits) == 0;
  }
  static bool Any64(Ints mask) {
    const Doubles bits = _mm256_castsi256_pd(mask);
    return _mm256_testz_pd(bits, bits) == 0;
  }
  static Floats LoadEach(const float* const* at) {
    return _mm256_setr_ps(*at[0], *at[1], *at[2], *at[3], *at[4], *at[5], *at[6], *at[7]);
  }
};
#endif

#ifdef __AVX512DQ__
template <>
struct VectorOps<Avx512Eight> {
  using Floats = __m256;
  using Doubles = __m512d;
  using Ints = __m256i;
  using WideInts = __m512i;

  static Doubles AllDoubles(Floats x) { return _mm512_cvtps_pd(x); }
  static Doubles AllDoubles(Ints x) { return _mm512_cvtepi32_pd(x); }
  static Floats AllFloats(Doubles x) { return _mm512_cvtpd_ps(x); }
  static WideInts AllWide(Ints mask) { return _mm512_cvtepi32_epi64(mask); }
  static Ints AllNarrow(WideInts mask) { return _mm512_cvtepi64_epi32(mask); }
  static Ints Blend(Ints mask, Ints a, Ints b) { return _mm256_blendv_epi8(b, a, mask); }
  static Floats Blend(Ints mask, Floats a, Floats b) {
    return _mm256_blendv_ps(b, a, _mm256_castsi256_ps(mask));
  }
  static Doubles Blend(WideInts mask, Doubles a, Doubles b) {
    return _mm512_mask_blend_pd(_mm512_movepi64_mask(mask), b, a);
  }
  static unsigned Bits32(Ints mask) {
    return static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(mask)));
  }
  static unsigned Bits64(WideInts mask) { return _mm512_movepi64_mask(mask); }
  static bool Any32(Ints mask) {
    const Floats bits = _mm256_castsi256_ps(mask);
    return _mm256_testz_ps(bits, bits) == 0;
  }
  static bool Any64(WideInts mask) { return Bits64(mask) != 0; }
  static Floats LoadEach(const float* const* at) {
    return _mm256_setr_ps(*at[0], *at[1], *at[2], *at[3], *at[4], *at[5], *at[6], *at[7]);
  }
};

template <>
struct VectorOps<Avx512> {
  using Floats = __m512;
  using Doubles = __m512d;
  using Ints = __m512i;
  using WideInts = Ints;

  static Doubles LowDoubles(Floats x) { return _mm512_cvtps_pd(_mm512_castps512_ps256(x)); }
  static Doubles HighDoubles(Floats x) { return _mm512_cvtps_pd(_mm512_extractf32x8_ps(x, 1)); }
  static Doubles LowDoubles(Ints x) { return _mm512_cvtepi32_pd(_mm512_castsi512_si256(x)); }
  static Doubles HighDoubles(Ints x) { return _mm512_cvtepi32_pd(_mm512_extracti32x8_epi32(x, 1)); }
  static Floats JoinFloats(Doubles low, Doubles high) {
    return _mm512_insertf32x8(_mm512_castps256_ps512(_mm512_cvtpd_ps(low)), _mm512_cvtpd_ps(high),
                              1);
  }
  static Ints LowWide(Ints mask) { return _mm512_cvtepi32_epi64(_mm512_castsi512_si256(mask)); }
  static Ints HighWide(Ints mask) {
    return _mm512_cvtepi32_epi64(_mm512_extracti32x8_epi32(mask, 1));
  }
  static Ints JoinNarrow(Ints low, Ints high) {
    return _mm512_inserti32x8(_mm512_castsi256_si512(_mm512_cvtepi64_epi32(low)),
                              _mm512_cvtepi64_epi32(high), 1);
  }
  static Ints Blend(Ints mask, Ints a, Ints b) {
    return _mm512_mask_blend_epi32(_mm512_movepi32_mask(mask), b, a);
  }
  static Floats Blend(Ints mask, Floats a, Floats b) {
    return _mm512_mask_blend_ps(_mm512_movepi32_mask(mask), b, a);
  }
  static Doubles Blend(Ints mask, Doubles a, Doubles b) {
    return _mm512_mask_blend_pd(_mm512_movepi64_mask(mask), b, a);
  }
  static unsigned Bits32(Ints mask) { return _mm512_movepi32_mask(mask); }
  static unsigned Bits64(Ints mask) { return _mm512_movepi64_mask(mask); }
  static bool Any32(Ints mask) { return Bits32(mask) != 0; }
  static bool Any64(Ints mask) { return Bits64(mask) != 0; }
  static Floats LoadEach(const float* const* at) {
    return _mm512_setr_ps(*at[0], *at[1], *at[2], *at[3], *at[4], *at[5], *at[6], *at[7], *at[8],
                          *at[9], *at[10], *at[11], *at[12], *at[13], *at[14], *at[15]);
  }
};
#endif

}  // namespace halveron::dsp
