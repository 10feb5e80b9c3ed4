// How libraries are found, loaded, refused and unloaded.
#include "tests/external/libraries.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <string_view>

#include "editor/module_picker.h"
#include "framework/panel_metrics.h"
#include "platform/shared_library.h"
#include "tests/support/window_rig.h"

namespace halveron::testing {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> PathsOf(const ExternalModules& modules, const std::string& root) {
  std::vector<std::string> paths;
  for (const ModuleLibrary& library : modules.Libraries()) {
    paths.push_back(library.dll_path.substr(root.size()));
  }
  return paths;
}

int CounterOf(const std::string& path, const char* name) {
  const platform::SharedLibrary library(path);
  return *library.FindObject<int>(name);
}

bool IsLoaded(const std::string& path) {
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle) dlclose(handle);
  return handle != nullptr;
}

TEST(ModuleLibraries, AreFoundByTheirIniFilesAloneThoseOfSubfoldersFirst) {
  const LibraryFolder folder;
  const std::string good = Ini("Filter", {"A"});
  // None of these is a library that could be loaded.
  for (const char* name : {"outer", "b/inner", "b/c/innermost", "a/other", ".hidden/secret"}) {
    folder.AddText(std::string(name) + ".so", "");
    folder.AddText(std::string(name) + ".ini", good);
  }
  folder.AddText("alone.so", "");
  folder.AddText("lone.ini", good);
  folder.AddText("nobody.so", "");
  folder.AddText("nobody.ini", "[Configuration]\nVendor=\n[Filter]\nnumber_of_modules=1\nM1=A\n");
  folder.AddText("empty.so", "");
  folder.AddText("empty.ini", "[Configuration]\nVendor=V\n[Filter]\nM1=A\n");
  folder.AddText("binary.so", "");
  folder.AddText("binary.ini", std::string("\0\xFF\x01[[[", 6));
  for (const char* link : {"a/first", "a/second"}) {
    std::filesystem::create_directory_symlink(folder.Path(), folder.Path() + link);
  }
  ExternalModules modules;
  modules.ScanModuleLibraries(folder.Path());
  EXPECT_EQ(PathsOf(modules, folder.Path()),
            (std::vector<std::string>{"a/other.so", "b/c/innermost.so", "b/inner.so", "outer.so"}));
}

TEST(ModuleLibraries, ListTheModulesWhoseKeysAreThere) {
  const LibraryFolder folder;
  folder.AddText("some.so", "");
  folder.AddText("some.ini",
                 "[Configuration]\nVendor=Some One\n"
                 "[Other]\nnumber_of_modules=1\nM1=Last\n"
                 "[MixerPanner]\nnumber_of_modules=3\nM1=First\nM3=Third\n"
                 "[Filter]\nnumber_of_modules=11\nM:=Tenth\nM;=Eleventh\n"
                 "[Logic]\nnumber_of_modules=1\nM1=Nowhere\n"
                 "[MIDI]\nnumber_of_modules=-1\nM1=Nowhere\n");
  folder.AddText("wide.so", "");
  folder.AddText("wide.ini",
                 "[Configuration]\nVendor=W\n[Filter]\nnumber_of_modules=2000000000\n"
                 "M1=" +
                     std::string(2000, 'x') + "\n");
  ExternalModules modules;
  modules.ScanModuleLibraries(folder.Path());
  ASSERT_EQ(modules.Libraries().size(), 2u);
  const ModuleLibrary& some = modules.Libraries()[0];
  EXPECT_EQ(some.vendor, "Some One");
  std::vector<std::tuple<std::string, Category, int>> found;
  for (const ModuleEntry& entry : some.modules) {
    found.emplace_back(entry.name, entry.category, entry.number);
    EXPECT_EQ(entry.library, &some);
  }
  EXPECT_EQ(found, (std::vector<std::tuple<std::string, Category, int>>{
                       {"First", Category::kMixerPanner, 1},
                       {"Third", Category::kMixerPanner, 3},
                       {"Tenth", Category::kFilter, 10},
                       {"Eleventh", Category::kFilter, 11},
                       {"Last", Category::kOther, 1}}));
  ASSERT_EQ(modules.Libraries()[1].modules.size(), 1u);
  EXPECT_EQ(modules.Libraries()[1].modules[0].name.size(), 519u) << "what a preset can hold";
  EXPECT_EQ(modules.Find("First", "Some One"), &some.modules[0]);
  EXPECT_EQ(modules.Find("First", "some one"), nullptr);
  EXPECT_EQ(modules.Find("first", "Some One"), nullptr);
}

TEST(ModuleLibraries, LoadAtTheFirstModuleAndAskForEachOnce) {
  const LibraryFolder folder;
  const std::string path = folder.Add("in_order", Ini("Amplifier", {"One", "Two", "Later"}));
  {
    TestRack rack;
    rack.editor.externalModules.ScanModuleLibraries(folder.Path());
    EXPECT_FALSE(IsLoaded(path));
    AddExternal(rack, "One", kTestVendor);
    AddExternal(rack, "Two", kTestVendor);
    EXPECT_EQ(CounterOf(path, "test_initialized"), 1);
    EXPECT_EQ(CounterOf(path, "test_asked"), 3);
    EXPECT_EQ(CounterOf(path, "test_instances"), 2);
    EXPECT_EQ(CounterOf(path, "test_row_height"), panelHeight);
    // The version after ours.
    EXPECT_EQ(rack.editor.AddModule("Later", kTestVendor), nullptr);
    EXPECT_EQ(rack.editor.LastModuleFailure(), ModuleFailure::kNeedsLaterVersion);
    EXPECT_EQ(rack.editor.ModuleCount(), 2);
    // The rack is deleted with modules in it, and then the library goes.
  }
  EXPECT_FALSE(IsLoaded(path));
}

