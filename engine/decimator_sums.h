// The sums of the decimating FIR filter over two channels, in plain numbers and in vectors.
#pragma once

#include "framework/voice_group_maker.h"

namespace halveron {

/// The taps of a filter and the last samples of two channels. The samples lie in rings of `count`,
/// from `newest` upward in the order of age.
struct FirHistory {
  const float* taps;
  const float* left;
  const float* right;
  int count;
  int newest;
};

struct StereoSum {
  float left, right;
};

using FirSum = StereoSum (*)(const FirHistory& history);

/// One sum after the other, a tap at once on both samples that a symmetric filter gives its weight.
/// `count` is even.
StereoSum SumSymmetric(const FirHistory& history);

/// Sixteen partial sums, tap i in sum i % 16 of a run of samples without a wrap, and what such a
/// run leaves over in the first four. Every unit gives the same bits. `count` and `newest` are
/// multiples of 4; `unit` is one of the machine's.
FirSum VectorSumOf(VectorUnit unit);

}  // namespace halveron
