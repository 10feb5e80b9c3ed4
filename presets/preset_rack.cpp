#include "presets/preset_rack.h"

#include <bit>
#include <mutex>
#include <utility>

#include "dsp/shaping.h"
#include "framework/module.h"
#include "framework/rack_model.h"
#include "presets/grown_record.h"
#include "presets/midi_bindings.h"
#include "presets/module_roles.h"

namespace halveron {

namespace {

int ToUnits(double pixels) { return dsp::RoundHalfDown(static_cast<float>(pixels) / uiScale); }

double ToPixels(int units) { return dsp::RoundHalfDown(static_cast<float>(units) * uiScale); }

std::string FailureOf(const PresetModule& record, const RackModel& rack) {
  return record.name + " " + record.vendor + rack.ModuleFailureText();
}

}  // namespace

PresetModule CapturePresetSettings(Module& module, const CPoint& corner, int* nextPoint) {
  if (module.GetNbControls() < 0) module.CountControls();
  PresetModule record;
  record.name = module.GetName();
  record.vendor = module.GetVendorName();
  record.version = module.GetVersion();
  // A placeholder may show more than its record has.
  record.controlCount = module.GetPatchPointIndicesSize() / static_cast<int>(sizeof(std::int32_t));
  const int firstPoint = *nextPoint;
  module.NumberPatchPoints(nextPoint);
  record.patchPointCount = *nextPoint - firstPoint;
  record.x = ToUnits(corner.x);
  record.y = ToUnits(corner.y);
  record.oversampled = module.oversampled;
  record.alwaysOn = module.alwaysOn;
  record.bandlimitMode = module.GetBandlimitMode();
  record.clipLevel = module.GetClipLevel();
  record.mono = module.mono;
  record.indices.resize(static_cast<std::size_t>(record.controlCount));
  module.SavePatchPointIndices(record.indices.data());
  return record;
}

PresetModule CapturePresetModule(RackModel& rack, Module& module, int* nextPoint) {
  const auto sizeOf = [&] { return static_cast<std::size_t>(module.GetPresetSize()); };
  std::size_t size = 0;
  {
    const auto lock = rack.HoldModules();
    size = sizeOf();
  }
  // The audio thread does not wait for the memory that much data takes.
  std::vector<std::byte> room(size);
  const auto lock = rack.HoldModules();
  PresetModule record = CapturePresetSettings(module, rack.RestingCorner(module), nextPoint);
  room.resize(sizeOf());  // a worker may have changed it
  record.data = std::move(room);
  module.SavePreset(record.data.data(), static_cast<int>(record.data.size()));
  return record;
}

namespace {

/// Adds the instances of a record; null if one cannot be made. Old versions have no mono flag: the
/// class decides.
Module* MakeInstances(const PresetModule& record, RackModel& rack) {
  Module* module = rack.AddModule(record.name, record.vendor);
  if (module && record.mono && *record.mono != module->mono &&
      !rack.voices.SetModuleMono(module, *record.mono)) {
    rack.RemoveModule(module, true);
    return nullptr;
  }
  return module;
}

}  // namespace

void PlacePresetModule(const PresetModule& record, Module& module) {
  CRect place = module.getViewSize();
  place.moveTo(ToPixels(record.x), ToPixels(record.y));
  module.setViewSize(place);
  module.setMouseableArea(place);
}

Module* LoadPresetModule(const PresetModule& saved, RackModel& rack,
                         std::vector<CControl*>& newControls) {
  const int keptIndex = rack.parameters.highestParameterIndex;
  Module* module = MakeInstances(saved, rack);
  if (!module) return nullptr;
  const PresetModule record = FitToPanel(saved, *module, newControls);
  PlacePresetModule(record, *module);
  rack.SetModuleOversampled(module, record.oversampled);
  rack.ForEachVoice(module, [&](Module& instance) {
    instance.SetBandlimitMode(record.bandlimitMode);
    instance.alwaysOn = record.alwaysOn;
    if (record.clipLevel) instance.SetClipLevel(*record.clipLevel);
    instance.FollowRate();
    rack.UpdateActiveState(&instance, false);
  });
  rack.ForEachVoice(module, [&](Module& instance) {
    instance.LoadPreset(record.data.data(), static_cast<int>(record.data.size()), record.version);
  });
  module->UnregisterControls();
  rack.parameters.highestParameterIndex = keptIndex;
  module->LoadPatchPointIndices(
      record.indices.data(), static_cast<unsigned>(record.indices.size() * sizeof(std::int32_t)));
  return module;
}

void GiveParameters(const std::vector<CControl*>& controls, RackModel& rack) {
  for (CControl* control : controls) {
    const auto* module = static_cast<const Module*>(control->getParentView());
    rack.parameters.RegisterTag(control, rack.parameters.GetFreeTag(module));
  }
}

void AppendPresetPoints(const PresetModule& record, Module& module,
                        std::vector<PatchPoint*>& points) {
  // A module may have fewer points than when it was saved; the others stay null, so that the
  // points of later modules keep their numbers.
  std::vector<PatchPoint*> own(static_cast<std::size_t>(record.patchPointCount));
  int count = 0;
  module.CollectPatchPoints(own.data(), &count, record.patchPointCount);
  points.insert(points.end(), own.begin(), own.end());
}

void ConnectPresetCable(const PresetCable& cable, const std::vector<PatchPoint*>& points,
                        RackModel& rack) {
  PatchPoint* from = points[static_cast<std::size_t>(cable.from)];
  PatchPoint* to = points[static_cast<std::size_t>(cable.to)];
  if (!from || !to || !MayConnect(*from, *to)) return;
  // A point that goes either way and receives already does not send as well.
  const bool swapped = from->type == kOutputPoint || to->type == kInputPoint;
  const PatchPoint* origin = swapped ? from : to;
  if (origin->firstCable && origin->firstCable->destination == origin) return;
  rack.cables.ConnectCable(from, to, cable.colour, 0);
}

namespace {

/// Builds the rack of one document.
class PresetLoader {
 public:
  PresetLoader(const PresetDocument& document, RackModel& rack)
      : document_(document), rack_(rack) {}

