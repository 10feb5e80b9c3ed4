#include "editor/known_modules.h"

#include "editor/module_catalogue.h"
#include "editor/syn_editor.h"
#include "framework/module.h"

namespace halveron {

std::vector<KnownModule> KnownModules() {
  std::vector<KnownModule> known;
  for (const CatalogueEntry& entry : ModuleCatalogue()) {
    known.push_back({entry.name, kBuiltInVendor, entry.make != nullptr});
  }
  return known;
}

std::vector<KnownModule> KnownModules(const SynEditor& editor) {
  std::vector<KnownModule> known = KnownModules();
  for (const ModuleLibrary& library : editor.externalModules.Libraries()) {
    for (const ModuleEntry& entry : library.modules) {
      known.push_back({entry.name, library.vendor, true});
    }
  }
  return known;
}

}  // namespace halveron
