#include "modules/modulators/S525VCEnvelopeGeneratorLFO.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

using Kernel = S525VCEnvelopeGeneratorLFOKernel<>;

/// A kernel with times in whole samples: attack 10, decay 20, release 40, restart 8.
struct Envelope {
  Kernel kernel;
  Kernel::Inputs in{};

  Envelope() {
    kernel.attackTime = {100.0, 10.0};
    kernel.decayTime = {100.0, 20.0};
    kernel.releaseTime = {100.0, 40.0};
    kernel.restartTime = {100.0, 8.0};
    in.sustain.knob = 0.5;
    in.attackShape = in.decayShape = in.releaseShape = 0.5;
  }
  float Step(float gate) {
    in.gate = gate;
    kernel.Step(in);
    return kernel.out;
  }
  std::vector<float> Run(int samples, float gate) {
    std::vector<float> out;
    for (int n = 0; n < samples; ++n) out.push_back(Step(gate));
    return out;
  }
};

TEST(S525, RunsThroughItsStagesInTime) {
  Envelope envelope;
  const Kernel& kernel = envelope.kernel;
  envelope.Step(0.0f);
  EXPECT_EQ(kernel.end, 1.0f) << "a fresh envelope is at its end";
  EXPECT_EQ(kernel.releaseStage, 0.0f);

  const auto on = envelope.Run(60, 1.0f);
  for (const int n : {0, 1, 5, 10}) EXPECT_FLOAT_EQ(on[static_cast<std::size_t>(n)], n * 0.1f);
  for (const int n : {11, 20, 30}) {
    EXPECT_FLOAT_EQ(on[static_cast<std::size_t>(n)], 1.0f - (n - 10) * 0.025f);
  }
  EXPECT_EQ(on[31], 0.5f);
  EXPECT_EQ(kernel.sustainStage, 1.0f);
  envelope.in.sustain = {0.5, 0.5, 3.0f};
  EXPECT_EQ(envelope.Step(1.0f), 2.0f) << "sustain follows its voltage without a limit";
  envelope.in.sustain = {0.5, 0.0, 0.0f};
  envelope.Step(1.0f);

  EXPECT_EQ(envelope.Step(0.2f), 0.5f) << "a release holds the level for its first sample";
  EXPECT_EQ(kernel.releaseLamp, 1.0f);
  EXPECT_EQ(kernel.releaseStage, 0.0f);
  const auto off = envelope.Run(40, 0.0f);
  EXPECT_EQ(kernel.releaseStage, 1.0f);
  for (const int n : {0, 20, 39}) {
    EXPECT_FLOAT_EQ(off[static_cast<std::size_t>(n)], 0.5f * (1.0f - (n + 1) / 40.0f));
  }
  EXPECT_EQ(kernel.end, 0.0f);
  envelope.Step(0.0f);
  EXPECT_EQ(kernel.end, 1.0f);
  EXPECT_EQ(kernel.releaseStage + kernel.releaseLamp, 0.0f);
  envelope.in.release.knob = 1.0;
  EXPECT_EQ(envelope.Step(0.0f), 0.0f) << "a longer time wakes nothing that has ended";

  // Voltages: v = voltage * amount + knob, T = (longest - shortest) v^2 + shortest.
  envelope.in.attack = {0.25, 0.5, 0.5f};
  const auto slow = envelope.Run(20, 1.0f);
  EXPECT_NEAR(slow[10], 10 / (90 * 0.25 + 10), 1e-6);
}

TEST(S525, RangesReachTheirTimes) {
  for (const double rate : {44100.0, 96000.0}) {
    const double times[][2] = {{60, 5}, {6, 0.15}, {0.2, 1 / 44100.0}};
    for (const int range : {Kernel::kSlow, Kernel::kMiddle, Kernel::kFast}) {
      const auto time = Kernel::RangeOf(range, rate);
      EXPECT_NEAR(time.At(1.0), times[range][0] * rate, 1e-6);
      EXPECT_NEAR(time.At(0.0), times[range][1] * rate, 1e-6);
    }
  }
}

