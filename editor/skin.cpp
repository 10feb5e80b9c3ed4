#include "editor/skin.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <system_error>
#include <utility>

#include "framework/panel_metrics.h"
#include "framework/shared_bitmaps.h"
#include "gui/private_font.h"
#include "platform/profile_file.h"

namespace halveron {

namespace {

namespace fs = std::filesystem;

constexpr const char* kFallbackSkin = "Classic";

/// Names of the folders in a folder, sorted.
std::vector<std::string> FoldersIn(const fs::path& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    std::error_code unknown;
    std::string name = at->path().filename().string();
    if (!name.starts_with('.') && at->is_directory(unknown)) names.push_back(std::move(name));
  }
  std::sort(names.begin(), names.end());
  return names;
}

/// Size of one of a skin's images, 0 if it is in neither folder.
CPoint SizeOf(const std::string& path, const std::string& fallback, const char* image) {
  const auto bitmap = SharedPointer<CBitmap>::Adopt(new CBitmap(path, fallback, image));
  return CPoint(bitmap->getWidth(), bitmap->getHeight());
}

int RowHeightIn(const std::string& path, const std::string& fallback) {
  return static_cast<int>(SizeOf(path, fallback, "sidebar_s_L.png").y);
}

template <class Range, class Name>
int IndexOf(const Range& entries, const std::string& wanted, Name&& nameOf) {
  if (entries.empty()) return -1;
  const auto found = std::find_if(entries.begin(), entries.end(),
                                  [&](const auto& entry) { return nameOf(entry) == wanted; });
  return found == entries.end() ? 0 : static_cast<int>(found - entries.begin());
}

}  // namespace

std::vector<SkinEntry> ListSkins(const std::string& skinsFolder) {
  std::vector<SkinEntry> entries;
  if (skinsFolder.empty()) return entries;
  for (std::string& name : FoldersIn(skinsFolder)) {
    const std::string folder = skinsFolder + name + "/";
    std::vector<std::pair<int, std::string>> sizes;
    for (std::string& size : FoldersIn(folder)) {
      const int height = RowHeightIn(folder + size, folder + size);
      sizes.emplace_back(height > 0 ? height : std::numeric_limits<int>::max(), std::move(size));
    }
    std::sort(sizes.begin(), sizes.end());
    SkinEntry& entry = entries.emplace_back(SkinEntry{std::move(name), {}});
    for (auto& [height, size] : sizes) entry.sizes.push_back(std::move(size));
  }
  return entries;
}

SkinChoice::SkinChoice(const DataFolders& folders, const Options& options)
    : entries_(ListSkins(folders.Skins())) {
  chosen_ =
      IndexOf(entries_, options.skin.Get(), [](const SkinEntry& entry) { return entry.name; });
  if (chosen_ >= 0) {
    const std::vector<std::string>& sizes = entries_[static_cast<std::size_t>(chosen_)].sizes;
    chosenSize_ = IndexOf(sizes, options.skinSize.Get(), [](const std::string& s) { return s; });
  }
  if (!skinPath.empty()) {
    path_ = skinPath;
    fallbackPath_ = skinFallbackPath;
  } else if (chosenSize_ >= 0) {
    const SkinEntry& entry = entries_[static_cast<std::size_t>(chosen_)];
    const std::string& size = entry.sizes[static_cast<std::size_t>(chosenSize_)];
    path_ = folders.Skins() + entry.name + "/" + size + "/";
    fallbackPath_ = folders.Skins() + kFallbackSkin + "/" + size + "/";
  }
}

namespace {

struct Worn {
  std::string path;
  double density = 1;
  unsigned generation = 0;
};

Worn worn;

bool LiesIn(const std::string& file, const std::string& folder) {
  return !folder.empty() && fs::path(file).parent_path() == fs::path(folder).parent_path();
}

}  // namespace

bool WearSkin(const DataFolders& folders, const std::string& name, const std::string& size) {
  const std::string path = folders.Skins() + name + "/" + size + "/";
  const std::string fallbackPath = folders.Skins() + kFallbackSkin + "/" + size + "/";
  CBitmap::setFileDensity(1);
  const int height = RowHeightIn(path, fallbackPath);
  if (height <= 0) {
    CBitmap::setFileDensity(SkinDensity());
    return false;
  }
  const std::string before = skinPath;
  const std::string fallbackBefore = skinFallbackPath;
  skinPath = path;
  skinFallbackPath = fallbackPath;
  digitColor = ReadDigitColor(path, fallbackPath);
  CBitmap::forEachFile([&](CBitmap& image) {
    if (LiesIn(image.getPath(), before) || LiesIn(image.getPath(), fallbackBefore)) {
      image.moveTo(path, fallbackPath);
    }
  });
  worn = {path, static_cast<double>(height) / panelHeight, worn.generation + 1};
  CBitmap::setFileDensity(worn.density);
  return true;
}

