// The window under a hand that knows nothing: whatever it does, the rack holds together.
#include <gtest/gtest.h>

#include <random>

#include "tests/support/window_rig.h"

namespace halveron {
namespace {

using testing::WindowRig;

class AnyHand {
 public:
  explicit AnyHand(unsigned seed) : random_(seed) {}

  void DoSomething() {
    const int modifiers = Dice(4) == 0 ? kControl : Dice(6) == 0 ? kShift : 0;
    switch (Dice(18)) {
      case 0:
      case 1:
        rig.Press(Anywhere(), kLButton | modifiers | (Dice(6) == 0 ? kDoubleClick : 0));
        break;
      case 2:
      case 3:
        rig.Release(Anywhere(), kLButton | modifiers);
        break;
      case 4:
        rig.frame.onWheel(Anywhere(), static_cast<float>(Dice(7) - 3), CButtonState(modifiers));
        break;
      case 5:
        rig.Key(kKeyEscape);
        break;
      case 6:
        rig.frame.advanceTime(0.1);
        break;
      case 7:
        rig.DrawDirty();
        break;
      case 8:
        ChangeRack();
        break;
      case 11:
        // The module browser.
        if (rig.editor.ModuleCount() >= 20) break;
        if (Dice(2)) {
          rig.Press(Anywhere(), kLButton | kDoubleClick);
        } else {
          rig.Key(Dice(3) ? kKeyDown : kKeyReturn);
        }
        break;
      case 12:
        // Selections; copies follow the mouse.
        rig.Shortcut(U"acvd"[Dice(rig.editor.ModuleCount() < 20 ? 4 : 2)]);
        break;
      case 13:
        if (Dice(4) == 0) rig.Key(kKeyDelete);
        break;
      case 9:
        rig.Shortcut('h');
        break;
      case 14:
        UseKeys();
        break;
      case 10:
        rig.Press(Anywhere(), kRButton);
        if (rig.window.OpenMenu()) rig.Key(kKeyEscape);
        break;
      default:
        rig.Move(Anywhere(), Dice(2) ? kLButton | modifiers : 0);
    }
  }

  WindowRig rig;

 private:
  /// Presets, dialogs and what else takes keys.
  void UseKeys() {
    switch (Dice(8)) {
      case 6:
        return rig.Shortcut(U',');
      case 7:
        // The load of each module, or its list.
        return Dice(2) ? rig.Shortcut(U'L', kControl | kShift) : rig.Shortcut(U'l');
      case 0:
        return rig.Shortcut(U'p');
      case 1:
        // Rarely, for it ends what the others have built.
        if (Dice(8) == 0) rig.Shortcut(U'n');
        return;
      case 2:
        return rig.Shortcut(U's');
      case 3:
        return rig.Key(kKeyDown);
      case 4:
        return rig.Type("a");
      default:
        return rig.editor.Idle();
    }
  }

  int Dice(int sides) { return std::uniform_int_distribution<int>(0, sides - 1)(random_); }

  CPoint Anywhere() {
    const std::vector<Module*>& modules = rig.editor.modules[0];
    if (!modules.empty() && Dice(3) > 0) {
      // On a jack or a knob, rather than between them.
      const Module& module = *modules[static_cast<std::size_t>(Dice(rig.editor.ModuleCount()))];
      return rig.Middle(*module.getView(Dice(module.getNbViews())));
    }
    const CRect view = rig.window.Geometry().ViewRect();
    return CPoint(view.left + Dice(static_cast<int>(view.getWidth())),
                  view.top - 20 + Dice(static_cast<int>(view.getHeight()) + 40));
  }

  void ChangeRack() {
    constexpr const char* kNames[] = {
        "S310 VCO",          "S404 VCA",         "SA03 MIDI/Sync From DAW",
        "SD02 MIDI-CV/Sync", "S102 Unity Mixer", "SD05 MIDI Poly Chainer"};
    const int what = Dice(8);
    if (what < 4 && rig.editor.ModuleCount() < 20) {
      rig.editor.commands.InsertModule(kNames[Dice(6)], kBuiltInVendor);
    } else if (what == 4 && rig.editor.ModuleCount() > 0) {
      rig.editor.commands.DeleteModule(
          *rig.editor.modules[0][static_cast<std::size_t>(Dice(rig.editor.ModuleCount()))]);
    } else if (what == 5) {
      rig.editor.commands.AddRow();
    } else if (what == 6) {
      rig.editor.commands.RemoveRow();
    } else {
      rig.editor.voices.ApplyVoiceCount(1 + Dice(4));
    }
  }

  std::mt19937 random_;
};

void ExpectWhole(AnyHand& hand) {
  SynEditor& editor = hand.rig.editor;
  const RackGeometry& geometry = hand.rig.window.Geometry();
  EXPECT_EQ(hand.rig.window.Rack().getNbViews(), editor.ModuleCount());
  int visible = 0;
  for (const Cable* cable = editor.cables.cableList.head; cable; cable = cable->next) {
    if (cable->voiceTag == 0) ++visible;
  }
  EXPECT_EQ(visible, editor.cables.visibleCableCount);
  for (const Module* module : editor.modules[0]) {
    if (module->place.isDragged) continue;
    const CRect& place = module->getViewSize();
    EXPECT_GE(place.left, 0) << module->GetName();
    EXPECT_GE(place.top, 0) << module->GetName();
    EXPECT_LE(place.right, geometry.rackWidth) << module->GetName();
    EXPECT_TRUE(ModuleGrid::IsFree(place, hand.rig.window.Rack().PlacesWithout(*module)) ||
                hand.rig.window.IsInserting() || hand.rig.frame.getMouseDownView())
        << module->GetName() << " stands on another";
  }
}

TEST(AnyMouse, LeavesTheRackWhole) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    SCOPED_TRACE(seed);
    AnyHand hand(seed);
    for (int step = 0; step < 2000 && !::testing::Test::HasFailure(); ++step) {
      SCOPED_TRACE(step);
      hand.DoSomething();
      ExpectWhole(hand);
    }
  }
}

}  // namespace
}  // namespace halveron
