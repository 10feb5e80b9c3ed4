#include <gtest/gtest.h>

#include <vector>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

std::vector<CMovieBitmap*> LampsOf(Module& module) {
  std::vector<CMovieBitmap*> lamps;
  module.forEach([&](CView* view) {
    auto* lamp = dynamic_cast<CMovieBitmap*>(view);
    const bool isScrew = lamp && lamp->getTag() == TAG_NONE;
    if (lamp && !isScrew && !dynamic_cast<PatchPoint*>(view)) lamps.push_back(lamp);
  });
  return lamps;
}

TEST(Lamps, ShowTheModuleAsItIsAndNotAsItWasWhenThePresetWasSaved) {
  for (const char* name : {"S701 Shift/Reset Clock Divider",
                           "S702 Reset Clock Divider",
                           "S703 Clock Divider",
                           "S704 Dual Gate to Trigger Converter",
                           "S705 Gate Length Processor",
                           "S709 Manual Trigger/Gate",
                           "S713 Swing/Rotate Clock Divider/Multiplier",
                           "S806 VC Sequential Switch",
                           "SB20 Complex Shift Register",
                           "SC03 Logic Tools",
                           "SD05 MIDI Poly Chainer",
                           "SD06 MIDI Merger",
                           "SD07 MIDI Filter",
                           "SD08 MIDI Monitor",
                           "SD09 MIDI Channel Converter",
                           "SD12 CV To MIDI Converter",
                           "SD13 CV To MIDI CC Converter",
                           "SD14 Clock/Sync To MIDI",
                           "SD20 MIDI CC To CV Interface",
                           "SD23 MIDI Note To Trigger",
                           "SD30 MIDI Recorder",
                           "SD31 MIDI Trance Gate",
                           "SD33 MIDI Arpeggiator",
                           "SE20 Global Morph"}) {
    SCOPED_TRACE(name);
    TestRack rack;
    Module& fresh = rack.Add(name);
    rack.Run(9000);
    std::vector<float> expected;
    for (CMovieBitmap* lamp : LampsOf(fresh)) expected.push_back(lamp->getValue());
    ASSERT_FALSE(expected.empty());
    for (const bool all : {true, false}) {
      for (CMovieBitmap* lamp : LampsOf(fresh)) lamp->setValue(all ? 1.0f : 0.0f);
      const std::vector<std::byte> saved = rack.SavedPreset(fresh);
      Module& loaded = rack.Add(name);
      loaded.LoadPreset(saved.data(), static_cast<int>(saved.size()), loaded.GetVersion());
      rack.Run(9000);
      std::vector<float> shown;
      for (CMovieBitmap* lamp : LampsOf(loaded)) shown.push_back(lamp->getValue());
      EXPECT_EQ(shown, expected) << all;
    }
  }
}

}  // namespace
}  // namespace halveron::testing
