#include "modules/filters/S218SpectralFilter.h"

#include <cmath>
#include <numeric>
#include <random>

#include "editor/known_modules.h"
#include "framework/preset_tail.h"
#include "platform/user_error.h"
#include "presets/text_patch.h"
#include "tests/modules/filters/filter_rig.h"
#include "tests/support/allocation_trap.h"
#include "tests/support/spectrum.h"

namespace halveron::testing {
namespace {

using Design = S218SpectralFilterDesign;
using Kernel = S218SpectralFilterKernel;
constexpr int kBars = S218SpectralFilter::kBars;
constexpr float kRate = 48000.0f;

/// Gain of taps at a frequency in hertz.
double GainAt(const std::vector<float>& taps, double hertz, double rate = kRate) {
  Complex sum = 0.0;
  for (std::size_t k = 0; k < taps.size(); ++k) {
    sum += static_cast<double>(taps[k]) *
           std::polar(1.0, -2.0 * kPi * hertz / rate * static_cast<double>(k));
  }
  return std::abs(sum);
}

double BarCentre(int bar, int mode = 0) {
  return Design::kLowest * std::pow(Design::BandRatio(mode), bar + 0.5);
}

struct Designed {
  std::vector<float> taps;
  int count;
};

Designed DesignOf(Design& design, const std::vector<float>& gains, const Design::Settings& settings,
                  const std::vector<float>& phases = std::vector<float>(kBars, 0.0f)) {
  Designed result{std::vector<float>(Design::kMostTaps), 0};
  result.count = design.Design(gains, phases, settings, result.taps.data());
  return result;
}

TEST(S218Design, EqualBarsAreOneBandInClosedForm) {
  Design design;
  design.SetUp(512, false);
  const auto [taps, count] = DesignOf(design, std::vector<float>(kBars, 0.5f), {});
  EXPECT_EQ(count, 512);
  const double low = 1.0 / 24000.0, high = 20000.0 / 24000.0;
  for (int k = 0; k < 512; ++k) {
    const double x = kPi * (k - 255);
    const double window =
        0.42 - 0.5 * std::cos(2 * kPi * k / 511) + 0.08 * std::cos(4 * kPi * k / 511);
    const double ideal = k == 255 ? high - low : (std::sin(high * x) - std::sin(low * x)) / x;
    EXPECT_NEAR(taps[static_cast<std::size_t>(k)], 0.0625 * ideal * window, 1e-7) << k;
  }
}

TEST(S218Design, TheResponseFollowsTheBars) {
  // Wide enough for the kernel to resolve: 1.8 kHz and up.
  std::vector<float> gains(kBars, 0.0f);
  for (int bar = 42; bar < 50; ++bar) gains[static_cast<std::size_t>(bar)] = 0.75f;
  for (int bar = 50; bar < 56; ++bar) gains[static_cast<std::size_t>(bar)] = 0.5f;
  for (const int mode : {0, 1, 2}) {
    for (const double scroll : {0.0, 10.0, 5.5}) {
      Design design;
      design.SetUp(1024, false);
      Design::Settings settings;
      settings.mode = mode;
      settings.scroll = scroll;
      const auto taps = DesignOf(design, gains, settings).taps;
      const auto gain = [&](double bar) {
        return GainAt(taps, BarCentre(0, mode) * std::pow(Design::BandRatio(mode), bar - scroll));
      };
      const double high = mode == 2 ? 4 * 0.5625 : std::pow(0.75, 4);
      const double unity = mode == 2 ? 1.0 : 0.0625;
      EXPECT_NEAR(gain(46) / high, 1.0, 0.01) << mode << " " << scroll;
      EXPECT_NEAR(gain(53) / unity, 1.0, 0.01) << mode << " " << scroll;
      EXPECT_LT(gain(34), high * 1e-3) << mode << " " << scroll;
      EXPECT_LT(gain(61), high * 1e-3) << mode << " " << scroll;
    }
  }
}

TEST(S218Design, PhasesTurnABandAndUnlikeNeighboursStayApart) {
  std::vector<float> gains(kBars, 0.0f), phases(kBars, 0.0f);
  for (std::size_t bar = 44; bar < 50; ++bar) {
    gains[bar] = 0.5f;
    phases[bar] = 0.25f;
  }
  Design design;
  design.SetUp(512, false);
  const auto turned = DesignOf(design, gains, {}, phases).taps;
  // A quarter of a turn makes the kernel odd about its centre.
  for (int d = 1; d < 100; ++d) {
    EXPECT_NEAR(turned[static_cast<std::size_t>(255 + d)],
                -turned[static_cast<std::size_t>(255 - d)], 2e-5);
  }
  EXPECT_NEAR(GainAt(turned, BarCentre(47)), 0.0625, 0.002);
}

TEST(S218Design, WideBandsHaveShorterKernels) {
  Design design;
  design.SetUp(512, false);
  const double q = 1.0 / 24000.0, r = Design::BandRatio(0), K = 0.95 * 255;
  const double W = (20000.0 - 20000.0 / r) * q;
  const auto count = [](double firstTap) { return (512 - static_cast<int>(firstTap) + 3) / 4 * 4; };
  for (const int bar : {30, 50, kBars - 1}) {
    std::vector<float> gains(kBars, 0.0f);
    gains[static_cast<std::size_t>(bar)] = 0.5f;
    const double low = 30.0 * std::pow(r, bar) * q, w = low * (r - 1.0);
    Design::Settings settings;
    settings.equalLength = false;
    settings.kernelAmount = 0.02f;
    EXPECT_EQ(DesignOf(design, gains, settings).count, count(std::min(K, w * 3.0 * K / W))) << bar;
    settings.shortHigh = true;
    settings.kernelAmount = 0.3f;
    const auto [taps, length] = DesignOf(design, gains, settings);
    EXPECT_EQ(length, count(std::max(0.0, K - W * 0.3 * K / w))) << bar;
    // From the centre on the kernel is the whole one: a difference of cosines.
    const int first = 512 - length;
    for (int k = 260; k < 300; ++k) {
      const double x = kPi * (k - 255);
      const double window =
          0.42 - 0.5 * std::cos(2 * kPi * k / 511) + 0.08 * std::cos(4 * kPi * k / 511);
      const double exact = 0.0625 * (std::cos((low + w) * x) - std::cos(low * x)) / x * window;
      const auto at = static_cast<std::size_t>(k - first);
      // The length was rounded up by up to three taps.
      EXPECT_TRUE(std::abs(taps[at] - exact) < 1e-6 || std::abs(taps[at + 1] - exact) < 1e-6 ||
                  std::abs(taps[at - 1] - exact) < 1e-6 || std::abs(taps[at - 2] - exact) < 1e-6 ||
                  std::abs(taps[at - 3] - exact) < 1e-6)
          << bar << " " << k;
    }
  }
}

TEST(S218Design, MinimumPhaseKeepsTheResponseAndComesEarly) {
  std::vector<float> gains(kBars, 0.35f);
  for (std::size_t bar = 40; bar < 54; ++bar) gains[bar] = 0.7f;
  Design design;
  Design::Settings settings;
  design.SetUp(512, false);
  const auto linear = DesignOf(design, gains, settings).taps;
  settings.minPhase = true;
  design.SetUp(480, true);
  EXPECT_EQ(design.Length(), 512);
  const Designed minimum = DesignOf(design, gains, settings);
  const std::vector<float>& taps = minimum.taps;
  EXPECT_EQ(minimum.count, 512);
  for (const double hertz : {100.0, 1000.0, 4000.0, 9000.0, 15000.0}) {
    EXPECT_NEAR(20 * std::log10(GainAt(taps, hertz) / GainAt(linear, hertz)), 0.0, 0.2) << hertz;
  }
  const auto energy = [&](std::size_t begin, std::size_t end) {
    return std::inner_product(taps.begin() + static_cast<std::ptrdiff_t>(begin),
                              taps.begin() + static_cast<std::ptrdiff_t>(end),
                              taps.begin() + static_cast<std::ptrdiff_t>(begin), 0.0);
  };
  EXPECT_GT(energy(0, 64), 0.9 * energy(0, 512));
  design.SetUp(700, true);
  EXPECT_EQ(design.Length(), 512);
  design.SetUp(800, true);
  EXPECT_EQ(design.Length(), 1024);
}

TEST(S218Design, EveryVectorUnitGivesTheSameBits) {
  std::minstd_rand random(7);
  std::uniform_real_distribution<float> unit(0.0f, 1.0f);
  std::vector<float> gains(kBars), phases(kBars), line(1024);
  for (float& x : gains) x = unit(random);
  for (float& x : phases) x = unit(random);
  for (float& x : line) x = unit(random) - 0.5f;
  for (const bool equalLength : {false, true}) {
    Design::Settings settings;
    settings.equalLength = equalLength;
    Design plain(VectorUnit::kNone);
    plain.SetUp(992, false);
    const auto expected = DesignOf(plain, gains, settings, phases);
    const float sum =
        S218Loops::Of(VectorUnit::kNone).convolve(expected.taps.data(), line.data(), 992);
    for (int width = 1; width <= static_cast<int>(WidestVectorUnit()); ++width) {
      const auto vectors = static_cast<VectorUnit>(width);
      Design design(vectors);
      design.SetUp(992, false);
      const auto found = DesignOf(design, gains, settings, phases);
      EXPECT_EQ(found.taps, expected.taps) << width;
      EXPECT_EQ(found.count, expected.count);
      EXPECT_EQ(S218Loops::Of(vectors).convolve(expected.taps.data(), line.data(), 992), sum)
          << width;
    }
  }
}

TEST(S218Kernel, ALatticeWithoutTapsIsAChainOfAllPasses) {
  Kernel kernel;
  kernel.Prepare(kRate);
  kernel.main.nextCount = 8;
  kernel.Jump();
  for (const int mode : {1, 2, 3, 4}) {
    kernel.mode = mode;
    kernel.Clear();
    for (int n = 0; n < 20; ++n) {
      const float y = kernel.Step(n == 0 ? 0.01f : 0.0f, {0.5f, 0.0f});
      EXPECT_EQ(y, n == 8 ? 0.16f : 0.0f) << mode << " " << n;
    }
    // A warp changes the delay, not the energy.
    kernel.Clear();
    double energy = 0.0;
    for (int n = 0; n < 4000; ++n) {
      const double y = kernel.Step(n == 0 ? 0.01f : 0.0f, {0.5f, 0.6f});
      energy += y * y;
    }
    EXPECT_NEAR(energy / (0.16 * 0.16), 1.0, 1e-4);
  }
}

TEST(S218Kernel, LatticesFollowTheirSections) {
  // Two sections with unit delays, by hand: q is 0.
  constexpr float kT0 = 0.25f, kT1 = -0.5f, kP = 0.8f, kF = kP * 0.9990000128746033f;
  for (const int mode : {1, 2}) {
    Kernel kernel;
    kernel.Prepare(kRate);
    kernel.main.next[0] = kT0;
    kernel.main.next[1] = kT1;
    kernel.main.nextCount = 2;
    kernel.Jump();
    kernel.mode = mode;
    const float f = mode == 2 ? -kF : kF;
    float before0 = 0.0f, before1 = 0.0f, energy = 0.0f;
    for (int n = 0; n < 50; ++n) {
      const float x = 0.01f * static_cast<float>(n % 7 - 3);
      if (mode == 1) energy = 0.0f;
      const float s1 = f * kT0 * energy + before0;
      energy = kT0 * before0 + energy;
      before0 = x;
      const float s2 = f * kT1 * energy + before1;
      energy = kT1 * before1 + energy;
      before1 = s1;
      EXPECT_NEAR(kernel.Step(x, {kP, 0.0f}), 16.0f * s2, 1e-6f) << mode << " " << n;
    }
  }
}

class S218 : public ::testing::Test {
 protected:
  using Frame = S218SpectralFilterFrames::Frame;

