#include "presets/rack_excerpt.h"

#include <algorithm>
#include <mutex>

#include "framework/module.h"
#include "framework/rack_model.h"
#include "presets/preset_rack.h"

namespace halveron {

PresetDocument CaptureExcerpt(RackModel& rack, std::span<Module* const> modules) {
  const std::lock_guard edit(rack.engine.editLock);
  const SamplePlan::Recall recall(rack.plan, rack.engine.processingLock);
  PresetDocument excerpt = CaptureRackSettings(rack);
  excerpt.midi.clear();  // a controller stays with the knob that it was learned for
  excerpt.author.clear();
  excerpt.description.clear();
  const auto isMeant = [&](const Module* module) {
    return std::find(modules.begin(), modules.end(), module) != modules.end();
  };
  int nextPoint = 0;
  for (Module* module : rack.modules[0]) {
    if (!isMeant(module)) continue;
    excerpt.modules.push_back(CapturePresetModule(rack, *module, &nextPoint));
  }
  excerpt.patchPointCount = nextPoint;
  for (const Cable* cable = rack.cables.cableList.head; cable; cable = cable->next) {
    const bool isInner =
        cable->IsMain() && isMeant(cable->destination->Owner()) && isMeant(cable->origin->Owner());
    if (!isInner) continue;
    excerpt.cables.push_back(
        {cable->destination->patchIndex, cable->origin->patchIndex, cable->colour});
  }
  return excerpt;
}

void ApplyModuleRecord(const PresetModule& record, Module& module, RackModel& rack) {
  const PatchEdit edit(rack);
  if (record.mono) rack.voices.SetModuleMono(&module, *record.mono);
  rack.SetModuleBandlimitMode(&module, record.bandlimitMode);
  rack.SetModuleAlwaysOn(&module, record.alwaysOn);
  if (record.clipLevel) rack.SetModuleClipLevel(&module, *record.clipLevel);
  rack.SetModuleOversampled(&module, record.oversampled);
  rack.ForEachVoice(&module, [&](Module& instance) {
    instance.LoadPreset(record.data.data(), static_cast<int>(record.data.size()), record.version);
  });
  module.invalid();
}

std::vector<Module*> AddExcerpt(const PresetDocument& excerpt, RackModel& rack,
                                std::string* failure) {
  std::vector<Module*> added;
  std::vector<PatchPoint*> points;
  for (const PresetModule& record : excerpt.modules) {
    Module* module = rack.AddModule(record.name, record.vendor);
    if (!module) {
      if (failure) *failure = record.name + " " + record.vendor + rack.ModuleFailureText();
      for (Module* each : added) rack.RemoveModule(each, true);
      return {};
    }
    added.push_back(module);
    PlacePresetModule(record, *module);
    ApplyModuleRecord(record, *module, rack);
    AppendPresetPoints(record, *module, points);
  }
  const PatchEdit edit(rack, PatchEdit::Hold::kAtTheEnd);
  for (const PresetCable& cable : excerpt.cables) ConnectPresetCable(cable, points, rack);
  return added;
}

}  // namespace halveron
