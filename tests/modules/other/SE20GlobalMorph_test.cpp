#include "modules/other/SE20GlobalMorph.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <future>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "dsp/random.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

class GlobalMorphTest : public ::testing::Test {
 protected:
  void Press(const char* button) { Press(morph_, button); }
  void Press(Module& module, const char* button) {
    rack_.MoveControl(module, button, 1.0f);
    rack_.MoveControl(module, button, 0.0f);
  }
  void Turn(float position) { rack_.MoveControl(morph_, "Morph", position); }
  void StoreAt(float position) {
    CControl& knob = rack_.Control(morph_, "Morph");
    knob.setValue(position);
    Press("Store");
  }
  void SwitchReport(bool on) {
    rack_.MoveControl(morph_, "Host report", on ? 0.0f : 1.0f);
    rack_.editor.SaveChunk();  // without a window the host's parameters follow now
  }
  float ValueOf(Module& module, const char* role) { return rack_.Control(module, role).getValue(); }
  const SnapshotTable& Snapshots() const {
    return static_cast<SE20GlobalMorph&>(morph_).Snapshots();
  }

  TestRack rack_;
  Module& morph_ = rack_.Add("SE20 Global Morph");
};

TEST_F(GlobalMorphTest, TurnsTheWholeRackFromSnapshotToSnapshot) {
  rack_.editor.voices.ApplyVoiceCount(3);
  Module& mixer = rack_.Add("S101 Mixer");
  Module& filter = rack_.Add("S212 VCF");
  Module& scale = rack_.Add("S914 Tunable Quantizer");
  Module& delay = rack_.Add("SE01 Sample Delay");
  Module& out = rack_.Add("SA02 2 DAW");
  Module& second = rack_.Add("SE20 Global Morph");
  rack_.SetControl(mixer, "Level 1", 0.0f);
  rack_.SetControl(filter, "Cutoff", 1.0f);
  rack_.SetControl(scale, "D", 0.0f);
  rack_.SetControl(out, "Left gain", 0.25f);
  rack_.SetControl(second, "Step", 0.25f);
  StoreAt(0.25f);
  rack_.SetControl(mixer, "Level 1", 1.0f);
  rack_.SetControl(filter, "Cutoff", 0.5f);
  rack_.SetControl(scale, "D", 1.0f);
  rack_.SetControl(out, "Left gain", 0.75f);
  rack_.SetControl(second, "Step", 0.75f);
  StoreAt(0.75f);
  const int shown = static_cast<int>(ValueOf(delay, "Display"));

  Turn(0.375f);
  EXPECT_EQ(ValueOf(mixer, "Level 1"), 0.25f);
  EXPECT_EQ(ValueOf(filter, "Cutoff"), 0.875f);
  EXPECT_EQ(ValueOf(scale, "D"), 0.25f);
  for (CControl* knob = &rack_.Control(filter, "Cutoff"); knob; knob = knob->nextVoice) {
    EXPECT_EQ(knob->getValue(), 0.875f) << "each voice";
  }
  EXPECT_EQ(ValueOf(out, "Left gain"), 0.75f) << "the way to the host is left alone";
  EXPECT_EQ(ValueOf(second, "Step"), 0.75f) << "and so is another of its kind";
  EXPECT_EQ(static_cast<int>(ValueOf(delay, "Display")), shown) << "buttons are not pressed";
  Turn(0.0f);
  EXPECT_EQ(ValueOf(mixer, "Level 1"), 0.0f) << "below the first: the first";
  Turn(0.76f);
  EXPECT_EQ(ValueOf(mixer, "Level 1"), 0.0f) << "above the last: nothing happens";
  Turn(0.75f);
  EXPECT_EQ(ValueOf(mixer, "Level 1"), 1.0f);
}

