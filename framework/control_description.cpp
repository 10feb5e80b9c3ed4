#include "framework/control_description.h"

#include <cstdio>

#include "framework/module.h"
#include "framework/rack_model.h"
#include "gui/option_menu.h"
#include "gui/switch.h"
#include "gui/text_edit.h"

namespace halveron {

namespace {

std::string Numbered(const char* format, double value) {
  char text[32];
  std::snprintf(text, sizeof(text), format, value);
  return text;
}

std::string PositionOf(int index, int count) {
  return std::to_string(index + 1) + " of " + std::to_string(count);
}

std::string ValueOf(const CControl& control) {
  if (const auto* knob = dynamic_cast<const ModuleKnob*>(&control); knob && knob->stepped) {
    return PositionOf(knob->GetStepIndex(), knob->getNumSubPixmaps());
  }
  if (const auto* strip = dynamic_cast<const CSwitchBase*>(&control)) {
    return PositionOf(strip->getPosition(), strip->getNumPositions());
  }
  if (control.isTypeOf("CSpecialDigit")) return Numbered("%.0f", control.getValue());
  if (const auto* menu = dynamic_cast<const COptionMenu*>(&control)) {
    return menu->getCurrent() ? menu->getCurrent()->getTitle() : "";
  }
  if (const auto* field = dynamic_cast<const CTextEdit*>(&control)) return field->getText();
  if (control.isTypeOf("COnOffButton")) return control.getValue() > 0.5f ? "on" : "off";
  if (control.isTypeOf("CKnob") || control.isTypeOf("CSlider")) {
    return Numbered("%.3f", control.getValue());
  }
  return {};
}

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
  const std::string value = ValueOf(control);
  return value.empty() ? control.role : std::string(control.role) + ": " + value;
}

}  // namespace halveron
