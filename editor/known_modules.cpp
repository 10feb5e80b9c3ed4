#include "editor/known_modules.h"

#include "editor/module_catalogue.h"
#include "framework/module.h"

namespace halveron {

std::vector<KnownModule> KnownModules() {
  std::vector<KnownModule> known;
  for (const CatalogueEntry& entry : ModuleCatalogue()) {
    known.push_back({entry.name, kBuiltInVendor, entry.make != nullptr});
  }
  return known;
}

}  // namespace halveron
