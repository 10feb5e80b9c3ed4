#include "presets/rack_snapshot.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <mutex>
#include <set>
#include <span>

#include "framework/module.h"
#include "framework/rack_model.h"
#include "presets/midi_bindings.h"
#include "presets/module_roles.h"
#include "presets/preset_rack.h"

namespace halveron {

namespace {

bool IsPlayback(const Module& module, const CControl& control) {
  return module.EffectOf(control) == ControlEffect::kPlayback;
}

std::vector<float> ValuesOf(const Module& module) {
  std::vector<float> values;
  for (const SettableControl& settable : SettableControls(module)) {
    const bool isSet = !settable.isLamp && !IsPlayback(module, *settable.control);
    values.push_back(isSet ? BaseValueOf(*settable.control) : 0.0f);
  }
  return values;
}

/// Shares with the record before what is the same there.
std::vector<ModuleRecord::Piece> InPieces(std::span<const std::byte> data,
                                          const ModuleRecord* previous) {
  std::vector<ModuleRecord::Piece> pieces;
  while (!data.empty()) {
    const auto bytes = data.first(std::min(data.size(), ModuleRecord::kPieceBytes));
    data = data.subspan(bytes.size());
    const std::size_t i = pieces.size();
    const bool isKnown = previous && i < previous->ownData.size() &&
                         std::ranges::equal(*previous->ownData[i], bytes);
    pieces.push_back(
        isKnown ? previous->ownData[i]
                : std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end()));
  }
  return pieces;
}

bool MovesOthers(const Module& module) {
  const std::vector<SettableControl> controls = SettableControls(module);
  return std::any_of(controls.begin(), controls.end(), [&](const SettableControl& settable) {
    return module.EffectOf(*settable.control) == ControlEffect::kOtherModules;
  });
}

/// A record with the present values of controls for which `isKept` holds.
template <class Condition>
ModuleRecord WithPresentValues(ModuleRecord record, const Module& module, Condition isKept) {
  std::vector<std::byte>& data = record.preset.data;
  for (const SettableControl& settable : SettableControls(module)) {
    const std::size_t offset = settable.savedIndex * sizeof(float);
    if (!isKept(settable) || offset + sizeof(float) > data.size()) continue;
    const float value = BaseValueOf(*settable.control);
    std::memcpy(data.data() + offset, &value, sizeof value);
  }
  return record;
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

bool ModuleRecord::HasDataOf(const ModuleRecord& other) const {
  return preset.data == other.preset.data &&
         std::equal(ownData.begin(), ownData.end(), other.ownData.begin(), other.ownData.end(),
                    [](const Piece& a, const Piece& b) { return a == b || *a == *b; });
}

PresetModule ModuleRecord::Whole() const {
  PresetModule whole = preset;
  for (const Piece& piece : ownData) {
    whole.data.insert(whole.data.end(), piece->begin(), piece->end());
  }
  return whole;
}

std::size_t ModuleRecord::Size() const {
  return sizeof *this + preset.data.size() + preset.indices.size() * sizeof(std::int32_t) +
         values.size() * sizeof(float) + ownData.size() * sizeof(Piece);
}

bool operator==(const ModuleRecord& a, const ModuleRecord& b) {
  return a.preset == b.preset && a.values == b.values && a.HasDataOf(b);
}

const ModuleRecord* RackSnapshot::Find(int id) const {
  const auto entry =
      std::find_if(modules.begin(), modules.end(), [&](const Entry& e) { return e.id == id; });
  return entry == modules.end() ? nullptr : entry->record.get();
}

std::size_t RackSnapshot::BytesBeside(const RackSnapshot& other) const {
  std::set<const void*> shared;
  for (const Entry& entry : other.modules) {
    shared.insert(entry.record.get());
    for (const ModuleRecord::Piece& piece : entry.record->ownData) shared.insert(piece.get());
  }
  std::size_t bytes = modules.size() * sizeof(Entry) + cables.size() * sizeof(Cable);
  for (const Entry& entry : modules) {
    if (!shared.contains(entry.record.get())) bytes += entry.record->Size();
    for (const ModuleRecord::Piece& piece : entry.record->ownData) {
      if (!shared.contains(piece.get())) bytes += piece->size();
    }
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

ModuleRecord RackSnapshots::RecordOf(Module& module, const ModuleRecord* previous) {
  ModuleRecord record;
  std::vector<std::byte>& data = record.preset.data;
  const auto capture = [&](std::vector<std::byte> room, int size) {
    int nextPoint = 0;
    record.preset = CapturePresetSettings(module, rack_.RestingCorner(module), &nextPoint);
    data = std::move(room);
    data.resize(static_cast<std::size_t>(size));
  };
  int size = 0;
  {
    const auto lock = rack_.HoldModules();
    record.revision = module.GetDataRevision();
    if (previous && record.revision != 0 && record.revision == previous->revision) {
      capture({}, module.GetControlValuesSize());
      module.SaveControlValues(reinterpret_cast<float*>(data.data()));
      record.values = ValuesOf(module);
      record.ownData = previous->ownData;
      return record;
    }
    size = module.GetPresetSize();
  }
  // The audio thread does not wait for the memory that much data takes.
  std::vector<std::byte> room(static_cast<std::size_t>(size));
  {
    const auto lock = rack_.HoldModules();
    // Read first: data that change meanwhile are read again the next time.
    record.revision = module.GetDataRevision();
    size = module.GetPresetSize();
    capture(std::move(room), size);
    module.SavePreset(data.data(), size);
    record.values = ValuesOf(module);
  }
  const auto controls = static_cast<std::size_t>(module.GetControlValuesSize());
  const auto own = std::span<const std::byte>(data).subspan(std::min(controls, data.size()));
  record.ownData = InPieces(own, previous);
  data.resize(data.size() - own.size());
  return record;
}

RackSnapshot RackSnapshots::Take(const RackSnapshot& previous) {
  std::map<int, std::shared_ptr<const ModuleRecord>> known;
  for (const RackSnapshot::Entry& entry : previous.modules) known[entry.id] = entry.record;

  const SamplePlan::Recall recall(rack_.plan, rack_.engine.processingLock);
  RackSnapshot snapshot;
  snapshot.rack = CaptureRackSettings(rack_);
  for (Module* module : rack_.modules[0]) {
    const int id = IdOf(*module);
    std::shared_ptr<const ModuleRecord> shared = known[id];
    ModuleRecord record = RecordOf(*module, shared.get());
    if (!shared || shared->revision != record.revision || *shared != record) {
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

bool RackSnapshots::AddModules(const RackSnapshot& to, std::vector<CControl*>& newControls) {
  bool complete = true;
  for (const RackSnapshot::Entry& entry : to.modules) {
    if (FindModule(entry.id)) continue;
    if (Module* module = LoadPresetModule(entry.record->Whole(), rack_, newControls)) {
      ids_[module] = entry.id;
    } else {
      complete = false;
    }
  }
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
  if (from.HasDataOf(to)) return;
  const std::vector<SettableControl> controls = SettableControls(module);
  if (from.values.size() == controls.size() && to.values.size() == controls.size()) {
    for (std::size_t i = 0; i < controls.size(); ++i) {
      CControl& control = *controls[i].control;
      if (controls[i].isLamp || from.values[i] == to.values[i]) continue;
      if (!IsPlayback(module, control)) MoveControl(rack_, control, to.values[i]);
    }
  }
  // What plays goes on, and lamps show what is.
  const ModuleRecord goal = WithPresentValues(to, module, [&](const SettableControl& settable) {
    return !settable.isLamp && IsPlayback(module, *settable.control);
  });
  const ModuleRecord lit = WithPresentValues(
      goal, module, [](const SettableControl& settable) { return settable.isLamp; });
  if (RecordOf(module, &from).HasDataOf(lit)) return;
  // More than controls: the module takes its whole data, as from a preset.
  const PresetModule whole = goal.Whole();
  const PatchEdit edit(rack_);
  rack_.ForEachVoice(&module, [&](Module& instance) {
    instance.LoadPreset(whole.data.data(), static_cast<int>(whole.data.size()), whole.version);
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
  std::vector<CControl*> newControls;
  const bool complete = AddModules(to, newControls);
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
  // Last, because data has the state of MIDI jacks, which the cables have restored. What moves the
  // controls of others comes before those.
  for (const bool movesOthers : {true, false}) {
    forEachChanged([&](Module& module, const ModuleRecord& was, const ModuleRecord& will) {
      if (MovesOthers(module) == movesOthers) RestoreData(module, was, will);
    });
  }
  // Numbered by the order of the modules, which is that of `to` by now.
  if (CaptureMidiBindings(rack_) != to.rack.midi) ApplyMidiBindings(to.rack.midi, rack_);
  if (to.rack.highestParameterIndex) {
    rack_.parameters.highestParameterIndex = *to.rack.highestParameterIndex;
  }
  GiveParameters(newControls, rack_);
  rack_.RequestRedraw();
  return complete;
}

}  // namespace halveron
