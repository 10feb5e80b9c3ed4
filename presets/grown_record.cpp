#include "presets/grown_record.h"

#include <algorithm>
#include <cstring>

#include "framework/growing_panel.h"
#include "framework/host_parameters.h"
#include "framework/module.h"

namespace halveron {

namespace {

using Bytes = std::vector<std::byte>;
using Offset = std::ptrdiff_t;

void InsertFloat(Bytes& data, std::size_t index, float value) {
  std::byte bytes[sizeof value];
  std::memcpy(bytes, &value, sizeof value);
  data.insert(data.begin() + static_cast<Offset>(index * sizeof value), std::begin(bytes),
              std::end(bytes));
}

/// Leaves out the entries from `first` up to `end`.
void EraseEntries(PresetModule& record, std::size_t first, std::size_t end) {
  const auto bytes = [&](std::size_t entry) {
    return record.data.begin() + static_cast<Offset>(entry * sizeof(float));
  };
  record.data.erase(bytes(first), bytes(end));
  record.indices.erase(record.indices.begin() + static_cast<Offset>(first),
                       record.indices.begin() + static_cast<Offset>(end));
}

}  // namespace

PresetModule FitToPanel(const PresetModule& record, const Module& module,
                        std::vector<CControl*>& newControls) {
  PresetModule fitted = record;
  const auto* panel = dynamic_cast<const GrowingPanel*>(&module);
  if (!panel) return fitted;
  const GrowingPanel::Counts now = panel->SavedCounts();
  const std::size_t saved = record.indices.size();
  const auto points = static_cast<std::size_t>(record.patchPointCount);
  if (saved < points + now.lamps || record.data.size() < saved * sizeof(float)) return fitted;
  const std::size_t controls = saved - points - now.lamps;

  EraseEntries(fitted, controls + now.lamps + std::min(points, now.points),
               controls + now.lamps + points);
  EraseEntries(fitted, std::min(controls, now.controls), controls);
  for (std::size_t i = points; i < now.points; ++i) {
    const std::size_t end = std::min(controls, now.controls) + now.lamps + i;
    InsertFloat(fitted.data, end, 0.0f);
    fitted.indices.insert(fitted.indices.begin() + static_cast<Offset>(end), 0);
  }
  std::size_t index = 0;
  for (CView* view : module.children()) {
    auto* control = dynamic_cast<CControl*>(view);
    if (!control || control->getTag() == TAG_NONE) continue;
    if (index == now.controls) break;
    if (index >= controls) {
      InsertFloat(fitted.data, index, control->getDefaultValue());
      fitted.indices.insert(fitted.indices.begin() + static_cast<Offset>(index), TAG_UNASSIGNED);
      if (control->getTag() < kParameterCount) newControls.push_back(control);
    }
    ++index;
  }
  return fitted;
}

}  // namespace halveron
