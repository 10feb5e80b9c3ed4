#include "editor/module_clipboard.h"

#include "framework/module.h"
#include "framework/rack_model.h"
#include "presets/rack_excerpt.h"

namespace halveron {

void ModuleClipboard::Copy(RackModel& rack, std::span<Module* const> modules) {
  if (!modules.empty()) excerpt_ = CaptureExcerpt(rack, modules);
}

void ModuleClipboard::Copy(RackModel& rack, Module& module) {
  Module* const one[] = {&module};
  Copy(rack, one);
}

void ModuleClipboard::PasteOnto(Module& module, RackModel& rack) const {
  if (excerpt_.modules.size() != 1) return;
  const PresetModule& record = excerpt_.modules.front();
  if (record.name != module.GetName() || record.vendor != module.GetVendorName()) return;
  ApplyModuleRecord(record, module, rack);
  rack.ModuleEdited(module);
}

}  // namespace halveron
