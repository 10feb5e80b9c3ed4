#include "editor/syn_editor.h"

#include "editor/module_catalogue.h"
#include "framework/module.h"

namespace halveron {

SynEditor::SynEditor(EngineContext& owner)
    : RackModel(owner,
                [](std::string_view name, std::string_view vendor, const HostTable& hostTable,
                   int voice) -> Module* {
                  const CatalogueEntry* entry = FindInCatalogue(name, vendor);
                  return entry && entry->make ? entry->make(nullptr, hostTable, voice) : nullptr;
                }) {}

}  // namespace halveron
