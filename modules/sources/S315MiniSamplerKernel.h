// The sound of S315: one voice that plays a window of a sample.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

#include "dsp/edge.h"
#include "dsp/exp2_fast.h"
#include "dsp/zeroed_memory.h"
#include "modules/sources/sample_tables.h"

namespace halveron {

/// log2 of a speed, roughly: exact at 0.5, 1 and 2, and cheap, as it only chooses a table.
inline double RoughLog2OfSpeed(double speed) {
  if (speed >= 0.5) return 3.0 - 6.0 / (speed + 1.0);
  // The exponent of the float and its mantissa as a straight line.
  const auto bits = std::bit_cast<std::int32_t>(static_cast<float>(speed));
  return static_cast<double>(bits) / (1 << 23) - 127.0;
}

struct S315MiniSamplerKernel {
  enum class PlayState { kRunning, kFadingOut, kStopped };

  /// Smoothed values of the knobs, 0 to 1.
  struct Knobs {
    double speed, loop, start, fineStart, length;
  };
  struct Inputs {
    float gate, pitch, speedMod, startMod;
  };

  static constexpr double kSilence = 0.0001;    ///< gain at which a ramp counts as ended
  static constexpr double kMinimumFade = 16.0;  ///< samples of the file
  static constexpr double kMixFrom = 0.97;      ///< share of a level from which the next mixes in
  static constexpr double kMixScale = 33.333333333333336;
  static constexpr float kNoPitch = -1000.0f;

  // Panel.
  bool looping = false;
  bool gateHeldMode = false;
  bool snapLoop = false;
  bool gateCable = false;
  bool startCable = false;
  bool speedCable = false;
  double fadeShare = 0.0;       ///< of the loop
  double rootPitch = 0.0;       ///< pitch at which the file plays at its own rate
  double nyquistOctaves = 0.0;  ///< by which the band may go above the host's half rate
  double fadeStep = 1.0;        ///< of the ramp, per sample

  // Sample.
  const float* samples = nullptr;
  int sampleLength = 0;
  double sampleRateOfFile = 44100.0;
  bool singleCycle = false;
  const SampleTables* tables = nullptr;

  // State.
  PlayState playState = PlayState::kStopped;
  double position = 0.0;          ///< samples of the file
  double previousPosition = 0.0;  ///< at the last gate
  double fadePhase = 1.0;
  double fadeGain = 0.0;
  bool fadeFalls = true;
  bool restartPending = false;
  float lastGate = 0.0f;

  void Prepare(float sampleRate) {
    rate = sampleRate;
    cachedPitch = kNoPitch;
  }
  /// Memory for the decimator, which the audio thread must not take. False if there is none.
  bool TakeMemory() { return history.Take(2 * kMostDecimatorTaps); }

  /// Takes a sample over; its position stays where the new window allows.
  void SetSample(const SampleSet& set) {
    samples = set.buffer->Samples();
    sampleLength = set.buffer->Length();
    sampleRateOfFile = set.rate;
    singleCycle = set.isCycle;
    tables = set.tables.get();
    taps = tables ? static_cast<int>(tables->decimator.size()) : 0;
    cachedPitch = kNoPitch;
    ClearHistory();
  }
  void Stop() {
    playState = PlayState::kStopped;
    restartPending = false;
    fadeFalls = true;
    fadePhase = 1.0;
    fadeGain = 0.0;
    ClearHistory();
  }

  float Step(const Knobs& knobs, const Inputs& in) {
    if (sampleLength == 0) return 0.0f;
    FollowWindow(knobs, in.startMod);
    FollowGate(in.gate);
    FollowPitch(in.pitch);
    FollowSpeed(knobs.speed, in.speedMod);
    const double increment = Increment();
    FadeTail(increment);
    StepRamp();
    if (playState == PlayState::kStopped && fadeGain <= 0.0) return 0.0f;
    ChooseLevels(in.pitch);
    return static_cast<float>(ReadOversampled(increment) * fadeGain);
  }

  // The window, in samples of the file.
  double windowStart = 0.0, windowLength = 0.0, windowEnd = 0.0;
  double loopLength = 0.0, fadeLength = 0.0, loopBody = 0.0;
  double speed = 1.0;