TEST(S525, CurvesAreStraightInTheMiddleAndFourthPowersAtTheEnds) {
  const auto at = [](double shape, int n) {
    Envelope envelope;
    envelope.in.attackShape = envelope.in.decayShape = envelope.in.releaseShape = shape;
    envelope.in.sustain.knob = 0.25;
    auto out = envelope.Run(40, 1.0f);
    const auto off = envelope.Run(45, 0.0f);
    out.insert(out.end(), off.begin(), off.end());
    return static_cast<double>(out[static_cast<std::size_t>(n)]);
  };
  const double p = 0.4, q = 0.3, r = 0.25;
  const int attack = 4, decay = 16, release = 40 + 10;
  EXPECT_NEAR(at(1.0, attack), std::pow(p, 4), 1e-6);
  EXPECT_NEAR(at(0.0, attack), 1 - std::pow(1 - p, 4), 1e-6);
  EXPECT_NEAR(at(0.75, attack), (std::pow(p, 4) + p) / 2, 1e-6);
  EXPECT_NEAR(at(0.25, attack), (1 - std::pow(1 - p, 4) + p) / 2, 1e-6);
  EXPECT_NEAR(at(1.0, decay), 0.25 + 0.75 * (1 - std::pow(q, 4)), 1e-6);
  EXPECT_NEAR(at(0.0, decay), 0.25 + 0.75 * std::pow(1 - q, 4), 1e-6);
  EXPECT_NEAR(at(0.5, decay), 1 - 0.75 * q, 1e-6);
  EXPECT_NEAR(at(1.0, release), 0.25 * (1 - std::pow(r, 4)), 1e-6);
  EXPECT_NEAR(at(0.0, release), 0.25 * std::pow(1 - r, 4), 1e-6);
}

TEST(S525, RestartsFromItsLevelOrFallsFirst) {
  Envelope plain;
  plain.Run(60, 1.0f);
  plain.in.retrigger = 1.0f;
  EXPECT_EQ(plain.Step(1.0f), 0.5f);
  for (int n = 1; n <= 4; ++n) plain.Step(1.0f);
  EXPECT_FLOAT_EQ(plain.kernel.out, 0.5f + 0.5f * 0.4f);

  Envelope fast;
  fast.kernel.SetFastRestart(true);
  fast.Run(60, 1.0f);
  fast.in.retrigger = 1.0f;
  for (int n = 0; n < 8; ++n) {
    EXPECT_FLOAT_EQ(fast.Step(1.0f), 0.5f * (1.0f - n / 8.0f)) << n;
    EXPECT_EQ(fast.kernel.attackLamp, 0.0f);
  }
  EXPECT_EQ(fast.Step(1.0f), 0.0f);
  EXPECT_EQ(fast.kernel.attackLamp, 1.0f);
  EXPECT_FLOAT_EQ(fast.Step(1.0f), 0.1f);
  fast.in.restart = 1.0;
  EXPECT_FLOAT_EQ(fast.Step(1.0f), 0.2f) << "a longer time brings no fall back";

  Envelope silent;
  silent.Step(0.0f);
  silent.in.retrigger = 1.0f;
  EXPECT_EQ(silent.Step(0.0f), 0.0f) << "a trigger needs a gate";
  EXPECT_EQ(silent.kernel.end, 1.0f);
}

TEST(S525, CyclesAndRunsAsAnLfo) {
  Envelope envelope;
  envelope.kernel.SetCycle(true);
  // End comes back to Gate a sample later, as a cable brings it.
  std::vector<float> out;
  float gate = 0.0f;
  for (int n = 0; n < 400; ++n) {
    out.push_back(envelope.Step(gate));
    gate = envelope.kernel.end;
  }
  // End, attack 0..10, decay 11..30, sustain, hold, release 1..40, end.
  constexpr std::size_t kPeriod = 11 + 20 + 1 + 1 + 40 + 1;
  EXPECT_FLOAT_EQ(out[11], 1.0f);
  EXPECT_FLOAT_EQ(out[32], 0.5f);
  EXPECT_FLOAT_EQ(out[33], 0.5f) << "the turn holds the level";
  EXPECT_FLOAT_EQ(out[34], 0.5f * (1 - 1 / 40.0f));
  for (std::size_t n = 1; n + kPeriod < out.size(); ++n) ASSERT_EQ(out[n], out[n + kPeriod]) << n;

  // A gate may end early, and a new one starts from the level.
  Envelope once;
  once.kernel.SetCycle(true);
  once.Step(1.0f);
  const auto rest = once.Run(60, 0.0f);
  EXPECT_FLOAT_EQ(rest[9], 1.0f);
  const float level = once.kernel.out;
  EXPECT_GT(level, 0.0f);
  EXPECT_EQ(once.Step(1.0f), level);
  EXPECT_GT(once.Step(1.0f), level);

  // Leaving the mode with a low gate falls from the level.
  once.kernel.SetCycle(false);
  const float before = once.kernel.out;
  EXPECT_NEAR(once.Step(0.0f), before * (1 - 1 / 40.0f), 1e-6f);
}

