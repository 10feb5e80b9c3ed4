#include "modules/sources/sample_tables.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <span>
#include <utility>

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

/// Memory for a level of so many samples and its guards.
std::span<float> TakeRoom(SampleTables::Level& level, std::size_t length) {
  if (!level.memory.Take(length + SampleBuffer::kFrontGuard + SampleBuffer::kBackGuard)) {
    throw std::bad_alloc();
  }
  return {level.memory.Floats() + SampleBuffer::kFrontGuard, length};
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
    SampleTables::Level& level = tables.levels.emplace_back();
    level.ratio = density;
    const std::span<float> samples = TakeRoom(level, signal.size());
    std::copy(signal.begin(), signal.end(), samples.begin());
    FillSampleGuards(samples.data(), length * density, true);
  }
  return true;
}

/// The half of the band that a halving keeps; 0 stands beyond the ends. False once a stop is
/// requested.
bool LowPass(std::span<const float> samples, std::span<float> out, const std::stop_token& stop) {
  constexpr std::size_t kHalf = kHalvingTaps / 2;
  constexpr std::size_t kPadded = (kHalvingTaps + kLanes - 1) / kLanes * kLanes;
  std::array<float, kPadded> filter{};
  dsp::DesignFirFilter(filter.data(), kHalvingTaps, dsp::FirWindow::kBlackman, kHalvingCutoff);
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

/// Every second sample. False once a stop is requested.
bool Thin(std::span<const float> samples, std::span<float> out, const std::stop_token& stop) {
  for (std::size_t n = 0; n < out.size(); ++n) {
    if (n % kBlock == 0 && stop.stop_requested()) return false;
    out[n] = samples[2 * n];
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
  dsp::ZeroedMemory thinned;
  double ratio = 1.0;
  for (int i = 1; i < count; ++i, ratio *= 0.5) {
    SampleTables::Level& level = tables.levels.emplace_back();
    level.ratio = ratio;
    const std::span<float> samples = TakeRoom(level, from.size());
    if (!LowPass(from, samples, stop)) return false;
    FillSampleGuards(samples.data(), static_cast<int>(samples.size()), false);
    dsp::ZeroedMemory half;
    const std::size_t halfLength = (samples.size() + 1) / 2;
    if (!half.Take(halfLength)) throw std::bad_alloc();
    if (!Thin(samples, {half.Floats(), halfLength}, stop)) return false;
    thinned = std::move(half);
    from = {thinned.Floats(), halfLength};
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
