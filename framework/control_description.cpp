#include "framework/control_description.h"

#include "framework/control_scale.h"
#include "framework/module.h"
#include "framework/rack_model.h"

namespace halveron {

namespace {

std::string FarEnd(const PatchPoint& point) {
  return std::string(point.Owner()->GetName()) + ": " + point.role;
}

std::string DescribePoint(const PatchPoint& point) {
  constexpr const char* kDirections[] = {" (input)", " (output)", " (either way)"};
  std::string text = std::string(point.role) + kDirections[point.type];
  const CableList& cables = point.editor->cables.cableList;
  for (const Cable* cable = cables.head; cable; cable = cable->next) {
    if (cable->voiceTag != 0) continue;
    if (cable->destination == &point) text += "\nfrom " + FarEnd(*cable->origin);
    if (cable->origin == &point) text += "\nto " + FarEnd(*cable->destination);
  }
  return text;
}

}  // namespace

std::string DescribeControl(const CControl& control) {
  if (const auto* point = dynamic_cast<const PatchPoint*>(&control)) return DescribePoint(*point);
  if (!*control.role) return {};
  const std::string value = ValueText(control);
  return value.empty() ? control.role : std::string(control.role) + ": " + value;
}

}  // namespace halveron