TEST_F(GlobalMorphTest, DifferencesOnlyLeavesAHandSetValue) {
  Module& mixer = rack_.Add("S101 Mixer");
  rack_.SetControl(mixer, "Level 1", 0.5f);
  rack_.SetControl(mixer, "Level 2", 0.0f);
  StoreAt(0.0f);
  Module& later = rack_.Add("S101 Mixer");
  rack_.SetControl(later, "Level 1", 0.125f);
  rack_.SetControl(mixer, "Level 2", 1.0f);
  StoreAt(1.0f);
  rack_.SetControl(mixer, "Level 1", 0.75f);
  rack_.SetControl(later, "Level 1", 0.25f);
  rack_.MoveControl(morph_, "Differences", 0.0f);
  Turn(0.5f);
  EXPECT_EQ(ValueOf(mixer, "Level 1"), 0.75f);
  EXPECT_EQ(ValueOf(later, "Level 1"), 0.25f);
  EXPECT_EQ(ValueOf(mixer, "Level 2"), 0.5f);
  rack_.MoveControl(morph_, "Differences", 1.0f);
  Turn(0.5f);
  EXPECT_EQ(ValueOf(mixer, "Level 1"), 0.5f);
  EXPECT_EQ(ValueOf(later, "Level 1"), 0.125f) << "known above only";
}

TEST_F(GlobalMorphTest, ButtonsEditTheSnapshotsAndTheLamps) {
  Press("Store");
  EXPECT_EQ(Snapshots().Count(), 0) << "there is nothing to store";
  rack_.Add("S101 Mixer");
  StoreAt(0.0f);
  StoreAt(0.01f);
  StoreAt(0.01f);
  StoreAt(1.0f);
  EXPECT_EQ(Snapshots().Count(), 3);
  EXPECT_EQ(ValueOf(morph_, "LED 1"), 1.0f);
  EXPECT_EQ(ValueOf(morph_, "LED 2"), 0.0f);
  EXPECT_EQ(ValueOf(morph_, "LED 16"), 1.0f);
  Press("Delete");
  EXPECT_EQ(ValueOf(morph_, "LED 16"), 0.0f);
  Press("Delete");
  EXPECT_EQ(ValueOf(morph_, "LED 1"), 1.0f) << "another one is under it";
  Press("Delete");
  EXPECT_EQ(ValueOf(morph_, "LED 1"), 0.0f);
  Press("Delete");
  EXPECT_EQ(Snapshots().Count(), 0);
}

TEST_F(GlobalMorphTest, AJumpOfTheTriggerMovesMorph) {
  constexpr int kHoldoff = 480;
  rack_.SetControl(morph_, "Morph", 0.9f);
  // A jump of 0.25 whatever the level; one within 10 ms of the last does not count.
  std::vector<float> trigger(2000, 0.0f);
  for (std::size_t i = 10; i < 300; ++i) trigger[i] = 3.0f;
  trigger[100] = 2.0f;
  for (std::size_t i = 1000; i < 2000; ++i) trigger[i] = 0.24f * static_cast<float>(i - 1000);
  rack_.Feed(morph_, "Trigger", trigger);
  rack_.Run(5);
  EXPECT_EQ(ValueOf(morph_, "Morph"), 0.9f);
  rack_.Run(300);
  EXPECT_FLOAT_EQ(ValueOf(morph_, "Morph"), 0.95f);
  rack_.Run(1695);
  EXPECT_FLOAT_EQ(ValueOf(morph_, "Morph"), 0.95f) << "a rise, however high";

  trigger.assign(3000, 0.0f);
  for (const int at : {10, 10 + kHoldoff, 12 + kHoldoff, 2000}) {
    trigger[static_cast<std::size_t>(at)] = 0.25f;
  }
  rack_.Feed(morph_, "Trigger", trigger);
  rack_.Run(3000);
  EXPECT_NEAR(ValueOf(morph_, "Morph"), 0.1f, 1e-5f) << "three steps, round the end";
  rack_.SetControl(morph_, "Step", 0.0f);
  rack_.Feed(morph_, "Trigger", {0.0f, 1.0f});
  rack_.Run(1000);
  EXPECT_NEAR(ValueOf(morph_, "Morph"), 0.85f, 1e-5f) << "back, round the start";
}

