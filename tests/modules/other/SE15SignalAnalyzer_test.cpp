#include "modules/other/SE15SignalAnalyzer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "gui/draw_context.h"
#include "modules/other/SE16WideSignalAnalyzer.h"
#include "tests/support/spectrum.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

constexpr double kRate = 48000.0;

TEST(SignalMeasures, FrequencyNoteAndLevels) {
  for (const double hertz : {21.3, 440.0, 1234.5, 9000.0}) {
    const auto found = CrossingFrequency(Sine(24000, hertz, kRate, 0.3), kRate);
    ASSERT_TRUE(found.has_value());
    EXPECT_NEAR(1200 * std::log2(*found / hertz), 0.0, 0.2) << hertz;
  }
  EXPECT_FALSE(CrossingFrequency(std::vector<float>(1000, 0.5f), kRate).has_value());
  EXPECT_EQ(NoteText(440.0), "A4 +0 ct");
  EXPECT_EQ(NoteText(440.0 * std::exp2(-0.3 / 12.0)), "A4 -30 ct");
  EXPECT_EQ(NoteText(261.6256 * std::exp2(0.2 / 12.0)), "C4 +20 ct");
  EXPECT_EQ(NoteText(0.0), "");
  EXPECT_EQ(NoteText(1e9), "");
  const SignalLevels levels = LevelsOf(std::vector<float>{0.5f, NAN, -0.25f});
  EXPECT_EQ(levels.high, 0.5f);
  EXPECT_EQ(levels.low, -0.25f);
}

TEST(SignalMeasures, TriggersLieBetweenSamplesAndPassOverNoise) {
  const auto sine = Sine(4000, 100.0, kRate, 0.5);  // crosses 0 upward each 480 samples
  const auto rising = FindTrigger(sine, 0.0f, true, 0.02f, 100, 1000);
  ASSERT_TRUE(rising.has_value());
  EXPECT_NEAR(*rising, 2880.0, 0.01);
  const auto falling = FindTrigger(sine, 0.25f, false, 0.02f, 100, 1000);
  ASSERT_TRUE(falling.has_value());
  EXPECT_NEAR(*falling, 2600.0, 0.05);
  EXPECT_FALSE(FindTrigger(sine, 0.6f, true, 0.02f, 100, 1000).has_value());

  std::minstd_rand random(1);
  auto noisy = Sine(4700, 100.0, kRate, 0.5);
  for (float& x : noisy) x += static_cast<float>(random() % 1000) * 1e-5f;
  LevelCrossings crossings(noisy, 0.0f, true, 0.02f);
  int count = 0;
  while (crossings.Next()) ++count;
  EXPECT_EQ(count, 9);  // ten periods, the first of which begins at the level
}

TEST(SignalMeasures, PeaksOfASpectrumAreFoundBetweenBins) {
  SpectrumAnalysis analysis;
  const double spacing = SpectrumAnalysis::Spacing(kRate);
  for (const double hertz : {100.0, 440.0, 440.0 + spacing / 2, 5000.0}) {
    const auto& spectrum = analysis.Analyse(Sine(20000, hertz, kRate, 0.25));
    const SpectrumPeak peak = PeakWithin(spectrum, spacing, hertz * 0.97, hertz * 1.03);
    EXPECT_NEAR(peak.hertz, hertz, 0.02);
    EXPECT_NEAR(peak.decibels, 20 * std::log10(0.25), 0.02);
    EXPECT_LT(PeakWithin(spectrum, spacing, hertz * 1.5, hertz * 2.5).decibels, -85.0);
  }
}

