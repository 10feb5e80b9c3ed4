#include "modules/other/SE06HardwareTuner.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <numbers>
#include <random>
#include <vector>

#include "editor/rack_window.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

using Kernel = SE06HardwareTunerKernel;
using Outcome = Kernel::Outcome;

constexpr float kRate = 48000.0f;
constexpr double kMiddleC = 261.62558;

/// An oscillator behind converters: late, detuned, stretched, and bent.
class Hardware final : public Module {
 public:
  explicit Hardware(const HostTable& table)
      : Module(CRect(0, 0, 10, 10), nullptr, nullptr, table, 0), late_(960, 0.0f) {
    AddPatchPoint(pitch_, "Pitch", 5, 5);
    AddPatchPoint(out_, "Out", 5, 5);
  }
  void ProcessSample() override {
    const auto pitch = static_cast<double>(late_[at_]);
    late_[at_] = pitch_->in;
    at_ = (at_ + 1) % late_.size();
    hertz = kMiddleC * std::exp2(10 * law(pitch));
    phase_ += hertz / static_cast<double>(kRate);
    phase_ -= std::floor(phase_);
    out_->out = static_cast<float>(wave(pitch, phase_));
  }

  double hertz = 0.0;
  std::function<double(double)> law = [](double p) { return 0.013 + 1.03 * p + 0.02 * p * p; };
  std::function<double(double, double)> wave = [](double, double phase) {
    const double x = 2 * std::numbers::pi * phase;
    return 0.1 * (std::sin(x) + 0.5 * std::sin(2 * x) + 0.3 * std::sin(3 * x));
  };

 private:
  Input pitch_;
  Output out_;
  std::vector<float> late_;
  std::size_t at_ = 0;
  double phase_ = 0.0;
};

struct Rig {
  TestRack rack{kRate};
  Module& tuner = rack.Add("SE06 Hardware Tuner");
  Hardware& hardware = static_cast<Hardware&>(rack.Adopt(new Hardware(rack.editor.hostTable)));

  Rig() {
    rack.Connect(tuner, "Pitch", hardware, "Pitch");
    rack.Connect(hardware, "Out", tuner, "Audio");
  }
  void Press() {
    rack.MoveControl(tuner, "Calibrate", 1.0f);
    rack.MoveControl(tuner, "Calibrate", 0.0f);
  }
  bool IsRunning() { return rack.Control(tuner, "Calibration lamp").getValue() > 0.5f; }
  /// Seconds until a calibration ended.
  double Calibrate() {
    Press();
    double seconds = 0.0;
    for (; IsRunning() && seconds < 40.0; seconds += 0.1) rack.Run(4800);
    return seconds;
  }
  /// How far a pitch sounds from where it should.
  double CentsOff(float pitch, double reference = 440.0) {
    rack.FeedConstant(tuner, "Pitch", pitch);
    rack.Run(2000);
    const double wanted = kMiddleC * reference / 440.0 * std::exp2(10 * static_cast<double>(pitch));
    return 1200 * std::log2(hardware.hertz / wanted);
  }
  int Points() {
    const std::vector<std::byte> saved = rack.SavedPreset(tuner);
    int count = 0;
    std::memcpy(&count, saved.data() + tuner.GetControlValuesSize(), sizeof count);
    return count;
  }
};

TEST(SE06HardwareTuner, PlaysADetunedOscillatorInTune) {
  Rig rig;
  EXPECT_GT(std::abs(rig.CentsOff(0.2f)), 50.0);
  EXPECT_LT(rig.Calibrate(), 12.0);
  EXPECT_GE(rig.Points(), 14);
  for (const float pitch : {-0.28f, -0.1f, 0.0f, 0.1234f, 0.25f, 0.39f}) {
    EXPECT_NEAR(rig.CentsOff(pitch), 0.0, 1.0) << pitch;
  }
  rig.rack.MoveControl(rig.tuner, "Reference", 0.6f);
  EXPECT_NEAR(rig.CentsOff(0.1f, 442.0), 0.0, 1.0);
  rig.rack.MoveControl(rig.tuner, "Reference", 0.5f);

  const std::vector<std::byte> saved = rig.rack.SavedPreset(rig.tuner);
  rig.rack.MoveControl(rig.tuner, "Correction", 0.0f);
  EXPECT_GT(std::abs(rig.CentsOff(0.2f)), 50.0);
  const auto load = [&](std::size_t size) {
    rig.tuner.LoadPreset(saved.data(), static_cast<int>(size), rig.tuner.GetVersion());
  };
  load(saved.size());
  EXPECT_NEAR(rig.CentsOff(0.2f), 0.0, 1.0);
  // A table without its end is no table.
  for (std::size_t cut = 1; cut < 20; ++cut) {
    load(saved.size() - cut);
    ASSERT_EQ(rig.Points(), 0) << cut;
  }
  EXPECT_GT(std::abs(rig.CentsOff(0.2f)), 50.0);
}

