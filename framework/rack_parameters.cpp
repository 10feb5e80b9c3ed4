#include "framework/rack_parameters.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "framework/rack_model.h"

namespace halveron {

CControl* RackParameters::ControlOf(int tag) const {
  const auto waiting = std::find_if(waitingTags_.rbegin(), waitingTags_.rend(),
                                    [&](const auto& entry) { return entry.first == tag; });
  return waiting != waitingTags_.rend() ? waiting->second
                                        : parameterControls[static_cast<std::size_t>(tag)];
}

void RackParameters::Assign(int tag, CControl* control) {
  const bool isDone =
      rack_.InLock([=, this] { parameterControls[static_cast<std::size_t>(tag)] = control; });
  if (!isDone) waitingTags_.emplace_back(tag, control);
}

int RackParameters::GetFreeTag(const Module* module) const {
  if (module->voice > 0) return TAG_UNASSIGNED;
  const int start = (highestParameterIndex + 1) % kParameterCount;
  for (int step = 0; step < kParameterCount; ++step) {
    const int tag = (start + step) % kParameterCount;
    if (!ControlOf(tag)) return tag;
  }
  return TAG_UNASSIGNED;
}

bool RackParameters::RegisterTag(CControl* control, int tag) {
  if (tag < 0 || tag >= kParameterCount) return false;
  if (ControlOf(tag)) return false;
  Assign(tag, control);
  highestParameterIndex = std::max(highestParameterIndex, tag);
  control->setTag(tag);
  hostParameters_.Mirror(tag, BaseValueOf(*control));
  return true;
}

bool RackParameters::OwnsParameter(const CControl* control) const {
  const int tag = control->getTag();
  return tag >= 0 && tag < kParameterCount && ControlOf(tag) == control;
}

bool RackParameters::UnregisterTag(CControl* control) {
  // Patch points carry numbers of their own in the same field; the slot distinguishes them.
  if (!OwnsParameter(control)) return false;
  const int tag = control->getTag();
  if (control->isEditing()) rack_.engine.ParameterGesture(tag, false);
  Assign(tag, nullptr);
  hostParameters_.Mirror(tag, 0.0f);
  control->setTag(TAG_UNASSIGNED);
  return true;
}

void RackParameters::ChangeTag(CControl* control, int oldTag, int newTag) {
  if (oldTag == newTag || oldTag < 0 || oldTag >= kParameterCount) return;
  if (ControlOf(oldTag) != control) return;
  Assign(oldTag, nullptr);
  hostParameters_.Mirror(oldTag, 0.0f);
}

void RackParameters::ValueSet(int index) {
  const CControl* control = parameterControls[static_cast<std::size_t>(index)];
  hostParameters_.Mirror(index, control ? BaseValueOf(*control) : 0.0f);
}

void RackParameters::RefreshMirror() {
  if (!std::exchange(mirrorOutdated_, false)) return;
  for (int index = 0; index < kParameterCount; ++index) {
    const CControl* control = parameterControls[static_cast<std::size_t>(index)];
    hostParameters_.Mirror(index, control ? BaseValueOf(*control) : 0.0f);
  }
}

void RackParameters::TellModule(CControl* moved) {
  if (auto* module = dynamic_cast<Module*>(moved->getParentView())) {
    module->ValueChanged(moved);
  } else if (CControlListener* listener = moved->getListener()) {
    listener->valueChanged(moved);
  }
  rack_.knobs->NoteMove();
}

void RackParameters::Post(int index, float value) {
  // While a panel move is under way the host may only be echoing it.
  if (index < 0 || index >= kParameterCount || inValueChanged) return;
  hostParameters_.Post(index, value);
  TakePosted();
}

void RackParameters::TakePosted() {
  while (hostParameters_.HasPosted()) {
    const std::unique_lock lock(rack_.engine.processingLock, std::try_to_lock);
    if (!lock) return;
    hostParameters_.TakePosted([this](int index, float value) { SetControls(index, value); });
  }
}

void RackParameters::SetControls(int index, float value) {
  CControl* control = parameterControls[static_cast<std::size_t>(index)];
  if (!control) return;
  hostParameters_.Mirror(index, value);
  rack_.plan.LeaveVectors();  // a host may also answer a report from within a block
  for (; control; control = control->nextVoice) {
    control->setValue(value);
    TellModule(control);
  }
}

void RackParameters::ControlTaken(CControl* control) {
  if (OwnsParameter(control)) rack_.engine.ParameterGesture(control->getTag(), true);
}

void RackParameters::ControlLeft(CControl* control) {
  if (OwnsParameter(control)) rack_.engine.ParameterGesture(control->getTag(), false);
}

void RackParameters::ControlMoved(CControl* control) {
  if (!dynamic_cast<Module*>(control->getParentView())) return;
  inValueChanged = true;
  const float base = BaseValueOf(*control);
  if (OwnsParameter(control)) {
    hostParameters_.Mirror(control->getTag(), base);
    rack_.engine.ParameterMoved(control->getTag(), base);
  } else {
    rack_.engine.PatchEdited();
  }
  Spread(control, base);
  inValueChanged = false;
}

void RackParameters::MovedByMidi(CControl* control) {
  inValueChanged = true;
  const float base = BaseValueOf(*control);
  if (OwnsParameter(control)) {
    hostParameters_.Mirror(control->getTag(), base);
    rack_.engine.ParameterMoved(control->getTag(), base);
  }
  Spread(control, base);
  inValueChanged = false;
}

/// Tells the modules of all voices.
void RackParameters::Spread(CControl* control, float base) {
  const bool isModulated =
      rack_.engine.hostKind == HostKind::kClap && dynamic_cast<ModuleKnob*>(control) != nullptr;
  static_cast<Module*>(control->getParentView())->ValueChanged(control);
  for (CControl* clone = control->nextVoice; clone; clone = clone->nextVoice) {
    auto* knob = dynamic_cast<ModuleKnob*>(clone);
    if (isModulated) {
      // The host may modulate each voice by its own amount, which stays.
      knob->SetModulated(base, knob->hostOffset);
    } else if (knob) {
      knob->TakeValue(control->getValue());
    } else {
      clone->StoreValue(control->getValue());
    }
    static_cast<Module*>(clone->getParentView())->ValueChanged(clone);
  }
  rack_.knobs->NoteMove();
}

void RackParameters::SetKnobAtHost(ModuleKnob& knob, float base, float offset) {
  knob.SetModulated(base, offset);
  // The block is cut where a value changes, so a glide would only blur the change.
  if (sampleAccurate) knob.Cell().smoothed_value = knob.getValue();
}

void RackParameters::SetParameterValue(int index, float value) {
  if (index < 0 || index >= kParameterCount) return;
  CControl* control = parameterControls[static_cast<std::size_t>(index)];
  if (!control) return;
  if (!dynamic_cast<ModuleKnob*>(control)) {
    SetControls(index, value);
    return;
  }
  hostParameters_.Mirror(index, value);
  rack_.plan.LeaveVectors();
  for (int voice = 0; control && voice < rack_.engine.voiceCount; ++voice) {
    auto& knob = static_cast<ModuleKnob&>(*control);
    SetKnobAtHost(knob, value, knob.hostOffset);
    TellModule(control);
    control = control->nextVoice;
  }
}

void RackParameters::SetParameterOffset(int index, int voice, float offset, bool upToVoice) {
  if (index < 0 || index >= kParameterCount || voice < 0) return;
  CControl* control = parameterControls[static_cast<std::size_t>(index)];
  for (int present = 0; control && present <= voice; ++present) {
    auto* knob = dynamic_cast<ModuleKnob*>(control);
    if (!knob) return;
    if (upToVoice || present == voice) {
      const float before = knob->getValue();
      // A note that starts within a block brings its own modulation. Without a glide, also a move
      // to the same value ends one.
      if (sampleAccurate || knob->BaseValue() + offset != before) rack_.plan.LeaveVectors();
      SetKnobAtHost(*knob, knob->BaseValue(), offset);
      if (knob->getValue() != before) TellModule(knob);
    }
    control = control->nextVoice;
  }
}

}  // namespace halveron