TEST(SignalCapture, KeepsTheNewestOfEachSignal) {
  SignalCapture capture(2);
  std::vector<std::vector<float>> signals;
  ASSERT_TRUE(capture.Read(100, signals));
  EXPECT_EQ(signals[1].size(), 0u);
  const int count = static_cast<int>(SignalCapture::kLength) + 1000;
  for (int n = 0; n < count; ++n) {
    capture.Push<2>({static_cast<float>(n), static_cast<float>(-n)});
  }
  ASSERT_TRUE(capture.Read(50000, signals));
  ASSERT_EQ(signals[0].size(), 50000u);
  for (int n = 0; n < 50000; ++n) {
    const auto value = static_cast<float>(count - 50000 + n);
    ASSERT_EQ(signals[0][static_cast<std::size_t>(n)], value);
    ASSERT_EQ(signals[1][static_cast<std::size_t>(n)], -value);
  }
}

class Analyzer : public ::testing::Test {
 protected:
  void Play(const char* input, double hertz, double amplitude, int samples = 24000) {
    rack.Feed(analyzer, input, Sine(samples, hertz, kRate, amplitude));
  }
  bool Shows(const std::string& text) {
    shown = analyzer.Screen().ReadOut();
    return shown.find(text) != std::string::npos;
  }
  /// The share of the screen's width at which a frequency stands.
  static double ShareOf(double hertz) { return std::log2(hertz / 20.0) / std::log2(1000.0); }

  TestRack rack{static_cast<float>(kRate)};
  SE15SignalAnalyzer& analyzer =
      dynamic_cast<SE15SignalAnalyzer&>(rack.Add("SE15 Signal Analyzer"));
  std::string shown;
};

TEST_F(Analyzer, ReadsVoltsHertzCentsAndDecibels) {
  Play("In 1", 440.0, 0.5);
  Play("In 2", 880.0, 0.1);
  rack.Run(24000);
  EXPECT_TRUE(Shows("10.00 Vpp")) << shown;
  EXPECT_TRUE(Shows("-6.0 dB")) << shown;
  EXPECT_TRUE(Shows("440.0 Hz  A4 +0 ct")) << shown;
  EXPECT_TRUE(Shows("ms/div")) << shown;
  rack.MoveControl(analyzer, "Trigger source", 1.0f);
  EXPECT_TRUE(Shows("2: 2.00 Vpp")) << shown;
  EXPECT_TRUE(Shows("880.0 Hz  A5 +0 ct")) << shown;

  // At the trigger the source is at its level; a quarter of a period later, at its peak.
  rack.MoveControl(analyzer, "Trigger source", 0.0f);
  rack.MoveControl(analyzer, "Time", 0.0f);  // 1 ms
  analyzer.Screen().SetCursor(CPoint(0.125, 0.5));
  EXPECT_TRUE(Shows("\n0 ms  1: 0.000 V") || Shows("\n0 ms  1: -0.000 V")) << shown;
  analyzer.Screen().SetCursor(CPoint(0.125 + 0.25 / 0.44, 0.5));
  EXPECT_TRUE(Shows("1: 4.99") || Shows("1: 5.00")) << shown;
  rack.MoveControl(analyzer, "Trigger edge", 1.0f);
  EXPECT_TRUE(Shows("1: -4.99") || Shows("1: -5.00")) << shown;
}

TEST_F(Analyzer, TheSpectrumsCursorSnapsToThePeak) {
  Play("In 1", 440.0, 0.5);
  Play("In 2", 3520.0, 0.05);
  rack.Run(24000);
  rack.MoveControl(analyzer, "Mode", 1.0f);
  analyzer.Screen().SetCursor(CPoint(ShareOf(436.0), 0.5));
  EXPECT_TRUE(Shows("440.0 Hz  A4 +0 ct  1: -6.0 dB")) << shown;
  analyzer.Screen().SetCursor(CPoint(ShareOf(3550.0), 0.5));
  EXPECT_TRUE(Shows("3520.0 Hz  A7 +0 ct")) << shown;
  EXPECT_TRUE(Shows("2: -26.0 dB")) << shown;
}

