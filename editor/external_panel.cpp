#include "editor/external_panel.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <filesystem>

#include "editor/skin.h"
#include "framework/module.h"
#include "framework/shared_bitmaps.h"
#include "gui/draw_context.h"
#include "gui/scaled_bitmap.h"

namespace halveron {

namespace {

std::atomic<PanelPlanner> planner{nullptr};
std::atomic<unsigned> pictures{0};

/// "Night" for a skin in ".../Skins/Night/Large/".
std::string SkinName() {
  return std::filesystem::path(skinPath).parent_path().parent_path().filename().string();
}

PicturePainter ScaleFile(const std::string& file, const CPoint& size) {
  return [file, size](double pixelScale) {
    const auto pixels = [pixelScale](CCoord units) {
      return std::max(static_cast<int>(std::lround(units * pixelScale)), 1);
    };
    return MakeScaledBitmap(file, pixels(size.x), pixels(size.y));
  };
}

/// Empty if nothing paints such a panel.
PicturePainter PainterFor(const Module& module, const ExternalModuleType& type) {
  if (!type.picture.empty()) {
    const std::string library = type.libraryPath.substr(0, type.libraryPath.find_last_of('/') + 1);
    for (const std::string& folder : {skinPath, skinFallbackPath, library}) {
      if (folder.empty()) continue;
      const auto own = SharedPointer<CBitmap>::Adopt(new CBitmap(folder + type.picture));
      if (own->load()) {
        return ScaleFile(own->getPath(), CPoint(module.getWidth(), module.getHeight()));
      }
    }
  }
  const PanelPlanner plan = planner;
  return plan ? plan(module, type.category, SkinName()) : PicturePainter();
}

}  // namespace

void UsePanelPlanner(PanelPlanner newPlanner) { planner = newPlanner; }

void ExternalPanel::FollowSkin(const Module& module, const ExternalModuleType& type) {
  if (skinGeneration_ == SkinGeneration()) return;
  skinGeneration_ = SkinGeneration();
  name_ = "panel " + std::to_string(pictures.fetch_add(1)) + " of " + type.libraryPath;
  paint_ = PainterFor(module, type);
  picture_ = paint_ ? paint_(1) : SharedPointer<CBitmap>();
}

bool ExternalPanel::Draw(CDrawContext& context, const Module& module,
                         const ExternalModuleType& type) {
  FollowSkin(module, type);
  if (!picture_) return false;
  const CPoint size(module.getWidth(), module.getHeight());
  const CRect place = CRect::FromSize({}, size.x, size.y);
  const double scale = context.getPixelScale();
  const auto images = scale == 1 ? nullptr : SharpImages::Existing();
  CBitmap* sharp = images ? images->Find(name_, paint_, scale) : nullptr;
  if (!sharp) {
    picture_->draw(context, place);
    return true;
  }
  const CPoint density(sharp->getWidth() / size.x, sharp->getHeight() / size.y);
  context.drawDensePixels(sharp->getSurface(), density, place, {}, 1);
  return true;
}

}  // namespace halveron
