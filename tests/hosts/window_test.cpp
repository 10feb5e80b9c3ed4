// The plug-in's files in windows of hosts, opened and closed repeatedly.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <utility>

#include "tests/hosts/clap_host.h"
#include "tests/hosts/plugin_file.h"
#include "tests/hosts/racks.h"
#include "tests/hosts/vst2_host.h"
#include "tests/support/display/test_display.h"
#include "tests/support/window_map.h"

namespace halveron::testing {
namespace {

constexpr int kTimes = 100;

TEST(PluginWindow, OpensInAVst2HostsWindow) {
  HALVERON_NEEDS_DISPLAY(display);
  platform::SharedLibrary library(kVst2File);
  Vst2Host host(library.FindFunction<Vst2Entry>("VSTPluginMain"));
  EXPECT_TRUE(host.effect->flags & effFlagsHasEditor);
  ERect* rect = nullptr;
  host.Call(effEditGetRect, 0, 0, &rect);
  ASSERT_NE(rect, nullptr);
  EXPECT_GT(rect->right, 400);
  const auto window = display->MakeWindow(0, 0, rect->right, rect->bottom);
  for (int i = 0; i < kTimes; ++i) {
    ASSERT_EQ(host.Call(effEditOpen, 0, 0, reinterpret_cast<void*>(window)), 1);
    host.Call(effEditIdle);
    const auto children = display->ChildrenOf(window);
    ASSERT_EQ(children.size(), 1u);
    int width = 0;
    int height = 0;
    ASSERT_TRUE(display->GetGeometry(children[0], nullptr, nullptr, &width, &height));
    EXPECT_EQ(width, rect->right);
    EXPECT_EQ(height, rect->bottom);
    host.Call(effEditClose);
    EXPECT_TRUE(display->ChildrenOf(window).empty());
  }
  host.Call(effEditOpen, 0, 0, reinterpret_cast<void*>(window));
  display->DestroyWindow(window);  // a host that never closes the editor
}

TEST(PluginWindow, OpensInAClapHostsWindow) {
  HALVERON_NEEDS_DISPLAY(display);
  ClapFile file;
  ClapHost host(file.Factory());
  const auto* gui = host.Ask<clap_plugin_gui_t>("clap.gui");
  const auto* timer = host.Ask<clap_plugin_timer_support_t>("clap.timer-support");
  ASSERT_TRUE(gui && timer);
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  ASSERT_TRUE(gui->create(host.plugin, "x11", false));
  ASSERT_TRUE(gui->get_size(host.plugin, &width, &height));
  const auto id = display->MakeWindow(0, 0, static_cast<int>(width), static_cast<int>(height));
  clap_window_t window{"x11", {}};
  window.x11 = id;
  ASSERT_TRUE(gui->set_parent(host.plugin, &window));
  for (int i = 0; i < kTimes; ++i) {
    ASSERT_TRUE(gui->show(host.plugin));
    ASSERT_EQ(host.timers.size(), 1u) << "the window lives by the host's timer";
    timer->on_timer(host.plugin, host.timers[0]);
    EXPECT_EQ(display->ChildrenOf(id).size(), 1u);
    ASSERT_TRUE(gui->hide(host.plugin));
    EXPECT_TRUE(display->ChildrenOf(id).empty());
    EXPECT_TRUE(host.timers.empty());
  }
  gui->destroy(host.plugin);
  display->DestroyWindow(id);
}

/// A CLAP host with the editor in a window of its own, sized as the editor asks.
class EditorInHost : public ::testing::Test {
 protected:
  static constexpr std::uint32_t kFrames = 512;
  static constexpr int kCorner = 40;

  void Open(const char* patch) {
    ASSERT_TRUE(host.Load(StateOf(patch)));
    host.Activate(48000, kFrames);
    gui = host.Ask<clap_plugin_gui_t>("clap.gui");
    timer = host.Ask<clap_plugin_timer_support_t>("clap.timer-support");
    ASSERT_TRUE(gui->create(host.plugin, "x11", false));
    ASSERT_TRUE(gui->get_size(host.plugin, &width, &height));
    outer =
        display->MakeWindow(kCorner, kCorner, static_cast<int>(width), static_cast<int>(height));
    clap_window_t window{"x11", {}};
    window.x11 = outer;
    ASSERT_TRUE(gui->set_parent(host.plugin, &window));
    ASSERT_TRUE(gui->show(host.plugin));
    display->SetFocus(outer);
    editor = display->ChildrenOf(outer).at(0);
    ASSERT_TRUE(Until([&] { return display->PixelAt(editor, 0, 0) != 0; }));
  }
  void TearDown() override {
    if (!gui) return;
    gui->destroy(host.plugin);
    display->DestroyWindow(outer);
  }
  bool Until(const std::function<bool()>& done) {
    const auto run = [this] {
      host.Process(kFrames, std::exchange(events, {}));
      timer->on_timer(host.plugin, host.timers.at(0));
    };
    return TestDisplay::PumpUntil(run, done);
  }
  /// Until the editor has got all that was sent.
  void Settle() {
    const std::uint32_t mark = display->MarkPixel(editor);
    EXPECT_TRUE(Until([&] { return display->PixelAt(editor, 0, 0) != mark; }));
  }
  void Click(const CPoint& where, int button) {
    display->Click(kCorner + static_cast<int>(where.x), kCorner + static_cast<int>(where.y),
                   button);
    Settle();
  }

