// Samples for the tests of the sampler, and a voice that plays them.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

#include "modules/sources/S315MiniSamplerKernel.h"

namespace halveron::testing {

inline std::shared_ptr<SampleBuffer> BufferOf(const std::vector<float>& samples) {
  auto buffer = SampleBuffer::Make(static_cast<int>(samples.size()));
  std::copy(samples.begin(), samples.end(), buffer->Samples());
  buffer->SetLength(static_cast<int>(samples.size()));
  return buffer;
}

/// `amplitude` of harmonic h is 1 / h for a saw; a sine has one.
inline std::vector<float> Tone(std::size_t count, double cyclesPerSample, int harmonics) {
  std::vector<float> samples(count);
  for (std::size_t i = 0; i < count; ++i) {
    double sum = 0.0;
    for (int h = 1; h <= harmonics; ++h) {
      sum += std::sin(2.0 * std::numbers::pi * h * cyclesPerSample * static_cast<double>(i)) / h;
    }
    samples[i] = static_cast<float>(0.5 * sum);
  }
  return samples;
}

/// A kernel with a sample, at 48 kHz, whose knobs stand as on a new panel.
struct SamplerVoice {
  SamplerVoice(const std::vector<float>& samples, double fileRate, bool isCycle = false,
               int quality = 0) {
    set.buffer = BufferOf(samples);
    set.buffer->FillGuards(isCycle);
    set.rate = fileRate;
    set.isCycle = isCycle;
    if (quality > 0) {
      set.tables = BuildSampleTables(*set.buffer, fileRate, isCycle, quality, {});
    }
    kernel.TakeMemory();
    kernel.Prepare(48000.0f);
    kernel.fadeShare = 0.1;
    kernel.fadeStep = 1.0 / (0.0002 * 48000.0);
    kernel.SetSample(set);
  }

  std::vector<float> Run(int count, float gate = 0.0f) {
    std::vector<float> out(static_cast<std::size_t>(count));
    for (float& value : out) value = kernel.Step(knobs, {gate, pitch, 0.0f, 0.0f});
    return out;
  }

  SampleSet set;
  S315MiniSamplerKernel kernel;
  S315MiniSamplerKernel::Knobs knobs{0.5, 0.0, 0.0, 0.0, 1.0};
  float pitch = 0.0f;
};

}  // namespace halveron::testing
