#include "presets/grown_record.h"

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

}  // namespace

PresetModule FitToPanel(const PresetModule& record, const Module& module,
                        std::vector<CControl*>& newControls) {
  PresetModule fitted = record;
  const auto* panel = dynamic_cast<const GrowingPanel*>(&module);
  if (!panel) return fitted;
  const GrowingPanel::Counts now = panel->SavedCounts();
  const std::size_t saved = record.indices.size();
  const auto points = static_cast<std::size_t>(record.patchPointCount);
  if (saved < points + now.lamps || points > now.points) return fitted;
  const std::size_t controls = saved - points - now.lamps;
  if (controls > now.controls || saved == now.All()) return fitted;
  if (record.data.size() < saved * sizeof(float)) return fitted;

  for (std::size_t i = points; i < now.points; ++i) {
    const std::size_t end = controls + now.lamps + i;
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
