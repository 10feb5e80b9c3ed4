#include <algorithm>
#include <bit>
#include <cctype>
#include <cmath>
#include <cstring>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "framework/module.h"
#include "framework/rack_model.h"
#include "platform/file_error.h"
#include "platform/utf8.h"
#include "presets/base64.h"
#include "presets/kept_record.h"
#include "presets/module_roles.h"
#include "presets/preset_rack.h"
#include "presets/scratch_rack.h"
#include "presets/shortest_number.h"
#include "presets/text_patch.h"

namespace halveron {

namespace {

using Json = nlohmann::ordered_json;

/// The first word of the name in lower case, with a number from the second such module on.
std::string MakeId(const std::string& name, std::map<std::string, int>& uses) {
  std::string id = name.substr(0, name.find(' '));
  std::transform(id.begin(), id.end(), id.begin(), [](unsigned char letter) {
    return letter == '.' ? '_' : static_cast<char>(std::tolower(letter));
  });
  if (id.empty()) id = "module";
  const int use = ++uses[id];
  return use == 1 ? id : id + "-" + std::to_string(use);
}

template <class T>
std::optional<T> UnlessDefault(T value, T usual) {
  return value == usual ? std::nullopt : std::optional<T>(value);
}

/// The saved value of a control; 0 if the data ends before it.
float SavedValue(const PresetModule& record, std::size_t savedIndex) {
  float value = 0.0f;
  if ((savedIndex + 1) * sizeof value <= record.data.size()) {
    std::memcpy(&value, record.data.data() + savedIndex * sizeof value, sizeof value);
  }
  return value;
}

/// `usual` is a new module of the class.
TextPatch::ModuleEntry DescribeModule(const PresetModule& record, Module& usual, std::string id) {
  TextPatch::ModuleEntry entry;
  entry.id = std::move(id);
  entry.name = record.name;
  entry.vendor = record.vendor;
  entry.place = {static_cast<double>(record.y) / kReferencePanelHeight,
                 static_cast<double>(record.x) / kReferenceUnitWidth};
  for (const auto& [control, savedIndex, isLamp] : SettableControls(usual)) {
    const float value = SavedValue(record, savedIndex);
    const auto isDark = [](float level) { return std::bit_cast<std::uint32_t>(level) == 0; };
    // Some lamps are lit in a new module.
    const bool isUsual = isLamp && isDark(value) && isDark(control->getValue());
    if (!std::isfinite(value) || isUsual) continue;
    entry.controls.emplace_back(control->role, Shortest(value));
  }
  if (record.mono) entry.mono = UnlessDefault(*record.mono, usual.mono);
  entry.alwaysOn = UnlessDefault(record.alwaysOn, usual.alwaysOn);
  entry.oversampled = UnlessDefault(record.oversampled, usual.oversampled);
  entry.bandlimit = UnlessDefault(record.bandlimitMode, usual.GetBandlimitMode());
  if (record.clipLevel) entry.clipLevel = UnlessDefault(*record.clipLevel, usual.GetClipLevel());
  const auto controlBytes = static_cast<std::size_t>(usual.GetControlValuesSize());
  if (record.data.size() > controlBytes) {
    entry.data.emplace(record.data.begin() + static_cast<std::ptrdiff_t>(controlBytes),
                       record.data.end());
  }
  const auto* taker = dynamic_cast<const PatchKeyTaker*>(&usual);
  if (auto value = taker && entry.data ? taker->PatchValueOf(*entry.data) : std::nullopt) {
    entry.ownKey.emplace(taker->PatchKey(), std::move(*value));
    entry.data.reset();
  }
  // Later versions of a library may save other data.
  if (entry.data && record.vendor != kBuiltInVendor) entry.version = record.version;
  return entry;
}

using Parameters = std::vector<std::pair<std::string, int>>;

/// The host parameters of a record's controls, by role. Each goes to one control only.
Parameters ParametersOf(const PresetModule& record, const Module& usual, std::set<int>& taken) {
  Parameters parameters;
  for (const auto& [control, savedIndex, isLamp] : SettableControls(usual)) {
    if (savedIndex >= record.indices.size()) break;
    const int index = record.indices[savedIndex];
    if (isLamp || index < 0 || index >= kParameterCount) continue;
    if (taken.insert(index).second) parameters.emplace_back(control->role, index);
  }
  return parameters;
}

/// A patch point by its number in the preset.
struct NumberedPoint {
  std::string id;
  const PatchPoint* point;
};

/// Describes the cables of a preset one after another, without those that loading leaves out.
class CableWriter {
 public:
  explicit CableWriter(std::vector<NumberedPoint> points) : points_(std::move(points)) {}

