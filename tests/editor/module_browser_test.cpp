// The module browser: finding a module, and adding it by mouse and keys.
#include <gtest/gtest.h>

#include <chrono>
#include <set>

#include "editor/module_catalogue.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/window_rig.h"

namespace halveron {
namespace {

using testing::WindowRig;

std::vector<std::string> NamesFor(const ModuleSearch& search, const char* typed) {
  std::vector<std::string> names;
  for (const ModuleRow& row : search.Find(typed)) {
    if (!row.IsHeading()) names.push_back(row.choice.identity.first);
  }
  return names;
}

bool Holds(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

TEST(ModuleSearch, FindsByNameNumberCategoryAndSubject) {
  const ExternalModules none;
  const ModuleSearch search(none, {}, {});
  EXPECT_EQ(NamesFor(search, "s310"), std::vector<std::string>{"S310 VCO"});
  EXPECT_TRUE(NamesFor(search, "bagpipe").empty());
  for (const auto& [typed, name] : {std::pair("envelope", "S500 ADSR"),
                                    {"noise", "S303 Noise"},
                                    {"output", "SA02 2 DAW"},
                                    {"echo", "S602 VC Delay"},
                                    {"oscillator", "S310 VCO"},
                                    {"OSCILLOSCOPE", "SE15 Signal Analyzer"},
                                    {"from/to", "SA11 Audio/CV From DAW"},
                                    {"pulse sync", "S310 VCO"}}) {
    EXPECT_TRUE(Holds(NamesFor(search, typed), name)) << typed;
  }
  EXPECT_EQ(NamesFor(search, "envelope").front(), "S525 VC Envelope Generator/LFO")
      << "the word in the name comes before the one in the keywords";

  std::set<std::string> all;
  for (const std::string& name : NamesFor(search, " ")) all.insert(name);
  EXPECT_EQ(all.size(), ModuleCatalogue().size());
  for (const CatalogueEntry& entry : ModuleCatalogue()) {
    const std::string summary = entry.summary, keywords = entry.keywords;
    EXPECT_TRUE(summary.size() > 10 && summary.back() == '.') << entry.name;
    EXPECT_FALSE(keywords.empty()) << entry.name;
  }
}

TEST(ModuleSearch, PutsFavouritesAndRecentModulesFirst) {
  const ExternalModules none;
  const std::vector<ModuleIdentity> favourites = {{"S304 VCO", kBuiltInVendor}, {"Gone", "Nobody"}};
  const std::vector<ModuleIdentity> recent = {{"S404 VCA", kBuiltInVendor},
                                              {"S304 VCO", kBuiltInVendor}};
  const ModuleSearch search(none, favourites, recent);
  const std::vector<ModuleRow> rows = search.Find("");
  ASSERT_GT(rows.size(), 4u);
  EXPECT_EQ(rows[0].heading, "Favourites");
  EXPECT_EQ(rows[1].choice.identity.first, "S304 VCO");
  EXPECT_EQ(rows[2].heading, "Recent");
  EXPECT_EQ(rows[3].choice.identity.first, "S404 VCA");
  EXPECT_EQ(rows[4].heading, "Mixer/Panner");
  EXPECT_EQ(NamesFor(search, "vco").front(), "S304 VCO");
}

TEST(ModuleShelf, KeepsItsListsInTheFileOfOptions) {
  const testing::ScratchFolder folder;
  const std::string file = folder.At("Config.ini");
  ModuleShelf shelf(file);
  for (int i = 0; i < 10; ++i) shelf.NoteUse({"M" + std::to_string(i), "Me"});
  shelf.NoteUse({"M5", "Me"});
  shelf.ToggleFavourite({"A/B = C", "Me"});
  shelf.ToggleFavourite({"D", "You"});
  shelf.ToggleFavourite({"D", "You"});
  ModuleShelf other(file);
  EXPECT_EQ(other.Recent().size(), ModuleShelf::kMostRecent);
  EXPECT_EQ(other.Recent()[0].first, "M5");
  EXPECT_EQ(other.Recent()[1].first, "M9");
  EXPECT_EQ(other.Favourites(), (std::vector<ModuleIdentity>{{"A/B = C", "Me"}}));
}

class BrowserRig : public WindowRig {
 public:
  ModuleBrowser& Browser() { return window.Browser(); }
  std::string Selected() {
    const ModuleChoice* choice = Browser().List().Selected();
    return choice ? choice->identity.first : "";
  }
  const std::vector<Module*>& Modules() const { return editor.modules[0]; }
};

TEST(ModuleBrowser, ADoubleClickOnFreeRackAddsAModuleThere) {
  BrowserRig rig;
  rig.Press(rig.Cell(30, 1) + CPoint(3, 80), kLButton | kDoubleClick);
  rig.Release(rig.Cell(30, 1) + CPoint(3, 80));
  ASSERT_TRUE(rig.Browser().IsOpen());
  rig.Type("vco s310");
  EXPECT_EQ(rig.Selected(), "S310 VCO");
  rig.Key(kKeyReturn);
  EXPECT_FALSE(rig.Browser().IsOpen());
  ASSERT_EQ(rig.Modules().size(), 1u);
  EXPECT_FALSE(rig.window.IsInserting());
  const CPoint cell = rig.CellOf(*rig.Modules()[0]);
  EXPECT_EQ(cell.y, 1);
  EXPECT_NEAR(cell.x, 30, 5);
  rig.editor.history.Settle();
  EXPECT_EQ(rig.editor.history.UndoName(), "Add S310 VCO");
  rig.editor.history.Undo();
  EXPECT_TRUE(rig.Modules().empty());
}

TEST(ModuleBrowser, KeysSelectMarkAndAdd) {
  BrowserRig rig;
  rig.Key(kKeyReturn);
  ASSERT_TRUE(rig.Browser().IsOpen());
  EXPECT_EQ(rig.Selected(), "S101 Mixer");
  rig.Key(kKeyDown);
  EXPECT_EQ(rig.Selected(), "S102 Unity Mixer");
  rig.Key(kKeyPageDown);
  rig.Key(kKeyUp);
  rig.Key(kKeyPageUp);
  rig.Key(kKeyUp);
  EXPECT_EQ(rig.Selected(), "S101 Mixer");
  rig.Type("noise");
  rig.Shortcut('f');
  EXPECT_TRUE(rig.Browser().List().Selected()->isFavourite);
  EXPECT_EQ(rig.Selected(), "S303 Noise");
  // In idle time the picture is painted.
  EXPECT_FALSE(rig.Browser().HasPicture());
  rig.frame.advanceTime(0.2);
  EXPECT_TRUE(rig.Browser().HasPicture());
  rig.DrawAll();

  rig.Key(kKeyReturn);
  EXPECT_TRUE(rig.window.IsInserting()) << "it follows the mouse";
  rig.Click(rig.Cell(10, 0) + CPoint(2, 30));
  rig.Key(kKeyReturn);
  EXPECT_EQ(rig.Browser().List().Rows()[0].heading, "Favourites");
  EXPECT_EQ(rig.Selected(), "S303 Noise");
  rig.Type("zzz");
  rig.Key(kKeyReturn);
  EXPECT_TRUE(rig.Browser().IsOpen()) << "there is nothing to add";
  rig.Key(kKeyEscape);
  EXPECT_FALSE(rig.Browser().IsOpen());
  EXPECT_EQ(rig.Modules().size(), 1u);
}

TEST(ModuleBrowser, TheMouseChoosesAndAPressBesideItCloses) {
  BrowserRig rig;
  rig.Click(rig.Middle(*rig.window.Bar().moduleMenu));
  rig.Choose({"Browse..."});
  ASSERT_TRUE(rig.Browser().IsOpen());
  const ModuleList& list = rig.Browser().List();
  const auto rowPoint = [&](int row, CCoord x) {
    CPoint point = list.getViewSize().getTopLeft() + rig.Browser().getViewSize().getTopLeft();
    return point + CPoint(x, list.getRowRect(row).getCenter().y);
  };
  rig.Click(rowPoint(1, 8));
  EXPECT_EQ(list.Rows()[0].heading, "Favourites") << "the star was pressed";
  rig.Click(rowPoint(1, 60));
  ASSERT_EQ(rig.Modules().size(), 1u);
  EXPECT_STREQ(rig.Modules()[0]->GetName(), "S101 Mixer");
  rig.Key(kKeyEscape);
  EXPECT_TRUE(rig.Modules().empty());

  rig.window.OpenModuleBrowser();
  rig.Click(CPoint(3, 3));
  EXPECT_FALSE(rig.Browser().IsOpen());
}

TEST(ModuleBrowser, OpensAtOnce) {
  BrowserRig rig;
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < 10; ++i) {
    rig.window.OpenModuleBrowser();
    rig.DrawDirty();
    rig.Browser().Close();
  }
  const std::chrono::duration<double> each = (std::chrono::steady_clock::now() - begin) / 10;
  // 50 ms is the aim; builds for debugging under load take several times as long.
  EXPECT_LT(each.count(), 0.5);
}

}  // namespace
}  // namespace halveron
