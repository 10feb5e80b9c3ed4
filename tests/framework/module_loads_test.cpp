// The time that each module takes, measured now and then, changes nothing of the sound.
#include "framework/module_loads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <vector>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

/// Takes a given time for each sample.
class Idler final : public Module {
 public:
  Idler(const HostTable& hostTable, std::chrono::nanoseconds time)
      : Module(CRect(0, 0, 10, 10), nullptr, nullptr, hostTable, 0), time_(time) {
    AddPatchPoint(out_, "Out", 5, 5);
  }
  void ProcessSample() override {
    const auto end = std::chrono::steady_clock::now() + time_;
    while (std::chrono::steady_clock::now() < end) {
    }
    ++runs;
  }
  int runs = 0;

 private:
  std::chrono::nanoseconds time_;
  Output out_;
};

float ShareOf(const ModuleLoads& loads, const Module& module) {
  for (const ModuleLoads::Share& each : loads.Shares()) {
    if (each.module == &module) return each.share;
  }
  return -1;
}

// Medians of rounds, since any one may be interrupted.
TEST(ModuleLoads, GivesEachModuleItsShareOfTheTime) {
  using std::chrono::microseconds;
  constexpr float kRate = 48000;
  TestRack rack(kRate);
  auto& small = static_cast<Idler&>(rack.Adopt(new Idler(rack.editor.hostTable, microseconds(4))));
  auto& large = static_cast<Idler&>(rack.Adopt(new Idler(rack.editor.hostTable, microseconds(16))));
  ModuleLoads& loads = rack.editor.moduleLoads;
  loads.Update(1);
  EXPECT_TRUE(loads.Shares().empty()) << "it is off";
  std::vector<float> smallShares, largeShares;
  for (int round = 0; round < 9; ++round) {
    loads.Switch(true);
    rack.Run(1500);
    loads.Update(100);
    smallShares.push_back(ShareOf(loads, small));
    largeShares.push_back(ShareOf(loads, large));
    loads.Switch(false);
  }
  EXPECT_EQ(small.runs, large.runs) << "each sample runs once, measured or not";
  const auto median = [](std::vector<float> values) {
    std::nth_element(values.begin(), values.begin() + 4, values.end());
    return values[4];
  };
  // Four microseconds are 19 % of a sample's time at 48 kHz.
  EXPECT_NEAR(median(smallShares), 0.192, 0.05);
  EXPECT_NEAR(median(largeShares), 4 * 0.192, 0.1);

  loads.Switch(true);
  rack.Run(2000);
  loads.Update(0.01f);
  EXPECT_LE(ShareOf(loads, small) + ShareOf(loads, large) + loads.CableShare(), 0.0101f)
      << "no more than the whole";
  loads.Forget(large);
  EXPECT_EQ(ShareOf(loads, large), -1);

  loads.Switch(false);
  rack.Adopt(new Idler(rack.editor.hostTable, std::chrono::milliseconds(2)));
  loads.Switch(true);
  rack.Run(40);
  loads.Update(1);
  EXPECT_TRUE(loads.Shares().empty()) << "a sample that was interrupted says nothing";
}

// Teams, voices, modules at the host's rate beside oversampled ones, edits and replaced plans.
TEST(ModuleLoads, ChangesNothingOfTheSound) {
  const auto record = [](bool measures, int factorRow) {
    TestRack rack;
    if (measures) rack.editor.moduleLoads.Switch(true);
    rack.editor.voices.ApplyVoiceCount(3);
    std::vector<Module*> chain;
    for (int i = 0; i < 4; ++i) chain.push_back(&rack.Add("S310 VCO"));
    for (int i = 0; i < 4; ++i) chain.push_back(&rack.Add("S404 VCA"));
    for (int i = 0; i < 4; ++i) {
      Module& vca = *chain[static_cast<std::size_t>(4 + i)];
      rack.Connect(*chain[static_cast<std::size_t>(i)], "Saw", vca, "In 1");
    }
    rack.SetControl(*chain[5], "Base gain", 0.5f);
    rack.editor.SetModuleOversampled(chain[5], false);
    rack.editor.engine.ApplyOversamplingFactor(factorRow);
    rack.Tap(*chain[5], "Out 1");
    std::size_t largest = 0;
    for (int part = 0; part < 6; ++part) {
      rack.Run(700);
      rack.editor.moduleLoads.Update(1);
      largest = std::max(largest, rack.editor.moduleLoads.Shares().size());
      rack.Add("S310 VCO");
    }
    EXPECT_EQ(largest > 0, measures);
    return rack.Recorded(*chain[5], "Out 1");
  };
  for (const int factorRow : {0, 2}) {
    const std::vector<float> plain = record(false, factorRow);
    EXPECT_EQ(record(true, factorRow), plain);
    EXPECT_NE(*std::max_element(plain.begin(), plain.end()), 0.0f);
  }
}

}  // namespace
}  // namespace halveron::testing