TEST(ModuleLibraries, BreakTheRulesAndAreRefused) {
  const LibraryFolder folder;
  for (const char* name : {"no_initialize", "no_get_module", "null_create", "wild_pointers",
                           "endless_counts", "in_order"}) {
    folder.Add(name, Ini("Amplifier", {std::string("A ") + name, "Unknown"}));
  }
  folder.AddText("text.so", "this is no library");
  folder.AddText("text.ini", Ini("Amplifier", {"A text"}));
  TestRack rack;
  rack.editor.externalModules.ScanModuleLibraries(folder.Path());
  fs::remove(folder.Path() + "in_order.so");
  for (const char* name :
       {"A no_initialize", "A no_get_module", "A null_create", "A wild_pointers",
        "A endless_counts", "A text", "A in_order", "Unknown", "Never heard of"}) {
    for (int attempt = 0; attempt < 2; ++attempt) {
      EXPECT_EQ(rack.editor.AddModule(name, kTestVendor), nullptr) << name;
      EXPECT_EQ(rack.editor.LastModuleFailure(), ModuleFailure::kUnavailable) << name;
    }
  }
  EXPECT_EQ(rack.editor.ModuleCount(), 0);
  EXPECT_EQ(rack.editor.parameters.highestParameterIndex, -1);
  // What has come back since is found by the next attempt.
  folder.Add("in_order", Ini("Amplifier", {"A in_order"}));
  EXPECT_NE(rack.editor.AddModule("A in_order", kTestVendor), nullptr);
}

TEST(ModuleLibraries, StandInTheMenusBehindTheBuiltInModulesAndFailWithADialog) {
  const LibraryFolder folder;
  folder.Add("in_order", Ini("LogicBit", {"Good", "Later"}));
  folder.Add("null_create", Ini("LogicBit", {"Bad"}));
  WindowRig rig;
  rig.editor.externalModules.ScanModuleLibraries(folder.Path());
  const auto open = [&] { rig.Click(rig.Middle(*rig.window.Bar().moduleMenu)); };
  const auto picker = MakeModulePicker(rig.editor);
  int place = 0;
  while (std::string_view(picker->TitleAt(place)) != "Logic/Bit") ++place;
  const SynOptionMenu* logic = picker->SubmenuAt(place);
  std::vector<std::string> titles;
  for (int i = 0; i < logic->getNbEntries(); ++i) titles.emplace_back(logic->TitleAt(i));
  EXPECT_EQ(titles, (std::vector<std::string>{"SC03 Logic Tools", "Good", "Later", "Bad"}));

  open();
  rig.Choose({"Logic/Bit", "Good"});
  ASSERT_EQ(rig.editor.ModuleCount(), 1);
  EXPECT_STREQ(rig.editor.modules[0][0]->GetVendorName(), kTestVendor);
  EXPECT_TRUE(rig.window.IsInserting());
  rig.Key(kKeyEscape);

  const DialogRequest& dialog = rig.window.Dialog().Request();
  const std::pair<const char*, const char*> failures[] = {
      {"Later", "Module requires a later version of Halveron!!"},
      {"Bad", "Module failed to load properly or was not found!"}};
  for (const auto& [name, text] : failures) {
    open();
    rig.Choose({"Logic/Bit", name});
    EXPECT_TRUE(rig.window.Dialog().IsShown());
    EXPECT_EQ(dialog.title, "Module failed");
    EXPECT_EQ(dialog.text, text);
    EXPECT_EQ(dialog.width, 400);
    rig.Key(kKeyReturn);
    EXPECT_EQ(rig.editor.ModuleCount(), 0);
  }
}

TEST(ModuleLibraries, OfTwoVendorsMayShareAName) {
  const LibraryFolder folder;
  folder.Add("in_order", Ini("Amplifier", {"S404 VCA"}));
  TestRack rack;
  rack.editor.externalModules.ScanModuleLibraries(folder.Path());
  EXPECT_STREQ(AddExternal(rack, "S404 VCA", kTestVendor).GetVendorName(), kTestVendor);
  EXPECT_STREQ(rack.Add("S404 VCA").GetVendorName(), kBuiltInVendor);
}

TEST(ModuleLibraries, LoadAndUnloadAThousandTimes) {
  const LibraryFolder folder;
  const std::string path = folder.Add("in_order", Ini("Amplifier", {"One"}));
  const auto cycle = [&] {
    TestRack rack;
    rack.editor.externalModules.AddLibrary(path);
    rack.editor.externalModules.AddLibrary(SdkLibrary("examples/filter"));
    AddExternal(rack, "One", kTestVendor);
    AddExternal(rack, "Example Filter", kExamplesVendor);
    rack.RunBlock(16);
  };
  constexpr int kWarmUp = 20, kCycles = 1000;
  for (int i = 0; i < kWarmUp; ++i) cycle();
  const auto before = mallinfo2().uordblks;
  for (int i = 0; i < kCycles; ++i) cycle();
  EXPECT_FALSE(IsLoaded(path));
  EXPECT_FALSE(IsLoaded(SdkLibrary("examples/filter")));
  EXPECT_LE(static_cast<long>(mallinfo2().uordblks - before), 16384);
}

}  // namespace
}  // namespace halveron::testing
