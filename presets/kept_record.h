// The records of missing modules in a text patch.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <vector>

#include "presets/json_place.h"
#include "presets/placeholder.h"
#include "presets/text_patch.h"

namespace halveron {

/// What a placeholder keeps. `firstNumber` is that of its first point in the preset.
void DescribeKept(const PresetModule& record, const Placeholder& placeholder, int firstNumber,
                  TextPatch::ModuleEntry& entry);

std::vector<TextPatch::SavedEntry> ParseSaved(const JsonPlace& place);
nlohmann::ordered_json FormatSaved(const std::vector<TextPatch::SavedEntry>& saved);

/// From here on `entry.saved` is there.
PlaceholderPlan PlanOf(const TextPatch::ModuleEntry& entry);
/// Gives a placeholder of that plan what was saved; no parameters.
void LoadKept(const TextPatch::ModuleEntry& entry, Placeholder& placeholder);
void LoadKeptParameters(const TextPatch::ModuleEntry& entry, Placeholder& placeholder);

}  // namespace halveron
