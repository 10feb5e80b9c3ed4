// The load of each module over its panel, and the list of those that take most.
#include "editor/panel_loads.h"

#include <gtest/gtest.h>

#include "tests/support/window_rig.h"

namespace halveron {
namespace {

using testing::WindowRig;

TEST(PanelLoads, TagsFollowTheModulesThatRun) {
  WindowRig rig;
  Module& oscillator = rig.Add("S310 VCO", 0, 0);
  Module& mixer = rig.Add("S102 Unity Mixer", 20, 0);
  Module& idle = rig.Add("S404 VCA", 40, 0);
  for (Module* each : {&oscillator, &mixer}) rig.editor.SetModuleAlwaysOn(each, true);
  PanelLoads& loads = rig.window.Loads();
  const auto measure = [&] {
    rig.rack.Run(20000);
    rig.frame.advanceTime(PanelLoads::kPeriod);
  };
  measure();
  EXPECT_EQ(loads.TextOf(oscillator), "") << "off until asked for";
  rig.Shortcut(U'L', kControl | kShift);
  ASSERT_TRUE(loads.IsOn());
  rig.frame.advanceTime(PanelLoads::kPeriod);
  measure();
  EXPECT_NE(loads.TextOf(oscillator), "");
  EXPECT_NE(loads.TextOf(mixer), "");
  EXPECT_EQ(loads.TextOf(idle), "") << "it does not run";
  rig.DrawAll();

  // At the foot of its panel, wherever that is.
  const auto liesInPanel = [&](const Module& module) {
    const CRect panel =
        CRect(module.getViewSize()).offset(rig.window.Rack().getViewSize().getTopLeft());
    CRect tag = loads.TagOf(module);
    return !tag.isEmpty() && tag == tag.bound(panel) && tag.bottom == panel.bottom;
  };
  EXPECT_TRUE(liesInPanel(oscillator));
  rig.Place(oscillator, 10, 1);
  EXPECT_TRUE(liesInPanel(oscillator));
  rig.window.ScrollTo(1.0f);
  EXPECT_TRUE(liesInPanel(oscillator));
  EXPECT_TRUE(liesInPanel(mixer));
  // The tags leave the mouse to the rack.
  CPoint tag = loads.TagOf(oscillator).getCenter();
  rig.Press(loads.localToFrame(tag), kRButton);
  EXPECT_NE(rig.window.OpenMenu(), nullptr);
  rig.Key(kKeyEscape);

  rig.Shortcut(U'l');
  const std::vector<std::string> titles = rig.MenuTitles();
  const auto named = [](const std::string& title, const char* name) {
    return title.ends_with(name) && title.find(" %  ") != std::string::npos;
  };
  ASSERT_GE(titles.size(), 3u);
  EXPECT_TRUE(named(titles.back(), "Cables")) << titles.back();
  EXPECT_TRUE(named(titles[titles.size() - 3], "S310 VCO")) << "takes more than the mixer";
  EXPECT_TRUE(named(titles[titles.size() - 2], "S102 Unity Mixer"));
  rig.Choose({titles[titles.size() - 3].c_str()});
  EXPECT_TRUE(rig.window.Selection().Holds(oscillator)) << "the way to it";

  rig.editor.commands.DeleteModule(oscillator);
  EXPECT_TRUE(loads.TagOf(oscillator).isEmpty());
  rig.DrawAll();
  rig.Shortcut(U'L', kControl | kShift);
  EXPECT_FALSE(rig.editor.moduleLoads.IsOn());
  EXPECT_EQ(loads.TextOf(mixer), "");
  rig.Shortcut(U'L', kControl | kShift);
  rig.editor.CloseWindow();
  EXPECT_FALSE(rig.editor.moduleLoads.IsOn()) << "nobody reads it";
}

TEST(PanelLoads, TextHasTwoPlacesWhereTheyMatter) {
  EXPECT_EQ(LoadInPercent(0), "0.00 %");
  EXPECT_EQ(LoadInPercent(0.0084f), "0.84 %");
  EXPECT_EQ(LoadInPercent(0.123f), "12.3 %");
}

}  // namespace
}  // namespace halveron
