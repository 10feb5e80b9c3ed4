// The loops of the S218 Spectral Filter in the registers of vectors.
#pragma once

#include "dsp/pack.h"
#include "modules/filters/S218SpectralFilterLoops.h"

namespace halveron {

template <class Unit>
[[gnu::flatten]] float S218SpectralFilterVectors<Unit>::Convolve(const float* taps,
                                                                 const float* line, int length) {
  return s218::Convolve<dsp::VoicesOf<Unit>>(taps, line, length);
}

template <class Unit>
[[gnu::flatten]] void S218SpectralFilterVectors<Unit>::AddSines(const S218BandTarget& target,
                                                                const S218Band& band) {
  s218::AddBand<dsp::VoicesOf<Unit>, false>(target, band);
}

template <class Unit>
[[gnu::flatten]] void S218SpectralFilterVectors<Unit>::AddCosines(const S218BandTarget& target,
                                                                  const S218Band& band) {
  s218::AddBand<dsp::VoicesOf<Unit>, true>(target, band);
}

}  // namespace halveron
