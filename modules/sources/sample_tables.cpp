#include "modules/sources/sample_tables.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

#include "dsp/fft.h"
#include "dsp/fir_design.h"

namespace halveron {

namespace {

constexpr double kReferenceRate = 44100.0;
constexpr double kOctaves = 7.0;

constexpr std::array<SampleQuality, kSampleQualities> kQualities{{{1, 4},
                                                                  {1, 4},
                                                                  {1, 4},
                                                                  {2, 16},
                                                                  {4, 16},
                                                                  {4, 24},
                                                                  {4, 32},
                                                                  {8, 32},
                                                                  {16, 32},
                                                                  {32, 32},
                                                                  {64, 32},
                                                                  {128, 32},
                                                                  {256, 32}}};
constexpr int kPassageRows = 2;          // that a passage is above a cycle
constexpr int kFirstWiderPosition = 10;  // from here on a passage has further octaves

// Cycles up to these lengths have more levels in an octave, and denser tables.
constexpr int kShortCycle = 441;
constexpr int kShortestCycle = 220;
constexpr int kLongestCycle = 65536;  // what is longer is no cycle that anybody hears as a tone

// The low-pass before each halving. Its band ends where its -74 dB begin at a quarter of the rate.
constexpr int kHalvingTaps = 129;
constexpr float kHalvingCutoff = 0.25f - 2.75f / kHalvingTaps;
constexpr int kLanes = 16;               // sums that run side by side
constexpr std::size_t kBlock = 1 << 14;  // samples between two looks at the stop token

/// Copies samples into a level, with the guards of a cycle or of a passage.
void Store(SampleTables::Level& level, const std::vector<float>& samples, bool isCycle) {
  const auto length = static_cast<std::ptrdiff_t>(samples.size());
  level.memory.resize(samples.size() + SampleBuffer::kFrontGuard + SampleBuffer::kBackGuard);
  for (std::ptrdiff_t i = 0; i < static_cast<std::ptrdiff_t>(level.memory.size()); ++i) {
    std::ptrdiff_t from = i - SampleBuffer::kFrontGuard;
    from = isCycle ? (from % length + length) % length
                   : std::clamp<std::ptrdiff_t>(from, 0, length - 1);
    level.memory[static_cast<std::size_t>(i)] = samples[static_cast<std::size_t>(from)];
  }
}

/// The levels of a cycle: its own harmonics, fewer from level to level.
bool BuildCycleLevels(const SampleBuffer& buffer, double rate, SampleTables& tables,
                      const std::stop_token& stop) {
  const int length = buffer.Length();
  const int density = length <= kShortestCycle ? 4 : 2;
  tables.levelScale = length <= kShortCycle ? 5.0 : 3.0;
  const double octaves = std::log2(0.5 * kReferenceRate / (rate / length));
  const int count = std::max(1, static_cast<int>(std::ceil(octaves * tables.levelScale)));

  // Two cycles side by side, as a transform has an even size: harmonic k is bin 2k.
  dsp::RealFft analysis(2 * length);
  std::copy_n(buffer.Samples(), length, analysis.Signal().begin());
  std::copy_n(buffer.Samples(), length, analysis.Signal().begin() + length);
  analysis.Forward();
  dsp::RealFft synthesis(2 * length * density);
  const auto scale = static_cast<float>(0.5 / length);
  for (int i = 1; i < count; ++i) {
    if (stop.stop_requested()) return false;
    const double share = std::exp2(-i / tables.levelScale);
    const int harmonics = static_cast<int>(std::floor(0.5 * length * share));
    const auto bins = synthesis.Spectrum();
    std::fill(bins.begin(), bins.end(), std::complex<float>());
    for (int k = 0; k <= harmonics && 2 * k < length; ++k) {
      bins[static_cast<std::size_t>(2 * k)] =
          analysis.Spectrum()[static_cast<std::size_t>(2 * k)] * scale;
    }
    synthesis.Inverse();
    const auto signal = synthesis.Signal().first(static_cast<std::size_t>(length * density));
    tables.levels.emplace_back().ratio = density;
    Store(tables.levels.back(), {signal.begin(), signal.end()}, true);
  }
  return true;
}

/// The half of the band that a halving keeps; 0 stands beyond the ends. False once a stop is
/// requested.
bool LowPass(std::span<const float> samples, std::vector<float>& out, const std::stop_token& stop) {
  constexpr std::size_t kHalf = kHalvingTaps / 2;
  constexpr std::size_t kPadded = (kHalvingTaps + kLanes - 1) / kLanes * kLanes;
  std::array<float, kPadded> filter{};
  dsp::DesignFirFilter(filter.data(), kHalvingTaps, dsp::FirWindow::kBlackman, kHalvingCutoff);
  out.assign(samples.size(), 0.0f);
  std::vector<float> input(kBlock + kPadded);
  for (std::size_t first = 0; first < out.size(); first += kBlock) {
    if (stop.stop_requested()) return false;
    const std::size_t count = std::min(kBlock, out.size() - first);
    for (std::size_t i = 0; i < input.size(); ++i) {
      const std::size_t from = first + i - kHalf;  // wraps round to a large number before the start
      input[i] = from < samples.size() ? samples[from] : 0.0f;
    }
    for (std::size_t n = 0; n < count; ++n) {
      std::array<float, kLanes> sums{};
      for (std::size_t i = 0; i < kPadded; i += kLanes) {
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
          sums[lane] += filter[i + lane] * input[n + i + lane];
        }
      }
      for (const float sum : sums) out[first + n] += sum;
    }
  }
  return true;
}

/// The levels of a passage, an octave apart. The first keeps the sample's density, which is twice
/// what its band needs; each of the others has half the density of the one before.
bool BuildPassageLevels(const SampleBuffer& buffer, int position, SampleTables& tables,
                        const std::stop_token& stop) {
  const double octaves = kOctaves + std::max(0, position - kFirstWiderPosition + 1);
  const int count = static_cast<int>(octaves * tables.levelScale);
  std::span<const float> from(buffer.Samples(), static_cast<std::size_t>(buffer.Length()));
  std::vector<float> thinned, level;
  double ratio = 1.0;
  for (int i = 1; i < count; ++i, ratio *= 0.5) {
    if (!LowPass(from, level, stop)) return false;
    tables.levels.emplace_back().ratio = ratio;
    Store(tables.levels.back(), level, false);
    thinned.resize((level.size() + 1) / 2);
    for (std::size_t n = 0; n < thinned.size(); ++n) thinned[n] = level[2 * n];
    from = thinned;
  }
  return true;
}

}  // namespace