  static Frame Flat(float gain) {
    Frame frame;
    frame.gain.fill(gain);
    return frame;
  }
  void SetFrames(const std::vector<Frame>& given) {
    S218SpectralFilterFrames frames;
    for (std::size_t i = 0; i < given.size(); ++i) {
      std::unique_ptr<Frame> none;
      if (i > 0) frames.Insert(static_cast<int>(i) - 1, none);
      auto spare = S218SpectralFilterFrames::Make();
      frames.Set(static_cast<int>(i), given[i], spare);
    }
    filter.SetFrames(std::move(frames));
  }
  int LastFrame() const { return filter.GetFrames().Last(); }
  static std::vector<float> Pulses(int count, std::initializer_list<int> at) {
    std::vector<float> samples(static_cast<std::size_t>(count), 0.0f);
    for (const int n : at) {
      for (int i = 0; i < 20; ++i) samples[static_cast<std::size_t>(n + i)] = 1.0f;
    }
    return samples;
  }
  float Digit() { return rack.Control(filter, "Frame").getValue(); }
  float Lamp() { return rack.Control(filter, "Last frame").getValue(); }

  TestRack rack{kRate};
  S218SpectralFilter& filter = dynamic_cast<S218SpectralFilter&>(rack.Add("S218 Spectral Filter"));
};

TEST_F(S218, NeutralBarsPassTheSoundAfterHalfTheTaps) {
  rack.Feed(filter, "In", Sine(6000, 1000.0, kRate, 0.5));
  rack.SetControl(filter, "DC block", 0.0f);
  rack.Tap(filter, "Out");
  rack.Run(6000);
  const auto& out = rack.Recorded(filter, "Out");
  const auto in = Sine(6000, 1000.0, kRate, 0.5);
  for (std::size_t n = 2000; n < 6000; ++n) EXPECT_NEAR(out[n], in[n - 255], 0.002f);
  // Two stages of unity are unity.
  rack.MoveControl(filter, "Second stage", 1.0f);
  rack.Feed(filter, "In", Sine(8000, 1000.0, kRate, 0.5));
  rack.Run(8000);
  EXPECT_NEAR(AmplitudeAt(rack.Recorded(filter, "Out"), 12000, 1000.0, kRate), 0.5, 0.01);
}

TEST_F(S218, ClockAndResetStepTheFrames) {
  SetFrames({Flat(0.2f), Flat(0.4f), Flat(0.6f)});
  rack.Feed(filter, "Clock", Pulses(2000, {100, 300, 340, 700, 1000, 1500}));
  rack.Feed(filter, "Reset", Pulses(2000, {900, 1495}));
  const auto at = [&](int sample) {
    static int run = 0;
    rack.Run(sample - run);
    run = sample;
  };
  at(60);
  EXPECT_EQ(Digit(), 0.0f);
  EXPECT_EQ(Lamp(), 0.0f);
  at(200);
  EXPECT_EQ(Digit(), 1.0f);
  EXPECT_FLOAT_EQ(filter.Bars().barGain[5], 0.4f);
  at(600);  // the edge at 340 comes within the hold-off
  EXPECT_EQ(Digit(), 2.0f);
  EXPECT_EQ(Lamp(), 1.0f);
  at(850);
  EXPECT_EQ(Digit(), 0.0f);
  EXPECT_EQ(Lamp(), 0.0f);
  at(960);  // from where the next clock leads to the first
  EXPECT_EQ(Digit(), 2.0f);
  at(1200);
  EXPECT_EQ(Digit(), 0.0f);
  at(1900);  // while the reset is high a clock is ignored
  EXPECT_EQ(Digit(), 2.0f);
}

TEST_F(S218, AVoltageMorphsBetweenFrames) {
  SetFrames({Flat(0.2f), Flat(0.4f), Flat(0.8f)});
  const auto gainAt = [&](float voltage) {
    rack.FeedConstant(filter, "Frame mod", voltage);
    rack.Run(400);
    return filter.Bars().barGain[30];
  };
  EXPECT_FLOAT_EQ(gainAt(0.0f), 0.2f);
  EXPECT_FLOAT_EQ(gainAt(0.25f), 0.3f);
  EXPECT_FLOAT_EQ(gainAt(0.75f), 0.6f);
  EXPECT_FLOAT_EQ(gainAt(7.0f), 0.8f);
  rack.MoveControl(filter, "Frame", 2.0f);  // from the last frame on round to the second
  rack.Run(400);
  EXPECT_FLOAT_EQ(filter.FramePosition(), 1.0f);
  EXPECT_FLOAT_EQ(gainAt(0.25f), 0.5f);  // half of the way back to the first
}

TEST_F(S218, OnlyWhatChangesIsDesignedAgain) {
  rack.FeedConstant(filter, "Cut mod", 1.0f);
  rack.Run(1000);
  const int before = filter.DesignCount();
  rack.Run(2000);
  EXPECT_EQ(filter.DesignCount(), before);
  rack.FeedConstant(filter, "Cut mod", std::nextafter(1.0f, 0.0f));
  rack.Run(400);
  EXPECT_EQ(filter.DesignCount(), before + 1);
  rack.MoveControl(filter, "Kernel", 0.5f);
  rack.Run(400);
  EXPECT_EQ(filter.DesignCount(), before + 2);
}

TEST_F(S218, NoDesignAllocates) {
  rack.MoveControl(filter, "Second stage", 1.0f);
  rack.MoveControl(filter, "Minimum phase", 1.0f);
  for (const float taps : {1.0f, 8.0f, 31.0f}) {
    rack.MoveControl(filter, "Taps", taps);
    const int before = filter.DesignCount();
    {
      const AllocationTrap trap;
      for (int n = 0; n < 400; ++n) filter.ProcessSample();
      EXPECT_EQ(AllocationTrap::Count(), 0) << taps;
    }
    EXPECT_EQ(filter.DesignCount(), before + 1);
  }
}

TEST_F(S218, ADesignFadesInWithoutAClick) {
  SetFrames({Flat(0.2f), Flat(0.6f)});
  rack.SetControl(filter, "Minimum phase", 1.0f);
  rack.Feed(filter, "In", Sine(12000, 200.0, kRate, 0.1));
  rack.Feed(filter, "Clock", Pulses(12000, {6000}));
  rack.Tap(filter, "Out");
  rack.Run(12000);
  const auto& out = rack.Recorded(filter, "Out");
  const double gain = std::pow(0.6, 4) * 16;
  // The steepest slope of the louder sine, and what the gain adds while it fades.
  const double steepest = 0.1 * gain * (2 * kPi * 200.0 / kRate + 14.0 / 960.0 * 4.0);
  for (std::size_t n = 2000; n < out.size(); ++n) {
    EXPECT_LT(std::abs(out[n] - out[n - 1]), steepest) << n;
  }
  EXPECT_NEAR(AmplitudeAt(out, 8000, 200.0, kRate), 0.1 * gain, 0.01 * gain);
}

TEST_F(S218, StageAndModeComeInWithoutAGapOrAClick) {
  SetFrames({Flat(0.5f)});
  rack.SetControl(filter, "DC block", 0.0f);
  constexpr double kHertz = 300.0;
  const auto switchOver = [&](const char* role, float to) {
    rack.Feed(filter, "In", Sine(16000, kHertz, kRate, 0.1));
    rack.Tap(filter, "Out");
    rack.Run(8040);  // not where the sine is 0
    rack.MoveControl(filter, role, to);
    rack.Run(7960);
    const auto& out = rack.Recorded(filter, "Out");
    const std::size_t begin = out.size() - 8000;
    double greatest = 0.0;
    for (std::size_t n = begin; n < out.size(); ++n) {
      greatest = std::max(greatest, std::abs(static_cast<double>(out[n]) - out[n - 1]));
    }
    const auto amplitudeBefore = [&](std::size_t end) {
      const auto at = out.begin() + static_cast<std::ptrdiff_t>(end);
      return AmplitudeAt({at - 2400, at}, 0, kHertz, kRate);
    };
    const double both = amplitudeBefore(begin) + amplitudeBefore(out.size());
    // The slopes of both sines, and what the fade adds, every fourth sample.
    EXPECT_LT(greatest, both * (2 * kPi * kHertz / kRate + 14.0 / 960.0 * 4.0)) << role << to;
  };
  switchOver("Second stage", 1.0f);
  switchOver("Second stage", 0.0f);
  for (const float mode : {0.25f, 0.75f, 0.0f, 0.5f, 1.0f}) switchOver("Mode", mode);
}

TEST_F(S218, CutAndResonanceShapeTheResponse) {
  // A step at 1.5 kHz or so: low bars above the middle, high ones below it.
  Frame step = Flat(0.25f);
  for (std::size_t bar = 0; bar < 38; ++bar) step.gain[bar] = 0.6f;
  SetFrames({step});
  const auto levelAt = [&](double hertz) {
    rack.Feed(filter, "In", Sine(9000, hertz, kRate, 0.1));
    rack.Run(9000);
    return AmplitudeAt(rack.Recorded(filter, "Out"), rack.Recorded(filter, "Out").size() - 4800,
                       hertz, kRate) /
           0.1;
  };
  rack.Tap(filter, "Out");
  EXPECT_NEAR(levelAt(700.0), std::pow(0.6, 4) * 16, 0.05);
  EXPECT_NEAR(levelAt(4000.0), std::pow(0.25, 4) * 16, 0.01);
  rack.MoveControl(filter, "Resonance 1", 1.0f);
  rack.MoveControl(filter, "Resonance 2", 0.0f);
  EXPECT_NEAR(levelAt(700.0), std::pow(0.7, 4) * 16, 0.08);
  EXPECT_NEAR(levelAt(4000.0), 1.0, 0.03);
  rack.MoveControl(filter, "Resonance 1", 0.0f);
  rack.MoveControl(filter, "Gain up", 0.5f);
  rack.FeedConstant(filter, "Resonance mod 1", 1.0f);
  EXPECT_NEAR(levelAt(700.0), std::pow(0.6, 4) * 16, 0.05);
  rack.MoveControl(filter, "Cut", 0.8f);  // the step comes down to 400 Hz
  EXPECT_NEAR(levelAt(700.0), 1.0, 0.1);
  rack.FeedConstant(filter, "Cut mod", 0.3f);  // and the highest bar with it
  EXPECT_LT(levelAt(700.0), 0.01);
}

TEST_F(S218, AtAReducedRateTheOutputHolds) {
  rack.MoveControl(filter, "Rate divisor", 0.5f);  // 4
  rack.Feed(filter, "In", Sine(8000, 300.0, kRate, 0.5));
  rack.Tap(filter, "Out");
  rack.Run(8000);
  const auto& out = rack.Recorded(filter, "Out");
  int changes = 0;
  for (std::size_t n = 4000; n < 8000; ++n) changes += out[n] != out[n - 1] ? 1 : 0;
  EXPECT_NEAR(changes, 1000, 2);
  EXPECT_NEAR(AmplitudeAt(out, 4000, 300.0, kRate), 0.5, 0.01);
}

TEST_F(S218, ExtremesStayFinite) {
  std::minstd_rand random(3);
  SetFrames({Flat(1.0f), Flat(0.0f)});
  for (const float mode : {0.25f, 0.5f, 0.75f, 1.0f}) {
    rack.MoveControl(filter, "Mode", mode);
    rack.MoveControl(filter, "Feedback 1", 1.0f);
    rack.MoveControl(filter, "Feedback 2", 1.0f);
    std::vector<float> noise(3000), warp(3000);
    for (float& x : noise) x = static_cast<float>(random() % 3) * 4.0f - 4.0f;
    for (float& x : warp) x = static_cast<float>(random() % 3) - 1.0f;
    rack.Feed(filter, "In", noise);
    rack.Feed(filter, "Resonance mod 2", warp);
    rack.Tap(filter, "Out");
    rack.Run(3000);
    for (const float y : rack.Recorded(filter, "Out")) ASSERT_LE(std::abs(y), 64.001f);
  }
  for (const float bad : kBadWords) {
    for (const char* input : {"In", "Frame mod", "Cut mod", "Resonance mod 1", "Resonance mod 2"}) {
      rack.FeedConstant(filter, input, bad);
    }
    rack.Run(2000);
  }
  EXPECT_TRUE(std::isfinite(rack.Out(filter, "Out")));
}

TEST_F(S218, TheMouseDrawsBarsFreelyAndInLines) {
  BarView<float>& bars = filter.Bars();
  const CRect gains = bars.GainArea(), phases = bars.PhaseArea();
  const auto point = [&](int bar, double value, const CRect& area) {
    return CPoint(area.left + (bar + 0.5) * area.getWidth() / kBars,
                  area.bottom - value * area.getHeight());
  };
  const auto drag = [&](CPoint from, CPoint over, CPoint to, int buttons) {
    bars.onMouseDown(from, buttons);
    bars.onMouseMoved(over, buttons);
    bars.onMouseMoved(to, buttons);
    bars.onMouseUp(to, buttons);
  };
  // A fast drag leaves no bar out.
  drag(point(4, 0.2, gains), point(8, 0.6, gains), point(10, 0.6, gains), kLButton);
  for (int bar = 4; bar <= 8; ++bar) {
    EXPECT_NEAR(bars.ownGain[static_cast<std::size_t>(bar)], 0.2 + 0.1 * (bar - 4), 0.01) << bar;
  }
  EXPECT_NEAR(bars.ownGain[10], 0.6f, 0.01f);
  EXPECT_FLOAT_EQ(bars.barGain[10], bars.ownGain[10]);
  EXPECT_FLOAT_EQ(bars.ownGain[11], 0.5f);
  // A straight line gives back what it left again.
  drag(point(20, 0.0, gains), point(40, 1.0, gains), point(30, 1.0, gains), kLButton | kShift);
  EXPECT_NEAR(bars.ownGain[25], 0.5f, 0.01f);
  EXPECT_NEAR(bars.ownGain[30], 1.0f, 0.01f);
  EXPECT_FLOAT_EQ(bars.ownGain[35], 0.5f);
  drag(point(50, 0.75, phases), point(50, 0.75, phases), point(49, 0.75, phases), kLButton);
  EXPECT_NEAR(bars.ownPhase[49], 0.75f, 0.05f);
  EXPECT_FLOAT_EQ(bars.ownGain[49], 0.5f);
  CPoint reset = point(30, 0.3, gains);
  bars.onMouseDown(reset, kLButton | kControl);
  EXPECT_FLOAT_EQ(bars.ownGain[30], 0.5f);
  const Frame kept = filter.GetFrames().Copy(0);
  EXPECT_TRUE(std::equal(kept.gain.begin(), kept.gain.end(), bars.ownGain.begin()));
  EXPECT_TRUE(std::equal(kept.phase.begin(), kept.phase.end(), bars.ownPhase.begin()));
}

TEST_F(S218, ALineThatIsDrawnOverAStepLeavesTheNextFrameItsBars) {
  SetFrames({Flat(0.2f), Flat(0.6f)});
  BarView<float>& bars = filter.Bars();
  const CRect area = bars.GainArea();
  const auto point = [&](int bar, double value) {
    return CPoint(area.left + (bar + 0.5) * area.getWidth() / kBars,
                  area.bottom - value * area.getHeight());
  };
  const CButtonState shift(kLButton | kShift);
  CPoint from = point(10, 0.9), over = point(20, 0.9), to = point(24, 0.9), back = point(22, 0.9);
  bars.onMouseDown(from, shift);
  bars.onMouseMoved(over, shift);
  rack.Feed(filter, "Clock", Pulses(100, {10}));
  rack.Run(100);
  ASSERT_EQ(Digit(), 1.0f);
  bars.onMouseMoved(to, shift);
  bars.onMouseMoved(back, shift);
  bars.onMouseUp(back, shift);
  const Frame second = filter.GetFrames().Copy(1);
  EXPECT_NEAR(filter.GetFrames().Copy(0).gain[15], 0.9f, 0.01f);
  EXPECT_FLOAT_EQ(second.gain[15], 0.6f);
  EXPECT_NEAR(second.gain[21], 0.9f, 0.01f);
  EXPECT_FLOAT_EQ(second.gain[24], 0.6f) << "given back as it was in this frame";
}

TEST_F(S218, BarsOfATextPatchThatAreNoneAreRefusedByWhatTheyShouldBe) {
  for (const char* bars : {"null", "true", "[]", R"([{"gain": null}])", R"(["x"])"}) {
    const std::string text = R"({"halveron": 1, "modules": [{"id": "f", "bars": )" +
                             std::string(bars) + R"(, "name": "S218 Spectral Filter"}]})";
    try {
      ToPreset(ParseTextPatch(text, "a.json"), "a.json", rack.editor, KnownModules());
      ADD_FAILURE() << bars;
    } catch (const platform::UserError& error) {
      EXPECT_NE(std::string(error.what()).find("give "), std::string::npos) << error.what();
      EXPECT_EQ(std::string(error.what()).find("quotes"), std::string::npos) << error.what();
    }
  }
}

TEST_F(S218, FramesAreInsertedDeletedAndKept) {
  SetFrames({Flat(0.1f), Flat(0.9f)});
  const auto press = [&](const char* role) {
    rack.MoveControl(filter, role, 1.0f);
    rack.MoveControl(filter, role, 0.0f);
  };
  press("Insert");
  EXPECT_EQ(LastFrame(), 2);
  EXPECT_EQ(Digit(), 1.0f);
  EXPECT_FLOAT_EQ(filter.Bars().ownGain[3], 0.1f);
  press("Frame up");
  EXPECT_FLOAT_EQ(filter.Bars().ownGain[3], 0.9f);
  press("Frame up");
  EXPECT_EQ(Digit(), 0.0f);
  press("Frame down");
  EXPECT_EQ(Digit(), 2.0f);
  press("Delete");
  EXPECT_EQ(Digit(), 1.0f);
  EXPECT_FLOAT_EQ(filter.Bars().ownGain[3], 0.1f);
  press("Delete");
  press("Delete");
  EXPECT_EQ(LastFrame(), 0);
  for (int i = 0; i < 120; ++i) press("Insert");
  EXPECT_EQ(LastFrame(), 99);
  press("Taps down");
  EXPECT_EQ(rack.Control(filter, "Taps").getValue(), 15.0f);
}

TEST_F(S218, APresetThatEndsEarlyLeavesTheRest) {
  SetFrames({Flat(0.1f), Flat(0.9f)});
  const std::vector<std::byte> whole = rack.SavedPreset(filter);
  const auto controls = static_cast<std::size_t>(filter.GetControlValuesSize());
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    SetFrames({Flat(0.3f), Flat(0.6f)});
    const std::vector<std::byte> part(whole.begin(),
                                      whole.begin() + static_cast<std::ptrdiff_t>(size));
    filter.LoadPreset(part.data(), static_cast<int>(size), filter.GetVersion());
    ASSERT_EQ(LastFrame(), 1);
    const std::size_t values = size > controls + 4 ? (size - controls - 4) / 4 : 0;
    ASSERT_FLOAT_EQ(filter.Bars().ownGain[7], values > 7 ? 0.1f : 0.3f) << size;
  }
  EXPECT_EQ(rack.SavedPreset(filter), whole);
}

}  // namespace
}  // namespace halveron::testing