  std::optional<TextPatch::CableEntry> Describe(const PresetCable& cable) {
    const NumberedPoint* to = &points_[static_cast<std::size_t>(cable.from)];
    const NumberedPoint* from = &points_[static_cast<std::size_t>(cable.to)];
    if (!MayConnect(*to->point, *from->point)) return std::nullopt;
    if (to->point->type == kOutputPoint || from->point->type == kInputPoint) std::swap(from, to);
    if (receiving_.contains(to->point) || receiving_.contains(from->point) ||
        sending_.contains(to->point)) {
      return std::nullopt;
    }
    receiving_.insert(to->point);
    sending_.insert(from->point);
    return TextPatch::CableEntry{from->id, from->point->role, to->id, to->point->role,
                                 cable.colour == kMidiCableColour ? 1 : cable.colour};
  }

 private:
  std::vector<NumberedPoint> points_;
  std::set<const PatchPoint*> receiving_;
  std::set<const PatchPoint*> sending_;
};

/// Whole numbers are written without a fraction.
Json GridNumber(double number) {
  const double whole = std::round(number);
  return number == whole ? Json(static_cast<int>(whole)) : Json(number);
}

void FormatAnyText(Json& json, const std::string& key, const std::string& text) {
  if (platform::IsUtf8(text)) {
    json[key] = text;
  } else {
    json[key + "_base64"] = EncodeBase64(std::as_bytes(std::span(text)));
  }
}

Json FormatValue(const PatchValue& value) {
  if (const std::string* text = value.Text()) return *text;
  if (const double* number = value.Number()) {
    const auto rounded = static_cast<float>(*number);
    return rounded == *number ? Shortest(rounded) : *number;
  }
  if (const PatchValue::List* items = value.Items()) {
    Json json = Json::array();
    for (const PatchValue& item : *items) json.push_back(FormatValue(item));
    return json;
  }
  const PatchValue::Members* members = value.Object();
  if (!members) return nullptr;
  Json json = Json::object();
  for (const auto& [key, member] : *members) json[key] = FormatValue(member);
  return json;
}

Json FormatModule(const TextPatch::ModuleEntry& entry) {
  Json json{{"id", entry.id}, {"name", entry.name}};
  if (entry.vendor != kBuiltInVendor) json["vendor"] = entry.vendor;
  if (entry.place) {
    json["row"] = GridNumber(entry.place->row);
    json["column"] = GridNumber(entry.place->column);
  }
  for (const auto& [role, value] : entry.controls) json["controls"][role] = value;
  if (entry.mono) json["mono"] = *entry.mono;
  if (entry.alwaysOn) json["always_on"] = *entry.alwaysOn;
  if (entry.oversampled) json["oversampled"] = *entry.oversampled;
  if (entry.bandlimit) json["bandlimit"] = *entry.bandlimit;
  if (entry.clipLevel) json["clip_level"] = Shortest(*entry.clipLevel);
  if (entry.version) json["version"] = *entry.version;
  if (entry.saved) json["saved"] = FormatSaved(*entry.saved);
  if (entry.data) json["data"] = EncodeBase64(*entry.data);
  if (entry.ownKey) json[entry.ownKey->first] = FormatValue(entry.ownKey->second);
  if (entry.parameters) {
    json["parameters"] = Json::object();
    for (const auto& [role, index] : *entry.parameters) json["parameters"][role] = index;
  }
  return json;
}

Json FormatMidi(const TextPatch::MidiEntry& entry) {
  const MidiBinding& binding = entry.binding;
  const MidiBinding usual;
  Json json{{"control", entry.id + "." + entry.role}, {"controller", binding.controller}};
  if (binding.channel != MidiBinding::kAnyChannel) json["channel"] = binding.channel + 1;
  if (binding.from != usual.from) json["from"] = Shortest(binding.from);
  if (binding.to != usual.to) json["to"] = Shortest(binding.to);
  if (binding.pickUp) json["pick_up"] = true;
  return json;
}

/// Bindings by roles; `rack` has the modules of the preset. One to a control that the module does
/// not have here is left out, as loading leaves it out.
std::vector<TextPatch::MidiEntry> DescribeMidi(const PresetDocument& preset, const TextPatch& patch,
                                               const RackModel& rack) {
  std::vector<TextPatch::MidiEntry> entries;
  for (const PresetMidiBinding& bound : preset.midi) {
    const auto index = static_cast<std::size_t>(bound.module);
    if (index >= rack.modules[0].size()) continue;
    for (const auto& [control, savedIndex, isLamp] : SettableControls(*rack.modules[0][index])) {
      if (savedIndex != static_cast<std::size_t>(bound.control)) continue;
      entries.push_back({patch.modules[index].id, control->role, bound.binding});
    }
  }
  return entries;
}

}  // namespace

TextPatch ToText(const PresetDocument& preset, RackModel& rack) {
  TextPatch patch;
  patch.rows = preset.rows;
  patch.voices = preset.voices;
  patch.author = preset.author;
  patch.description = preset.description;
  patch.oversamplingFactor = preset.oversamplingFactor;
  patch.oversamplingFilter = preset.oversamplingFilter;

  ScratchRack scratch(rack);
  std::map<std::string, int> idUses;
  std::vector<NumberedPoint> points;
  std::vector<Parameters> parameters;
  std::set<int> taken, takenByUsual;
  bool usualParameters = true;
  for (const PresetModule& record : preset.modules) {
    if (!platform::IsUtf8(record.name) || !platform::IsUtf8(record.vendor)) {
      throw platform::FileError(
          "", "",
          "the name of module " + std::to_string(patch.modules.size() + 1) + " is not UTF-8",
          "a text patch cannot hold it; keep the preset (.hvp)");
    }
    Module* usual = scratch.Add(record.name, record.vendor);
    if (!usual) {
      throw platform::FileError(
          "", "", record.name + " " + record.vendor + " failed to load properly or was not found!");
    }
    const std::string id = MakeId(record.name, idUses);
    patch.modules.push_back(DescribeModule(record, *usual, id));
    auto pointCount = static_cast<std::size_t>(usual->GetNbPatchPoints());
    if (const auto* placeholder = dynamic_cast<const Placeholder*>(usual)) {
      DescribeKept(record, *placeholder, static_cast<int>(points.size()), patch.modules.back());
      pointCount = static_cast<std::size_t>(record.patchPointCount);
    }
    parameters.push_back(ParametersOf(record, *usual, taken));
    PresetModule fresh;
    fresh.indices.resize(static_cast<std::size_t>(usual->GetPatchPointIndicesSize()) / 4);
    usual->SavePatchPointIndices(fresh.indices.data());
    usualParameters =
        usualParameters && parameters.back() == ParametersOf(fresh, *usual, takenByUsual);
    std::vector<PatchPoint*> own(pointCount);
    int count = 0;
    usual->CollectPatchPoints(own.data(), &count, static_cast<int>(pointCount));
    for (const PatchPoint* point : own) points.push_back({id, point});
  }
  const int usualHighest = scratch.Rack().parameters.highestParameterIndex;
  if (!usualParameters || preset.highestParameterIndex.value_or(usualHighest) != usualHighest) {
    patch.highestParameter = preset.highestParameterIndex;
    for (std::size_t i = 0; i < patch.modules.size(); ++i) {
      if (!patch.modules[i].saved) patch.modules[i].parameters = std::move(parameters[i]);
    }
  }
  CableWriter writer(std::move(points));
  for (const PresetCable& cable : preset.cables) {
    if (auto entry = writer.Describe(cable)) patch.cables.push_back(std::move(*entry));
  }
  patch.midi = DescribeMidi(preset, patch, scratch.Rack());
  return patch;
}

TextPatch DescribeRack(RackModel& rack) { return ToText(CapturePreset(rack), rack); }

bool IsOfPresentVersions(const PresetDocument& preset, RackModel& rack) {
  if (preset.version != kPresetVersion) return false;
  ScratchRack scratch(rack);
  for (const PresetModule& record : preset.modules) {
    Module* usual = scratch.Add(record.name, record.vendor);
    // The data of some is as long as what they hold.
    const auto size = static_cast<int>(record.data.size());
    if (usual && usual->GetVersion() == record.version && usual->GetPresetSize() < size) {
      usual->LoadPreset(record.data.data(), size, record.version);
    }
    if (!usual || usual->GetVersion() != record.version || usual->GetPresetSize() != size ||
        usual->GetNbPatchPoints() != record.patchPointCount ||
        usual->GetPatchPointIndicesSize() / sizeof(std::int32_t) != record.indices.size()) {
      return false;
    }
  }
  return true;
}

std::string FormatTextPatch(const TextPatch& patch) {
  Json json{{"halveron", TextPatch::kVersion}, {"rows", patch.rows}, {"voices", patch.voices}};
  FormatAnyText(json, "author", patch.author);
  FormatAnyText(json, "description", patch.description);
  json["oversampling"] =
      Json{{"factor", patch.oversamplingFactor}, {"filter", patch.oversamplingFilter}};
  if (patch.highestParameter) json["highest_parameter"] = *patch.highestParameter;
  json["modules"] = Json::array();
  for (const auto& entry : patch.modules) json["modules"].push_back(FormatModule(entry));
  json["cables"] = Json::array();
  for (const auto& entry : patch.cables) {
    json["cables"].push_back(Json{{"from", entry.fromId + "." + entry.fromRole},
                                  {"to", entry.toId + "." + entry.toRole},
                                  {"colour", kCableColourNames[entry.colour - 1]}});
  }
  for (const auto& entry : patch.midi) json["midi"].push_back(FormatMidi(entry));
  return json.dump(2) + "\n";
}

}  // namespace halveron
