#include "presets/midi_bindings.h"

#include "framework/module.h"
#include "framework/rack_model.h"
#include "presets/module_roles.h"

namespace halveron {

void BindKnob(RackModel& rack, ModuleKnob& knob, const MidiBinding& binding) {
  auto* module = dynamic_cast<Module*>(knob.getParentView());
  if (!module) return;
  for (const auto& [control, savedIndex, isLamp] : SettableControls(*module)) {
    if (control != &knob) continue;
    rack.midi.Bind({module, static_cast<int>(savedIndex), &knob, binding});
  }
}

std::vector<PresetMidiBinding> CaptureMidiBindings(const RackModel& rack) {
  std::vector<PresetMidiBinding> midi;
  for (const MidiMap::Bound& bound : rack.midi.All()) {
    midi.push_back({bound.module->place.moduleIndex, bound.savedIndex, bound.binding});
  }
  return midi;
}

MidiMap::Bound BoundOf(Module& module, const PresetMidiBinding& saved) {
  MidiMap::Bound bound{&module, saved.control, nullptr, saved.binding};
  for (const auto& [control, savedIndex, isLamp] : SettableControls(module)) {
    if (static_cast<int>(savedIndex) == saved.control) {
      bound.knob = dynamic_cast<ModuleKnob*>(control);
    }
  }
  return bound;
}

void ApplyMidiBindings(const std::vector<PresetMidiBinding>& midi, RackModel& rack) {
  std::vector<MidiMap::Bound> all;
  for (const PresetMidiBinding& saved : midi) {
    if (saved.module < 0 || saved.module >= rack.ModuleCount()) continue;
    all.push_back(BoundOf(*rack.modules[0][static_cast<std::size_t>(saved.module)], saved));
  }
  rack.midi.Set(std::move(all));
}

}  // namespace halveron