TEST_F(Analyzer, FreezeKeepsWhatIsSeenAndLetsItBeMeasured) {
  Play("In 1", 440.0, 0.5, 30000);
  rack.Run(24000);
  rack.MoveControl(analyzer, "Freeze", 1.0f);
  const std::string before = analyzer.Screen().ReadOut();
  Play("In 1", 100.0, 1.0);
  rack.Run(24000);
  EXPECT_EQ(analyzer.Screen().ReadOut(), before);
  rack.MoveControl(analyzer, "Freeze", 0.0f);
  Play("In 1", 100.0, 1.0, 60000);
  rack.Run(50000);
  EXPECT_TRUE(Shows("100.0 Hz")) << shown;
}

TEST_F(Analyzer, DrawsTheTracesThatHaveCables) {
  const CRect area = analyzer.Screen().getViewSize();
  const auto count = [&](const CColor& color) {
    COffscreenContext context(static_cast<int>(area.right), static_cast<int>(area.bottom));
    analyzer.Screen().draw(&context);
    int pixels = 0;
    for (int y = static_cast<int>(area.top); y < static_cast<int>(area.bottom); ++y) {
      for (int x = static_cast<int>(area.left); x < static_cast<int>(area.right); ++x) {
        const CColor found = context.getPixel(x, y);
        pixels += std::abs(found.red - color.red) < 40 &&
                          std::abs(found.green - color.green) < 40 &&
                          std::abs(found.blue - color.blue) < 40
                      ? 1
                      : 0;
      }
    }
    return pixels;
  };
  const CColor first(255, 166, 64), second(88, 196, 255);
  rack.Run(1000);
  EXPECT_LT(count(first), 50);  // only the mark of the trigger
  Play("In 1", 440.0, 0.5);
  rack.Run(24000);
  for (const float mode : {0.0f, 1.0f}) {
    rack.MoveControl(analyzer, "Mode", mode);
    EXPECT_GT(count(first), 100) << mode;
    EXPECT_EQ(count(second), 0) << mode;
  }
  Play("In 1", 440.0, 0.5);
  Play("In 2", 660.0, 0.5);
  rack.Run(24000);
  EXPECT_GT(count(second), 20);
  rack.MoveControl(analyzer, "Mode", 0.0f);
  rack.MoveControl(analyzer, "X-Y", 1.0f);
  EXPECT_GT(count(first), 100);
  EXPECT_EQ(count(second), 0);
}

TEST_F(Analyzer, TheMouseSetsTheCursor) {
  Play("In 1", 440.0, 0.5);
  rack.Run(24000);
  AnalyzerScreen& screen = analyzer.Screen();
  CPoint where = screen.getViewSize().getCenter();
  screen.onMouseDown(where, kLButton);
  EXPECT_TRUE(Shows("\n7.5 ms")) << shown;
  where.x = screen.getViewSize().right + 50;
  screen.onMouseMoved(where, kLButton);
  screen.onMouseUp(where, kLButton);
  EXPECT_TRUE(Shows("\n17.5 ms")) << shown;
  screen.onMouseDown(where, kLButton | kControl);
  EXPECT_FALSE(Shows("\n")) << shown;
}

TEST(WideAnalyzer, MeasuresFourInputs) {
  TestRack rack(static_cast<float>(kRate));
  auto& wide = dynamic_cast<SE16WideSignalAnalyzer&>(rack.Add("SE16 Wide Signal Analyzer"));
  for (int i = 0; i < 4; ++i) {
    rack.Feed(wide, "In " + std::to_string(i + 1),
              std::vector<float>(2000, 0.1f * static_cast<float>(i + 1)));
  }
  rack.Run(2000);
  wide.Screen().SetCursor(CPoint(0.5, 0.5));
  EXPECT_NE(wide.Screen().ReadOut().find("1: 1.000 V  2: 2.000 V  3: 3.000 V  4: 4.000 V"),
            std::string::npos)
      << wide.Screen().ReadOut();
}

}  // namespace
}  // namespace halveron::testing