TEST_F(GlobalMorphTest, TheTriggerMovesTheRack) {
  Module& mixer = rack_.Add("S101 Mixer");
  rack_.SetControl(mixer, "Level 1", 0.0f);
  StoreAt(0.0f);
  rack_.SetControl(mixer, "Level 1", 1.0f);
  StoreAt(1.0f);
  Turn(0.5f);
  rack_.Feed(morph_, "Trigger", {0.0f, 1.0f});
  rack_.Run(10);
  EXPECT_NEAR(ValueOf(mixer, "Level 1"), 0.55f, 1e-6f);
}

TEST_F(GlobalMorphTest, TheHostHearsOnlyWhenItIsToAndThenDoesNotOwnMorph) {
  Module& mixer = rack_.Add("S101 Mixer");
  const int levelTag = rack_.Control(mixer, "Level 1").getTag();
  const int morphTag = rack_.Control(morph_, "Morph").getTag();
  ASSERT_LT(morphTag, kParameterCount);
  rack_.SetControl(mixer, "Level 1", 0.0f);
  StoreAt(0.0f);
  rack_.SetControl(mixer, "Level 1", 1.0f);
  StoreAt(1.0f);
  rack_.automated.clear();
  Turn(0.5f);
  EXPECT_EQ(rack_.automated, (std::vector<std::pair<int, float>>{{morphTag, 0.5f}}));

  SwitchReport(true);
  const auto& controls = rack_.editor.parameters.parameterControls;
  EXPECT_EQ(controls[static_cast<std::size_t>(morphTag)], nullptr);
  rack_.host.echoesAutomation = true;
  rack_.automated.clear();
  Turn(0.25f);
  EXPECT_EQ(rack_.automated, (std::vector<std::pair<int, float>>{{levelTag, 0.25f}}));
  rack_.automated.clear();
  rack_.Feed(morph_, "Trigger", {0.0f, 1.0f});
  rack_.Run(10);
  ASSERT_EQ(rack_.automated.size(), 1u);
  EXPECT_EQ(rack_.automated[0].first, levelTag);
  EXPECT_NEAR(rack_.automated[0].second, 0.3f, 1e-6f);

  SwitchReport(false);
  EXPECT_EQ(controls[static_cast<std::size_t>(morphTag)], &rack_.Control(morph_, "Morph"));
  SwitchReport(true);
  CControl& taker = rack_.Control(mixer, "Level 2");
  const int freed = taker.getTag();
  rack_.editor.parameters.UnregisterTag(&taker);
  ASSERT_TRUE(rack_.editor.parameters.RegisterTag(&taker, morphTag));
  SwitchReport(false);
  const int found = rack_.Control(morph_, "Morph").getTag();
  EXPECT_NE(found, morphTag);
  ASSERT_LT(found, kParameterCount) << freed;
  EXPECT_EQ(controls[static_cast<std::size_t>(found)], &rack_.Control(morph_, "Morph"));
}