TEST(SE06HardwareTuner, ACalibrationIsAStepThatUndoTakesBack) {
  Rig rig;
  SynEditor& editor = rig.rack.editor;
  SynFrame& frame = editor.OpenViews().Frame();
  editor.history.Follow();
  rig.Calibrate();
  const int points = rig.Points();
  ASSERT_GT(points, 0);
  frame.advanceTime(1.0);
  editor.history.Settle();
  EXPECT_EQ(editor.history.UndoName(), "Change SE06 Hardware Tuner");
  editor.history.Undo();
  EXPECT_EQ(rig.Points(), 0);
  editor.history.Redo();
  EXPECT_EQ(rig.Points(), points);
}

TEST(SE06HardwareTuner, ReportsWhatItCannotMeasureAndKeepsItsTable) {
  Rig rig;
  rig.Calibrate();
  const int points = rig.Points();
  ASSERT_GT(points, 0);
  const auto wave = rig.hardware.wave;
  const auto law = rig.hardware.law;
  const auto expectNoChange = [&](double within) {
    EXPECT_LT(rig.Calibrate(), within);
    EXPECT_FALSE(rig.IsRunning());
    EXPECT_EQ(rig.Points(), points);
    rig.hardware.wave = wave;
    rig.hardware.law = law;
    EXPECT_NEAR(rig.CentsOff(0.1f), 0.0, 1.0);
  };
  rig.hardware.wave = [](double, double) { return 0.0; };
  expectNoChange(2.5);
  std::minstd_rand random(3);
  rig.hardware.wave = [&](double, double) {
    return static_cast<double>(random()) / 2147483647.0 - 0.5;
  };
  expectNoChange(2.5);
  // Deaf to voltages; silent from one on.
  rig.hardware.law = [](double) { return 0.02; };
  expectNoChange(4.0);
  rig.hardware.wave = [&](double pitch, double phase) {
    return pitch > 0.12 ? 0.0 : wave(pitch, phase);
  };
  expectNoChange(12.0);
  // A second press cancels.
  rig.Press();
  rig.rack.Run(48000);
  EXPECT_TRUE(rig.IsRunning());
  rig.Press();
  expectNoChange(12.0);
}

TEST(SE06HardwareTuner, LeavesOutWhatLiesBeyondItsRange) {
  Rig rig;
  rig.hardware.law = [](double p) { return p - 0.31; };  // 261 Hz is 31 Hz
  rig.Calibrate();
  EXPECT_GE(rig.Points(), 9);
  EXPECT_LT(rig.Points(), 15);
  EXPECT_NEAR(rig.CentsOff(-0.05f), 0.0, 1.0);
}

TEST(SE06HardwareTuner, TableInvertsItsPointsAndTakesOnlyRisingOnes) {
  TuningTable table;
  EXPECT_TRUE(table.Add({-0.1f, -0.12f}));
  EXPECT_FALSE(table.Add({-0.1f, 0.0f})) << "the voltage does not rise";
  EXPECT_FALSE(table.Add({0.0f, -0.115f})) << "the answer hardly rises";
  EXPECT_FALSE(table.Add({0.0f, std::nanf("")}));
  EXPECT_FALSE(table.Add({0.0f, 1.5f}));
  EXPECT_TRUE(table.Add({0.0f, 0.0f}));
  EXPECT_FALSE(table.IsUsable());
  EXPECT_TRUE(table.Add({0.1f, 0.08f}));
  EXPECT_TRUE(table.IsUsable());
  EXPECT_NEAR(table.VoltageFor(-0.06f), -0.05f, 1e-7);
  EXPECT_NEAR(table.VoltageFor(0.04f), 0.05f, 1e-7);
  EXPECT_NEAR(table.VoltageFor(0.16f), 0.2f, 1e-6) << "on in a straight line";
  EXPECT_NEAR(table.VoltageFor(-0.24f), -0.2f, 1e-6);
}

TEST(SE06HardwareTuner, SaysWhatItHears) {
  using Lines = std::array<std::string, 3>;
  Kernel::Report report;
  report.tone = dsp::PitchMeter::Tone::kSteady;
  report.hertz = 442.0;
  EXPECT_EQ(SE06HardwareTuner::Lines(report, 440.0, false),
            (Lines{"A4 +7.9 ct", "442.00 Hz", "not calibrated"}));
  EXPECT_EQ(SE06HardwareTuner::Lines(report, 442.0, true)[0], "A4 +0.0 ct");
  report.tone = dsp::PitchMeter::Tone::kSilent;
  report.outcome = Outcome::kSilent;
  report.voltage = 0.1f;
  EXPECT_EQ(SE06HardwareTuner::Lines(report, 440.0, true),
            (Lines{"---", "no tone", "no tone at C5"}));
  report.outcome = Outcome::kRunning;
  report.step = 3;
  EXPECT_EQ(SE06HardwareTuner::Lines(report, 440.0, true)[2], "step 4 of 16: C5");
}

}  // namespace
}  // namespace halveron::testing
