#include "app/check_library.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <ostream>
#include <vector>

#include "app/run_command.h"
#include "editor/external_modules.h"
#include "editor/module_catalogue.h"
#include "engine/halveron.h"
#include "framework/module.h"
#include "gui/draw_context.h"
#include "platform/file_error.h"
#include "platform/profile_file.h"
#include "presets/module_roles.h"

namespace halveron {

namespace {

constexpr int kFrames = 256;
/// Modules in a category: "=", which would be the key of the next, can be none.
constexpr int kMostNumbers = 12;

/// A fault: what it is about, and what it is.
using Report = std::function<void(const std::string& place, const std::string& cause)>;

/// Keys that the .ini announces and lacks, or has and does not announce.
void CheckIni(const ModuleLibrary& library, const Report& report) {
  const std::string path =
      std::filesystem::path(library.dll_path).replace_extension(".ini").string();
  const platform::ProfileFile ini(path);
  for (int i = 0; i < kCategoryCount; ++i) {
    const auto category = static_cast<Category>(i);
    const std::string folder = NamesOf(category).folder;
    const auto text = ini.Find(folder, "number_of_modules");
    if (!text) {
      if (ini.Find(folder, "M1")) report(path, "[" + folder + "] has no number_of_modules");
      continue;
    }
    const int announced = ini.GetInt(folder, "number_of_modules", -1);
    if (announced < 0) {
      report(path, "[" + folder + "] number_of_modules is '" + *text + "', no count");
      continue;
    }
    const auto found =
        std::count_if(library.modules.begin(), library.modules.end(),
                      [&](const ModuleEntry& entry) { return entry.category == category; });
    const std::string next{'M', static_cast<char>('1' + std::min(announced, kMostNumbers))};
    if (announced < kMostNumbers && ini.Find(folder, next)) {
      std::string cause = "[" + folder + "] announces " + std::to_string(announced);
      report(path, cause.append(" modules, but has the key ").append(next));
    }
    if (found == announced) continue;
    report(path, "[" + folder + "] announces " + std::to_string(announced) + " modules and has " +
                     std::to_string(found) + " names, by the keys M1, M2 and so on");
  }
}

/// One module in a rack of its own.
class Trial {
 public:
  Trial(Halveron& engine, Module& module, const Report& report)
      : engine_(engine), module_(module), name_(module.GetName()), report_(report) {}

  void Run() {
    engine_.Editor()->SetModuleAlwaysOn(&module_, true);
    CheckSound("with its defaults");
    for (const auto& [control, index, isLamp] : SettableControls(module_)) {
      if (isLamp) continue;
      for (const float end : {control->getMin(), control->getMax(), control->getDefaultValue()}) {
        control->setValue(end);
        control->valueChanged();
        CheckSound(std::string("with '") + control->role + "' at " + std::to_string(end));
      }
    }
    for (const float rate : {8000.0f, 192000.0f, 48000.0f}) {
      engine_.setSampleRate(rate);
      CheckSound("at " + std::to_string(static_cast<int>(rate)) + " Hz");
    }
    CheckData();
    COffscreenContext picture(std::max(1, static_cast<int>(module_.getWidth())),
                              std::max(1, static_cast<int>(module_.getHeight())));
    module_.drawRect(&picture, module_.getViewSize());
  }

 private:
  void CheckSound(const std::string& when) {
    if (hasBrokenSound_) return;
    for (const float level : {0.0f, 1.0f, -1.0f}) {
      for (PatchPoint* point : module_.Points()) {
        if (point->type == kInputPoint && !point->twoState) point->in = level;
      }
      engine_.processReplacing(nullptr, nullptr, kFrames);
      for (const PatchPoint* point : module_.Points()) {
        if (point->type != kOutputPoint || point->twoState || std::isfinite(point->out)) continue;
        hasBrokenSound_ = true;
        report_(name_, std::string("the output '") + point->role + "' is no finite number " + when);
        return;
      }
    }
  }

