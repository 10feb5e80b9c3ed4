#include "gui/private_font.h"

#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>
#include <pango/pangofc-fontmap.h>

#include <memory>

namespace halveron {

namespace {

/// The font library is the whole process's and outlives a plug-in that is unloaded and loaded
/// again, and would take the same file any number of times.
bool IsLoaded(const FcChar8* file) {
  const FcFontSet* fonts = FcConfigGetFonts(nullptr, FcSetApplication);
  for (int i = 0; fonts && i < fonts->nfont; ++i) {
    FcChar8* loaded = nullptr;
    if (FcPatternGetString(fonts->fonts[i], FC_FILE, 0, &loaded) == FcResultMatch &&
        FcStrCmp(loaded, file) == 0) {
      return true;
    }
  }
  return false;
}

}  // namespace

std::string LoadFontFile(const std::string& path) {
  const auto* file = reinterpret_cast<const FcChar8*>(path.c_str());
  int count = 0;
  const std::unique_ptr<FcPattern, decltype(&FcPatternDestroy)> pattern(
      FcFreeTypeQuery(file, 0, nullptr, &count), &FcPatternDestroy);
  FcChar8* family = nullptr;
  if (!pattern || FcPatternGetString(pattern.get(), FC_FAMILY, 0, &family) != FcResultMatch)
    return {};
  std::string name = reinterpret_cast<const char*>(family);
  if (IsLoaded(file)) return name;
  if (!FcConfigAppFontAddFile(nullptr, file)) return {};
  PangoFontMap* map = pango_cairo_font_map_get_default();
  if (PANGO_IS_FC_FONT_MAP(map)) pango_fc_font_map_config_changed(PANGO_FC_FONT_MAP(map));
  return name;
}

}  // namespace halveron
