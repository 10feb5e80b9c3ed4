// The rack's host parameters: a flat table of slots, each a control of voice 0.
#include <algorithm>

#include "framework/rack_model.h"

namespace halveron {

int RackModel::GetFreeTag(const Module* module) const {
  if (module->voice > 0) return TAG_UNASSIGNED;
  const int start = (highestParameterIndex + 1) % kParameterCount;
  for (int step = 0; step < kParameterCount; ++step) {
    const int tag = (start + step) % kParameterCount;
    if (!parameterControls[static_cast<std::size_t>(tag)]) return tag;
  }
  return TAG_UNASSIGNED;
}

bool RackModel::RegisterTag(CControl* control, int tag) {
  if (tag < 0 || tag >= kParameterCount) return false;
  CControl*& slot = parameterControls[static_cast<std::size_t>(tag)];
  if (slot) return false;
  slot = control;
  highestParameterIndex = std::max(highestParameterIndex, tag);
  control->setTag(tag);
  return true;
}

bool RackModel::OwnsParameter(const CControl* control) const {
  const int tag = control->getTag();
  return tag >= 0 && tag < kParameterCount &&
         parameterControls[static_cast<std::size_t>(tag)] == control;
}

bool RackModel::UnregisterTag(CControl* control) {
  // Patch points carry numbers of their own in the same field; the slot tells them apart.
  if (!OwnsParameter(control)) return false;
  parameterControls[static_cast<std::size_t>(control->getTag())] = nullptr;
  control->setTag(TAG_UNASSIGNED);
  return true;
}

void RackModel::ChangeTag(CControl* control, int oldTag, int newTag) {
  if (oldTag == newTag || oldTag < 0 || oldTag >= kParameterCount) return;
  CControl*& slot = parameterControls[static_cast<std::size_t>(oldTag)];
  if (slot == control) slot = nullptr;
}

void RackModel::valueChanged(CControl* control) {
  auto* module = dynamic_cast<Module*>(control->getParentView());
  if (!module) return;
  inValueChanged = true;
  if (OwnsParameter(control)) {
    engine.ParameterMoved(control->getTag(), control->getValue());
  } else {
    engine.PatchEdited();
  }
  auto* knob = engine.hostKind == HostKind::kClap ? dynamic_cast<ModuleKnob*>(control) : nullptr;
  module->ValueChanged(control);
  for (CControl* clone = control->nextVoice; clone; clone = clone->nextVoice) {
    if (knob) {
      // The host may modulate each voice by its own amount, which stays.
      auto* cloneKnob = static_cast<ModuleKnob*>(clone);
      cloneKnob->StoreValue(
          std::clamp(knob->getValue() - knob->hostOffset + cloneKnob->hostOffset, 0.0f, 1.0f));
    } else {
      clone->StoreValue(control->getValue());
    }
    static_cast<Module*>(clone->getParentView())->ValueChanged(clone);
  }
  inValueChanged = false;
}

void RackModel::SetKnobAtHost(ModuleKnob& knob, float value) {
  knob.setValue(value);
  // The host cuts its blocks where a value changes, so a glide would only blur what it asked for.
  if (sampleAccurate) knob.Cell().smoothed_value = knob.getValue();
}

void RackModel::SetParameterValue(int index, float value) {
  if (index < 0 || index >= kParameterCount) return;
  CControl* control = parameterControls[static_cast<std::size_t>(index)];
  if (!control) return;
  const auto changed = [](CControl* moved) {
    if (auto* module = dynamic_cast<Module*>(moved->getParentView())) module->ValueChanged(moved);
  };
  if (!dynamic_cast<ModuleKnob*>(control)) {
    for (; control; control = control->nextVoice) {
      control->setValue(value);
      changed(control);
    }
    return;
  }
  for (int voice = 0; control && voice < engine.voiceCount; ++voice) {
    auto& knob = static_cast<ModuleKnob&>(*control);
    if (knob.hostOffset == 0.0f) {
      SetKnobAtHost(knob, value);
    } else {
      const float modulated = std::clamp(value + knob.hostOffset, 0.0f, 1.0f);
      SetKnobAtHost(knob, modulated);
      knob.hostOffset = modulated - value;
    }
    changed(control);
    control = control->nextVoice;
  }
}

void RackModel::SetParameterOffset(int index, int voice, float offset, bool upToVoice) {
  if (index < 0 || index >= kParameterCount || voice < 0) return;
  CControl* control = parameterControls[static_cast<std::size_t>(index)];
  for (int present = 0; control && present <= voice; ++present) {
    auto* knob = dynamic_cast<ModuleKnob*>(control);
    if (!knob) return;
    if (upToVoice || present == voice) {
      const float base = knob->getValue() - knob->hostOffset;
      const float modulated = std::clamp(base + offset, 0.0f, 1.0f);
      knob->StoreValue(base);
      knob->hostOffset = modulated - base;
      if (modulated != base) {
        SetKnobAtHost(*knob, modulated);
        if (auto* module = dynamic_cast<Module*>(knob->getParentView())) module->ValueChanged(knob);
      }
    }
    control = control->nextVoice;
  }
}

}  // namespace halveron
