// Sound of the S616 Stereo Reverb: modulated combs with a low-pass in each loop, after Schroeder
// and Moorer, and a chain of all-passes on each side.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "dsp/delay_line.h"
#include "dsp/lanes.h"
#include "dsp/random.h"
#include "dsp/shaping.h"
#include "framework/voice_group.h"

namespace halveron {

struct S616Stereo {
  float left = 0.0f;
  float right = 0.0f;
};

/// The combs, several of them side by side in the lanes of a vector. Each lane does what one comb
/// does by itself, and the sums are taken comb by comb, so that all widths give the same bits.
struct S616CombBank {
  static constexpr int kMost = 20;
  static constexpr int kPadded = 32;  // whole vectors of any unit

  /// What the combs of one sample share.
  struct Controls {
    float damp = 1.0f;       ///< of the low-pass
    float keep = 0.0f;       ///< 1 - damp
    float feedback = 0.0f;   ///< 0..1
    float width = 0.0f;      ///< share of the other side's combs, 0 for hard-panned ones
    double sweep = 0.0;      ///< samples that a modulator's 1 adds to the delay
    double offset = 0.0;     ///< samples
    double increment = 0.0;  ///< of the modulators
  };

  alignas(64) std::array<double, kPadded> phase{};  // of a parabolic wave, 0..4
  alignas(64) std::array<double, kPadded> delay{};  // samples
  alignas(64) std::array<float, kPadded> lowpass{};
  alignas(64) std::array<float, kPadded> number{};
  alignas(64) std::array<float, kPadded> side{};  // 0 left, 1 right
  std::array<float*, kPadded> cells{};            // beyond kMost, those of another comb
  int size = 0;                                   // cells a line
  int index = 0;                                  // last written
  int lines = 12;                                 // in use, an even number

  S616CombBank() {
    for (int i = 0; i < kPadded; ++i) {
      number[static_cast<std::size_t>(i)] = static_cast<float>(i);
      side[static_cast<std::size_t>(i)] = static_cast<float>(i % 2);
    }
  }

  template <class Lanes>
  [[gnu::always_inline]] S616Stereo Step(const S616Stereo& in, const Controls& controls);

 private:
  /// What all combs of a sample share, in every lane.
  template <class Lanes>
  struct Shared {
    typename Lanes::Double sweep, offset, increment, index;
    typename Lanes::Float left, right, damp, keep, feedback, lines;
    int size;
  };
  template <class Lanes>
  [[gnu::always_inline]] void StepLanes(std::size_t i, const Shared<Lanes>& shared, float* out);
  template <class Number>
  [[gnu::always_inline]] static Number Load(const auto* from) {
    if constexpr (std::is_arithmetic_v<Number>) {
      return *from;
    } else {
      return Number::Load(from);
    }
  }
  template <class Number>
  [[gnu::always_inline]] static void Store(const Number& from, auto* to) {
    if constexpr (std::is_arithmetic_v<Number>) {
      *to = from;
    } else {
      from.Store(to);
    }
  }
};

/// A sample of the bank in the registers of a unit; defined where that unit's code is compiled.
template <class Unit>
class S616StereoReverbVectors {
 public:
  static S616Stereo Step(S616CombBank& bank, const S616Stereo& in,
                         const S616CombBank::Controls& controls);
};

class S616StereoReverbKernel {
 public:
  using CombStep = S616Stereo (*)(S616CombBank&, const S616Stereo&, const S616CombBank::Controls&);

  static constexpr int kAllPasses = 8;
  static constexpr int kLines = S616CombBank::kMost + kAllPasses;
  /// What follows the combs.
  enum class Diffusion { kLong, kShort, kNone };

  /// Smoothed, 0..1, but for the damping.
  struct Knobs {
    double decay = 0.5;
    double modulationDepth = 0.0;
    float damping = 1.0f;
    double modulationRate = 0.0;
    double size = 0.0;
    double width = 0.7;
  };
  struct Inputs {
    float left = 0.0f;
    float right = 0.0f;
    float sizeCv = 0.0f;
    float widthCv = 1.0f;  ///< 1 without a cable
  };

  /// The combs run in vectors of `unit`, or one by one for kNone.
  explicit S616StereoReverbKernel(VectorUnit unit) : stepCombs_(CombStepOf(unit)) {}
  static CombStep CombStepOf(VectorUnit unit);
  /// The fastest unit of this machine. Registers of sixteen lanes would stay half empty: 12 lines
  /// take 57 ns in AVX-512 where AVX2 takes 46.
  static VectorUnit BestUnit() { return std::min(WidestVectorUnit(), VectorUnit::kAvx2); }

  static int CombSizeAt(float rate) {
    return static_cast<int>(static_cast<double>(rate) * 0.1518594104308 + 2.0);
  }
  static int AllPassSizeAt(float rate) {
    return static_cast<int>((53 + 100) * 0.001 * static_cast<double>(rate) + 2.0);
  }

  /// Cells that a line of either kind takes.
  static int SizeAt(float rate) { return std::max(CombSizeAt(rate), AllPassSizeAt(rate)); }

