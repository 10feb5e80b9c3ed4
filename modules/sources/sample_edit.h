// What a sampler's buttons do to a sample.
#pragma once

#include <optional>
#include <span>

namespace halveron {

/// Scales to a peak of 1; silence stays.
void Normalise(std::span<float> samples);

/// The frequency of a steady tone in hertz, from 20 Hz to an eighth of the rate, at most 12 kHz;
/// nothing if there is none. By the cumulative mean normalised difference of de Cheveigné and
/// Kawahara, "YIN, a fundamental frequency estimator" (JASA 111, 2002).
std::optional<double> FrequencyOf(std::span<const float> samples, double rate);

}  // namespace halveron
