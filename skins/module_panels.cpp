#include "skins/module_panels.h"

#include <cairo.h>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include "editor/external_panel.h"
#include "editor/sharp_images.h"
#include "framework/module.h"
#include "skins/panel_painter.h"
#include "skins/rack_images.h"
#include "skins/shared_images.h"

namespace halveron::skins {

namespace {

const Theme& ThemeOf(const std::string& skin) {
  for (const Theme& theme : Themes()) {
    if (skin == theme.name) return theme;
  }
  return Themes().front();
}

/// The head of a panel has a first word and more; a name of one word gets its maker's before it.
std::string HeadOf(const Module& module) {
  std::string name = module.GetName();
  if (name.find(' ') != std::string::npos) return name;
  const std::string vendor = module.GetVendorName();
  return vendor.substr(0, vendor.find(' ')) + " " + name;
}

SharedPointer<CBitmap> PictureOf(const Canvas& canvas) {
  cairo_surface_t* painted = cairo_get_target(canvas.Cairo());
  cairo_surface_set_device_scale(painted, 1, 1);
  auto picture = SharedPointer<CBitmap>::Adopt(
      new CBitmap(cairo_image_surface_get_width(painted), cairo_image_surface_get_height(painted)));
  cairo_t* cairo = cairo_create(picture->getSurface());
  cairo_set_source_surface(cairo, painted, 0, 0);
  cairo_paint(cairo);
  cairo_destroy(cairo);
  return picture;
}

PicturePainter Painter(PanelPlan plan, const Theme& theme) {
  return [plan = std::make_shared<const PanelPlan>(std::move(plan)), &theme](double pixelScale) {
    const CanvasScale scaled(pixelScale);
    return PictureOf(PaintPanel(*plan, theme));
  };
}

PicturePainter PlanExternal(const Module& module, Category category, const std::string& skin) {
  const std::string head = HeadOf(module);
  const CatalogueEntry entry{category, head.c_str(), "", "", "", nullptr, nullptr, nullptr};
  return Painter(PlanPanel(module, entry), ThemeOf(skin));
}

/// "Night" for a file ".../Skins/Night/Large/x.png"; null if the program paints no such skin.
const Theme* PaintedTheme(const std::filesystem::path& file) {
  const std::string skin = file.parent_path().parent_path().filename().string();
  for (const Theme& theme : Themes()) {
    if (skin == theme.name) return &theme;
  }
  return nullptr;
}

PictureJob JobFor(const std::string& path, const Module* module, double scale) {
  const std::filesystem::path file(path);
  const Theme* theme = PaintedTheme(file);
  if (!theme) return {};
  if (module) {
    const CatalogueEntry* entry = FindInCatalogue(module->GetName(), module->GetVendorName());
    if (!entry) return {};
    return [paint = Painter(PlanPanel(*module, *entry), *theme), scale] { return paint(scale); };
  }
  for (const auto& images : {SharedImages(*theme), RackImages(*theme)}) {
    for (const ImageJob& image : images) {
      if (image.file != file.filename()) continue;
      return [paint = image.paint, scale] {
        const CanvasScale scaled(scale);
        return PictureOf(paint());
      };
    }
  }
  return {};
}

}  // namespace

void PaintModulePanels() {
  UsePanelPlanner(&PlanExternal);
  UsePictureJobs(&JobFor);
}

}  // namespace halveron::skins
