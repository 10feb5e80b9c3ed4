#include "presets/kept_record.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include "framework/host_parameters.h"
#include "presets/nearest_name.h"
#include "presets/shortest_number.h"

namespace halveron {

namespace {

using SavedEntry = TextPatch::SavedEntry;
using Json = nlohmann::ordered_json;

enum JackKind : std::size_t { kInput, kOutput, kEitherWay, kMidiInput, kMidiOutput };

std::string KindOf(const PatchPoint& point) {
  const JackKind kind = point.type == kEitherPoint   ? kEitherWay
                        : point.type == kOutputPoint ? (point.twoState ? kMidiOutput : kOutput)
                                                     : (point.twoState ? kMidiInput : kInput);
  return kJackKinds[kind];
}

PlaceholderPlan::Point PointOf(const std::string& kind) {
  PlaceholderPlan::Point point;
  point.isCabled = true;
  point.isMidi = kind == kJackKinds[kMidiInput] || kind == kJackKinds[kMidiOutput];
  point.type = kind == kJackKinds[kEitherWay]                                   ? kEitherPoint
               : kind == kJackKinds[kOutput] || kind == kJackKinds[kMidiOutput] ? kOutputPoint
                                                                                : kInputPoint;
  return point;
}

/// Whether data begins with a number for each entry that text can hold.
bool BeginsWithValues(const PresetModule& record) {
  if (record.data.size() < record.indices.size() * sizeof(float)) return false;
  for (std::size_t i = 0; i < record.indices.size(); ++i) {
    float value = 0;
    std::memcpy(&value, record.data.data() + i * sizeof value, sizeof value);
    if (!std::isfinite(value)) return false;
  }
  return true;
}

SavedEntry ParseEntry(const JsonPlace& place) {
  place.RequireObject({"value", "parameter", "tag", "jack"});
  SavedEntry entry;
  entry.index = TAG_UNASSIGNED;
  if (const auto value = place.Find("value")) {
    entry.value = static_cast<float>(value->Number());
    if (!std::isfinite(*entry.value)) value->Fail(value->Shown() + " is out of range");
  }
  if (const auto number = place.Find("parameter")) {
    entry.index = number->Integer(0, kParameterCount - 1);
  }
  if (const auto tag = place.Find("tag")) entry.index = tag->Integer(INT_MIN, INT_MAX);
  if (const auto jack = place.Find("jack")) {
    const std::vector<std::string> kinds(kJackKinds.begin(), kJackKinds.end());
    entry.jack = jack->Text();
    if (std::find(kinds.begin(), kinds.end(), *entry.jack) == kinds.end()) {
      jack->Fail("no kind of jack " + Quoted(*entry.jack), DidYouMean(*entry.jack, kinds));
    }
  }
  return entry;
}

}  // namespace

void DescribeKept(const PresetModule& record, const Placeholder& placeholder, int firstNumber,
                  TextPatch::ModuleEntry& entry) {
  const bool hasValues = BeginsWithValues(record);
  const std::vector<bool> isPoint = PointsAmong(record, firstNumber);
  const auto points = placeholder.Points();
  std::size_t point = 0;
  entry.saved.emplace();
  for (std::size_t i = 0; i < record.indices.size(); ++i) {
    SavedEntry& each = entry.saved->emplace_back();
    each.index = record.indices[i];
    if (hasValues) {
      each.value.emplace();
      std::memcpy(&*each.value, record.data.data() + i * sizeof(float), sizeof(float));
    }
    if (isPoint[i]) {
      each.jack = point < points.size() ? KindOf(*points[point]) : kJackKinds[kInput];
      ++point;
    }
  }
  const std::size_t begin = hasValues ? record.indices.size() * sizeof(float) : 0;
  entry.data.reset();
  if (record.data.size() > begin) {
    entry.data.emplace(record.data.begin() + static_cast<std::ptrdiff_t>(begin), record.data.end());
  }
  entry.version = record.version;
  entry.mono = record.mono;
  entry.alwaysOn = record.alwaysOn;
  entry.oversampled = record.oversampled;
  entry.bandlimit = record.bandlimitMode;
  entry.clipLevel = record.clipLevel;
}

std::vector<SavedEntry> ParseSaved(const JsonPlace& place) {
  std::vector<SavedEntry> saved;
  for (const JsonPlace& element : place.Elements()) {
    saved.push_back(ParseEntry(element));
    if (saved.back().value.has_value() != saved.front().value.has_value()) {
      element.Fail("some entries have a value and some have none",
                   "give each its value; without any, \"data\" holds them");
    }
  }
  return saved;
}

Json FormatSaved(const std::vector<SavedEntry>& saved) {
  Json list = Json::array();
  for (const SavedEntry& entry : saved) {
    Json each = Json::object();
    if (entry.value) each["value"] = Shortest(*entry.value);
    if (entry.jack) {
      each["jack"] = *entry.jack;
    } else if (entry.index >= 0 && entry.index < kParameterCount) {
      each["parameter"] = entry.index;
    } else if (entry.index != TAG_UNASSIGNED) {
      each["tag"] = entry.index;
    }
    list.push_back(std::move(each));
  }
  return list;
}

PlaceholderPlan PlanOf(const TextPatch::ModuleEntry& entry) {
  PlaceholderPlan plan;
  plan.identity = {entry.name, entry.vendor};
  plan.version = entry.version.value_or(plan.version);
  plan.isMono = entry.mono.value_or(true);
  for (const SavedEntry& each : *entry.saved) {
    plan.isPoint.push_back(each.jack.has_value());
    if (each.jack) plan.points.push_back(PointOf(*each.jack));
  }
  // A preset does not say how wide it was: where it has a place, no neighbour is said to overlap.
  plan.columns = entry.place ? 1 : PlaceholderColumns(plan.points.size());
  return plan;
}

void LoadKept(const TextPatch::ModuleEntry& entry, Placeholder& placeholder) {
  std::vector<std::byte> data;
  for (const SavedEntry& each : *entry.saved) {
    if (!each.value) break;
    const auto* bytes = reinterpret_cast<const std::byte*>(&*each.value);
    data.insert(data.end(), bytes, bytes + sizeof *each.value);
  }
  if (entry.data) data.insert(data.end(), entry.data->begin(), entry.data->end());
  placeholder.LoadPreset(data.data(), static_cast<int>(data.size()), placeholder.GetVersion());
}

void LoadKeptParameters(const TextPatch::ModuleEntry& entry, Placeholder& placeholder) {
  std::vector<int> indices;
  for (const SavedEntry& each : *entry.saved) indices.push_back(each.jack ? 0 : each.index);
  placeholder.LoadPatchPointIndices(indices.data(),
                                    static_cast<unsigned>(indices.size() * sizeof(int)));
}

}  // namespace halveron
