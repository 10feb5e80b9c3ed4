#include "gui/private_font.h"

#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>
#include <pango/pangofc-fontmap.h>

#include <map>
#include <memory>
#include <mutex>

namespace halveron {

namespace {

std::string AddFontFile(const std::string& path) {
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

}  // namespace

std::string LoadFontFile(const std::string& path) {
  // A window loads its font each time that it opens, and the font library would add it each time.
  static std::mutex lock;
  static std::map<std::string, std::string> families;
  const std::lock_guard guard(lock);
  const auto known = families.find(path);
  if (known != families.end()) return known->second;
  std::string family = AddFontFile(path);
  if (!family.empty()) families[path] = family;
  return family;
}

}  // namespace halveron

namespace {

std::string AddFontFile(const std::string& path) {
  // A font that is added again is one more font, and has all text laid out anew.
  static std::mutex mutex;
  static std::map<std::string, std::string> families;
  const std::lock_guard lock(mutex);
  const auto known = families.find(path);
  if (known != families.end()) return known->second;
  std::string family = AddFontFile(path);
  if (!family.empty()) families.emplace(path, family);
  return family;
}

}  // namespace
