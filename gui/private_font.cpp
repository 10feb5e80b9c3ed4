#include "gui/private_font.h"

#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>
#include <pango/pangofc-fontmap.h>

#include <memory>

namespace halveron {

std::string LoadFontFile(const std::string& path) {
  const auto* file = reinterpret_cast<const FcChar8*>(path.c_str());
  int count = 0;
  const std::unique_ptr<FcPattern, decltype(&FcPatternDestroy)> pattern(
      FcFreeTypeQuery(file, 0, nullptr, &count), &FcPatternDestroy);
  FcChar8* family = nullptr;
  if (!pattern || FcPatternGetString(pattern.get(), FC_FAMILY, 0, &family) != FcResultMatch ||
      !FcConfigAppFontAddFile(nullptr, file)) {
    return {};
  }
  PangoFontMap* map = pango_cairo_font_map_get_default();
  if (PANGO_IS_FC_FONT_MAP(map)) pango_fc_font_map_config_changed(PANGO_FC_FONT_MAP(map));
  return reinterpret_cast<const char*>(family);
}

}  // namespace halveron