TEST_F(GlobalMorphTest, TheHostMovesTheReportSwitchDuringAnEdit) {
  const auto morphTag = static_cast<std::size_t>(rack_.Control(morph_, "Morph").getTag());
  const int reportTag = rack_.Control(morph_, "Host report").getTag();
  const auto& controls = rack_.editor.parameters.parameterControls;
  std::future<void> block;
  {
    const std::lock_guard edit(rack_.engine.editLock);
    block = std::async(std::launch::async, [&] {
      rack_.engine.setParameter(reportTag, 0.0f);
      rack_.RunBlock(16);
    });
    EXPECT_EQ(block.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_NE(controls[morphTag], nullptr) << "not on the audio thread";
  }
  block.get();
  rack_.editor.SaveChunk();
  EXPECT_EQ(controls[morphTag], nullptr);
}

TEST_F(GlobalMorphTest, RandomiseMovesKnobsByItsAmountAndButtonsByChance) {
  dsp::SeedRandom(5);
  std::vector<Module*> scales;
  for (int i = 0; i < 40; ++i) scales.push_back(&rack_.Add("S914 Tunable Quantizer"));
  Module& out = rack_.Add("SA02 2 DAW");
  Module& delay = rack_.Add("SE01 Sample Delay");
  rack_.SetControl(out, "Left gain", 0.5f);
  rack_.SetControl(morph_, "Random amount", 0.2f);
  for (Module* scale : scales) rack_.SetControl(*scale, "Amount", 0.9f);
  const float display = ValueOf(delay, "Display");
  Press("Randomise");
  float lowest = 2.0f, highest = -1.0f;
  int off = 0;
  for (Module* scale : scales) {
    lowest = std::min(lowest, ValueOf(*scale, "Amount"));
    highest = std::max(highest, ValueOf(*scale, "Amount"));
    for (const char* note : {"C", "D", "E", "F", "G", "A", "B"}) {
      const float value = ValueOf(*scale, note);
      EXPECT_TRUE(value == 0.0f || value == 1.0f);
      off += value == 0.0f ? 1 : 0;
    }
  }
  EXPECT_GE(lowest, 0.7f - 1e-6f);
  EXPECT_LT(lowest, 0.78f);
  EXPECT_EQ(highest, 1.0f);
  EXPECT_NEAR(off, 28, 17) << "a tenth of 280: asked by one in five, and then a fair coin";
  EXPECT_EQ(ValueOf(out, "Left gain"), 0.5f);
  EXPECT_EQ(ValueOf(delay, "Display"), display);
  EXPECT_EQ(Snapshots().Count(), 0);

  rack_.MoveControl(morph_, "Differences", 0.0f);
  StoreAt(0.0f);
  rack_.SetControl(*scales[0], "Amount", 0.3f);
  StoreAt(0.5f);
  const float other = ValueOf(*scales[1], "Amount");
  Press("Randomise");
  EXPECT_NE(ValueOf(*scales[0], "Amount"), 0.3f);
  EXPECT_EQ(ValueOf(*scales[1], "Amount"), other);
  rack_.Control(morph_, "Morph").setValue(0.75f);
  rack_.SetControl(*scales[0], "Amount", 0.3f);
  Press("Randomise");
  EXPECT_EQ(ValueOf(*scales[0], "Amount"), 0.3f) << "beyond the last snapshot";
}

TEST_F(GlobalMorphTest, APresetBringsTheSnapshotsBackAndMovesNothing) {
  Module& mixer = rack_.Add("S101 Mixer");
  Module& gone = rack_.Add("S101 Mixer");
  const int goneTag = rack_.Control(gone, "Level 1").getTag();
  rack_.SetControl(mixer, "Level 1", 0.0f);
  StoreAt(0.0f);
  rack_.SetControl(mixer, "Level 1", 1.0f);
  StoreAt(1.0f);
  EXPECT_TRUE(SnapshotTable::IsValue(Snapshots().Value(0, goneTag)));
  rack_.editor.RemoveModule(&gone, true);
  Turn(0.5f);
  rack_.SetControl(mixer, "Level 1", 0.875f);
  // As when a button is held down while the host saves.
  for (const char* button : {"Store", "Delete", "Randomise"}) {
    rack_.Control(morph_, button).setValue(1.0f);
  }
  const std::vector<std::byte> preset = rack_.SavedPreset(morph_);
  EXPECT_FALSE(SnapshotTable::IsValue(Snapshots().Value(0, goneTag))) << "purged";

  Module& copy = rack_.Add("SE20 Global Morph");
  copy.LoadPreset(preset.data(), static_cast<int>(preset.size()), copy.GetVersion());
  for (const char* button : {"Store", "Delete", "Randomise"}) {
    EXPECT_EQ(ValueOf(copy, button), 0.0f);
    rack_.Control(morph_, button).setValue(0.0f);
  }
  EXPECT_EQ(rack_.SavedPreset(copy), rack_.SavedPreset(morph_));
  EXPECT_EQ(ValueOf(mixer, "Level 1"), 0.875f);
  EXPECT_EQ(ValueOf(copy, "LED 1"), 1.0f);
  EXPECT_EQ(ValueOf(copy, "LED 16"), 1.0f);
  rack_.MoveControl(copy, "Morph", 0.25f);
  EXPECT_EQ(ValueOf(mixer, "Level 1"), 0.25f);

  for (std::size_t size = 0; size < preset.size(); size += 3) {
    copy.LoadPreset(preset.data(), static_cast<int>(size), copy.GetVersion());
    EXPECT_LE(static_cast<SE20GlobalMorph&>(copy).Snapshots().Count(), 2);
  }
}

TEST_F(GlobalMorphTest, ATagThatPassedToAMorphKnobIsLeftAlone) {
  Module* mixer = &rack_.Add("S101 Mixer");
  StoreAt(0.0f);
  rack_.SetControl(*mixer, "Level 1", 0.9f);
  StoreAt(1.0f);
  const int tag = rack_.Control(*mixer, "Level 1").getTag();
  rack_.editor.RemoveModule(mixer, true);
  CControl& knob = rack_.Control(morph_, "Morph");
  rack_.editor.parameters.UnregisterTag(&knob);
  ASSERT_TRUE(rack_.editor.parameters.RegisterTag(&knob, tag));
  Turn(0.5f);
  EXPECT_EQ(knob.getValue(), 0.5f);
}

TEST_F(GlobalMorphTest, SurvivesModulesThatComeAndGo) {
  static constexpr const char* kNames[] = {"S101 Mixer",
                                           "S212 VCF",
                                           "S914 Tunable Quantizer",
                                           "S525 VC Envelope Generator/LFO",
                                           "SE01 Sample Delay",
                                           "SE20 Global Morph",
                                           "SA02 2 DAW"};
  std::mt19937 random(11);
  const auto draw = [&](std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
  };
  const auto share = [&] { return std::uniform_real_distribution<float>(0.0f, 1.0f)(random); };
  std::vector<Module*> modules;
  rack_.host.echoesAutomation = true;
  for (int step = 0; step < 1500; ++step) {
    rack_.automated.clear();
    switch (draw(11)) {
      case 0:
        if (modules.size() < 60) modules.push_back(&rack_.Add(kNames[draw(std::size(kNames))]));
        break;
      case 1:
        if (!modules.empty()) {
          const auto at = modules.begin() + static_cast<std::ptrdiff_t>(draw(modules.size()));
          rack_.editor.RemoveModule(*at, true);
          modules.erase(at);
        }
        break;
      case 2:
        rack_.editor.voices.ApplyVoiceCount(1 + static_cast<int>(draw(4)));
        break;
      case 3:
        rack_.MoveControl(morph_, draw(2) == 0 ? "Host report" : "Differences",
                          static_cast<float>(draw(2)));
        break;
      case 4:
        Press("Randomise");
        break;
      case 5:
        Press("Delete");
        break;
      case 6: {
        const std::vector<std::byte> preset = rack_.SavedPreset(morph_);
        morph_.LoadPreset(preset.data(), static_cast<int>(preset.size()), morph_.GetVersion());
        EXPECT_EQ(rack_.SavedPreset(morph_), preset);
        break;
      }
      case 7:
        rack_.Run(16);
        break;
      case 8:
        StoreAt(share());
        break;
      default:
        Turn(share());
    }
    rack_.editor.EmptyTrash();
  }
  for (Module* module : modules) {
    module->forEach([](CView* view) {
      auto* knob = dynamic_cast<ModuleKnob*>(view);
      if (!knob) return;
      EXPECT_NEAR(knob->getValue(), 0.5f, 0.5f + 1e-6f);
    });
  }
}

}  // namespace
}  // namespace halveron::testing
