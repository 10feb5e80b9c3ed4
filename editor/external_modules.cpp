#include "editor/external_modules.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <system_error>

#include "editor/external_module.h"
#include "framework/shared_bitmaps.h"
#include "platform/file_error.h"
#include "platform/profile_file.h"
#include "platform/utf8.h"
#include "presets/preset_format.h"

namespace halveron {

namespace {

namespace fs = std::filesystem;

constexpr const char* kLibraryExtension = ".so";
constexpr const char* kConfiguration = "Configuration";
/// A key is one character from '0' on: so many fit.
constexpr int kMostNumbers = 255 - '0';

std::string IniPathOf(const std::string& libraryPath) {
  return fs::path(libraryPath).replace_extension(".ini").string();
}

/// The modules that a library's .ini lists, and how many of them it announces.
int ReadEntries(const platform::ProfileFile& ini, ModuleLibrary& library) {
  std::int64_t announced = 0;
  int counts[kCategoryCount];
  for (int i = 0; i < kCategoryCount; ++i) {
    counts[i] = ini.GetInt(NamesOf(static_cast<Category>(i)).folder, "number_of_modules", 0);
    announced += counts[i];
  }
  if (announced <= 0) return 0;
  for (int i = 0; i < kCategoryCount; ++i) {
    const auto category = static_cast<Category>(i);
    std::vector<std::string> keys;
    for (int number = 1; number <= std::min(counts[i], kMostNumbers); ++number) {
      keys.push_back(ModuleNumberKey(number));
    }
    int number = 0;
    for (std::string& name : ini.GetTexts(NamesOf(category).folder, keys)) {
      ++number;
      if (name.empty()) continue;
      name.resize(platform::Utf8Prefix(name, kMostPresetTextBytes - 1).size());
      ModuleEntry& entry = library.modules.emplace_back();
      entry.name = std::move(name);
      entry.category = category;
      entry.number = number;
    }
  }
  return static_cast<int>(std::min<std::int64_t>(announced, INT32_MAX));
}

/// Names of the plain files, or of the folders, in a folder.
std::vector<std::string> Names(const std::string& folder, bool folders) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator each(folder, error), end; !error && each != end;
       each.increment(error)) {
    std::error_code unknown;
    const bool fits = folders ? each->is_directory(unknown) : each->is_regular_file(unknown);
    if (fits) names.push_back(each->path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

std::string ModuleNumberKey(int number) {
  return {'M', static_cast<char>(static_cast<unsigned char>('0' + number))};
}

void ExternalModules::ScanModuleLibraries(const std::string& folder) {
  std::set<std::string> visited;
  if (!folder.empty()) ScanFolder(folder, visited);
}

void ExternalModules::ScanFolder(const std::string& folder, std::set<std::string>& visited) {
  // Links may make a folder contain itself.
  std::error_code error;
  const std::string real = fs::canonical(folder, error).string();
  if (error || !visited.insert(real).second) return;
  for (const std::string& name : Names(folder, true)) {
    if (!name.starts_with('.')) ScanFolder(folder + name + "/", visited);
  }
  for (const std::string& name : Names(folder, false)) {
    if (name.ends_with(kLibraryExtension)) AddLibrary(folder + name);
  }
}

ModuleLibrary* ExternalModules::AddLibrary(const std::string& path, std::string* problem) {
  const std::string iniPath = IniPathOf(path);
  const platform::ProfileFile ini(iniPath);
  ModuleLibrary library;
  library.dll_path = path;
  library.vendor = ini.GetText(kConfiguration, "Vendor", "");
  library.vendor.resize(platform::Utf8Prefix(library.vendor, kMostPresetTextBytes - 1).size());
  const bool listsModules = !library.vendor.empty() && ReadEntries(ini, library) > 0;
  if (problem) {
    std::error_code error;
    *problem = !fs::exists(iniPath, error) ? iniPath + " is missing"
               : library.vendor.empty()    ? iniPath + ": section Configuration has no Vendor"
               : !listsModules ? iniPath + ": no section of a category has a number_of_modules"
                               : "";
  }
  if (!listsModules) return nullptr;
  ModuleLibrary& kept = libraries_.emplace_back(std::move(library));
  for (ModuleEntry& entry : kept.modules) entry.library = &kept;
  return &kept;
}

ModuleEntry* ExternalModules::Find(std::string_view name, std::string_view vendor) {
  for (ModuleLibrary& library : libraries_) {
    if (library.vendor != vendor) continue;
    for (ModuleEntry& entry : library.modules) {
      if (entry.name == name) return &entry;
    }
  }
  return nullptr;
}

bool ExternalModules::LoadLibrary(ModuleLibrary& library) {
  library.failure.clear();
  try {
    library.handle = std::make_shared<platform::SharedLibrary>(library.dll_path);
  } catch (const platform::FileError& error) {
    library.failure = error.what();
    return false;
  }
  library.dll_initialize = library.handle->FindFunction<void(const HalveronSkin*)>("DllInitialize");
  library.get_dll_module =
      library.handle->FindFunction<int32_t(HalveronModuleEntry*, const char*)>("GetDllModule");
  if (!library.dll_initialize || !library.get_dll_module) {
    library.failure = library.dll_path + ": does not export " +
                      (library.dll_initialize ? "GetDllModule" : "DllInitialize");
    library.handle.reset();
    return false;
  }
  HalveronSkin skin{};
  skin.size = sizeof skin;
  library.skinPath = skinPath;
  library.skinFallbackPath = skinFallbackPath;
  skin.skin_path = library.skinPath.c_str();
  skin.skin_fallback_path = library.skinFallbackPath.c_str();
  skin.panelHeight = panelHeight;
  skin.uiScale = uiScale;
  bool hasThrown = false;
  try {
    library.dll_initialize(&skin);
  } catch (...) {
    // Against the rules of the interface, but no reason for the host to end.
    hasThrown = true;
  }
  // Only now: the exception's own code is the library's.
  if (hasThrown) {
    library.failure = library.dll_path + ": DllInitialize throws an exception";
    library.handle.reset();
  }
  return !hasThrown;
}

void ExternalModules::Prepare(ModuleEntry& entry) {
  ModuleLibrary& library = *entry.library;
  if (library.handle || !LoadLibrary(library)) return;
  for (ModuleEntry& each : library.modules) {
    HalveronModuleEntry request{};
    request.size = sizeof request;
    request.name = each.name.c_str();
    each.problems.clear();
    try {
      if (library.get_dll_module(&request, library.vendor.c_str()) == 0) {
        each.problems = {"the library does not know this module"};
        continue;
      }
    } catch (...) {
      each.problems = {"GetDllModule throws an exception"};
      continue;
    }
    each.required_host_version = request.required_host_version;
    if (request.required_host_version > kHostInterfaceVersion) {
      each.problems = {"requires version " + std::to_string(request.required_host_version) +
                       " of the interface; this is " + std::to_string(kHostInterfaceVersion)};
      continue;
    }
    ExternalModuleType type =
        ReadModuleTable(request.module, each.name, library.vendor, each.problems);
    if (!each.problems.empty()) continue;
    type.library = library.handle;
    type.libraryPath = library.dll_path;
    type.category = each.category;
    each.create = std::make_shared<const ExternalModuleType>(std::move(type));
  }
}

Module* ExternalModules::LoadExternalModule(ModuleEntry& entry, CFrame* frame,
                                            const HostTable& hostTable, int voice,
                                            ModuleFailure& failure) {
  Prepare(entry);
  if (entry.required_host_version > kHostInterfaceVersion) {
    failure = ModuleFailure::kNeedsLaterVersion;
    return nullptr;
  }
  failure = ModuleFailure::kUnavailable;
  if (!entry.create) return nullptr;
  Module* module = ExternalModule::Make(entry.create, frame, hostTable, voice);
  if (module) failure = ModuleFailure::kNone;
  return module;
}

ExternalModules::Handles ExternalModules::LoadedHandles() const {
  Handles handles;
  for (const ModuleLibrary& library : libraries_) {
    if (library.handle) handles.push_back(library.handle);
  }
  return handles;
}

}  // namespace halveron
