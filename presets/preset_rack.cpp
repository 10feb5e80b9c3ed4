#include "presets/preset_rack.h"

#include <bit>
#include <mutex>

#include "dsp/shaping.h"
#include "framework/module.h"
#include "framework/rack_model.h"

namespace halveron {

namespace {

int ToUnits(double pixels) { return dsp::RoundHalfDown(static_cast<float>(pixels) / uiScale); }

double ToPixels(int units) { return dsp::RoundHalfDown(static_cast<float>(units) * uiScale); }

PresetModule CaptureModule(Module& module, int* nextPoint) {
  if (module.nbControls < 0) module.CountControls();
  PresetModule record;
  record.name = module.GetName();
  record.vendor = module.GetVendorName();
  record.version = module.GetVersion();
  record.controlCount = module.nbControls;
  record.patchPointCount = module.nbPatchPoints;
  module.NumberPatchPoints(nextPoint);
  record.x = ToUnits(module.getViewSize().left);
  record.y = ToUnits(module.getViewSize().top);
  record.oversampled = module.oversampled;
  record.alwaysOn = module.alwaysOn;
  record.bandlimitMode = module.GetBandlimitMode();
  record.clipLevel = module.GetClipLevel();
  record.mono = module.mono;
  record.data.resize(static_cast<std::size_t>(module.GetPresetSize()));
  module.SavePreset(record.data.data(), static_cast<int>(record.data.size()));
  record.indices.resize(static_cast<std::size_t>(module.GetPatchPointIndicesSize()) /
                        sizeof(std::int32_t));
  module.SavePatchPointIndices(record.indices.data());
  return record;
}

/// Makes the rack of one document, module by module.
class PresetLoader {
 public:
  PresetLoader(const PresetDocument& document, RackModel& rack)
      : document_(document), rack_(rack) {}

  bool Run() {
    for (Module* module : rack_.modules[0]) {
      rack_.ForEachVoice(module, [](Module& instance) { instance.ModuleRemoved(); });
    }
    rack_.RemoveAllModules();
    rack_.RequestRedraw();
    rack_.SetRows(document_.rows);
    rack_.engine.ApplyOversamplingFilter(document_.oversamplingFilter);
    rack_.engine.ApplyOversamplingFactor(
        std::countr_zero(static_cast<unsigned>(document_.oversamplingFactor)));
    {
      PatchEdit edit(rack_);
      rack_.ReleaseNotes(0);
      if (rack_.engine.voiceCount != document_.voices) rack_.ApplyVoiceCount(document_.voices);
      rack_.highestParameterIndex = -1;
      rack_.author = document_.author;
      rack_.description = document_.description;
      for (const PresetModule& record : document_.modules) {
        if (!LoadModule(record)) return false;
      }
      if (document_.highestParameterIndex) {
        rack_.highestParameterIndex = *document_.highestParameterIndex;
      }
      for (const PresetCable& cable : document_.cables) Connect(cable);
    }
    rack_.ResetPolyphonyIfUnused();
    return true;
  }

 private:
  bool LoadModule(const PresetModule& record) {
    const int keptIndex = rack_.highestParameterIndex;
    Module* module = MakeInstances(record);
    if (!module) {
      rack_.ShowDialog(
          {"Module failed",
           record.name + " " + record.vendor + " failed to load properly or was not found!", 600});
      return false;
    }
    CRect place = module->getViewSize();
    place.moveTo(ToPixels(record.x), ToPixels(record.y));
    module->setViewSize(place);
    module->setMouseableArea(place);
    rack_.SetModuleOversampled(module, record.oversampled);
    rack_.ForEachVoice(module, [&](Module& instance) {
      instance.SetBandlimitMode(record.bandlimitMode);
      instance.alwaysOn = record.alwaysOn;
      if (record.clipLevel) instance.SetClipLevel(*record.clipLevel);
      instance.FollowRate();
      rack_.UpdateActiveState(&instance, false);
    });
    rack_.ForEachVoice(module, [&](Module& instance) {
      instance.LoadPreset(record.data.data(), static_cast<int>(record.data.size()), record.version);
    });
    module->UnregisterControls();
    rack_.highestParameterIndex = keptIndex;
    module->LoadPatchPointIndices(
        record.indices.data(), static_cast<unsigned>(record.indices.size() * sizeof(std::int32_t)));
    // A module may have fewer points than when it was saved; the places of the others stay empty,
    // so that the points behind keep their numbers.
    std::vector<PatchPoint*> points(static_cast<std::size_t>(record.patchPointCount));
    int count = 0;
    module->CollectPatchPoints(points.data(), &count, record.patchPointCount);
    points_.insert(points_.end(), points.begin(), points.end());
    return true;
  }

  /// The instances of a record, last in the rack; null if one cannot be made. Before modules could
  /// choose, the class decided whether it runs in one instance.
  Module* MakeInstances(const PresetModule& record) {
    Module* module = rack_.AddModule(record.name, record.vendor);
    if (module && record.mono && *record.mono != module->mono &&
        !rack_.SetModuleMono(module, *record.mono)) {
      rack_.RemoveModule(module, true);
      return nullptr;
    }
    return module;
  }

  void Connect(const PresetCable& cable) {
    PatchPoint* from = points_[static_cast<std::size_t>(cable.from)];
    PatchPoint* to = points_[static_cast<std::size_t>(cable.to)];
    if (!from || !to || from == to || from->twoState != to->twoState) return;
    if (from->type == to->type && from->type != kEitherPoint) return;
    rack_.ConnectCable(from, to, cable.colour, 0);
  }

  const PresetDocument& document_;
  RackModel& rack_;
  std::vector<PatchPoint*> points_;
};

}  // namespace

PresetDocument CapturePreset(RackModel& rack) {
  PresetDocument document;
  document.rows = rack.rows;
  document.oversamplingFactor = rack.engine.oversamplingFactor;
  document.oversamplingFilter = rack.engine.filterMenuIndex;
  document.voices = rack.engine.voiceCount;
  document.highestParameterIndex = rack.highestParameterIndex;
  document.author = rack.author;
  document.description = rack.description;
  const std::lock_guard lock(rack.engine.processingLock);
  int nextPoint = 0;
  for (Module* module : rack.modules[0]) {
    document.modules.push_back(CaptureModule(*module, &nextPoint));
  }
  document.patchPointCount = nextPoint;
  for (const Cable* cable = rack.cableList.head; cable; cable = cable->next) {
    if (cable->voiceTag != 0) continue;
    document.cables.push_back(
        {cable->destination->patchIndex, cable->origin->patchIndex, cable->colour});
  }
  return document;
}

bool ApplyPreset(const PresetDocument& document, RackModel& rack) {
  return PresetLoader(document, rack).Run();
}

}  // namespace halveron
