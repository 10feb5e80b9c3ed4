// S525 VC Envelope Generator/LFO kernel: every time and level under voltage, every curve to choose.
#pragma once

#include <tuple>

#include "dsp/counters.h"
#include "dsp/edge.h"
#include "dsp/lanes.h"

namespace halveron {

/// As in S500, a count of samples is mapped to a level by the law of the present stage, so that
/// nothing drifts and a turned knob acts at once.
template <class Lanes = dsp::OneVoice>
struct S525VCEnvelopeGeneratorLFOKernel {
  using Float = typename Lanes::Float;
  using Double = typename Lanes::Double;
  using Int = typename Lanes::Int;

  /// A knob, the amount of its voltage, and the voltage.
  struct Modulated {
    Double knob, amount;
    Float voltage;
    Double Sum() const { return dsp::ToDouble(voltage) * amount + knob; }
  };
  struct Inputs {
    Modulated attack, decay, sustain, release;
    Double attackShape, decayShape, releaseShape;
    Double restart;
    Float gate, retrigger;
  };

  /// Reach of a time, in samples.
  struct TimeRange {
    double longest = 1.0;
    double shortest = 1.0;

    Double At(Double v) const { return (longest - shortest) * (v * v) + shortest; }
  };

  /// Switch positions.
  enum Range : int { kSlow, kMiddle, kFast };

  static constexpr double kOneSample = 2.2675736961451248e-5;  // seconds, at 44100 Hz
  static constexpr double kLongestRestart = 0.1;

  // The same for all voices.
  TimeRange attackTime, decayTime, releaseTime, restartTime;
  bool fast_restart = false;  ///< the level falls fast to 0 before an attack
  bool cycle = false;         ///< a gate starts a whole cycle, whatever it does then
  bool gate_repeat = false;   ///< a gate repeats itself when the envelope has ended

  // State.
  Double position = kAtRest;  ///< samples since the attack, or the release, began
  Double release_start = 0.0, attack_start = 0.0, restart_level = 0.0;
  Double restart_position = kAtRest;
  Float last_gate = 0.0f, last_retrigger = 0.0f;
  Float cycle_stage = 0.0f;  ///< 0 release, 1 attack and decay, 2 about to release
  Int repeat_hold = -1;      ///< samples for which a low gate is still read as high
  Int repeat_count = 0;      ///< samples that the last gate lasted

  // Outputs.
  Float out = 0.0f;
  Float decayStage = 0.0f, sustainStage = 0.0f, releaseStage = 0.0f, end = 0.0f;
  Float attackLamp = 0.0f, releaseLamp = 0.0f;

  template <class Self>
  static auto Settings(Self& self) {
    const auto range = [](auto& r) { return std::tie(r.longest, r.shortest); };
    return std::tuple_cat(range(self.attackTime), range(self.decayTime), range(self.releaseTime),
                          range(self.restartTime),
                          std::tie(self.fast_restart, self.cycle, self.gate_repeat));
  }
  template <class Self>
  static auto State(Self& self) {
    return std::tie(self.position, self.release_start, self.attack_start, self.restart_level,
                    self.restart_position, self.last_gate, self.last_retrigger, self.cycle_stage,
                    self.repeat_hold, self.repeat_count, self.out, self.decayStage,
                    self.sustainStage, self.releaseStage, self.end, self.attackLamp,
                    self.releaseLamp);
  }

  static TimeRange RangeOf(int range, double rate) {
    constexpr double kLongest[] = {60.0, 6.0, 0.2};
    constexpr double kShortest[] = {5.0, 0.15, kOneSample};
    return {kLongest[range] * rate, kShortest[range] * rate};
  }
  static TimeRange RestartRange(double rate) { return {rate * kLongestRestart, rate * kOneSample}; }

  // What a mode leaves behind goes when its switch is moved; not for the audio thread to do.

  void SetFastRestart(bool on) {
    if (on == fast_restart) return;
    fast_restart = on;
    restart_position = kAtRest;
    restart_level = 0.0;
  }
  /// The envelope falls from where it stands, and a gate that is high starts it again.
  void SetCycle(bool on) {
    if (on == cycle) return;
    cycle = on;
    cycle_stage = 0.0f;
    last_gate = 0.0f;
    release_start = StartLevel();
    position = dsp::Select(out == 0.0f, Double(kAtRest), 1.0);
  }
  void SetGateRepeat(bool on) {
    if (on == gate_repeat) return;
    gate_repeat = on;
    repeat_hold = -1;
    repeat_count = 0;
  }