 private:
  static double Unit(double x) { return !(x >= 0.0) ? 0.0 : x > 1.0 ? 1.0 : x; }

  void FollowWindow(const Knobs& knobs, float startMod) {
    const double k = knobs.fineStart;
    const double fine = startCable ? k * k * k * startMod : k * 0.01;
    const double s = Unit(knobs.start + fine);
    double l = Unit(knobs.length * knobs.length * knobs.length);
    if (s + l > 1.0) l = 1.0 - s;
    windowStart = s * sampleLength;
    windowLength = l * sampleLength;
    windowEnd = windowStart + windowLength;
    loopLength = (1.0 - Unit(knobs.loop)) * windowLength;
    fadeLength = loopLength * fadeShare;
    // A single cycle closes on itself: a fade would shorten its period.
    if (singleCycle) {
      fadeLength = 0.0;
    } else if (fadeLength < kMinimumFade && loopLength >= kMinimumFade) {
      fadeLength = kMinimumFade;
    }
    loopBody = loopLength - fadeLength;
    if (!(position >= windowStart)) position = windowStart;
    if (position > windowEnd) position = windowEnd;
  }

  void Restart() {
    position = windowStart;
    playState = PlayState::kRunning;
    restartPending = false;
    fadeFalls = false;
    fadePhase = 0.0;
    fadeGain = fadePhase;
    ClearHistory();
  }

  /// Turns the ramp round where it stands.
  void Ramp(bool falls) {
    if (fadeFalls == falls) return;
    fadeFalls = falls;
    fadePhase = 1.0 - fadePhase;
  }

  void FollowGate(float gate) {
    const bool rises = dsp::IsRisingEdge(lastGate, gate);
    const bool falls = dsp::IsRisingEdge(gate, lastGate);
    lastGate = gate;
    if (rises) {
      previousPosition = position;
      restartPending = true;
      if (playState == PlayState::kRunning) playState = PlayState::kFadingOut;
      Ramp(true);
    } else if (falls && gateHeldMode) {
      restartPending = false;
      if (playState == PlayState::kRunning) playState = PlayState::kFadingOut;
      Ramp(true);
    }
    // Without a gate a loop is an oscillator that always sounds.
    const bool runsFreely = looping && !gateHeldMode && !gateCable;
    if (runsFreely && playState == PlayState::kStopped) restartPending = true;
    if (fadeGain >= kSilence) return;
    if (restartPending) {
      Restart();
    } else if (playState == PlayState::kFadingOut) {
      playState = PlayState::kStopped;
    }
  }

  void StepRamp() {
    fadePhase = std::min(fadePhase + fadeStep, 1.0);
    fadeGain = fadeFalls ? 1.0 - fadePhase : fadePhase;
  }

  void FollowPitch(float pitch) {
    if (pitch == cachedPitch && rootPitch == cachedRoot) return;
    cachedPitch = pitch;
    cachedRoot = rootPitch;
    pitchRatio =
        static_cast<double>(dsp::Exp2Fast(static_cast<float>((pitch - rootPitch) * 10.0))) *
        (sampleRateOfFile / rate);
  }

  void FollowSpeed(double k, float mod) {
    speed = speedCable ? 2.0 * std::max(0.0, (mod * k * k + 1.0) * 0.5) : 2.0 * k;
    if (!(speed >= 0.0)) speed = 0.0;
  }

  double Increment() const {
    constexpr double kMostSteps = 1 << 30;
    double increment = speed * pitchRatio;
    if (!snapLoop || loopBody == 0.0 || increment == 0.0) return increment;
    const double q = loopBody / increment;
    if (!(q >= 1.0 && q < kMostSteps)) return increment;
    const int n = static_cast<int>(q);
    increment += (q - n) * increment / n;
    return increment;
  }

  /// Begins to fade where what is left of the window lasts as long as the ramp.
  void FadeTail(double increment) {
    if (looping || playState != PlayState::kRunning) return;
    const double lasting = increment * fadeGain / fadeStep;
    if (position <= windowEnd - lasting) return;
    playState = PlayState::kFadingOut;
    Ramp(true);
  }

