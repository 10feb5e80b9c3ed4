#include "app/screenshot_command.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <ostream>
#include <thread>

#include "app/module_description.h"
#include "app/offline_host.h"
#include "app/patch_file.h"
#include "app/run_command.h"
#include "dsp/random.h"
#include "editor/rack_window.h"
#include "framework/shared_bitmaps.h"
#include "gui/draw_context.h"
#include "platform/file_error.h"
#include "platform/library_path.h"
#include "presets/nearest_name.h"

namespace halveron {

using platform::FileError;
using platform::UserError;

namespace {

constexpr std::uint32_t kSeed = 20;  // of the jacks' and the cables' looks

/// Loads a skin beside the program for the whole process.
void WearSkin(const std::string& skin, const std::string& size) {
  const std::string program = platform::LibraryPath();
  const std::string folder =
      DataFolders{program.substr(0, program.find_last_of('/') + 1), ""}.Skins();
  const std::vector<SkinEntry> skins = ListSkins(folder);
  if (skins.empty()) throw FileError(folder, "", "holds no skins", "build the target skins");
  std::vector<std::string> names;
  for (const SkinEntry& entry : skins) names.push_back(entry.name);
  const auto chosen = std::find(names.begin(), names.end(), skin);
  if (chosen == names.end()) {
    throw UserError("", "screenshot", "no skin " + Quoted(skin), DidYouMean(skin, names));
  }
  const std::vector<std::string>& sizes =
      skins[static_cast<std::size_t>(chosen - names.begin())].sizes;
  if (std::find(sizes.begin(), sizes.end(), size) == sizes.end()) {
    throw UserError("", "screenshot", "no size " + Quoted(size) + " of skin " + Quoted(skin),
                    DidYouMean(size, sizes));
  }
  skinPath = folder + skin + "/" + size + "/";
  skinFallbackPath = skinPath;
}

void OpenMenu(TopBar& bar, const std::string& menu) {
  if (menu == "modules") bar.moduleMenu->onPress(*bar.moduleMenu);
  if (menu == "main") bar.mainMenu->onPress(*bar.mainMenu);
  if (menu == "presets") bar.Screen().onPress();
}

void Write(const COffscreenContext& picture, const std::string& path, std::ostream& out) {
  std::string cause;
  if (!picture.writePng(path, &cause)) {
    throw FileError(path, "", "cannot be written: " + cause);
  }
  out << path << ": " << picture.getWidth() << " by " << picture.getHeight() << " pixels\n";
}

/// Waits for the pictures that the zoom needs, and draws with them.
void DrawSharp(SynFrame& frame, COffscreenContext& picture) {
  constexpr auto kPause = std::chrono::milliseconds(2);
  const auto images = SharpImages::Shared();
  if (images->IsIdle()) return;
  while (!images->IsIdle()) {
    frame.idle();
    std::this_thread::sleep_for(kPause);
  }
  frame.idle();
  frame.draw(&picture);
}

int ScreenshotModule(const ScreenshotOptions& options, std::ostream& out) {
  WearSkin(options.skin, options.size);
  OfflineHost host({});
  const ListedModule listed = FindModule(host.Rack(), options.module, "screenshot");
  dsp::SeedRandom(kSeed);
  host.Rack().PrepareModule(listed.name, listed.vendor);
  Module* module = host.Rack().AddModule(listed.name, listed.vendor);
  if (!module) {
    throw FileError("screenshot", "", "the module " + Quoted(listed.name) + " cannot be made",
                    listed.library.empty() ? "take another one"
                                           : "see halveron modules --check " + listed.library);
  }
  COffscreenContext picture(static_cast<int>(module->getWidth()),
                            static_cast<int>(module->getHeight()));
  module->drawRect(&picture, module->getViewSize());
  Write(picture, options.output, out);
  return kExitDone;
}

}  // namespace

int Screenshot(const ScreenshotOptions& options, std::ostream& out, std::ostream& err) {
  if (!options.module.empty()) return ScreenshotModule(options, out);
  RequirePatchExtension(options.patch);
  WearSkin(options.skin, options.size);
  OfflineHost host({});
  dsp::SeedRandom(kSeed);
  SynEditor& rack = host.Rack();
  LoadPatchFile(options.patch, rack, err, options.placeholders);
  rack.options.viewableRows.Set(options.rows > 0 ? options.rows : rack.rows);
  rack.presetPath = std::filesystem::path(options.patch).stem().string();
  rack.options.zoom.Set(options.zoom);
  RackWindow& window = rack.OpenViews();
  rack.UpdatePresetDisplay(false);
  OpenMenu(window.Bar(), options.menu);
  SynFrame& frame = window.Frame();
  COffscreenContext picture(static_cast<int>(frame.getWidth()), static_cast<int>(frame.getHeight()),
                            frame.getZoom());
  frame.draw(&picture);
  DrawSharp(frame, picture);
  Write(picture, options.output, out);
  rack.CloseWindow();
  return kExitDone;
}

}  // namespace halveron
