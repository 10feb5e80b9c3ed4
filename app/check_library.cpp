#include "app/check_library.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <ostream>
#include <vector>

#include "app/check_ini.h"
#include "app/check_instances.h"
#include "app/crash_report.h"
#include "app/library_rig.h"
#include "app/run_command.h"
#include "editor/module_catalogue.h"
#include "framework/module.h"
#include "gui/draw_context.h"
#include "platform/file_error.h"
#include "platform/shared_library.h"
#include "presets/module_roles.h"

namespace halveron {

namespace {

/// One module in a rack of its own.
class Trial {
 public:
  Trial(Halveron& engine, Module& module, const CheckReport& report, CrashReport& crash)
      : engine_(engine), module_(module), name_(module.GetName()), report_(report), crash_(crash) {}

  void Run() {
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
    crash_.Begin(name_, "saves and loads its data");
    CheckData();
    crash_.Begin(name_, "is drawn");
    COffscreenContext picture(std::max(1, static_cast<int>(module_.getWidth())),
                              std::max(1, static_cast<int>(module_.getHeight())));
    module_.drawRect(&picture, module_.getViewSize());
  }

 private:
  void CheckSound(const std::string& when) {
    if (hasBrokenSound_) return;
    crash_.Begin(name_, "plays " + when);
    for (const float level : {0.0f, 1.0f, -1.0f}) {
      for (PatchPoint* point : module_.Points()) {
        if (point->type == kInputPoint && !point->twoState) point->in = level;
      }
      // Sample by sample at first: a module may give one bad value when something changes.
      for (int frame = 0; frame < kSingleFrames; ++frame) {
        if (!SoundsAfter(1, when)) return;
      }
      if (!SoundsAfter(LibraryRig::kFrames, when)) return;
    }
  }

  /// Plays a block. False, with a report, if an output ends it with no finite number.
  bool SoundsAfter(int frames, const std::string& when) {
    engine_.processReplacing(nullptr, nullptr, frames);
    for (const PatchPoint* point : module_.Points()) {
      if (point->type != kOutputPoint || point->twoState || std::isfinite(point->out)) continue;
      hasBrokenSound_ = true;
      report_(name_, std::string("the output '") + point->role + "' is no finite number " + when);
      return false;
    }
    return true;
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

  static constexpr int kSingleFrames = 256;

  Halveron& engine_;
  Module& module_;
  const std::string name_;
  const CheckReport& report_;
  CrashReport& crash_;
  bool hasBrokenSound_ = false;
};

void CheckModule(LibraryRig& rig, const ModuleEntry& entry, const CheckReport& report,
                 CrashReport& crash) {
  const std::string& vendor = entry.library->vendor;
  for (const std::string& problem : entry.problems) report(entry.name, problem);
  const bool isBuiltIn = FindInCatalogue(entry.name, vendor) != nullptr;
  const bool isFirst = rig.Rack().externalModules.Find(entry.name, vendor) == &entry;
  if (isBuiltIn) report(entry.name, "a built-in module has this name and vendor");
  if (!isFirst) report(entry.name, "is listed twice");
  if (!entry.create || isBuiltIn || !isFirst) return;
  crash.Begin(entry.name, "is created");
  Module* module = rig.Add(entry.name, vendor);
  if (!module) {
    report(entry.name, "create gives no instance");
    return;
  }
  Trial(rig.Engine(), *module, report, crash).Run();
  crash.Begin(entry.name, "is destroyed");
  rig.Rack().RemoveModule(module, true);
  crash.Begin(entry.name, "plays 16 times side by side");
  CheckInstances(entry.library->dll_path, entry.name, vendor, report);
}

/// False if the library cannot be loaded as one of modules.
bool CheckExports(const std::string& path, const CheckReport& report) {
  try {
    const platform::SharedLibrary library(path);
    bool isComplete = true;
    for (const char* name : {"DllInitialize", "GetDllModule"}) {
      if (library.FindFunction<void()>(name)) continue;
      report(path, std::string("does not export ") + name);
      isComplete = false;
    }
    return isComplete;
  } catch (const platform::FileError& error) {
    report("", error.what());
    return false;
  }
}

}  // namespace

int CheckLibrary(const std::string& path, std::ostream& out) {
  std::error_code error;
  const std::string whole = std::filesystem::absolute(path, error).string();
  if (!std::filesystem::is_regular_file(whole, error)) {
    throw platform::FileError(path, "", "is no file", "name a library (.so)");
  }
  int faults = 0;
  const CheckReport report = [&](const std::string& place, const std::string& cause) {
    // At once: the library may bring the program down.
    out << place << (place.empty() ? "" : ": ") << cause << "\n" << std::flush;
    ++faults;
  };
  CrashReport crash;
  CheckIniNames(std::filesystem::path(whole).replace_extension(".ini").string(), report);
  LibraryRig rig;
  std::string problem;
  ModuleLibrary* library = rig.Rack().externalModules.AddLibrary(whole, &problem);
  if (library) {
    CheckIniCounts(*library, report);
  } else {
    report("", problem);
  }
  const bool isComplete = CheckExports(whole, report);
  if (isComplete && library && !library->modules.empty()) {
    crash.Begin("the library", "is asked for its modules");
    rig.Rack().externalModules.Prepare(library->modules.front());
    if (!library->failure.empty()) report("", library->failure);
    for (const ModuleEntry& entry : library->modules) {
      const int before = faults;
      if (library->handle) CheckModule(rig, entry, report, crash);
      if (library->handle && faults == before) {
        out << entry.name << " (" << library->vendor << "): in order\n";
      }
    }
  }
  if (faults > 0) out << faults << (faults == 1 ? " fault\n" : " faults\n");
  return faults == 0 ? kExitDone : kExitMisuse;
}

}  // namespace halveron