void TakeOffSkin() {
  worn.path.clear();
  CBitmap::setFileDensity(1);
}

unsigned SkinGeneration() { return worn.generation; }

double SkinDensity() { return !skinPath.empty() && worn.path == skinPath ? worn.density : 1; }

int SkinChoice::RowHeight() const { return path_.empty() ? 0 : RowHeightIn(path_, fallbackPath_); }

namespace {

constexpr const char* kPresetMenu = "Preset Menu";
constexpr double kMostPercent = 1000;  // beyond this, no element is on any screen

/// Style bits as skins have them.
constexpr int kSkinBold = 1;
constexpr int kSkinItalic = 2;
constexpr int kSkinUnderline = 4;

std::string ConfigIn(const std::string& path) {
  return path.empty() ? path : path + "skin_config.ini";
}

int FaceOf(int skinStyle) {
  return ((skinStyle & kSkinBold) ? kBoldFace : 0) | ((skinStyle & kSkinItalic) ? kItalicFace : 0) |
         ((skinStyle & kSkinUnderline) ? kUnderlineFace : 0);
}

int Channel(const platform::ProfileFile& file, const char* section, const char* key, int fallback) {
  return std::clamp(file.GetInt(section, key, fallback), 0, 255);
}

SkinConfig::Shifts ReadShifts(const platform::ProfileFile& file, const std::string& path,
                              const std::string& fallback) {
  const CPoint bar = SizeOf(path, fallback, "topbar.png");
  const double height = bar.y + SizeOf(path, fallback, "sidebar_L.png").y;
  const auto pixels = [&](const std::string& key, double whole) {
    const double percent = file.GetNumber("XY_Alter", key, 0);
    return std::trunc(std::clamp(percent, -kMostPercent, kMostPercent) * whole * 0.01);
  };
  const auto shift = [&](const std::string& element, const char* x = "_x", const char* y = "_y") {
    return CPoint(pixels(element + x, bar.x), pixels(element + y, height));
  };
  return {.title = shift("title"),
          .addRow = shift("add_row"),
          .removeRow = shift("rem_row"),
          .moduleMenu = shift("modulemenu"),
          .mainMenu = shift("main_menu"),
          .presetFrame = shift("preset_frame"),
          .presetScreen = shift("preset_screen"),
          .presetText = shift("preset_text"),
          .presetTextSize = shift("preset_text", "_width", "_height"),
          .presetPrevious = shift("preset_L"),
          .presetNext = shift("preset_R")};
}

SkinConfig::PresetText ReadPresetText(const platform::ProfileFile& file, const std::string& path,
                                      const std::string& fallback) {
  const int asked = file.GetInt(kPresetMenu, "font_size", -1);
  const double size = asked == -1 ? SizeOf(path, fallback, "preset_screen.png").y * 0.3
                                  : static_cast<double>(RowHeightIn(path, fallback)) * asked /
                                        kReferencePanelHeight;
  std::string family = file.GetText(kPresetMenu, "font", "");
  const int style = file.GetInt(kPresetMenu, "font_style", family.empty() ? kSkinBold : 0);
  if (!family.empty()) {
    const fs::path skinFolder = fs::path(path).parent_path().parent_path();
    const std::string loaded = LoadFontFile((skinFolder / family).string());
    if (!loaded.empty()) family = loaded;
  }
  return {SharedPointer<CFontDesc>::Adopt(
              new CFontDesc(family.c_str(), std::trunc(size), FaceOf(style))),
          CColor(Channel(file, kPresetMenu, "font_red", 255),
                 Channel(file, kPresetMenu, "font_green", 255),
                 Channel(file, kPresetMenu, "font_blue", 255),
                 Channel(file, kPresetMenu, "font_alpha", 140)),
          Channel(file, kPresetMenu, "font_shadow_alpha", 140)};
}

}  // namespace

SkinConfig::SkinConfig(const std::string& path, const std::string& fallbackPath) {
  const platform::ProfileFile file(ConfigIn(path));
  shifts = ReadShifts(file, path, fallbackPath);
  presetText = ReadPresetText(file, path, fallbackPath);
}

CColor ReadDigitColor(const std::string& path, const std::string& fallbackPath) {
  const platform::ProfileFile file(ConfigIn(path));
  const platform::ProfileFile fallback(ConfigIn(fallbackPath));
  const auto channel = [&](const char* key, int standard) {
    return Channel(file, "Other", key, Channel(fallback, "Other", key, standard));
  };
  return CColor(channel("digit_red", 245), channel("digit_green", 132), channel("digit_blue", 0),
                channel("digit_alpha", 255));
}

}  // namespace halveron
