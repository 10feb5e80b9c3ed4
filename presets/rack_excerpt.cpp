#include "presets/rack_excerpt.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "framework/module.h"
#include "framework/rack_model.h"
#include "presets/midi_bindings.h"
#include "presets/preset_rack.h"

namespace halveron {

namespace {

/// Whether a message could be for both.
bool ShareController(const MidiBinding& a, const MidiBinding& b) {
  constexpr int kAny = MidiBinding::kAnyChannel;
  return a.controller == b.controller &&
         (a.channel == b.channel || a.channel == kAny || b.channel == kAny);
}

/// Binds the knobs of added modules to those of their controllers that the rack did not use.
void BindFreeControllers(const PresetDocument& excerpt, const std::vector<Module*>& added,
                         RackModel& rack) {
  const std::vector<MidiMap::Bound> used = rack.midi.All();
  std::vector<MidiMap::Bound> all = used;
  for (const PresetMidiBinding& saved : excerpt.midi) {
    const bool isUsed = std::any_of(used.begin(), used.end(), [&](const MidiMap::Bound& bound) {
      return ShareController(bound.binding, saved.binding);
    });
    if (isUsed || static_cast<std::size_t>(saved.module) >= added.size()) continue;
    all.push_back(BoundOf(*added[static_cast<std::size_t>(saved.module)], saved));
  }
  if (all.size() > used.size()) rack.midi.Set(std::move(all));
}

}  // namespace

PresetDocument CaptureExcerpt(RackModel& rack, std::span<Module* const> modules) {
  const std::lock_guard edit(rack.engine.editLock);
  const SamplePlan::Recall recall(rack.plan, rack.engine.processingLock);
  PresetDocument excerpt = CaptureRackSettings(rack);
  excerpt.author.clear();
  excerpt.description.clear();
  const auto isMeant = [&](const Module* module) {
    return std::find(modules.begin(), modules.end(), module) != modules.end();
  };
  int nextPoint = 0;
  const std::vector<PresetMidiBinding> midi = std::exchange(excerpt.midi, {});
  for (Module* module : rack.modules[0]) {
    if (!isMeant(module)) continue;
    for (PresetMidiBinding binding : midi) {
      if (binding.module != module->place.moduleIndex) continue;
      binding.module = static_cast<int>(excerpt.modules.size());
      excerpt.midi.push_back(binding);
    }
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
  BindFreeControllers(excerpt, added, rack);
  return added;
}

}  // namespace halveron
