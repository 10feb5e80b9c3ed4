#include "modules/control_scales.h"

namespace halveron {

std::span<const ControlScale> ScalesOfModule(std::string_view name) {
  const std::string_view number = name.substr(0, name.find(' '));
  for (const auto tableOf :
       {AmplifierScales, ClockScales, CvScales, DawScales, EffectScales, FilterScales, MidiScales,
        MixerScales, ModulatorScales, OtherScales, SequencerScales, SourceScales, SwitchScales}) {
    for (const ModuleScales& module : tableOf()) {
      if (module.number == number) return module.scales;
    }
  }
  return {};
}

}  // namespace halveron
