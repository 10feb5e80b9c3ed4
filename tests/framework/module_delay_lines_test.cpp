#include "framework/module_delay_lines.h"

#include <gtest/gtest.h>

#include <limits>

#include "gui/draw_context.h"
#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

class DelayingModule final : public Module {
 public:
  explicit DelayingModule(const HostTable& hostTable)
      : Module(CRect(0, 0, 120, 291), nullptr, nullptr, hostTable, 0) {
    AddPatchPoint(in, "In", 60, 150);
    AddPatchPoint(out, "Out", 60, 250);
  }
  void CableConnected(PatchPoint*) override { lines.TakeIfCabled(); }

  Input in;
  Output out;
  ModuleDelayLines lines{*this};
};

TEST(ModuleDelayLines, TakeMemoryOnlyForAModuleWithACable) {
  TestRack rack;
  auto& module =
      static_cast<DelayingModule&>(rack.Adopt(new DelayingModule(rack.editor.hostTable)));
  module.lines.Resize(2, 100);
  EXPECT_EQ(module.lines.Size(), 100);
  EXPECT_FALSE(module.lines.AreTaken());
  rack.FeedConstant(module, "In", 1.0f);
  ASSERT_TRUE(module.lines.AreTaken());
  module.lines.Line(1).Write(5, 1.0f);
  rack.Disconnect(module, "In");
  EXPECT_EQ(module.lines.Line(1).Read(5.0f), 1.0f) << "a cable that moves loses nothing";
  module.lines.Resize(2, 200);
  EXPECT_FALSE(module.lines.AreTaken()) << "a new rate without a cable";
  rack.FeedConstant(module, "In", 1.0f);
  ASSERT_TRUE(module.lines.AreTaken());
  EXPECT_EQ(module.lines.Line(1).Read(5.0f), 0.0f);
}

TEST(ModuleDelayLines, SayOnThePanelWhenThereIsNoMemory) {
  TestRack rack;
  auto& module =
      static_cast<DelayingModule&>(rack.Adopt(new DelayingModule(rack.editor.hostTable)));
  CView* notice = nullptr;
  module.forEach([&](CView* view) {
    if (view->isTypeOf("MemoryNotice")) notice = view;
  });
  ASSERT_NE(notice, nullptr);
  const auto isDrawn = [&] {
    COffscreenContext picture(120, 291);
    notice->draw(&picture);
    int drawn = 0;
    for (int y = 0; y < 60; ++y) {
      for (int x = 0; x < 120; ++x) drawn += picture.getPixel(x, y).alpha > 0 ? 1 : 0;
    }
    return drawn > 0;
  };
  EXPECT_FALSE(isDrawn());
  rack.FeedConstant(module, "In", 1.0f);
  module.lines.Resize(1 << 20, std::numeric_limits<int>::max());
  EXPECT_FALSE(module.lines.AreTaken());
  EXPECT_TRUE(module.lines.AreMissing());
  EXPECT_TRUE(notice->isDirty());
  EXPECT_TRUE(isDrawn());
  EXPECT_FALSE(notice->isDirty());
  module.lines.Resize(1, 10);
  EXPECT_TRUE(module.lines.AreTaken());
  EXPECT_TRUE(notice->isDirty());
  EXPECT_FALSE(isDrawn());
}

TEST(ModuleDelayLines, EffectsWithoutMemoryPassTheirInputThrough) {
  TestRack rack;
  const struct {
    const char* module;
    const char* input;
    std::vector<const char*> outputs;
  } effects[] = {{"S602 VC Delay", "Audio", {"Out"}},
                 {"S612 Octet Chorus", "In L", {"Out L", "Out R"}},
                 {"S616 Stereo Reverb", "In L", {"Out L", "Out R"}},
                 {"S223 Dual Tap Comb Filter", "Audio", {"Out"}},
                 {"S224 Allpass Diffusion Filter", "Audio", {"Out", "Send"}}};
  for (const auto& effect : effects) {
    Module& module = rack.Add(effect.module);
    rack.Run(1);
    rack.Point(module, effect.input, kInputPoint).in = 0.75f;
    module.ProcessSample();
    for (const char* output : effect.outputs) {
      EXPECT_EQ(rack.Out(module, output), 0.75f) << effect.module << ' ' << output;
    }
  }
}

}  // namespace
}  // namespace halveron::testing
