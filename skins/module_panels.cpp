#include "skins/module_panels.h"

#include <cairo.h>

#include <string>

#include "editor/external_panel.h"
#include "framework/module.h"
#include "skins/panel_painter.h"

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

SharedPointer<CBitmap> Paint(const Module& module, Category category, const std::string& skin) {
  const std::string head = HeadOf(module);
  const CatalogueEntry entry{category, head.c_str(), "", nullptr, nullptr, nullptr};
  const Canvas canvas = PaintPanel(PlanPanel(module, entry), ThemeOf(skin));
  auto picture = SharedPointer<CBitmap>::Adopt(new CBitmap(canvas.Width(), canvas.Height()));
  cairo_t* cairo = cairo_create(picture->getSurface());
  cairo_set_source_surface(cairo, cairo_get_target(canvas.Cairo()), 0, 0);
  cairo_paint(cairo);
  cairo_destroy(cairo);
  return picture;
}

}  // namespace

void PaintModulePanels() { UsePanelPainter(&Paint); }

}  // namespace halveron::skins
