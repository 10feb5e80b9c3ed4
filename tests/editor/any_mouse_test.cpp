// The window under a hand that knows nothing: whatever it does, the rack holds together.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <sstream>
#include <string_view>

#include "editor/midi_learning.h"
#include "tests/support/fake_sound.h"
#include "tests/support/user_rig.h"
#include "tests/support/window_rig.h"

namespace halveron {
namespace {

using testing::FakeSound;
using testing::UserRig;
using testing::WindowHand;

class AnyHand {
 public:
  explicit AnyHand(unsigned seed) : random_(seed) {
    LeaveARack();
    instance_ = user_.Start();
    instance_->BecomeProgram();
    Editor().sound = &sound_;
    Editor().manual.open = [](const std::string&) { return std::string(); };
    OpenWindow();
  }

  void DoSomething() {
    const int modifiers = Dice(4) == 0 ? kControl : Dice(6) == 0 ? kShift : 0;
    switch (Dice(20)) {
      case 0:
      case 1:
        return Rig().Press(Anywhere(), kLButton | modifiers | (Dice(6) == 0 ? kDoubleClick : 0));
      case 2:
      case 3:
        return Rig().Release(Anywhere(), kLButton | modifiers);
      case 4:
        Rig().frame.onWheel(Anywhere(), static_cast<float>(Dice(7) - 3), CButtonState(modifiers));
        return;
      case 5:
        return Rig().Key(kKeyEscape);
      case 6:
        return instance_->Pass(Dice(10) == 0 ? 20 : 0.1);
      case 7:
        return Rig().DrawDirty();
      case 8:
        return ChangeRack();
      case 9:
        return UseShortcut();
      case 10:
        // Not for longer than for a few more steps, or nothing else gets its turn.
        if (Dice(3)) return Rig().Press(Anywhere(), kRButton);
        return Rig().Key(kKeyEscape);
      case 11:
      case 12:
        return UseKey();
      case 13:
        return UseModal();
      case 14:
        return ChangeWindow();
      default:
        Rig().Move(Anywhere(), Dice(2) ? kLButton | modifiers : 0);
    }
  }

  WindowHand& Rig() { return *hand_; }
  SynEditor& Editor() { return instance_->Editor(); }

 private:
  static constexpr int kMostModules = 20;

  /// What a crash would have left, so that the window asks about it.
  void LeaveARack() const {
    const auto crashed = user_.Start();
    crashed->Change();
    crashed->Editor().autosave.LeaveForNextStart();
  }

  void OpenWindow() {
    hand_ = std::make_unique<WindowHand>(Editor());
    if (Dice(2)) Editor().recovery.Offer();
  }

  void UseShortcut() {
    constexpr std::u32string_view kLetters = U"nsopbmlhzyacdvf0+-zyz,ll";
    const char32_t letter = kLetters[static_cast<std::size_t>(Dice(int{kLetters.size()}))];
    // Rarely, for it ends what the others have built; and copies only while there is room.
    if ((letter == U'n' || letter == U'o') && Dice(8)) return;
    if ((letter == U'v' || letter == U'd') && IsFull()) return;
    Rig().Shortcut(letter, Dice(6) == 0 ? kControl | kShift : kControl);
  }

  /// Walks the rack, menus, lists and dialogs, and types.
  void UseKey() {
    constexpr CVirtualKey kKeys[] = {kKeyTab,    kKeyDown,     kKeyUp,   kKeyLeft, kKeyRight,
                                     kKeyReturn, kKeyPageDown, kKeyHome, kKeyF2,   kKeyF10,
                                     kKeyF1,     kKeyBack,     kKeyEnd,  kKeyDown, kKeyRight};
    constexpr const char* kTexts[] = {"440 Hz", "-3 dB", "C#4",   "50 %", "a",   "b c", "+",
                                      "-",      "sdcr",  "noise", "1",    "x/y", "=",   ""};
    if (Dice(3) == 0) return Rig().Type(kTexts[Dice(int{std::size(kTexts)})]);
    if (Dice(10) == 0) return Rig().Key(kKeyDelete);
    const CVirtualKey key = kKeys[Dice(int{std::size(kKeys)})];
    if (key == kKeyReturn && IsFull() && Rig().window.Browser().isVisible()) return;
    Rig().Key(key, Dice(5) == 0 ? kShift : 0);
  }