  void CheckData() {
    const std::vector<std::byte> before = Saved();
    module_.LoadPreset(before.data(), static_cast<int>(before.size()), module_.GetVersion());
    if (Saved() != before) report_(name_, "saves other data after it has loaded its own");
    // Data that ends early, and data of somebody else.
    const auto values = static_cast<std::size_t>(module_.GetControlValuesSize());
    if (before.size() <= values) return;
    module_.LoadPreset(before.data(), static_cast<int>(values + 1), module_.GetVersion());
    std::vector<std::byte> noise = before;
    for (std::size_t i = values; i < noise.size(); ++i) {
      noise[i] = static_cast<std::byte>(i * 167 + 13);
    }
    module_.LoadPreset(noise.data(), static_cast<int>(noise.size()), module_.GetVersion());
    CheckSound("after it has loaded broken data");
    module_.LoadPreset(before.data(), static_cast<int>(before.size()), module_.GetVersion());
    if (Saved() != before) report_(name_, "does not come back from broken data by loading its own");
  }

  std::vector<std::byte> Saved() {
    std::vector<std::byte> data(static_cast<std::size_t>(module_.GetPresetSize()));
    module_.SavePreset(data.data(), static_cast<int>(data.size()));
    return data;
  }

  Halveron& engine_;
  Module& module_;
  const std::string name_;
  const Report& report_;
  bool hasBrokenSound_ = false;
};

void CheckModule(ExternalModules& modules, ModuleEntry& entry, Halveron& engine,
                 const Report& report) {
  for (const std::string& problem : entry.problems) report(entry.name, problem);
  if (FindInCatalogue(entry.name, entry.library->vendor)) {
    report(entry.name, "a built-in module has this name and vendor");
  }
  if (modules.Find(entry.name, entry.library->vendor) != &entry) {
    report(entry.name, "is listed twice");
  }
  if (!entry.create) return;
  ModuleFailure failure = ModuleFailure::kNone;
  SynEditor& rack = *engine.Editor();
  Module* module = modules.LoadExternalModule(entry, nullptr, rack.hostTable, 0, failure);
  if (!module) {
    report(entry.name, "create gives no instance");
    return;
  }
  rack.AdoptModule(module);
  Trial(engine, *module, report).Run();
  rack.RemoveModule(module, true);
}

}  // namespace

int CheckLibrary(const std::string& path, std::ostream& out) {
  std::error_code error;
  const std::string whole = std::filesystem::absolute(path, error).string();
  if (!std::filesystem::is_regular_file(whole, error)) {
    throw platform::FileError(path, "", "is no file", "name a library (.so)");
  }
  int faults = 0;
  const Report report = [&](const std::string& place, const std::string& cause) {
    out << place << ": " << cause << "\n";
    ++faults;
  };
  ExternalModules modules;  // outlives the engine, whose modules are of its libraries
  std::string problem;
  ModuleLibrary* library = modules.AddLibrary(whole, &problem);
  if (!library) {
    out << problem << "\n";
    return kExitMisuse;
  }
  CheckIni(*library, report);
  if (library->modules.empty()) return kExitMisuse;
  Halveron engine(nullptr, HostKind::kVst2);
  engine.open();
  engine.setBlockSize(kFrames);
  modules.Prepare(library->modules.front());
  if (!library->failure.empty()) report(path, library->failure);
  for (ModuleEntry& entry : library->modules) {
    const int before = faults;
    if (library->handle) CheckModule(modules, entry, engine, report);
    if (library->handle && faults == before) {
      out << entry.name << " (" << library->vendor << "): in order\n";
    }
  }
  engine.close();
  if (faults > 0) out << faults << (faults == 1 ? " fault\n" : " faults\n");
  return faults == 0 ? kExitDone : kExitMisuse;
}

}  // namespace halveron
