// Usage: write_samples DIRECTORY
//
// Synthesises the samples of the patches beside this file into DIRECTORY, for the build to put into
// the factory presets.

#include <array>
#include <cmath>
#include <cstdio>
#include <exception>
#include <numbers>
#include <string>
#include <vector>

#include "media/audio_file.h"

namespace halveron {
namespace {

constexpr int kRate = 44100;  // hertz
constexpr double kMiddleC = 261.62558;

struct Mode {
  double ratio;  ///< to the lowest mode
  double amplitude;
  double halfLife;  ///< seconds
};

/// A wooden bar over a tuned tube. The second and third mode are tuned as makers of marimbas tune
/// them, to four and ten times the first; what follows lies where a bar has it.
constexpr std::array<Mode, 6> kBar{{{1.0, 1.0, 0.22},
                                    {3.99, 0.34, 0.07},
                                    {9.94, 0.16, 0.024},
                                    {16.7, 0.07, 0.012},
                                    {24.9, 0.04, 0.008},
                                    {34.2, 0.025, 0.005}}};

/// A bar struck by a felt mallet, 1.6 s that end in silence.
std::vector<float> StruckBar() {
  constexpr double kSeconds = 1.6, kFadeFrom = 1.3, kContact = 0.0018, kMallet = 0.004;
  std::vector<float> samples(static_cast<std::size_t>(kSeconds * kRate));
  unsigned seed = 1;
  double dull = 0.0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double t = static_cast<double>(i) / kRate;
    double sum = 0.0;
    for (const Mode& mode : kBar) {
      sum += mode.amplitude * std::exp2(-t / mode.halfLife) *
             std::sin(2.0 * std::numbers::pi * kMiddleC * mode.ratio * t);
    }
    // The mallet's felt: noise without its highs, for as long as it touches.
    seed = seed * 1664525u + 1013904223u;
    dull += 0.12 * (seed / 2147483648.0 - 1.0 - dull);
    sum += 0.5 * dull * std::exp(-t / kMallet);
    const double onset = t < kContact ? 0.5 - 0.5 * std::cos(std::numbers::pi * t / kContact) : 1.0;
    const double end = t < kFadeFrom ? 1.0 : 1.0 - (t - kFadeFrom) / (kSeconds - kFadeFrom);
    samples[i] = static_cast<float>(0.62 * onset * end * sum);
  }
  return samples;
}

void Write(const std::string& path, const std::vector<float>& samples) {
  const auto frames = static_cast<std::int64_t>(samples.size());
  media::AudioFileWriter writer(path, 1, kRate, frames, media::SampleFormat::kFloat32,
                                media::SampleKey{60.0});
  writer.Write(samples.data(), frames);
  writer.Commit();
}

}  // namespace
}  // namespace halveron

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "write_samples: give the directory to fill\n");
    return 2;
  }
  try {
    halveron::Write(std::string(argv[1]) + "/struck_bar.wav", halveron::StruckBar());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "write_samples: %s\n", error.what());
    return 1;
  }
  return 0;
}
