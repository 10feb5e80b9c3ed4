#include <algorithm>
#include <climits>
#include <cmath>
#include <iterator>
#include <set>

#include "framework/module.h"
#include "framework/oversampling_filters.h"
#include "platform/file_error.h"
#include "platform/whole_file.h"
#include "presets/base64.h"
#include "presets/json_place.h"
#include "presets/kept_record.h"
#include "presets/nearest_name.h"
#include "presets/preset_format.h"
#include "presets/text_patch.h"

namespace halveron {

using platform::FileError;

namespace {

using ModuleEntry = TextPatch::ModuleEntry;
using CableEntry = TextPatch::CableEntry;

void ParseOversampling(const JsonPlace& place, TextPatch& patch) {
  place.RequireObject({"factor", "filter"});
  if (const auto factor = place.Find("factor")) {
    patch.oversamplingFactor = factor->Integer(1, kMostOversampling);
    if ((patch.oversamplingFactor & (patch.oversamplingFactor - 1)) != 0) {
      factor->Fail(std::to_string(patch.oversamplingFactor) + " is not a power of two",
                   "give 1, 2, 4 and so on up to 256");
    }
  }
  if (const auto filter = place.Find("filter")) {
    patch.oversamplingFilter = filter->Integer(0, kOversamplingFilters - 1);
  }
}

/// A place in grid units of so many pixels at the reference scale, within what a preset can hold.
double GridNumber(const JsonPlace& place, int unit) {
  const double number = place.Number();
  const int most = kFarthestPresetPosition / unit;
  if (!(std::abs(number) * unit <= kFarthestPresetPosition)) {
    place.Fail(place.Shown() + " is out of range",
               "give " + std::to_string(-most) + " to " + std::to_string(most));
  }
  return number;
}

void ParsePlace(const JsonPlace& place, ModuleEntry& entry) {
  const auto row = place.Find("row");
  const auto column = place.Find("column");
  if (!row && !column) return;
  if (!row || !column) place.Fail("row and column go together", "give both or neither");
  entry.place = {GridNumber(*row, kReferencePanelHeight), GridNumber(*column, kReferenceUnitWidth)};
}

PatchValue ParseValue(const JsonPlace& place) {
  if (place.IsList()) {
    PatchValue::List list;
    for (const JsonPlace& element : place.Elements()) list.push_back(ParseValue(element));
    return {list};
  }
  if (place.IsObject()) {
    PatchValue::Members members;
    for (const auto& [key, member] : place.Members()) {
      members.push_back({key, ParseValue(member)});
    }
    return {members};
  }
  if (place.IsNumber()) return {place.Number()};
  if (place.IsText()) return {place.Text()};
  return {std::monostate()};  // the module says what it takes
}

void ParseOwnKey(const JsonPlace& place, ModuleEntry& entry) {
  for (const char* key : kPatchKeys) {
    const auto value = place.Find(key);
    if (!value) continue;
    if (entry.ownKey) place.Fail(Quoted(entry.ownKey->first) + " and " + Quoted(key) + " together");
    entry.ownKey.emplace(key, ParseValue(*value));
  }
}

ModuleEntry ParseModule(const JsonPlace& place) {
  std::vector<std::string> keys{"id",         "name", "vendor",     "row",         "column",
                                "controls",   "mono", "always_on",  "oversampled", "bandlimit",
                                "clip_level", "data", "parameters", "version",     "saved"};
  keys.insert(keys.end(), kPatchKeys.begin(), kPatchKeys.end());
  place.RequireObject(keys);
  ModuleEntry entry;
  const JsonPlace id = place.Require("id");
  entry.id = id.Text();
  if (entry.id.empty() || entry.id.find('.') != std::string::npos) {
    id.Fail("an id must have letters and no dot");
  }
  entry.name = place.Require("name").Text();
  const auto vendor = place.Find("vendor");
  entry.vendor = vendor ? vendor->Text() : kBuiltInVendor;
  ParsePlace(place, entry);
  if (const auto controls = place.Find("controls")) {
    for (const auto& [role, value] : controls->Members()) {
      entry.controls.emplace_back(role, value.Number());
    }
  }
  if (const auto mono = place.Find("mono")) entry.mono = mono->Flag();
  if (const auto alwaysOn = place.Find("always_on")) entry.alwaysOn = alwaysOn->Flag();
  if (const auto flag = place.Find("oversampled")) entry.oversampled = flag->Flag();
  if (const auto mode = place.Find("bandlimit")) entry.bandlimit = mode->Integer(-1, 1);
  if (const auto level = place.Find("clip_level")) {
    entry.clipLevel = static_cast<float>(level->Number());
    if (!std::isfinite(*entry.clipLevel)) {
      level->Fail(level->Shown() + " is out of range", "give a linear level, 4 for +12 dB");
    }
  }
  if (const auto data = place.Find("data")) {
    entry.data = DecodeBase64(data->Text());
    if (!entry.data) data->Fail("is not valid base64", "copy it completely, without blanks");
  }
  if (const auto version = place.Find("version")) {
    entry.version = version->Integer(INT_MIN, INT_MAX);
  }
  if (const auto saved = place.Find("saved")) {
    entry.saved = ParseSaved(*saved);
    for (const char* other : {"controls", "parameters"}) {
      if (const auto both = place.Find(other))
        both->Fail("does not go with \"saved\"", "remove it");
    }
  }
  ParseOwnKey(place, entry);
  if (entry.saved && entry.ownKey) {
    place.Find(entry.ownKey->first)->Fail("does not go with \"saved\"", "remove it");
  }
  if (const auto parameters = place.Find("parameters")) {
    entry.parameters.emplace();
    for (const auto& [role, index] : parameters->Members()) {
      entry.parameters->emplace_back(role, index.Integer(0, kParameterCount - 1));
    }
  }
  return entry;
}

/// An end is "id.Role"; ids have no dot, roles may.
void ParseEnd(const JsonPlace& place, const std::vector<std::string>& ids, std::string& id,
              std::string& role) {
  const std::string text = place.Text();
  const auto point = text.find('.');
  if (point == std::string::npos) {
    place.Fail(Quoted(text) + " names no patch point", "write id.Role, such as \"vco.Saw\"");
  }
  id = text.substr(0, point);
  role = text.substr(point + 1);
  if (std::find(ids.begin(), ids.end(), id) != ids.end()) return;
  place.Fail("no module has the id " + Quoted(id),
             ids.empty() ? "add the module" : DidYouMean(id, ids));
}

CableEntry ParseCable(const JsonPlace& place, const std::vector<std::string>& ids) {
  place.RequireObject({"from", "to", "colour"});
  CableEntry entry;
  ParseEnd(place.Require("from"), ids, entry.fromId, entry.fromRole);
  ParseEnd(place.Require("to"), ids, entry.toId, entry.toRole);
  if (const auto colour = place.Find("colour")) {
    const std::vector<std::string> names(std::begin(kCableColourNames),
                                         std::end(kCableColourNames));
    const auto found = std::find(names.begin(), names.end(), colour->Text());
    if (found == names.end()) {
      colour->Fail("no colour " + Quoted(colour->Text()), DidYouMean(colour->Text(), names));
    }
    entry.colour = static_cast<int>(found - names.begin()) + 1;
  }
  return entry;
}

TextPatch::MidiEntry ParseMidi(const JsonPlace& place, const std::vector<std::string>& ids) {
  place.RequireObject({"control", "controller", "channel", "from", "to", "pick_up"});
  TextPatch::MidiEntry entry;
  ParseEnd(place.Require("control"), ids, entry.id, entry.role);
  MidiBinding& binding = entry.binding;
  binding.controller = place.Require("controller").Integer(0, MidiBinding::kControllers - 1);
  if (const auto channel = place.Find("channel")) binding.channel = channel->Integer(1, 16) - 1;
  if (const auto from = place.Find("from")) binding.from = static_cast<float>(from->Number());
  if (const auto to = place.Find("to")) binding.to = static_cast<float>(to->Number());
  if (const auto pickUp = place.Find("pick_up")) binding.pickUp = pickUp->Flag();
  return entry;
}

/// A text in UTF-8, or the bytes of one in another encoding.
std::string ParseAnyText(const JsonPlace& root, const std::string& key) {
  if (const auto encoded = root.Find(key + "_base64")) {
    const auto bytes = DecodeBase64(encoded->Text());
    if (!bytes) encoded->Fail("is not valid base64", "copy it completely, without blanks");
    return {reinterpret_cast<const char*>(bytes->data()), bytes->size()};
  }
  const auto text = root.Find(key);
  return text ? text->Text() : std::string();
}

}  // namespace

TextPatch ParseTextPatch(const std::string& text, const std::string& file) {
  const JsonPlace::Json document = ParseJson(text, file);
  const JsonPlace root(document, file, "");
  root.RequireObject({"halveron", "rows", "voices", "author", "description", "author_base64",
                      "description_base64", "oversampling", "highest_parameter", "modules",
                      "cables", "midi"});
  const JsonPlace version = root.Require("halveron");
  if (version.Integer(1, 1000000) > TextPatch::kVersion) {
    version.Fail("a patch of a later version", "use a later Halveron");
  }
  TextPatch patch;
  if (const auto rows = root.Find("rows")) patch.rows = rows->Integer(1, kMostRackRows);
  if (const auto voices = root.Find("voices")) patch.voices = voices->Integer(1, kMaxVoices);
  patch.author = ParseAnyText(root, "author");
  patch.description = ParseAnyText(root, "description");
  if (const auto highest = root.Find("highest_parameter")) {
    patch.highestParameter = highest->Integer(-1, kParameterCount - 1);
  }
  if (const auto oversampling = root.Find("oversampling")) ParseOversampling(*oversampling, patch);
  std::vector<std::string> ids;
  if (const auto modules = root.Find("modules")) {
    std::set<std::string> seen;
    for (const JsonPlace& place : modules->Elements()) {
      patch.modules.push_back(ParseModule(place));
      const std::string& id = patch.modules.back().id;
      if (!seen.insert(id).second) {
        place.Require("id").Fail("the id " + Quoted(id) + " is used twice",
                                 "give each module an id of its own");
      }
      ids.push_back(id);
    }
  }
  if (const auto cables = root.Find("cables")) {
    for (const JsonPlace& place : cables->Elements()) {
      patch.cables.push_back(ParseCable(place, ids));
    }
  }
  if (const auto bindings = root.Find("midi")) {
    for (const JsonPlace& place : bindings->Elements()) patch.midi.push_back(ParseMidi(place, ids));
  }
  return patch;
}

TextPatch ReadTextPatch(const std::string& path) {
  const std::vector<std::byte> bytes = platform::ReadWholeFile(path);
  const std::string text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  return ParseTextPatch(text, path);
}

}  // namespace halveron
