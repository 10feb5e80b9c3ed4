// The modules of other authors' libraries: found by the files beside them, loaded when one is made.
#pragma once

#include <deque>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "editor/external_module_type.h"
#include "framework/rack_model.h"

namespace halveron {

struct ModuleLibrary;

/// The key of a library's module in the section of its category, from "M1" on.
std::string ModuleNumberKey(int number);

/// One module of a library.
struct ModuleEntry {
  int required_host_version = 0;  ///< of the interface; 0 until the library is loaded
  std::shared_ptr<const ExternalModuleType>
      create;        ///< null: not loaded, unknown to it, or refused
  std::string name;  ///< shown, and with the vendor its identity
  Category category{};
  int number = 0;  ///< in the category, from 1
  ModuleLibrary* library = nullptr;
  std::vector<std::string> problems;  ///< why it was refused, one line each
};

/// One library. Known from its .ini alone until the first of its modules is made; then it stays
/// loaded until the engine closes.
struct ModuleLibrary {
  int32_t (*get_dll_module)(HalveronModuleEntry*, const char*) = nullptr;
  void (*dll_initialize)(const HalveronSkin*) = nullptr;
  std::string dll_path;
  std::shared_ptr<platform::SharedLibrary> handle;  ///< null until loaded
  std::string vendor;
  std::deque<ModuleEntry> modules;
  std::string skinPath;  ///< as the library knows it, which may keep the pointers
  std::string skinFallbackPath;
  std::string failure;  ///< why the last attempt to load it failed
};

class ExternalModules {
 public:
  using Handles = std::vector<std::shared_ptr<platform::SharedLibrary>>;

  /// Adds the libraries in a folder (with a slash at its end) and in the folders within it, which
  /// come first. A library is a file whose name ends in ".so" with a file beside it that ends in
  /// ".ini" instead and names a vendor and modules; all others are ignored.
  void ScanModuleLibraries(const std::string& folder);
  /// Adds the library at a path, whatever its folder. Null, with the reason in `problem`, if its
  /// .ini does not make it one.
  ModuleLibrary* AddLibrary(const std::string& path, std::string* problem = nullptr);

  const std::deque<ModuleLibrary>& Libraries() const { return libraries_; }
  /// The first entry of a name and vendor, compared byte for byte; null if there is none.
  ModuleEntry* Find(std::string_view name, std::string_view vendor);

  /// Loads the library of an entry, if that is not done yet: its code runs and may take long, so
  /// not inside the processing lock. Not needed before LoadExternalModule.
  void Prepare(ModuleEntry& entry);
  /// Makes an instance; null, with the reason in `failure`, if that is impossible.
  Module* LoadExternalModule(ModuleEntry& entry, CFrame* frame, const HostTable& hostTable,
                             int voice, ModuleFailure& failure);

  /// What keeps the code of all modules loaded, in the order of the libraries: to be held until the
  /// last module is deleted.
  Handles LoadedHandles() const;

 private:
  bool LoadLibrary(ModuleLibrary& library);
  void ScanFolder(const std::string& folder, std::set<std::string>& visited);

  std::deque<ModuleLibrary> libraries_;
};

}  // namespace halveron