  /// A click on one of the views of what is up: a browser, a dialog, a menu.
  void UseModal() {
    CView* modal = Rig().frame.getModalView();
    if (!modal) return;
    if (IsFull() && Rig().window.Browser().isVisible()) return Rig().Key(kKeyEscape);
    CRect place = modal->getViewSize();
    if (auto* views = dynamic_cast<CViewContainer*>(modal); views && views->getNbViews() > 0) {
      place = views->getView(Dice(views->getNbViews()))->getViewSize();
      place.offset(modal->getViewSize().getTopLeft());
    }
    Rig().Click(place.getTopLeft() + CPoint(Dice(static_cast<int>(place.getWidth()) + 1),
                                            Dice(static_cast<int>(place.getHeight()) + 1)));
  }

  void ChangeWindow() {
    switch (Dice(12)) {
      case 0:
        hand_.reset();
        Editor().CloseWindow();
        return OpenWindow();
      case 1:
        return Editor().SetWindowSize(CPoint(300 + Dice(2500), 200 + Dice(1500)));
      case 2:
        return Learn();
      default:
        return Editor().Idle();
    }
  }

  /// A controller for a knob, as if it had come.
  void Learn() {
    if (Editor().ModuleCount() == 0) return;
    Module& module = AnyModule();
    auto* knob = dynamic_cast<ModuleKnob*>(module.getView(Dice(module.getNbViews())));
    if (knob) Rig().window.BeginLearning(*knob);
  }

  int Dice(int sides) { return std::uniform_int_distribution<int>(0, sides - 1)(random_); }
  bool IsFull() { return Editor().ModuleCount() >= kMostModules; }
  Module& AnyModule() {
    return *Editor().modules[0][static_cast<std::size_t>(Dice(Editor().ModuleCount()))];
  }

  CPoint Anywhere() {
    if (Editor().ModuleCount() > 0 && Dice(3) > 0) {
      // On a jack or a knob, rather than between them.
      const Module& module = AnyModule();
      return Rig().Middle(*module.getView(Dice(module.getNbViews())));
    }
    const CRect view = Rig().window.Geometry().ViewRect();
    if (Dice(8) == 0) {
      // The bar, the strips and beyond.
      return CPoint(Dice(static_cast<int>(view.right) + 40),
                    Dice(static_cast<int>(view.bottom) + 9));
    }
    return CPoint(view.left + Dice(static_cast<int>(view.getWidth())),
                  view.top - 20 + Dice(static_cast<int>(view.getHeight()) + 40));
  }

  void ChangeRack() {
    constexpr const char* kNames[] = {
        "S310 VCO",          "S404 VCA",         "SA03 MIDI/Sync From DAW",
        "SD02 MIDI-CV/Sync", "S102 Unity Mixer", "SD05 MIDI Poly Chainer"};
    const int what = Dice(8);
    if (what < 4 && !IsFull()) {
      Editor().commands.InsertModule(kNames[Dice(6)], kBuiltInVendor);
    } else if (what == 4 && Editor().ModuleCount() > 0) {
      Editor().commands.DeleteModule(AnyModule());
    } else if (what == 5) {
      Editor().commands.AddRow();
    } else if (what == 6) {
      Editor().commands.RemoveRow();
    } else {
      Editor().voices.ApplyVoiceCount(1 + Dice(4));
    }
  }

  std::mt19937 random_;
  const UserRig user_;
  FakeSound sound_;
  std::unique_ptr<UserRig::Instance> instance_;
  std::unique_ptr<WindowHand> hand_;
};

void ExpectWhole(AnyHand& hand) {
  SynEditor& editor = hand.Editor();
  const RackGeometry& geometry = hand.Rig().window.Geometry();
  EXPECT_EQ(hand.Rig().window.Rack().getNbViews(), editor.ModuleCount());
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
    EXPECT_TRUE(ModuleGrid::IsFree(place, hand.Rig().window.Rack().PlacesWithout(*module)) ||
                hand.Rig().window.IsInserting() || hand.Rig().frame.getMouseDownView())
        << module->GetName() << " stands on another";
  }
}

TEST(AnyMouse, LeavesTheRackWhole) {
  // More than the usual ones: HALVERON_SEEDS="5 400", the first and the last.
  unsigned first = 1, last = 4;
  if (const char* seeds = std::getenv("HALVERON_SEEDS")) std::istringstream(seeds) >> first >> last;
  for (unsigned seed = first; seed <= last; ++seed) {
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
