#include "presets/rack_snapshot.h"

#include <algorithm>
#include <bit>
#include <mutex>
#include <set>

#include "framework/module.h"
#include "framework/rack_model.h"
#include "presets/module_roles.h"
#include "presets/preset_rack.h"

namespace halveron {

namespace {

std::vector<float> ValuesOf(const Module& module) {
  std::vector<float> values;
  for (const SettableControl& settable : SettableControls(module)) {
    values.push_back(BaseValueOf(*settable.control));
  }
  return values;
}

ModuleRecord RecordOf(RackModel& rack, Module& module) {
  const std::lock_guard lock(rack.engine.processingLock);
  int nextPoint = 0;
  return {CapturePresetModule(module, rack.RestingCorner(module), &nextPoint), ValuesOf(module)};
}

/// Moves a control as its panel would.
void MoveControl(RackModel& rack, CControl& control, float value) {
  if (auto* knob = dynamic_cast<ModuleKnob*>(&control)) {
    knob->SetModulated(value, knob->hostOffset);
  } else {
    control.setValue(value);
  }
  rack.parameters.ControlMoved(&control);
  control.invalid();
}

}  // namespace

std::size_t ModuleRecord::Bytes() const {
  return sizeof *this + preset.data.size() + preset.indices.size() * sizeof(std::int32_t) +
         values.size() * sizeof(float);
}

const ModuleRecord* RackSnapshot::Find(int id) const {
  const auto entry =
      std::find_if(modules.begin(), modules.end(), [&](const Entry& e) { return e.id == id; });
  return entry == modules.end() ? nullptr : entry->record.get();
}

std::size_t RackSnapshot::BytesBeside(const RackSnapshot& other) const {
  std::set<const ModuleRecord*> shared;
  for (const Entry& entry : other.modules) shared.insert(entry.record.get());
  std::size_t bytes = modules.size() * sizeof(Entry) + cables.size() * sizeof(Cable);
  for (const Entry& entry : modules) {
    if (!shared.contains(entry.record.get())) bytes += entry.record->Bytes();
  }
  return bytes;
}

bool operator==(const RackSnapshot::Entry& a, const RackSnapshot::Entry& b) {
  return a.id == b.id && (a.record == b.record || *a.record == *b.record);
}

bool operator==(const RackSnapshot& a, const RackSnapshot& b) {
  return a.rack == b.rack && a.modules == b.modules && a.cables == b.cables;
}

int RackSnapshots::IdOf(const Module& module) {
  int& id = ids_[&module];
  if (id == 0) id = nextId_++;
  return id;
}

Module* RackSnapshots::FindModule(int id) const {
  const auto module =
      std::find_if(ids_.begin(), ids_.end(), [&](const auto& entry) { return entry.second == id; });
  return module == ids_.end() ? nullptr : const_cast<Module*>(module->first);
}

PatchPoint* RackSnapshots::FindPoint(int id, int point) const {
  Module* module = FindModule(id);
  if (!module) return nullptr;
  if (module->GetNbPatchPoints() < 0) module->CountControls();
  if (point >= module->GetNbPatchPoints()) return nullptr;
  std::vector<PatchPoint*> points(static_cast<std::size_t>(module->GetNbPatchPoints()));
  int count = 0;
  module->CollectPatchPoints(points.data(), &count, static_cast<int>(points.size()));
  return point < count ? points[static_cast<std::size_t>(point)] : nullptr;
}

RackSnapshot RackSnapshots::Take(const RackSnapshot& previous) {
  std::map<int, std::shared_ptr<const ModuleRecord>> known;
  for (const RackSnapshot::Entry& entry : previous.modules) known[entry.id] = entry.record;

  RackSnapshot snapshot;
  snapshot.rack = CaptureRackSettings(rack_);
  for (Module* module : rack_.modules[0]) {
    const int id = IdOf(*module);
    ModuleRecord record = RecordOf(rack_, *module);
    std::shared_ptr<const ModuleRecord> shared = known[id];
    if (!shared || *shared != record) {
      shared = std::make_shared<const ModuleRecord>(std::move(record));
    }
    snapshot.modules.push_back({id, std::move(shared)});
  }
  for (const Cable* cable = rack_.cables.cableList.head; cable; cable = cable->next) {
    if (!cable->IsMain()) continue;
    const PatchPoint& from = *cable->destination;
    const PatchPoint& to = *cable->origin;
    snapshot.cables.push_back(
        {IdOf(*from.Owner()), from.patchIndex, IdOf(*to.Owner()), to.patchIndex, cable->colour});
  }
  return snapshot;
}

void RackSnapshots::RestoreRack(const PresetDocument& from, const PresetDocument& to) {
  if (from.rows != to.rows) rack_.SetRows(to.rows);
  if (from.oversamplingFilter != to.oversamplingFilter) {
    rack_.engine.ApplyOversamplingFilter(to.oversamplingFilter);
  }
  if (from.oversamplingFactor != to.oversamplingFactor) {
    rack_.engine.ApplyOversamplingFactor(
        std::countr_zero(static_cast<unsigned>(to.oversamplingFactor)));
  }
  if (rack_.engine.voiceCount != to.voices) rack_.voices.ApplyVoiceCount(to.voices);
  if (from.author != to.author) rack_.author = to.author;
  if (from.description != to.description) rack_.description = to.description;
}

RackSnapshot::Cable RackSnapshots::Describe(const Cable& cable) {
  const PatchPoint& from = *cable.destination;
  const PatchPoint& to = *cable.origin;
  return {IdOf(*from.Owner()), from.patchIndex, IdOf(*to.Owner()), to.patchIndex, cable.colour};
}

void RackSnapshots::RemoveCables(const RackSnapshot& to) {
  const std::set<RackSnapshot::Cable> stay(to.cables.begin(), to.cables.end());
  for (Cable* cable = rack_.cables.cableList.head; cable;) {
    if (cable->IsMain() && !stay.contains(Describe(*cable))) {
      rack_.cables.RemoveCable(cable, kAllVoices, false);
      // The records of further voices went as well, and they may have been next.
      cable = rack_.cables.cableList.head;
    } else {
      cable = cable->next;
    }
  }
}

void RackSnapshots::AddCables(const RackSnapshot& to) {
  std::map<RackSnapshot::Cable, Cable*> present;
  const auto find = [&] {
    for (Cable* cable = rack_.cables.cableList.head; cable; cable = cable->next) {
      if (cable->IsMain()) present[Describe(*cable)] = cable;
    }
  };
  find();
  for (const RackSnapshot::Cable& cable : to.cables) {
    if (present.contains(cable)) continue;
    PatchPoint* from = FindPoint(cable.fromModule, cable.fromPoint);
    PatchPoint* origin = FindPoint(cable.toModule, cable.toPoint);
    if (from && origin) rack_.cables.ConnectCable(from, origin, cable.colour, -1);
  }
  find();
  std::vector<const Cable*> order;
  for (const RackSnapshot::Cable& cable : to.cables) {
    if (const auto found = present.find(cable); found != present.end()) {
      order.push_back(found->second);
    }
  }
  rack_.cables.Sort(order);
}

bool RackSnapshots::AddModules(const RackSnapshot& to) {
  bool complete = true;
  std::vector<CControl*> newControls;
  for (const RackSnapshot::Entry& entry : to.modules) {
    if (FindModule(entry.id)) continue;
    if (Module* module = LoadPresetModule(entry.record->preset, rack_, newControls)) {
      ids_[module] = entry.id;
    } else {
      complete = false;
    }
  }
  GiveParameters(newControls, rack_);
  std::vector<Module*> order;
  for (const RackSnapshot::Entry& entry : to.modules) {
    if (Module* module = FindModule(entry.id)) order.push_back(module);
  }
  rack_.SortModules(order);
  return complete;
}

void RackSnapshots::RestoreOptions(Module& module, const PresetModule& was,
                                   const PresetModule& will) {
  if (was.x != will.x || was.y != will.y) PlacePresetModule(will, module);
  if (was.mono != will.mono) rack_.voices.SetModuleMono(&module, will.mono.value_or(true));
  if (was.oversampled != will.oversampled) rack_.SetModuleOversampled(&module, will.oversampled);
  if (was.alwaysOn != will.alwaysOn) rack_.SetModuleAlwaysOn(&module, will.alwaysOn);
  if (was.bandlimitMode != will.bandlimitMode) {
    rack_.SetModuleBandlimitMode(&module, will.bandlimitMode);
  }
  if (was.clipLevel != will.clipLevel && will.clipLevel) {
    rack_.SetModuleClipLevel(&module, *will.clipLevel);
  }
  if (was.indices != will.indices) {
    module.UnregisterControls();
    module.LoadPatchPointIndices(will.indices.data(),
                                 static_cast<unsigned>(will.indices.size() * sizeof(std::int32_t)));
  }
}

void RackSnapshots::RestoreData(Module& module, const ModuleRecord& from, const ModuleRecord& to) {
  if (from.preset.data == to.preset.data) return;
  const std::vector<SettableControl> controls = SettableControls(module);
  if (from.values.size() == controls.size() && to.values.size() == controls.size()) {
    for (std::size_t i = 0; i < controls.size(); ++i) {
      if (controls[i].isLamp || from.values[i] == to.values[i]) continue;
      MoveControl(rack_, *controls[i].control, to.values[i]);
    }
    if (RecordOf(rack_, module).preset.data == to.preset.data) return;
  }
  // More than controls: the module takes its whole data, as from a preset.
  const PatchEdit edit(rack_);
  rack_.ForEachVoice(&module, [&](Module& instance) {
    instance.LoadPreset(to.preset.data.data(), static_cast<int>(to.preset.data.size()),
                        to.preset.version);
  });
  module.invalid();
}

void RackSnapshots::NumberPoints() {
  for (Module* module : rack_.modules[0]) {
    int next = 0;
    module->NumberPatchPoints(&next);
  }
}

bool RackSnapshots::Restore(const RackSnapshot& from, const RackSnapshot& to) {
  PatchEdit edit(rack_);
  NumberPoints();  // a preset's capture may have numbered them over the whole rack
  RemoveCables(to);
  for (const RackSnapshot::Entry& entry : from.modules) {
    Module* module = FindModule(entry.id);
    if (module && !to.Find(entry.id)) rack_.RemoveModule(module, true);
  }
  RestoreRack(from.rack, to.rack);
  const bool complete = AddModules(to);
  const auto forEachChanged = [&](auto&& restore) {
    for (const RackSnapshot::Entry& entry : to.modules) {
      const ModuleRecord* was = from.Find(entry.id);
      Module* module = FindModule(entry.id);
      if (was && module && was != entry.record.get()) restore(*module, *was, *entry.record);
    }
  };
  forEachChanged([&](Module& module, const ModuleRecord& was, const ModuleRecord& will) {
    RestoreOptions(module, was.preset, will.preset);
  });
  NumberPoints();
  AddCables(to);
  // Last, because data has the state of MIDI jacks, which the cables have restored.
  forEachChanged([&](Module& module, const ModuleRecord& was, const ModuleRecord& will) {
    RestoreData(module, was, will);
  });
  if (to.rack.highestParameterIndex) {
    rack_.parameters.highestParameterIndex = *to.rack.highestParameterIndex;
  }
  rack_.RequestRedraw();
  return complete;
}

}  // namespace halveron