  PresetOutcome Run() {
    rack_.RemoveAllModules();
    rack_.RequestRedraw();
    rack_.SetRows(document_.rows);
    rack_.engine.ApplyOversamplingFilter(document_.oversamplingFilter);
    rack_.engine.ApplyOversamplingFactor(
        std::countr_zero(static_cast<unsigned>(document_.oversamplingFactor)));
    {
      PatchEdit edit(rack_);
      rack_.voices.ReleaseNotes(0);
      if (rack_.engine.voiceCount != document_.voices)
        rack_.voices.ApplyVoiceCount(document_.voices);
      rack_.parameters.highestParameterIndex = -1;
      rack_.author = document_.author;
      rack_.description = document_.description;
      for (const PresetModule& record : document_.modules) {
        if (!LoadModule(record)) {
          return {FailureOf(record, rack_), {record.name, record.vendor}};
        }
      }
      if (document_.highestParameterIndex) {
        rack_.parameters.highestParameterIndex = *document_.highestParameterIndex;
      }
      GiveParameters(newControls_, rack_);
      for (const PresetCable& cable : document_.cables) {
        ConnectPresetCable(cable, points_, rack_);
      }
      ApplyMidiBindings(document_.midi, rack_);
    }
    rack_.voices.ResetPolyphonyIfUnused();
    return {};
  }

 private:
  bool LoadModule(const PresetModule& record) {
    Module* module = LoadPresetModule(record, rack_, newControls_);
    if (!module) return false;
    AppendPresetPoints(record, *module, points_);
    return true;
  }

  const PresetDocument& document_;
  RackModel& rack_;
  std::vector<PatchPoint*> points_;
  std::vector<CControl*> newControls_;
};

}  // namespace

PresetDocument CaptureRackSettings(const RackModel& rack) {
  PresetDocument document;
  document.rows = rack.rows;
  document.oversamplingFactor = rack.engine.oversamplingFactor;
  document.oversamplingFilter = rack.engine.filterMenuIndex;
  document.voices = rack.engine.voiceCount;
  document.highestParameterIndex = rack.parameters.highestParameterIndex;
  document.author = rack.author;
  document.description = rack.description;
  document.midi = CaptureMidiBindings(rack);
  return document;
}

PresetDocument CapturePreset(RackModel& rack) {
  const std::lock_guard edit(rack.engine.editLock);
  const SamplePlan::Recall recall(rack.plan, rack.engine.processingLock);
  PresetDocument document = CaptureRackSettings(rack);
  int nextPoint = 0;
  for (Module* module : rack.modules[0]) {
    document.modules.push_back(CapturePresetModule(rack, *module, &nextPoint));
  }
  document.patchPointCount = nextPoint;
  for (const Cable* cable = rack.cables.cableList.head; cable; cable = cable->next) {
    if (cable->voiceTag != 0) continue;
    document.cables.push_back(
        {cable->destination->patchIndex, cable->origin->patchIndex, cable->colour});
  }
  return document;
}

PresetOutcome ApplyPreset(const PresetDocument& document, RackModel& rack) {
  return PresetLoader(document, rack).Run();
}

}  // namespace halveron
