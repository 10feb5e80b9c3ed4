// The rack and notes by keyboard.
#include <gtest/gtest.h>

#include "editor/key_focus.h"
#include "editor/note_keys.h"
#include "framework/patch_point.h"
#include "tests/support/window_rig.h"

namespace halveron {
namespace {

using testing::WindowRig;

TEST(KeyFocus, WalksModulesTurnsControlsAndPlugsCables) {
  WindowRig rig;
  Module& mixer = rig.Add("S102 Unity Mixer", 30, 0);
  Module& vco = rig.Add("S310 VCO", 2, 0);
  Module& below = rig.Add("S404 VCA", 0, 1);
  KeyFocus& keys = rig.window.Keys();
  rig.Key(kKeyTab);
  EXPECT_EQ(keys.FocusModule(), &vco) << "as they are read, not as they were made";
  rig.Key(kKeyTab);
  EXPECT_EQ(keys.FocusModule(), &mixer);
  rig.Key(kKeyTab);
  EXPECT_EQ(keys.FocusModule(), &below);
  rig.Key(kKeyTab);
  rig.Key(kKeyTab, kShift);
  EXPECT_EQ(keys.FocusModule(), &below) << "around, and back";
  rig.Key(kKeyTab);

  rig.Key(kKeyDown);
  auto* control = dynamic_cast<CControl*>(keys.Item());
  ASSERT_NE(control, nullptr);
  const float before = control->getValue();
  rig.Type("+");
  EXPECT_NE(control->getValue(), before);
  rig.Type("-");
  EXPECT_NEAR(control->getValue(), before, 1e-6);

  // From a jack to the module on the right, with the cable.
  for (int i = 0; i < 40 && !dynamic_cast<PatchPoint*>(keys.Item()); ++i) rig.Key(kKeyDown);
  auto* from = dynamic_cast<PatchPoint*>(keys.Item());
  ASSERT_NE(from, nullptr);
  rig.Key(kKeyReturn);
  ASSERT_TRUE(rig.editor.cables.isDraggingCable);
  rig.Key(kKeyEscape);
  EXPECT_FALSE(rig.editor.cables.isDraggingCable);
  for (int i = 0; i < 40 && (!dynamic_cast<PatchPoint*>(keys.Item()) ||
                             dynamic_cast<PatchPoint*>(keys.Item())->type != kOutputPoint);
       ++i) {
    rig.Key(kKeyDown);
  }
  rig.Key(kKeyReturn);
  for (int i = 0; i < 40 && keys.FocusModule() != &mixer; ++i) rig.Key(kKeyRight);
  ASSERT_EQ(keys.FocusModule(), &mixer);
  rig.Key(kKeyReturn);
  EXPECT_EQ(rig.editor.cables.visibleCableCount,
            dynamic_cast<PatchPoint*>(keys.Item())->type == kInputPoint ? 1 : 0);

  rig.Key(kKeyTab);
  rig.Key(kKeyF10, kShift);
  EXPECT_NE(rig.window.OpenMenu(), nullptr) << "of the module";
  rig.Key(kKeyEscape);
  rig.editor.commands.DeleteModule(*keys.FocusModule());
  EXPECT_EQ(keys.FocusModule(), nullptr);
}

TEST(NoteKeys, PlaysHoldsAndEndsNotes) {
  std::vector<std::vector<int>> sent;
  NoteKeys keys([&](std::span<const std::uint8_t> message) {
    sent.emplace_back(message.begin(), message.end());
  });
  const auto take = [&] { return std::exchange(sent, {}); };
  using Messages = std::vector<std::vector<int>>;
  const auto press = [&](char32_t letter, int modifiers = 0) {
    return keys.Down({letter, kKeyNone, CButtonState(modifiers)});
  };
  const auto release = [&](char32_t letter, double now) {
    return keys.Up({letter, kKeyNone, CButtonState()}, now);
  };
  EXPECT_TRUE(press('q'));
  EXPECT_EQ(take(), (Messages{{0x90, 60, 100}})) << "the upper row begins at middle C";
  // A repeat: released and pressed at once.
  release('q', 1.0);
  press('q');
  keys.Settle(1.5);
  EXPECT_EQ(take(), Messages{});
  release('q', 2.0);
  keys.Settle(2.0);
  EXPECT_EQ(take(), Messages{});
  keys.Settle(2.0 + NoteKeys::kReleaseTime);
  EXPECT_EQ(take(), (Messages{{0x80, 60, 0}}));

  EXPECT_FALSE(press('z', kControl)) << "a shortcut's";
  EXPECT_FALSE(press('!'));
  EXPECT_TRUE(keys.Down({0, kKeyPageUp, {}}));
  EXPECT_TRUE(keys.Down({0, kKeyPageDown, CButtonState(kShift)}));
  press('z');
  press('S', kShift);
  EXPECT_EQ(take(), (Messages{{0x90, 60, 84}, {0x90, 61, 127}}));
  keys.AllOff();
  EXPECT_EQ(take(), (Messages{{0x80, 60, 0}, {0x80, 61, 0}}));
}

}  // namespace
}  // namespace halveron
