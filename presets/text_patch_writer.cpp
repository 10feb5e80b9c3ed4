#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstring>
#include <map>
#include <nlohmann/json.hpp>

#include "framework/module.h"
#include "framework/rack_model.h"
#include "platform/file_error.h"
#include "presets/base64.h"
#include "presets/module_roles.h"
#include "presets/preset_rack.h"
#include "presets/scratch_rack.h"
#include "presets/text_patch.h"

namespace halveron {

namespace {

using Json = nlohmann::ordered_json;

/// The double with the fewest digits that is this float again.
double Shortest(float value) {
  char digits[32];
  const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
  double shortest = value;
  std::from_chars(std::begin(digits), end, shortest);
  return static_cast<float>(shortest) == value ? shortest : static_cast<double>(value);
}

/// The first word of the name in small letters, and a number from the second such module on.
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

/// The value that a preset's record holds for a control; 0 if it ends before.
float SavedValue(const PresetModule& record, std::size_t savedIndex) {
  float value = 0.0f;
  if ((savedIndex + 1) * sizeof value <= record.data.size()) {
    std::memcpy(&value, record.data.data() + savedIndex * sizeof value, sizeof value);
  }
  return value;
}

/// `usual` is a fresh module of the kind.
TextPatch::ModuleEntry DescribeModule(const PresetModule& record, Module& usual, std::string id) {
  TextPatch::ModuleEntry entry;
  entry.id = std::move(id);
  entry.name = record.name;
  entry.vendor = record.vendor;
  entry.place = {static_cast<double>(record.y) / kReferencePanelHeight,
                 static_cast<double>(record.x) / kReferenceUnitWidth};
  for (const auto& [control, savedIndex, isLamp] : SettableControls(usual)) {
    const float value = SavedValue(record, savedIndex);
    if (isLamp && value == 0.0f) continue;
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
  return entry;
}

using Parameters = std::vector<std::pair<std::string, int>>;

/// The host parameters of a record's controls, by role.
Parameters ParametersOf(const PresetModule& record, const Module& usual) {
  Parameters parameters;
  for (const auto& [control, savedIndex, isLamp] : SettableControls(usual)) {
    if (savedIndex >= record.indices.size()) break;
    const int index = record.indices[savedIndex];
    if (index >= 0 && index < kParameterCount) parameters.emplace_back(control->role, index);
  }
  return parameters;
}

/// Where a patch point of a preset's numbering lies.
struct NumberedPoint {
  std::string id;
  const PatchPoint* point;
};

TextPatch::CableEntry DescribeCable(const PresetCable& cable,
                                    const std::vector<NumberedPoint>& points) {
  const NumberedPoint* to = &points[static_cast<std::size_t>(cable.from)];
  const NumberedPoint* from = &points[static_cast<std::size_t>(cable.to)];
  if (to->point->type == kOutputPoint || from->point->type == kInputPoint) std::swap(from, to);
  return {from->id, from->point->role, to->id, to->point->role,
          cable.colour == kMidiCableColour ? 1 : cable.colour};
}

/// A number on the grid is a whole one.
Json GridNumber(double number) {
  const double whole = std::round(number);
  return number == whole ? Json(static_cast<int>(whole)) : Json(number);
}

bool IsUtf8(const std::string& text) {
  try {
    (void)Json(text).dump();
    return true;
  } catch (const Json::type_error&) {
    return false;
  }
}

void FormatAnyText(Json& json, const std::string& key, const std::string& text) {
  if (IsUtf8(text)) {
    json[key] = text;
  } else {
    json[key + "_base64"] = EncodeBase64(std::as_bytes(std::span(text)));
  }
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
  if (entry.data) json["data"] = EncodeBase64(*entry.data);
  if (entry.parameters) {
    json["parameters"] = Json::object();
    for (const auto& [role, index] : *entry.parameters) json["parameters"][role] = index;
  }
  return json;
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
  bool usualParameters = true;
  for (const PresetModule& record : preset.modules) {
    Module* usual = scratch.Add(record.name, record.vendor);
    if (!usual) {
      throw platform::FileError(
          "", "", record.name + " " + record.vendor + " failed to load properly or was not found!");
    }
    const std::string id = MakeId(record.name, idUses);
    patch.modules.push_back(DescribeModule(record, *usual, id));
    parameters.push_back(ParametersOf(record, *usual));
    PresetModule fresh;
    fresh.indices.resize(static_cast<std::size_t>(usual->GetPatchPointIndicesSize()) / 4);
    usual->SavePatchPointIndices(fresh.indices.data());
    usualParameters = usualParameters && parameters.back() == ParametersOf(fresh, *usual);
    std::vector<PatchPoint*> own(static_cast<std::size_t>(usual->nbPatchPoints));
    int count = 0;
    usual->CollectPatchPoints(own.data(), &count, usual->nbPatchPoints);
    for (const PatchPoint* point : own) points.push_back({id, point});
  }
  const int usualHighest = scratch.Rack().highestParameterIndex;
  if (!usualParameters || preset.highestParameterIndex.value_or(usualHighest) != usualHighest) {
    patch.highestParameter = preset.highestParameterIndex;
    for (std::size_t i = 0; i < patch.modules.size(); ++i) {
      patch.modules[i].parameters = std::move(parameters[i]);
    }
  }
  for (const PresetCable& cable : preset.cables) {
    patch.cables.push_back(DescribeCable(cable, points));
  }
  return patch;
}

TextPatch DescribeRack(RackModel& rack) { return ToText(CapturePreset(rack), rack); }

bool IsOfPresentVersions(const PresetDocument& preset, RackModel& rack) {
  if (preset.version != kPresetVersion) return false;
  ScratchRack scratch(rack);
  for (const PresetModule& record : preset.modules) {
    Module* usual = scratch.Add(record.name, record.vendor);
    if (!usual || usual->GetVersion() != record.version ||
        usual->GetPresetSize() != static_cast<int>(record.data.size()) ||
        usual->nbPatchPoints != record.patchPointCount) {
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
  return json.dump(2) + "\n";
}

}  // namespace halveron
