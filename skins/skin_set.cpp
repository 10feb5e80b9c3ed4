#include "skins/skin_set.h"

#include <fontconfig/fontconfig.h>

#include <atomic>
#include <exception>
#include <filesystem>
#include <memory>
#include <span>
#include <thread>
#include <utility>
#include <vector>

#include "engine/halveron.h"
#include "framework/module.h"
#include "framework/shared_bitmaps.h"
#include "platform/file_error.h"
#include "platform/whole_file.h"
#include "skins/panel_painter.h"
#include "skins/rack_images.h"

namespace halveron::skins {

namespace {

namespace fs = std::filesystem;

/// The file of the captions' bold face, empty if the machine lacks it.
fs::path FontFile() {
  const std::unique_ptr<FcPattern, decltype(&FcPatternDestroy)> wanted(
      FcNameParse(reinterpret_cast<const FcChar8*>("Roboto Condensed:bold")), &FcPatternDestroy);
  FcConfigSubstitute(nullptr, wanted.get(), FcMatchPattern);
  FcDefaultSubstitute(wanted.get());
  FcResult result = FcResultNoMatch;
  const std::unique_ptr<FcPattern, decltype(&FcPatternDestroy)> found(
      FcFontMatch(nullptr, wanted.get(), &result), &FcPatternDestroy);
  FcChar8* family = nullptr;
  FcChar8* file = nullptr;
  if (!found || FcPatternGetString(found.get(), FC_FAMILY, 0, &family) != FcResultMatch ||
      FcPatternGetString(found.get(), FC_FILE, 0, &file) != FcResultMatch ||
      std::string(reinterpret_cast<const char*>(family)) != "Roboto Condensed") {
    return {};
  }
  return reinterpret_cast<const char*>(file);
}

void MakeFolder(const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) throw platform::FileError(folder.string(), "", "cannot be made: " + error.message());
}

/// Runs all jobs, as many at once as there are cores, and throws what the first to fail threw.
void RunAll(const std::vector<std::pair<fs::path, std::function<Canvas()>>>& jobs) {
  std::atomic<std::size_t> next{0};
  std::vector<std::exception_ptr> failures(std::max(1u, std::thread::hardware_concurrency()));
  {
    std::vector<std::jthread> workers;
    for (std::exception_ptr& failure : failures) {
      workers.emplace_back([&] {
        try {
          for (std::size_t i = next++; i < jobs.size(); i = next++) {
            jobs[i].second().Write(jobs[i].first.string());
          }
        } catch (...) {
          failure = std::current_exception();
        }
      });
    }
  }
  for (const std::exception_ptr& failure : failures) {
    if (failure) std::rethrow_exception(failure);
  }
}

}  // namespace

void ForEachPanel(
    int rowHeight,
    const std::function<void(const CatalogueEntry&, const std::string& file, PanelPlan)>& take) {
  Halveron engine(nullptr, HostKind::kVst2);
  engine.open();
  // A skin that is there already, of whatever size, has no say in the next.
  ForgetSharedBitmaps();
  SetPanelMetrics(rowHeight);
  for (const CatalogueEntry& entry : ModuleCatalogue()) {
    Module* module = entry.make ? engine.Editor()->AddModule(entry.name, kBuiltInVendor) : nullptr;
    if (!module) continue;
    const fs::path image = module->getBackground()->getPath();
    take(entry, image.filename().string(), PlanPanel(*module, entry));
  }
}

void PaintSkins(const std::string& folder) {
  const fs::path font = FontFile();
  for (const Size& size : kSizes) {
    std::vector<std::pair<std::string, PanelPlan>> panels;
    ForEachPanel(size.rowHeight,
                 [&](const CatalogueEntry&, const std::string& file, PanelPlan plan) {
                   panels.emplace_back(file, std::move(plan));
                 });
    SetPanelMetrics(size.rowHeight);
    std::vector<std::pair<fs::path, std::function<Canvas()>>> jobs;
    for (const Theme& theme : Themes()) {
      const fs::path target = fs::path(folder) / theme.name / size.name;
      MakeFolder(target);
      for (const auto& [file, plan] : panels) {
        jobs.emplace_back(target / file,
                          [&theme, &plan = plan] { return PaintPanel(plan, theme); });
      }
      for (auto&& images : {SharedImages(theme), RackImages(theme)}) {
        for (const ImageJob& image : images) jobs.emplace_back(target / image.file, image.paint);
      }
      const std::string config = SkinConfigText(theme, font.filename().string());
      platform::WriteWholeFile((target / "skin_config.ini").string(),
                               std::as_bytes(std::span(config)), platform::Durability::kAtomic);
      if (!font.empty()) {
        platform::WriteWholeFile((target.parent_path() / font.filename()).string(),
                                 platform::ReadWholeFile(font.string()),
                                 platform::Durability::kAtomic);
      }
    }
    RunAll(jobs);
    ResetPanelMetrics();
  }
}

}  // namespace halveron::skins