  /// `rate` in hertz. The room is the same at every rate, and on every load.
  void Prepare(float rate);
  /// Silent lines of SizeAt(rate) cells, kLines of them.
  template <class Lines>
  void Attach(const Lines& lines) {
    for (int i = 0; i < S616CombBank::kPadded; ++i) {
      bank_.cells[At(i)] = lines.Line(std::min(i, S616CombBank::kMost - 1)).cells;
    }
    for (int i = 0; i < kAllPasses; ++i) {
      allPasses_[At(i)] = {lines.Line(S616CombBank::kMost + i).cells, allPassSize_};
    }
  }
  /// 4 to S616CombBank::kMost, even; their phases spread evenly from where the first one is. Lines
  /// that come back still hold what they held.
  void SetLines(int lines);
  void SetDiffusion(Diffusion diffusion);

  /// One sample; the wet signal.
  S616Stereo Step(const Knobs& knobs, const Inputs& in);

  /// Samples, without modulation and Size.
  double CombDelay(int line) const { return bank_.delay[At(line)]; }
  int AllPassDelay(int line) const { return allPassDelay_[At(line)]; }

 private:
  static constexpr std::size_t At(int i) { return static_cast<std::size_t>(i); }

  float DiffuseLong(int line, float x);
  float DiffuseShort(int line, float x, double offset);
  void Diffuse(S616Stereo& sum, float width, double offset);

  double rate_ = 44100.0;
  double modRateMax_ = 0.0, modRateMin_ = 0.0;
  double modDepth_ = 0.0;
  double sizeSpan_ = 0.0;
  double dampGain_ = 1.0;
  float outGain_ = 2.0f / 12.0f;

  CombStep stepCombs_;
  S616CombBank bank_;
  Diffusion diffusion_ = Diffusion::kLong;
  std::array<dsp::DelayLine, kAllPasses> allPasses_;
  std::array<int, kAllPasses> allPassDelay_{};
  int allPassSize_ = 0;
  int allPassIndex_ = 0;
};

template <class Lanes>
inline void S616CombBank::StepLanes(std::size_t i, const Shared<Lanes>& shared, float* out) {
  using Float = typename Lanes::Float;
  using Double = typename Lanes::Double;

  const Double ph = Load<Double>(&phase[i]);
  const Double falling = ph - 3.0, rising = ph - 1.0;
  const Double wave = dsp::Select(ph > 2.0, falling * falling, 2.0 - rising * rising);
  const Double next = ph + shared.increment;
  Store(dsp::Select(next >= 4.0, next - 4.0, next), &phase[i]);

  const Double time = shared.sweep * wave + Load<Double>(&delay[i]) + shared.offset;
  const Float position = dsp::WrapPosition(dsp::ToFloat(shared.index - time), shared.size);
  const auto k = dsp::Truncate(position);
  const Float f = position - dsp::ToFloat(k);
  std::array<const float*, Lanes::kLanes> read;
  for (int lane = 0; lane < Lanes::kLanes; ++lane) {
    const auto at = static_cast<std::size_t>(lane);
    read[at] = cells[i + at] + dsp::Lane(k, lane);
  }
  Float before, after;
  dsp::LoadPairs(read.data(), before, after);
  const Float r = (1.0f - f) * before + f * after;

  const Float held = Load<Float>(&lowpass[i]);
  const Float smoothed = r * shared.damp + shared.keep * held;
  Store(dsp::Select(Load<Float>(&number[i]) < shared.lines, smoothed, held), &lowpass[i]);
  const Float input = dsp::Select(Load<Float>(&side[i]) > 0.0f, shared.right, shared.left);
  // No NaN may stay in a loop.
  Store(dsp::FiniteOrZero(smoothed * shared.feedback + input), out);
}

template <class Lanes>
inline S616Stereo S616CombBank::Step(const S616Stereo& in, const Controls& controls) {
  alignas(64) float out[kPadded];
  index = index + 1 < size ? index + 1 : 0;
  const Shared<Lanes> shared{controls.sweep,
                             controls.offset,
                             controls.increment,
                             static_cast<double>(index),
                             in.left,
                             in.right,
                             controls.damp,
                             controls.keep,
                             controls.feedback,
                             static_cast<float>(lines),
                             size};
  const auto count = static_cast<std::size_t>(lines);
  for (std::size_t i = 0; i < count; i += Lanes::kLanes) StepLanes<Lanes>(i, shared, out + i);

  const float width = controls.width;
  const int at = index;
  S616Stereo sum;
  for (std::size_t i = 0; i < count; i += 2) {
    const float even = out[i], odd = out[i + 1];
    cells[i][at] = even;
    cells[i + 1][at] = odd;
    sum.left += even;
    sum.right += even * width;
    sum.right += odd;
    sum.left += odd * width;
  }
  if (at == 0) {  // the cell that repeats the first
    for (std::size_t i = 0; i < count; ++i) cells[i][size] = out[i];
  }
  return sum;
}

}  // namespace halveron