  void ChooseLevels(float pitch) {
    first = {samples, 1.0};
    mix = 0.0;
    if (!tables) return;
    const double octaves =
        (pitch - rootPitch) * 10.0 + RoughLog2OfSpeed(speed) + tables->octaveBase - nyquistOctaves;
    const double level = octaves * tables->levelScale;
    if (!(level >= 0.0)) return;
    if (level >= static_cast<double>(tables->levels.size())) {
      first.table = nullptr;
      return;
    }
    const auto i = static_cast<std::size_t>(level);
    const double f = level - static_cast<double>(i);
    first = LevelAt(i);
    if (f <= kMixFrom) return;
    mix = (f - kMixFrom) * kMixScale;
    second = LevelAt(i + 1);
  }

  struct Table {
    const float* table = nullptr;  ///< null: too high to be heard
    double ratio = 1.0;
  };

  Table LevelAt(std::size_t i) const {
    if (i == 0) return {samples, 1.0};
    if (i >= tables->levels.size()) return {};
    return {tables->levels[i].First(), tables->levels[i].ratio};
  }

  /// Cubic Hermite with the tangents of Catmull and Rom.
  static double Value(const Table& level, double at) {
    if (!level.table) return 0.0;
    const double index = at * level.ratio;
    const auto i = static_cast<std::int64_t>(index);
    const double t = index - static_cast<double>(i);
    const float* const x = level.table + i;
    const double before = x[-1], from = x[0], to = x[1], after = x[2];
    const double tangent0 = (to - before) * 0.5;
    const double tangent1 = (after - from) * 0.5;
    const double t2 = t * t, t3 = t2 * t;
    return (2.0 * t3 - 3.0 * t2 + 1.0) * from + (t3 - 2.0 * t2 + t) * tangent0 +
           (3.0 * t2 - 2.0 * t3) * to + (t3 - t2) * tangent1;
  }

  double ValueAt(double at) const {
    const double value = Value(first, at);
    return mix > 0.0 ? value * (1.0 - mix) + Value(second, at) * mix : value;
  }

  double Read() const {
    const double fadeStart = windowEnd - fadeLength;
    if (!looping || !(position > fadeStart)) return ValueAt(position);
    const double x = (position - fadeStart) / fadeLength;
    const double w = x * (3.0 * x - 2.0 * x * x);
    return ValueAt(windowEnd - loopLength + (position - fadeStart)) * w +
           ValueAt(position) * (1.0 - w);
  }

  void Advance(double increment) {
    position += increment;
    if (position <= windowEnd) return;
    if (looping && loopBody >= increment) {
      position -= loopBody;
      return;
    }
    position = windowEnd;
    if (looping || playState == PlayState::kStopped) return;
    playState = PlayState::kStopped;
    Ramp(true);
  }

  double ReadOversampled(double increment) {
    const int factor = tables ? tables->factor : 1;
    if (factor == 1 || !history.Floats()) {
      Advance(increment);
      return Read();
    }
    const double part = increment / factor;
    float* const ring = history.Floats();
    for (int i = 0; i < factor; ++i) {
      Advance(part);
      // Written twice, so that the last `taps` values always lie in a row, newest first.
      newest = newest == 0 ? taps - 1 : newest - 1;
      ring[newest] = ring[newest + taps] = static_cast<float>(Read());
    }
    return Decimate(ring + newest);
  }

  double Decimate(const float* values) const {
    constexpr int kLanes = 16;  // taps are a multiple of it
    const float* const coefficients = tables->decimator.data();
    std::array<float, kLanes> sums{};
    for (int i = 0; i < taps; i += kLanes) {
      for (int lane = 0; lane < kLanes; ++lane) {
        sums[static_cast<std::size_t>(lane)] += coefficients[i + lane] * values[i + lane];
      }
    }
    double sum = 0.0;
    for (const float part : sums) sum += part;
    return sum;
  }

  void ClearHistory() {
    newest = 0;
    if (history.Floats()) std::fill_n(history.Floats(), 2 * taps, 0.0f);
  }

  float rate = 44100.0f;
  float cachedPitch = kNoPitch;
  double cachedRoot = 0.0;
  double pitchRatio = 1.0;
  Table first, second;
  double mix = 0.0;
  dsp::ZeroedMemory history;  ///< of the decimator, twice over
  int taps = 0;
  int newest = 0;
};

}  // namespace halveron
