#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstring>
#include <map>
#include <nlohmann/json.hpp>

#include "framework/module.h"
#include "framework/rack_model.h"
#include "presets/base64.h"
#include "presets/module_roles.h"
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

/// What a module's preset holds beyond the control values.
std::vector<std::byte> PrivateData(Module& module) {
  const int size = module.GetPresetSize();
  const int controls = module.GetControlValuesSize();
  if (size <= controls) return {};
  std::vector<std::byte> preset(static_cast<std::size_t>(size));
  module.SavePreset(preset.data(), size);
  return {preset.begin() + controls, preset.end()};
}

template <class T>
std::optional<T> UnlessDefault(T value, T usual) {
  return value == usual ? std::nullopt : std::optional<T>(value);
}

TextPatch::ModuleEntry DescribeModule(Module& module, const Module& usual, std::string id) {
  TextPatch::ModuleEntry entry;
  entry.id = std::move(id);
  entry.name = module.GetName();
  entry.vendor = module.GetVendorName();
  const CRect& view = module.getViewSize();
  entry.place = {static_cast<int>(std::lround(view.top / panelHeight)),
                 static_cast<int>(std::lround(view.left / panelUnitWidth))};
  for (const auto& [control, index] : SettableControls(module)) {
    entry.controls.emplace_back(control->role, Shortest(control->getValue()));
  }
  entry.mono = UnlessDefault(module.mono, usual.mono);
  entry.alwaysOn = UnlessDefault(module.alwaysOn, usual.alwaysOn);
  entry.oversampled = UnlessDefault(module.oversampled, usual.oversampled);
  entry.bandlimit = UnlessDefault(module.GetBandlimitMode(), usual.GetBandlimitMode());
  entry.clipLevel = UnlessDefault(module.GetClipLevel(), usual.GetClipLevel());
  auto data = PrivateData(module);
  if (!data.empty()) entry.data = std::move(data);
  return entry;
}

Json FormatModule(const TextPatch::ModuleEntry& entry) {
  Json json{{"id", entry.id}, {"name", entry.name}};
  if (entry.vendor != kBuiltInVendor) json["vendor"] = entry.vendor;
  if (entry.place) {
    json["row"] = entry.place->row;
    json["column"] = entry.place->column;
  }
  for (const auto& [role, value] : entry.controls) json["controls"][role] = value;
  if (entry.mono) json["mono"] = *entry.mono;
  if (entry.alwaysOn) json["always_on"] = *entry.alwaysOn;
  if (entry.oversampled) json["oversampled"] = *entry.oversampled;
  if (entry.bandlimit) json["bandlimit"] = *entry.bandlimit;
  if (entry.clipLevel) json["clip_level"] = Shortest(*entry.clipLevel);
  if (entry.data) json["data"] = EncodeBase64(*entry.data);
  return json;
}

}  // namespace

TextPatch DescribeRack(RackModel& rack, int oversamplingFilter) {
  TextPatch patch;
  patch.rows = rack.rows;
  patch.voices = rack.engine.voiceCount;
  patch.author = rack.author;
  patch.description = rack.description;
  patch.oversamplingFactor = rack.engine.oversamplingFactor;
  patch.oversamplingFilter = oversamplingFilter;

  ScratchRack scratch(rack);
  std::map<std::string, int> idUses;
  std::map<const Module*, std::string> ids;
  for (Module* module : rack.modules[0]) {
    const Module* usual = scratch.Add(module->GetName(), module->GetVendorName());
    const std::string id = MakeId(module->GetName(), idUses);
    ids[module] = id;
    patch.modules.push_back(DescribeModule(*module, usual ? *usual : *module, id));
  }
  for (const CableList* list : {&rack.cableList, &rack.sumCableList}) {
    for (const Cable* cable = list->head; cable; cable = cable->next) {
      // Cables of the further voices follow from those of the first.
      const auto from = ids.find(cable->origin->Owner());
      const auto to = ids.find(cable->destination->Owner());
      if (cable->voiceTag != 0 || from == ids.end() || to == ids.end()) continue;
      patch.cables.push_back({from->second, cable->origin->role, to->second,
                              cable->destination->role,
                              cable->colour == kMidiCableColour ? 1 : cable->colour});
    }
  }
  return patch;
}

std::string FormatTextPatch(const TextPatch& patch) {
  Json json{{"halveron", TextPatch::kVersion},
            {"rows", patch.rows},
            {"voices", patch.voices},
            {"author", patch.author},
            {"description", patch.description}};
  json["oversampling"] =
      Json{{"factor", patch.oversamplingFactor}, {"filter", patch.oversamplingFilter}};
  json["modules"] = Json::array();
  for (const auto& entry : patch.modules) json["modules"].push_back(FormatModule(entry));
  json["cables"] = Json::array();
  for (const auto& entry : patch.cables) {
    json["cables"].push_back(Json{{"from", entry.fromId + "." + entry.fromRole},
                                  {"to", entry.toId + "." + entry.toRole},
                                  {"colour", kCableColourNames[entry.colour - 1]}});
  }
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace halveron
