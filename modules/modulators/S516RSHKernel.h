// S516 R-S&H kernel: a random line and a sample-and-hold with running extremes.
#pragma once

#include <tuple>

#include "dsp/clock_follower.h"
#include "dsp/edge.h"
#include "dsp/lanes.h"
#include "dsp/random.h"

namespace halveron {

template <class Lanes = dsp::OneVoice>
struct S516RSHKernel {
  using Float = typename Lanes::Float;
  using Double = typename Lanes::Double;
  using Int = typename Lanes::Int;

  // The same for all voices. Line segments per sample at both ends of the rate.
  double rateMin = 0.0;
  double rateMax = 0.0;

  /// Lanes that hold a voice: others draw no random values.
  int voices = Lanes::kLanes;

  // State of the line, which runs from one random value to the next.
  Double phase = 0.0;  ///< 0..1 along the segment
  Double previousValue = 0.0;
  Double nextValue = Lanes::kLanes == 1 ? NextValue() : 0.0;

  // State of the clock, which asks for one segment each.
  dsp::ClockFollower<Lanes> clock;
  Int resync = 0;  ///< not 0: the next clock starts a segment

  // Outputs.
  Float smooth = 0.0f;   ///< the line
  Float trinary = 0.0f;  ///< +1, 0 or -1
  Float sampled = 0.0f;
  Float highest = 0.0f;  ///< of the signal since the last sample
  Float lowest = 0.0f;

  template <class Self>
  static auto Settings(Self& self) {
    return std::tie(self.rateMin, self.rateMax);
  }
  template <class Self>
  static auto State(Self& self) {
    return std::tuple_cat(
        std::tie(self.phase, self.previousValue, self.nextValue, self.resync, self.smooth,
                 self.trinary, self.sampled, self.highest, self.lowest),
        self.clock.State(self.clock));
  }

  /// Evenly distributed from -1 up to +1, from the generator that all instances share.
  static double NextValue() { return dsp::ToBipolar(dsp::NextRandomPcg()); }

  void Prepare(float rate) {
    rateMin = static_cast<double>(1.0f / rate) * 0.01;
    rateMax = 8000.0 / rate;
  }

  /// One sample at the clock's pace; true where the signal was sampled.
  auto StepClocked(Float clockSignal, Float signal) {
    const auto trigger = clock.Step(clockSignal);
    const auto starts = dsp::And(trigger, resync != Int(0));
    resync = dsp::Select(trigger, Int(0), resync);
    phase = dsp::Select(starts, 0.0, phase);
    Sample(trigger, signal);
    TrackExtremes(!trigger, signal);
    AdvanceLine(clock.increment, starts);
    return trigger;
  }

  /// One sample at the sixth power of a rate; true where the signal was sampled, as it is where the
  /// line rises above its upper third.
  auto StepFree(Double rate, Float signal) {
    const Double r2 = rate * rate;
    const Float before = trinary;
    const auto never = before != before;
    const auto segmentEnded = AdvanceLine((rateMax - rateMin) * (r2 * r2 * r2) + rateMin, never);
    const auto trigger =
        dsp::And(dsp::ToNarrow(segmentEnded), trinary == 1.0f, before < dsp::kGateThreshold);
    Sample(trigger, signal);
    TrackExtremes(!never, signal);
    return trigger;
  }

 private:
  static constexpr double kTrinaryThreshold = 0.6;

  template <class Mask>
  void Sample(Mask samples, Float signal) {
    sampled = dsp::Select(samples, signal, sampled);
    highest = dsp::Select(samples, signal, highest);
    lowest = dsp::Select(samples, signal, lowest);
  }

  // A NaN as an extreme gives way to the signal.
  template <class Mask>
  void TrackExtremes(Mask tracks, Float signal) {
    const auto isHigher = dsp::Or(signal > highest, highest != highest);
    const auto isLower = dsp::Or(signal < lowest, lowest != lowest);
    highest = dsp::Select(dsp::And(tracks, isHigher), signal, highest);
    lowest = dsp::Select(dsp::And(tracks, isLower), signal, lowest);
  }

  /// Begins a segment where `starts`, and goes on by `step`; true where a segment ends.
  ///
  /// Values are drawn voice by voice, as voices that run by themselves would.
  template <class Mask>
  auto AdvanceLine(Double step, Mask starts) {
    const Double by = dsp::Select(step > 0.0, dsp::Min(step, Double(1.0)), 0.0);
    const Double reached = phase + by;
    const auto ends = reached >= 1.0;
    const auto endsNarrow = dsp::ToNarrow(ends);
    Double afterStart = nextValue, afterEnd = nextValue;
    dsp::ForEachLane(dsp::Or(starts, endsNarrow), [&](int lane) {
      if (lane >= voices) return;
      if (HoldsIn(starts, lane)) dsp::Lane(afterStart, lane) = NextValue();
      if (HoldsIn(endsNarrow, lane)) dsp::Lane(afterEnd, lane) = NextValue();
    });
    previousValue = dsp::Select(starts, nextValue, previousValue);
    nextValue = dsp::Select(starts, afterStart, nextValue);
    const Double line = (1.0 - phase) * previousValue + phase * nextValue;
    smooth = dsp::ToFloat(line);
    phase = dsp::Select(ends, reached - 1.0, reached);
    if (!dsp::Any(ends)) return ends;
    previousValue = dsp::Select(ends, nextValue, previousValue);
    nextValue = dsp::Select(ends, afterEnd, nextValue);
    const Float third = dsp::ToFloat(dsp::Select(
        line > kTrinaryThreshold, 1.0, dsp::Select(line >= -kTrinaryThreshold, Double(0.0), -1.0)));
    trinary = dsp::Select(endsNarrow, third, trinary);
    return ends;
  }

  template <class Mask>
  static bool HoldsIn(Mask mask, int lane) {
    return (dsp::LaneBits(mask) >> lane & 1u) != 0;
  }
};

}  // namespace halveron