TEST(S525, AGateRepeatsItselfAtItsLength) {
  Envelope envelope;
  envelope.kernel.SetGateRepeat(true);
  std::vector<float> out = envelope.Run(50, 1.0f);
  const auto rest = envelope.Run(600, 0.0f);
  out.insert(out.end(), rest.begin(), rest.end());
  // 50 samples of gate, one that begins the release, 40 of it, one at the end.
  constexpr std::size_t kPeriod = 50 + 1 + 40 + 1;
  for (std::size_t n = 0; n + kPeriod < out.size(); ++n) ASSERT_EQ(out[n], out[n + kPeriod]) << n;

  // A new gate in the middle of a repeated one starts again, and sets the new length.
  while (envelope.kernel.sustainStage == 0.0f) envelope.Step(0.0f);
  EXPECT_EQ(envelope.Step(1.0f), 0.5f);
  EXPECT_EQ(envelope.kernel.attackLamp, 1.0f);
  envelope.Run(9, 1.0f);
  envelope.Step(0.0f);
  EXPECT_EQ(envelope.kernel.releaseLamp, 1.0f);
  EXPECT_EQ(envelope.kernel.repeat_count, 10);
  envelope.kernel.SetGateRepeat(false);
  envelope.Run(100, 0.0f);
  EXPECT_EQ(envelope.kernel.end, 1.0f);
}

TEST(S525, BearsWhatIsNoNumber) {
  Envelope envelope;
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  for (auto* voltage :
       {&envelope.in.attack, &envelope.in.decay, &envelope.in.sustain, &envelope.in.release}) {
    voltage->amount = 1.0;
    voltage->voltage = kNaN;
  }
  envelope.Run(20, 1.0f);
  envelope.Run(20, kNaN);
  for (auto* voltage :
       {&envelope.in.attack, &envelope.in.decay, &envelope.in.sustain, &envelope.in.release}) {
    voltage->voltage = 0.0f;
  }
  envelope.Run(100, 0.0f);
  EXPECT_EQ(envelope.kernel.out, 0.0f);
  EXPECT_FLOAT_EQ(envelope.Run(6, 1.0f)[5], 0.5f);
}

TEST(S525, ThePanelSetsTimesModesAndLamps) {
  TestRack rack(44100);
  Module& envelope = rack.Add("S525 VC Envelope Generator/LFO");
  for (const char* range : {"Attack range", "Decay range", "Release range"}) {
    rack.MoveControl(envelope, range, 1.0f);
  }
  for (const char* stage : {"Attack", "Decay", "Release"}) {
    rack.SetControl(envelope, stage, 0.0f);
  }
  rack.SetControl(envelope, "Sustain", 0.5f);
  rack.Tap(envelope, "Out");
  rack.FeedConstant(envelope, "Gate", 1.0f);
  rack.Run(64);
  // Fast range, knobs at 0: about one sample a stage at 44100 Hz.
  const std::vector<float>& out = rack.Recorded(envelope, "Out");
  EXPECT_NEAR(out[0], 0.0f, 1e-6f);
  EXPECT_NEAR(out[1], 1.0f, 1e-6f);
  EXPECT_NEAR(out[2], 0.5f, 1e-6f);
  EXPECT_EQ(out[5], 0.5f);
  EXPECT_EQ(rack.Control(envelope, "Sustain LED").getValue(), 1.0f);
  EXPECT_EQ(rack.Out(envelope, "Sustain stage"), 1.0f);
  rack.MoveControl(envelope, "Sustain", 1.0f);
  rack.Run(1);
  EXPECT_LT(rack.Out(envelope, "Out"), 0.6f) << "a moved knob glides";
  rack.Run(44100);
  EXPECT_EQ(rack.Out(envelope, "Out"), 1.0f);
  rack.MoveControl(envelope, "Cycle", 0.0f);
  rack.Run(64);
  EXPECT_EQ(rack.Out(envelope, "End"), 1.0f);
}

}  // namespace
}  // namespace halveron::testing
