#include "editor/external_panel.h"

#include <atomic>
#include <filesystem>

#include "framework/module.h"
#include "framework/shared_bitmaps.h"
#include "gui/scaled_bitmap.h"

namespace halveron {

namespace {

std::atomic<PanelPainter> painter{nullptr};

/// "Night" for a skin in ".../Skins/Night/Large/".
std::string SkinName() {
  return std::filesystem::path(skinPath).parent_path().parent_path().filename().string();
}

}  // namespace

void UsePanelPainter(PanelPainter newPainter) { painter = newPainter; }

SharedPointer<CBitmap> MakePanelPicture(const Module& module, const ExternalModuleType& type) {
  const auto width = static_cast<int>(module.getWidth());
  const auto height = static_cast<int>(module.getHeight());
  if (!type.picture.empty()) {
    const std::string library = type.libraryPath.substr(0, type.libraryPath.find_last_of('/') + 1);
    for (const std::string& folder : {skinPath, skinFallbackPath, library}) {
      if (folder.empty()) continue;
      const auto own = SharedPointer<CBitmap>::Adopt(new CBitmap(folder + type.picture));
      if (auto scaled = MakeScaledBitmap(*own, width, height)) return scaled;
    }
  }
  const PanelPainter paint = painter;
  return paint ? paint(module, type.category, SkinName()) : SharedPointer<CBitmap>();
}

}  // namespace halveron