SampleQuality QualityOf(int position, bool isCycle) {
  const int row = position + (isCycle ? 0 : kPassageRows);
  return kQualities[static_cast<std::size_t>(std::clamp(row, 1, kSampleQualities - 1))];
}

std::shared_ptr<const SampleTables> BuildSampleTables(const SampleBuffer& buffer, double rate,
                                                      bool isCycle, int position,
                                                      const std::stop_token& stop) {
  auto tables = std::make_shared<SampleTables>();
  const SampleQuality quality = QualityOf(position, isCycle);
  tables->factor = quality.factor;
  tables->octaveBase = std::log2(rate / kReferenceRate);
  tables->levels.emplace_back();
  if (quality.factor > 1) {
    const int taps = quality.taps * quality.factor;
    tables->decimator.resize(static_cast<std::size_t>(taps));
    dsp::DesignFirFilter(tables->decimator.data(), taps, dsp::FirWindow::kBlackman,
                         static_cast<float>(0.5 / quality.factor));
  }
  const int length = buffer.Length();
  if (length == 0) return tables;
  const bool isDone = isCycle && length > 1 && length <= kLongestCycle
                          ? BuildCycleLevels(buffer, rate, *tables, stop)
                          : BuildPassageLevels(buffer, position, *tables, stop);
  return isDone ? tables : nullptr;
}

}  // namespace halveron
