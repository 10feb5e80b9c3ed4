#include "editor/module_clipboard.h"

#include "framework/module.h"
#include "framework/rack_model.h"

namespace halveron {

void ModuleClipboard::Copy(Module& module) {
  const ProcessingSection section(module);
  name_ = module.GetName();
  vendor_ = module.GetVendorName();
  version_ = module.GetVersion();
  data_.resize(static_cast<std::size_t>(module.GetPresetSize()));
  module.SavePreset(data_.data(), static_cast<int>(data_.size()));
  oversampled_ = module.oversampled;
  alwaysOn_ = module.alwaysOn;
  mono_ = module.mono;
  bandlimitMode_ = module.GetBandlimitMode();
  clipLevel_ = module.GetClipLevel();
}

void ModuleClipboard::Apply(Module& module, RackModel& rack) const {
  PatchEdit edit(rack);
  rack.voices.SetModuleMono(&module, mono_);
  rack.SetModuleBandlimitMode(&module, bandlimitMode_);
  rack.SetModuleAlwaysOn(&module, alwaysOn_);
  rack.SetModuleClipLevel(&module, clipLevel_);
  rack.SetModuleOversampled(&module, oversampled_);
  rack.ForEachVoice(&module, [&](Module& instance) {
    instance.LoadPreset(data_.data(), static_cast<int>(data_.size()), version_);
  });
  module.invalid();
}

void ModuleClipboard::PasteOnto(Module& module, RackModel& rack) const {
  if (name_ != module.GetName() || vendor_ != module.GetVendorName()) return;
  Apply(module, rack);
}

Module* ModuleClipboard::PasteNew(RackModel& rack) const {
  Module* module = rack.AddModule(name_, vendor_);
  if (module) Apply(*module, rack);
  return module;
}

}  // namespace halveron
