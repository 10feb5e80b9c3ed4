// Sound of the S224 Allpass Diffusion Filter: up to twelve Schroeder all-passes in series, each
// read a little later than the one before.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "dsp/delay_line.h"
#include "dsp/random.h"
#include "dsp/shaping.h"

namespace halveron {

class S224AllPassDiffusionKernel {
 public:
  static constexpr int kMostStages = 12;

  enum class Mode { kFractional, kInteger, kRandomSpacing };

  /// Smoothed, 0..1.
  struct Knobs {
    double amount = 0.5;
    double time = 0.25;
    double spacing = 0.25;
  };
  struct Inputs {
    float audio = 0.0f;
    float spacingCv = 0.0f;
    bool hasReturn = false;  ///< the last stage takes `returned` for what it delayed
    float returned = 0.0f;
  };
  struct Outputs {
    double out = 0.0;
    float send = 0.0f;
  };

  /// Cells of a line for a number of stages.
  static int SizeFor(int stages, float rate) {
    return static_cast<int>((stages * 40 + 100) * 0.001 * static_cast<double>(rate) + 2.0);
  }

  /// `rate` in hertz. Forgets the lines, which were made for another rate.
  void Prepare(float rate) {
    rate_ = rate;
    cells_ = {};
    timeSpan_ = static_cast<double>(rate) * 0.1;
    spacingSpan_ = static_cast<double>(rate) * 0.04;
    size_ = SizeFor(stages_, rate);
    index_ = 0;
  }
  /// The lines, kMostStages of SizeFor(kMostStages, rate) silent cells.
  template <class Lines>
  void Attach(const Lines& lines) {
    for (int i = 0; i < kMostStages; ++i) cells_[At(i)] = lines.Line(i).cells;
  }

  /// 1 to kMostStages, which begin in silence.
  void SetStages(int stages) {
    stages_ = stages;
    size_ = SizeFor(stages, rate_);
    index_ = 0;
    for (int i = 0; i < stages; ++i) {
      if (cells_[At(i)]) std::fill_n(cells_[At(i)], size_ + 1, 0.0f);
    }
    if (mode_ == Mode::kRandomSpacing) DrawSpacing();
  }
  /// Random spacing is drawn again each time that it is chosen.
  void SetMode(Mode mode) {
    mode_ = mode;
    if (mode != Mode::kRandomSpacing) return;
    seed_ = runningSeed_;
    DrawSpacing();
  }
  /// Where the present random spacing was drawn from; the next choice of it draws from there again.
  std::uint32_t Seed() const { return seed_; }
  void SetSeed(std::uint32_t seed) { seed_ = runningSeed_ = seed; }

  Outputs Step(const Knobs& knobs, const Inputs& in) {
    const double first = (timeSpan_ - 1.0) * knobs.time + 1.0;
    const double c = dsp::LimitUnit(static_cast<double>(in.spacingCv) + knobs.spacing);
    const double step = c * c * spacingSpan_;
    const double g = 1.0 - knobs.amount * knobs.amount;
    index_ = dsp::NextIndex(index_, size_);

    double x = static_cast<double>(in.audio);
    float p = dsp::WrappedPosition(index_, first, size_);
    for (int i = 0; i < stages_ - 1; ++i) {
      p = ReadingPosition(i, p, step);
      x = Diffuse(i, Read(i, p), g, x);
      if (mode_ != Mode::kRandomSpacing) p = Before(p, step);
    }
    const int last = stages_ - 1;
    p = ReadingPosition(last, p, step);
    const float send = Read(last, p);
    return {Diffuse(last, in.hasReturn ? in.returned : send, g, x), send};
  }

 private:
  static constexpr std::uint32_t kFirstSeed = 700215;
  static constexpr std::size_t At(int i) { return static_cast<std::size_t>(i); }

  void DrawSpacing() {
    runningSeed_ = seed_;
    for (int i = 0; i < stages_; ++i) spacing_factor[At(i)] = dsp::NextRandom(runningSeed_);
  }

  float Before(float position, double samples) const {
    return dsp::WrapPosition(static_cast<float>(static_cast<double>(position) - samples), size_);
  }
  float ReadingPosition(int stage, float p, double step) const {
    if (mode_ != Mode::kRandomSpacing) return p;
    return Before(p, step * spacing_factor[At(stage)]);
  }
  float Read(int stage, float p) const {
    if (mode_ == Mode::kInteger) return cells_[At(stage)][static_cast<int>(p)];
    return dsp::DelayLine{cells_[At(stage)], size_}.Read(p);
  }
  /// One all-pass: what its line gives, and its input; answers its output.
  double Diffuse(int stage, float r, double g, double x) const {
    const double delayed = static_cast<double>(r);
    const auto fed = dsp::FiniteOrZero(static_cast<float>(delayed * g + x));
    dsp::DelayLine{cells_[At(stage)], size_}.Write(index_, fed);
    return delayed - g * static_cast<double>(fed);
  }

  float rate_ = 44100.0f;
  double timeSpan_ = 0.0, spacingSpan_ = 0.0;  // samples
  int stages_ = 4;
  int size_ = 0;
  int index_ = 0;
  Mode mode_ = Mode::kFractional;
  std::array<float*, kMostStages> cells_{};
  std::array<double, kMostStages> spacing_factor{};
  std::uint32_t seed_ = kFirstSeed, runningSeed_ = kFirstSeed;
};

}  // namespace halveron