  ClapFile file;
  ClapHost host{file.Factory()};
  TestDisplay* display = nullptr;
  const clap_plugin_gui_t* gui = nullptr;
  const clap_plugin_timer_support_t* timer = nullptr;
  TestDisplay::WindowId outer = 0, editor = 0;
  std::uint32_t width = 0, height = 0;
  std::vector<ClapEvent> events;  // for the next block
};

TEST_F(EditorInHost, LearnsAControllerThatMovesItsKnobAndParameter) {
  HALVERON_NEEDS_DISPLAY(found);
  display = found;
  constexpr const char* kFilter = R"({"halveron": 1, "rows": 2, "modules": [
    {"id": "vcf", "name": "S201 VCF", "row": 0, "column": 10, "parameters": {"Cutoff": 17}}]})";
  Open(kFilter);
  const CPoint knob = WindowMap(kFilter).At("S201.Cutoff");
  Click(knob, 3);
  display->TypeText("midi learn");
  display->TypeKey("Return");
  Settle();
  const std::vector<std::byte> unbound = host.Save();
  events = {ClapEvent::Midi(0, 0xB0, 74, 64)};
  EXPECT_TRUE(Until([&] { return host.Save().size() > unbound.size(); }))
      << "it stays with the rack";
  host.taken.clear();
  events = {ClapEvent::Midi(0, 0xB0, 74, 127)};
  const auto isMoved = [](const ClapEvent& event) {
    if (event.Header().type != CLAP_EVENT_PARAM_VALUE) return false;
    const auto& value = event.As<clap_event_param_value_t>();
    return value.param_id == 17 && value.value == 1.0;
  };
  EXPECT_TRUE(Until([&] { return std::any_of(host.taken.begin(), host.taken.end(), isMoved); }));
}

TEST_F(EditorInHost, TakesItsShortcutsUnderThePointerAndLeavesOtherKeysToTheHost) {
  HALVERON_NEEDS_DISPLAY(found);
  display = found;
  constexpr const char* kFilter = R"({"halveron": 1, "rows": 2, "modules": [
    {"id": "vcf", "name": "S201 VCF", "row": 0, "column": 10}]})";
  Open(kFilter);
  const std::vector<std::byte> full = host.Save();
  const auto reachHost = [&](const char* chord) {
    display->TakeKeys(outer);
    display->TypeChord(chord);
    Settle();
    return !display->TakeKeys(outer).empty();
  };
  const int inside = kCorner + static_cast<int>(height) / 2;
  display->MoveMouse(inside, inside);
  Settle();
  for (const char* key : {"space", "z", "Return", "Delete", "Left", "Ctrl+s", "Ctrl+Shift+s"}) {
    EXPECT_TRUE(reachHost(key)) << key;
  }
  for (const char* key : {"Ctrl+z", "Ctrl+y", "Ctrl+h", "Ctrl+h", "Ctrl+plus", "Ctrl+0"}) {
    EXPECT_FALSE(reachHost(key)) << key;
  }
  display->TypeKey("Num_Lock");
  EXPECT_FALSE(reachHost("Ctrl+z")) << "with Num Lock on";
  display->TypeKey("Num_Lock");

  // A selection has the keyboard, until it goes.
  EXPECT_FALSE(reachHost("Ctrl+a"));
  EXPECT_EQ(display->FocusedWindow(), editor);
  EXPECT_FALSE(reachHost("Delete"));
  EXPECT_TRUE(Until([&] { return host.Save().size() < full.size(); }));
  EXPECT_FALSE(reachHost("Ctrl+z"));
  EXPECT_TRUE(Until([&] { return host.Save() == full; }));
  EXPECT_TRUE(Until([&] { return display->FocusedWindow() == outer; }));
  // So has a module that is walked to.
  EXPECT_FALSE(reachHost("Tab"));
  EXPECT_FALSE(reachHost("Right"));
  EXPECT_FALSE(reachHost("Escape"));
  EXPECT_TRUE(Until([&] { return display->FocusedWindow() == outer; }));
  EXPECT_TRUE(reachHost("space"));

  display->MoveMouse(2, 2);
  for (const char* key : {"Ctrl+a", "Ctrl+z", "Tab", "F1"}) {
    EXPECT_TRUE(reachHost(key)) << key << " beside the window";
  }
  EXPECT_EQ(host.Save(), full);
}

TEST_F(EditorInHost, FollowsTheHostsSizeAndOpensTheLoadsMenu) {
  HALVERON_NEEDS_DISPLAY(found);
  display = found;
  constexpr const char* kRack = R"({"halveron": 1, "rows": 2})";
  Open(kRack);
  EXPECT_TRUE(gui->can_resize(host.plugin));
  std::uint32_t wider = width * 3 / 2, higher = height + 200;
  ASSERT_TRUE(gui->adjust_size(host.plugin, &wider, &higher));
  EXPECT_NEAR(wider, width * 1.5, 1);
  ASSERT_TRUE(gui->set_size(host.plugin, wider, higher));
  const auto hasSize = [&](std::uint32_t w, std::uint32_t h) {
    int x = 0, y = 0;
    return display->GetGeometry(editor, nullptr, nullptr, &x, &y) && x == static_cast<int>(w) &&
           y == static_cast<int>(h);
  };
  EXPECT_TRUE(Until([&] { return hasSize(wider, higher); }));
  ASSERT_TRUE(gui->set_size(host.plugin, width, height));
  EXPECT_TRUE(Until([&] { return hasSize(width, height); }));
  const CPoint load = WindowMap(kRack).At("load");
  const auto below = [&] {
    return display->PixelsOf(editor, static_cast<int>(load.x) - 30, static_cast<int>(load.y) + 40,
                             60, 20);
  };
  Settle();
  const auto rack = below();
  Click(load, 1);
  EXPECT_TRUE(Until([&] { return below() != rack; })) << "the menu is up";
  display->TypeKey("Escape");
  EXPECT_TRUE(Until([&] { return below() == rack; }));
}

}  // namespace
}  // namespace halveron::testing
