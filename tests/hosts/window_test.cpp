// The plug-in's files in windows of hosts, opened and closed repeatedly.
#include <gtest/gtest.h>

#include "tests/hosts/clap_host.h"
#include "tests/hosts/plugin_file.h"
#include "tests/hosts/vst2_host.h"
#include "tests/support/display/test_display.h"

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

}  // namespace
}  // namespace halveron::testing