  void Step(const Inputs& in) {
    const auto retriggers = dsp::IsRisingEdge(last_retrigger, in.retrigger);
    last_retrigger = in.retrigger;
    Float gate = in.gate;
    if (gate_repeat) gate = Repeat(gate);
    const auto isHigh = gate >= dsp::kGateThreshold;
    const auto wasHigh = last_gate >= dsp::kGateThreshold;
    last_gate = gate;
    const auto begins = dsp::And(isHigh, dsp::Or(!wasHigh, retriggers));
    if (dsp::Any(begins)) BeginAttack(begins);
    if (cycle) {
      StepCycle(in, begins);
      return;
    }
    const auto isLow = !isHigh;
    if (dsp::Any(isLow)) {
      BeginRelease(dsp::And(isLow, wasHigh));
      StepRelease(dsp::And(isLow, !wasHigh), in);
    }
    if (dsp::Any(isHigh)) StepHigh(isHigh, in);
  }

 private:
  /// A position beyond every time.
  static constexpr double kAtRest = 1e300;

  /// The gate as it is, or stretched.
  Float Repeat(Float gate) {
    const auto isHigh = gate >= dsp::kGateThreshold;
    const auto isStretched = repeat_hold > Int(0);
    // A gate that comes while the last one is still stretched is a new one.
    const auto isNew = dsp::And(isHigh, dsp::Or(last_gate < dsp::kGateThreshold, isStretched));
    last_gate = dsp::Select(isNew, 0.0f, last_gate);
    const Int longer =
        dsp::Select(repeat_count < Int(dsp::kIdleCounter), repeat_count + 1, repeat_count);
    repeat_count = dsp::Select(isHigh, dsp::Select(isNew, Int(1), longer), repeat_count);
    const auto stretches = dsp::And(!isHigh, isStretched);
    repeat_hold = dsp::Select(stretches, repeat_hold - 1, Int(-1));
    return dsp::Select(stretches, 1.0f, gate);
  }

  template <class Mask>
  void SilenceStages(Mask mask) {
    decayStage = dsp::Select(mask, 0.0f, decayStage);
    sustainStage = dsp::Select(mask, 0.0f, sustainStage);
    releaseStage = dsp::Select(mask, 0.0f, releaseStage);
    end = dsp::Select(mask, 0.0f, end);
    attackLamp = dsp::Select(mask, 0.0f, attackLamp);
    releaseLamp = dsp::Select(mask, 0.0f, releaseLamp);
  }

  /// Where the level stands. One that is no number, by a voltage of that kind, does not stay.
  Double StartLevel() const {
    return dsp::ToDouble(dsp::Select(dsp::IsFinite(out), out, Float(0.0f)));
  }

  template <class Mask>
  void BeginAttack(Mask begins) {
    position = dsp::Select(begins, 0.0, position);
    if (fast_restart) {
      restart_position = dsp::Select(begins, 0.0, restart_position);
      restart_level = dsp::Select(begins, StartLevel(), restart_level);
      attack_start = dsp::Select(begins, 0.0, attack_start);
    } else {
      attack_start = dsp::Select(begins, StartLevel(), attack_start);
    }
  }

  /// The level holds for the sample.
  template <class Mask>
  void BeginRelease(Mask begins) {
    if (!dsp::Any(begins)) return;
    SilenceStages(begins);
    position = dsp::Select(begins, 1.0, position);
    release_start = dsp::Select(begins, StartLevel(), release_start);
    releaseLamp = dsp::Select(begins, 1.0f, releaseLamp);
  }

  template <class Mask>
  void StepRelease(Mask isOn, const Inputs& in) {
    if (!dsp::Any(isOn)) return;
    const Double T = releaseTime.At(in.release.Sum());
    const auto on = dsp::ToWide(isOn);
    const auto hasEnded = dsp::And(on, position > T);
    const auto falls = dsp::And(on, !(position > T));
    SilenceStages(isOn);
    Double level = 0.0;
    if (dsp::Any(falls)) {
      level = dsp::Select(falls, Fallen(in.releaseShape, position / T, release_start), level);
    }
    // At the end it rests there, even if the knob is turned to a longer time then.
    position = dsp::Select(falls, position + 1.0, dsp::Select(hasEnded, kAtRest, position));
    out = dsp::Select(isOn, dsp::ToFloat(level), out);
    const auto isFalling = dsp::ToNarrow(falls);
    releaseStage = dsp::Select(isFalling, 1.0f, releaseStage);
    releaseLamp = dsp::Select(isFalling, 1.0f, releaseLamp);
    const auto isAtEnd = dsp::ToNarrow(hasEnded);
    end = dsp::Select(isAtEnd, 1.0f, end);
    if (gate_repeat && !cycle) repeat_hold = dsp::Select(isAtEnd, repeat_count, repeat_hold);
  }

