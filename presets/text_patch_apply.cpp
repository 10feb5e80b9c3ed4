#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>

#include "framework/module.h"
#include "framework/rack_model.h"
#include "platform/file_error.h"
#include "presets/kept_record.h"
#include "presets/midi_bindings.h"
#include "presets/module_roles.h"
#include "presets/nearest_name.h"
#include "presets/preset_format.h"
#include "presets/preset_rack.h"
#include "presets/scratch_rack.h"
#include "presets/text_patch.h"

namespace halveron {

using platform::FileError;

namespace {

using ModuleEntry = TextPatch::ModuleEntry;
using CableEntry = TextPatch::CableEntry;

/// Modules without a place fill rows up to this column.
constexpr int kAutomaticColumns = 64;

std::string Shown(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

int ColumnsOf(const Module& module) {
  return std::max(1, static_cast<int>(std::lround(module.getViewSize().getWidth() /
                                                  std::max(panelUnitWidth, 1))));
}

/// Writes the control values of the entry into a preset of the module.
void OverwriteControls(std::vector<std::byte>& preset, const Module& module,
                       const ModuleEntry& entry) {
  for (const auto& [control, savedIndex, isLamp] : SettableControls(module)) {
    for (const auto& [role, value] : entry.controls) {
      if (role != control->role) continue;
      const auto stored = static_cast<float>(value);
      std::memcpy(preset.data() + savedIndex * sizeof stored, &stored, sizeof stored);
    }
  }
}

/// The module's preset with the settings of the entry.
std::vector<std::byte> PresetOf(Module& module, const ModuleEntry& entry) {
  const auto controlBytes = static_cast<std::size_t>(module.GetControlValuesSize());
  std::vector<std::byte> preset(static_cast<std::size_t>(module.GetPresetSize()));
  module.SavePreset(preset.data(), static_cast<int>(preset.size()));
  OverwriteControls(preset, module, entry);
  if (entry.data) {
    preset.resize(controlBytes);
    preset.insert(preset.end(), entry.data->begin(), entry.data->end());
  }
  return preset;
}

/// What a control of the scratch rack makes of a value.
float TakenBy(CControl& control, float value) {
  control.setValue(value);
  const auto* knob = dynamic_cast<const ModuleKnob*>(&control);
  return knob && knob->stepped ? knob->Cell().stepped_target : control.getValue();
}

/// Checks a patch against modules in a scratch rack.
class PatchCheck {
 public:
  PatchCheck(const TextPatch& patch, const std::string& file, RackModel& rack,
             std::span<const KnownModule> known, PatchWarnings* warnings)
      : patch_(patch), file_(file), known_(known), warnings_(warnings), scratch_(rack) {}

  /// The preset of the patch's rack.
  PresetDocument Run() {
    for (std::size_t i = 0; i < patch_.modules.size(); ++i) CheckModule(i);
    PlaceModules();
    for (const ModuleEntry& entry : patch_.modules) SetUp(entry);
    SetParameters();
    for (std::size_t i = 0; i < patch_.cables.size(); ++i) CheckCable(i);
    for (std::size_t i = 0; i < patch_.midi.size(); ++i) CheckMidi(i);
    PresetDocument document = CapturePreset(scratch_.Rack());
    for (std::size_t i = 0; i < patch_.modules.size(); ++i) Refine(document.modules[i], i);
    document.rows = patch_.rows;
    document.voices = patch_.voices;
    document.author = patch_.author;
    document.description = patch_.description;
    document.oversamplingFactor = patch_.oversamplingFactor;
    document.oversamplingFilter = patch_.oversamplingFilter;
    return document;
  }

 private:
  [[noreturn]] void Fail(const std::string& place, const std::string& cause,
                         const std::string& remedy = {}) const {
    throw FileError(file_, place, cause, remedy);
  }

  void Warn(const std::string& place, const std::string& cause) const {
    if (warnings_) warnings_->push_back(FileError(file_, place, cause).what());
  }

  static std::string PlaceOf(std::size_t index, const std::string& key) {
    return "modules[" + std::to_string(index) + "]." + key;
  }

  /// Keeps what is saved of a module, whether it is there or not: its numbers mean no roles here.
  Module& MakePlaceholder(std::size_t index) {
    const ModuleEntry& entry = patch_.modules[index];
    for (const auto& [key, text] : {std::pair{"name", &entry.name}, {"vendor", &entry.vendor}}) {
      if (text->size() < kMostPresetTextBytes && text->find('\0') == std::string::npos) continue;
      Fail(PlaceOf(index, key), "is no text of at most " +
                                    std::to_string(kMostPresetTextBytes - 1) +
                                    " bytes without NUL");
    }
    auto* made = new Placeholder(PlanOf(entry), scratch_.Rack().hostTable, 0);
    return *scratch_.Rack().AdoptModule(made);
  }

  Module& Make(std::size_t index) {
    const ModuleEntry& entry = patch_.modules[index];
    if (entry.saved) return MakePlaceholder(index);
    std::vector<std::string> names, vendors;
    const KnownModule* found = nullptr;
    for (const KnownModule& known : known_) {
      names.push_back(known.name);
      if (known.name == entry.name) vendors.push_back(known.vendor);
      if (known.name == entry.name && known.vendor == entry.vendor) found = &known;
    }
    if (Module* module = scratch_.Add(entry.name, entry.vendor)) return *module;
    if (found) {
      Fail(PlaceOf(index, "name"),
           found->canBeMade ? "the module " + Quoted(entry.name) + " cannot be made"
                            : "the module " + Quoted(entry.name) + " is not available yet",
           "use another one");
    }
    if (!vendors.empty()) {
      Fail(PlaceOf(index, "vendor"), "no " + Quoted(entry.name) + " of " + Quoted(entry.vendor),
           DidYouMean(entry.vendor, vendors));
    }
    Fail(PlaceOf(index, "name"), "no module " + Quoted(entry.name),
         DidYouMeanModule(entry.name, names));
  }

  void CheckModule(std::size_t index) {
    const ModuleEntry& entry = patch_.modules[index];
    Module& module = Make(index);
    modules_[entry.id] = &module;
    if (entry.saved) return;
    for (const auto& [role, value] : entry.controls) CheckControl(index, module, role, value);
    CheckOptions(index, module);
    if (entry.data) CheckData(index, module);
    if (entry.ownKey) TakeOwnKey(index, module);
    if (entry.parameters) CheckParameters(index, module);
  }

  /// Options that the module's menu does not offer; presets may hold them.
  void CheckOptions(std::size_t index, const Module& module) const {
    const ModuleEntry& entry = patch_.modules[index];
    const std::string name = Quoted(entry.name);
    if (entry.mono && *entry.mono != module.mono && !module.monoSelectable) {
      Warn(PlaceOf(index, "mono"), "not selectable for " + name);
    }
    if (entry.oversampled && *entry.oversampled != module.oversampled &&
        !module.oversamplingSelectable) {
      Warn(PlaceOf(index, "oversampled"), "not selectable for " + name);
    }
    if (entry.bandlimit && module.GetBandlimitMode() == -1) {
      Warn(PlaceOf(index, "bandlimit"), name + " has no choice of band limit");
    }
    if (!entry.clipLevel) return;
    if (module.GetClipLevel() == -1.0f) {
      Warn(PlaceOf(index, "clip_level"), name + " does not clip");
    } else if (*entry.clipLevel <= 0.0f) {
      Warn(PlaceOf(index, "clip_level"), Shown(*entry.clipLevel) + " is not above 0");
    }
  }

  void CheckParameters(std::size_t index, const Module& module) {
    hasParameters_ = true;
    std::vector<std::string> roles;
    for (const auto& [control, savedIndex, isLamp] : SettableControls(module)) {
      if (!isLamp) roles.emplace_back(control->role);
    }
    for (const auto& [role, number] : *patch_.modules[index].parameters) {
      const std::string place = PlaceOf(index, "parameters[\"" + role + "\"]");
      if (std::find(roles.begin(), roles.end(), role) == roles.end()) {
        Fail(place, Quoted(module.GetName()) + " has no control " + Quoted(role),
             DidYouMean(role, roles));
      }
      if (!parameterNumbers_.insert(number).second) {
        Fail(place, "parameter " + std::to_string(number) + " is used twice",
             "give each control a number of its own");
      }
    }
  }

  /// Gives the module in the scratch rack the state of the entry.
  void SetUp(const ModuleEntry& entry) {
    Module& module = *modules_[entry.id];
    CRect view = module.getViewSize();
    view.moveTo(std::round(entry.place->column * panelUnitWidth),
                std::round(entry.place->row * panelHeight));
    module.setViewSize(view);
    if (entry.mono) module.mono = *entry.mono;
    if (entry.oversampled) module.oversampled = *entry.oversampled;
    if (entry.alwaysOn) module.alwaysOn = *entry.alwaysOn;
    if (entry.bandlimit) module.SetBandlimitMode(*entry.bandlimit);
    if (entry.clipLevel) module.SetClipLevel(*entry.clipLevel);
    if (entry.saved) LoadKept(entry, static_cast<Placeholder&>(module));
    if (entry.saved || (entry.controls.empty() && !entry.data)) return;
    const std::vector<std::byte> preset = PresetOf(module, entry);
    module.LoadPreset(preset.data(), static_cast<int>(preset.size()),
                      entry.version.value_or(module.GetVersion()));
  }

  /// Writes the values of the text into the record: a loaded module changes its lamps and rounds
  /// its position and its options.
  void Refine(PresetModule& record, std::size_t index) {
    const ModuleEntry& entry = patch_.modules[index];
    if (entry.mono) record.mono = entry.mono;
    if (entry.oversampled) record.oversampled = *entry.oversampled;
    if (entry.bandlimit) record.bandlimitMode = *entry.bandlimit;
    if (entry.clipLevel) record.clipLevel = entry.clipLevel;
    Module& module = *modules_[entry.id];
    record.x = static_cast<int>(std::lround(entry.place->column * kReferenceUnitWidth));
    record.y = static_cast<int>(std::lround(entry.place->row * kReferencePanelHeight));
    if (entry.saved) return;
    OverwriteControls(record.data, module, entry);
    if (!entry.data) return;
    if (entry.version) record.version = *entry.version;
    record.data.resize(static_cast<std::size_t>(module.GetControlValuesSize()));
    record.data.insert(record.data.end(), entry.data->begin(), entry.data->end());
  }

  void SetParameters() {
    RackModel& rack = scratch_.Rack();
    if (hasParameters_) {
      for (Module* module : rack.modules[0]) module->UnregisterControls();
      for (const ModuleEntry& entry : patch_.modules) {
        if (!entry.parameters) continue;
        for (const auto& [control, savedIndex, isLamp] : SettableControls(*modules_[entry.id])) {
          for (const auto& [role, number] : *entry.parameters) {
            if (!isLamp && role == control->role) rack.parameters.RegisterTag(control, number);
          }
        }
      }
    }
    for (const ModuleEntry& entry : patch_.modules) {
      if (!entry.saved) continue;
      LoadKeptParameters(entry, static_cast<Placeholder&>(*modules_[entry.id]));
    }
    if (patch_.highestParameter) rack.parameters.highestParameterIndex = *patch_.highestParameter;
  }

  void CheckControl(std::size_t index, const Module& module, const std::string& role,
                    double value) const {
    const std::string place = PlaceOf(index, "controls[\"" + role + "\"]");
    std::vector<std::string> roles;
    for (const auto& [control, savedIndex, isLamp] : SettableControls(module)) {
      roles.emplace_back(control->role);
      if (role != control->role) continue;
      const auto stored = static_cast<float>(value);
      if (stored >= control->getMin() && stored <= control->getMax()) return;
      if (!std::isfinite(stored)) {
        Fail(place, Shown(value) + " is out of range",
             "give a number from " + Shown(control->getMin()) + " to " + Shown(control->getMax()));
      }
      const std::string bound = stored > control->getMax()
                                    ? " is above " + Shown(control->getMax())
                                    : " is below " + Shown(control->getMin());
      const float taken = TakenBy(*control, stored);
      Warn(place, Shown(value) + bound + "; " +
                      (taken == stored ? "it is used all the same" : Shown(taken) + " is used"));
      return;
    }
    Fail(place, Quoted(module.GetName()) + " has no control " + Quoted(role),
         DidYouMean(role, roles));
  }

  /// Data of the module's version is valid if the module saves as many bytes after loading it.
  void CheckData(std::size_t index, Module& module) const {
    const ModuleEntry& entry = patch_.modules[index];
    if (entry.version.value_or(module.GetVersion()) != module.GetVersion()) return;
    const int controls = module.GetControlValuesSize();
    const std::vector<std::byte> preset = PresetOf(module, entry);
    if (module.GetPresetSize() > controls) {
      module.LoadPreset(preset.data(), static_cast<int>(preset.size()), module.GetVersion());
    }
    const int taken = module.GetPresetSize() - controls;
    if (taken != static_cast<int>(entry.data->size())) {
      Fail(PlaceOf(index, "data"),
           std::to_string(entry.data->size()) + " bytes, " + Quoted(entry.name) + " takes " +
               std::to_string(taken),
           taken > 0 ? "copy it completely" : "remove the key");
    }
  }

  /// Has the module take its own key, and goes on with the data that it makes of it.
  void TakeOwnKey(std::size_t index, Module& module) {
    ModuleEntry& entry = patch_.modules[index];
    const auto& [key, value] = *entry.ownKey;
    auto* const taker = dynamic_cast<PatchKeyTaker*>(&module);
    if (!taker || key != taker->PatchKey()) {
      Fail(PlaceOf(index, key), Quoted(entry.name) + " takes no " + Quoted(key),
           taker ? "it takes " + Quoted(taker->PatchKey()) : "remove the key");
    }
    std::vector<std::byte> preset = PresetOf(module, entry);
    module.LoadPreset(preset.data(), static_cast<int>(preset.size()), module.GetVersion());
    try {
      taker->TakePatchKey(value, std::filesystem::path(file_).parent_path().string());
    } catch (const platform::UserError& error) {
      Fail(PlaceOf(index, key), error.what());
    }
    preset.resize(static_cast<std::size_t>(module.GetPresetSize()));
    module.SavePreset(preset.data(), static_cast<int>(preset.size()));
    entry.data.emplace(preset.begin() + module.GetControlValuesSize(), preset.end());
  }

  struct Area {
    double row;
    double begin;
    double end;
    std::size_t index;

    /// Areas of racks that were saved at another size may be a pixel off.
    bool Overlaps(const Area& other) const {
      constexpr double kSlackRows = 0.02, kSlackColumns = 0.2;
      return std::abs(row - other.row) < 1 - kSlackRows && begin < other.end - kSlackColumns &&
             other.begin < end - kSlackColumns;
    }
  };

  const Area* Overlapped(const Area& area) const {
    for (const Area& taken : areas_) {
      if (taken.Overlaps(area)) return &taken;
    }
    return nullptr;
  }

  void PlaceModules() {
    for (std::size_t i = 0; i < patch_.modules.size(); ++i) {
      const ModuleEntry& entry = patch_.modules[i];
      if (!entry.place) continue;
      const double begin = entry.place->column;
      const Area area{entry.place->row, begin, begin + ColumnsOf(*modules_[entry.id]), i};
      if (area.row < 0 || begin < 0 || area.row > patch_.rows - 1) {
        Warn(PlaceOf(i, "row"), Quoted(entry.id) + " lies outside the rack of " +
                                    std::to_string(patch_.rows) + " rows");
      }
      if (const Area* other = Overlapped(area)) {
        Warn(PlaceOf(i, "column"),
             Quoted(entry.id) + " overlaps " + Quoted(patch_.modules[other->index].id) +
                 "; the next column after that is " + Shown(std::ceil(other->end)));
      }
      areas_.push_back(area);
    }
    Area next{0, 0, 0, 0};
    for (ModuleEntry& entry : patch_.modules) {
      if (entry.place) continue;
      const int width = ColumnsOf(*modules_[entry.id]);
      next = FreeArea(next, width);
      entry.place = {next.row, next.begin};
      patch_.rows = std::max(patch_.rows, static_cast<int>(next.row) + 1);
      next.begin = next.end;
    }
  }

  /// The first free area of a width from a place on.
  Area FreeArea(Area from, int width) const {
    for (;;) {
      if (from.begin > 0 && from.begin + width > kAutomaticColumns) {
        ++from.row;
        from.begin = 0;
      }
      from.end = from.begin + width;
      const Area* other = Overlapped(from);
      if (!other) return from;
      from.begin = std::ceil(other->end);
    }
  }

  PatchPoint& CheckEnd(std::size_t index, CableEnd end) {
    const bool isOrigin = end == CableEnd::kOrigin;
    const CableEntry& entry = patch_.cables[index];
    const std::string& role = isOrigin ? entry.fromRole : entry.toRole;
    const Module& module = *modules_[isOrigin ? entry.fromId : entry.toId];
    if (PatchPoint* point = FindPoint(module, role, end)) return *point;
    const CableEnd otherEnd = isOrigin ? CableEnd::kDestination : CableEnd::kOrigin;
    std::vector<std::string> roles;
    for (const PatchPoint* point : PointsFor(module, end)) roles.emplace_back(point->role);
    const std::string name = Quoted(module.GetName());
    const std::string kind = isOrigin ? "output" : "input";
    Fail(CablePlace(index, end),
         FindPoint(module, role, otherEnd) ? Quoted(role) + " of " + name + " is not an " + kind
                                           : name + " has no " + kind + " " + Quoted(role),
         DidYouMean(role, roles));
  }

  static std::string CablePlace(std::size_t index, CableEnd end) {
    return "cables[" + std::to_string(index) + "]." + (end == CableEnd::kOrigin ? "from" : "to");
  }

  void CheckMidi(std::size_t index) {
    const TextPatch::MidiEntry& entry = patch_.midi[index];
    const std::string place = "midi[" + std::to_string(index) + "].control";
    const Module& module = *modules_[entry.id];
    std::vector<std::string> roles;
    for (const auto& [control, savedIndex, isLamp] : SettableControls(module)) {
      auto* knob = dynamic_cast<ModuleKnob*>(control);
      if (!knob) continue;
      roles.emplace_back(control->role);
      if (entry.role == control->role) return BindKnob(scratch_.Rack(), *knob, entry.binding);
    }
    Fail(place, Quoted(module.GetName()) + " has no knob " + Quoted(entry.role),
         DidYouMean(entry.role, roles));
  }

  void CheckCable(std::size_t index) {
    const CableEntry& entry = patch_.cables[index];
    PatchPoint& from = CheckEnd(index, CableEnd::kOrigin);
    PatchPoint& to = CheckEnd(index, CableEnd::kDestination);
    const std::string toName = Quoted(entry.toId + "." + entry.toRole);
    const std::string ends = Quoted(entry.fromId + "." + entry.fromRole) + " and " + toName;
    const std::string toPlace = CablePlace(index, CableEnd::kDestination);
    if (from.twoState != to.twoState) {
      Fail(toPlace, "a cable between MIDI and voltage, " + ends,
           "connect MIDI points to MIDI points only");
    }
    if (receiving_.contains(&to)) {
      Fail(toPlace, "a second cable into " + toName, "mix the signals first");
    }
    if (receiving_.contains(&from) || sending_.contains(&to)) {
      Fail(toPlace, "an either-way point would be input and output at once, " + ends,
           "use it as an input or as an output");
    }
    receiving_.insert(&to);
    sending_.insert(&from);
    scratch_.Rack().cables.ConnectCable(&to, &from, to.twoState ? kMidiCableColour : entry.colour,
                                        -1);
  }

  TextPatch patch_;
  const std::string& file_;
  std::span<const KnownModule> known_;
  PatchWarnings* warnings_;
  ScratchRack scratch_;
  std::map<std::string, Module*> modules_;
  std::vector<Area> areas_;
  std::set<const PatchPoint*> receiving_;
  std::set<const PatchPoint*> sending_;
  std::set<int> parameterNumbers_;
  bool hasParameters_ = false;
};

}  // namespace

PresetDocument ToPreset(const TextPatch& patch, const std::string& file, RackModel& rack,
                        std::span<const KnownModule> known, PatchWarnings* warnings) {
  return PatchCheck(patch, file, rack, known, warnings).Run();
}

void ApplyTextPatch(const TextPatch& patch, const std::string& file, RackModel& rack,
                    std::span<const KnownModule> known, PatchWarnings* warnings) {
  const PresetOutcome outcome = ApplyPreset(ToPreset(patch, file, rack, known, warnings), rack);
  if (!outcome) throw FileError(file, "", outcome.failure);
}

}  // namespace halveron