  /// Attack, Decay and Sustain; answers where the last of them was reached.
  template <class Mask>
  auto StepHigh(Mask isHigh, const Inputs& in) {
    SilenceStages(isHigh);
    auto on = dsp::ToWide(isHigh);
    const Double S = in.sustain.Sum();
    Double level = S;
    if (fast_restart) {
      const Double R = restartTime.At(in.restart);
      const auto falls = dsp::And(on, restart_position < R);
      if (dsp::Any(falls)) {
        level = dsp::Select(falls, (1.0 - restart_position / R) * restart_level, level);
      }
      // A fall that is over stays so, even if the knob is turned to a longer time then.
      restart_position =
          dsp::Select(falls, restart_position + 1.0, dsp::Select(on, kAtRest, restart_position));
      on = dsp::And(on, !falls);
    }
    const Double A = attackTime.At(in.attack.Sum());
    const auto rises = dsp::And(on, position <= A);
    auto goesOn = dsp::And(on, !rises);
    if (dsp::Any(rises)) {
      level = dsp::Select(rises, Risen(in.attackShape, position / A, attack_start), level);
      attackLamp = dsp::Select(dsp::ToNarrow(rises), 1.0f, attackLamp);
    }
    auto decays = goesOn;
    if (dsp::Any(goesOn)) {
      const Double D = decayTime.At(in.decay.Sum());
      const Double past = position - A;
      decays = dsp::And(goesOn, past <= D);
      if (dsp::Any(decays)) {
        level = dsp::Select(decays, Decayed(in.decayShape, past / D, S), level);
        decayStage = dsp::Select(dsp::ToNarrow(decays), 1.0f, decayStage);
      }
      goesOn = dsp::And(goesOn, !decays);
      sustainStage = dsp::Select(dsp::ToNarrow(goesOn), 1.0f, sustainStage);
    }
    position = dsp::Select(dsp::Or(rises, decays), position + 1.0, position);
    out = dsp::Select(isHigh, dsp::ToFloat(level), out);
    return dsp::ToNarrow(goesOn);
  }

  template <class Mask>
  void StepCycle(const Inputs& in, Mask begins) {
    cycle_stage = dsp::Select(begins, 1.0f, cycle_stage);
    const auto isUp = cycle_stage == 1.0f;
    const auto turns = cycle_stage == 2.0f;
    const auto isDown = cycle_stage == 0.0f;
    StepRelease(isDown, in);
    BeginRelease(turns);
    cycle_stage = dsp::Select(turns, 0.0f, cycle_stage);
    if (!dsp::Any(isUp)) return;
    cycle_stage = dsp::Select(StepHigh(isUp, in), 2.0f, cycle_stage);
  }

  // Curves. At a shape of 0.5 a straight line; above it a late curve of the fourth power comes in,
  // below it an early one, each in full at the end of the knob.

  static Double Fourth(Double x) {
    const Double square = x * x;
    return square * square;
  }

  /// From `a` to 1, p being 0..1.
  static Double Risen(Double h, Double p, Double a) {
    const Double late = Fourth(p) * (h - 0.5) + (1.0 - h) * p;
    const Double early = (1.0 - Fourth(1.0 - p)) * (0.5 - h) + p * h;
    return dsp::Select(h >= 0.5, late, early) * (1.0 - a) * 2.0 + a;
  }

  /// From 1 to S, q being 0..1.
  static Double Decayed(Double h, Double q, Double S) {
    const Double d = 1.0 - S;
    const Double straight = 1.0 - d * q;
    const Double late = ((1.0 - Fourth(q)) * d + S) * (h - 0.5) + straight * (1.0 - h);
    const Double early = (Fourth(1.0 - q) * d + S) * (0.5 - h) + straight * h;
    return dsp::Select(h >= 0.5, late, early) * 2.0;
  }

  /// From `b` to 0, r being 0..1.
  static Double Fallen(Double h, Double r, Double b) {
    const Double late = (1.0 - Fourth(r)) * (h - 0.5) * b + (1.0 - r) * b * (1.0 - h);
    const Double early = Fourth(1.0 - r) * (0.5 - h) * b + b * (1.0 - r) * h;
    return dsp::Select(h >= 0.5, late, early) * 2.0;
  }
};

}  // namespace halveron
