#include "framework/rack_voices.h"

#include <cstddef>
#include <vector>

#include "framework/rack_model.h"

namespace halveron {

void RackVoices::ApplyVoiceCount(int count) {
  PatchEdit edit(rack_);
  const int old = rack_.engine.voiceCount;
  if (count > old) {
    for (int voice = old; voice < count; ++voice) {
      rack_.modules[static_cast<std::size_t>(voice)].assign(rack_.modules[0].size(), nullptr);
    }
    rack_.engine.voiceCount = count;
    FillVoices(old);
  } else if (count < old) {
    RemoveVoices(count);
    for (int voice = count; voice < kMaxVoices; ++voice) {
      rack_.modules[static_cast<std::size_t>(voice)].clear();
    }
    rack_.engine.voiceCount = count;
    ReleaseNotes(count);
  }
  for (Module* module : rack_.modules[0]) {
    rack_.ForEachVoice(
        module, [&](Module& instance) { instance.VoiceCountChanged(rack_.engine.voiceCount); });
  }
}

void RackVoices::ReleaseNotes(int firstVoice) {
  PatchEdit edit(rack_);
  constexpr int kWhicheverNote = -1;
  for (int voice = firstVoice; voice < kMaxVoices; ++voice) {
    rack_.engine.ReleaseVoiceNote(voice, kWhicheverNote);
  }
}

void RackVoices::RemoveVoices(int count) {
  rack_.cables.RemoveVoicesFrom(count);
  for (std::size_t index = 0; index < rack_.modules[0].size(); ++index) {
    Module* last = rack_.modules[static_cast<std::size_t>(count - 1)][index];
    Module* first = rack_.modules[static_cast<std::size_t>(count)][index];
    if (!first) continue;
    last->forEach([](CView* view) {
      if (auto* control = dynamic_cast<CControl*>(view)) control->nextVoice = nullptr;
    });
    rack_.RemoveModule(first, true);
  }
}

void RackVoices::ResetPolyphonyIfUnused() {
  if (rack_.engine.voiceCount == 1) return;
  for (const Module* module : rack_.modules[0]) {
    if (module->UsesPolyphony()) return;
  }
  ApplyVoiceCount(1);
}

bool RackVoices::MakeClones(Module* module, int firstVoice) {
  std::vector<std::byte> saved(static_cast<std::size_t>(module->GetPresetSize()));
  const int size = static_cast<int>(saved.size());
  module->SavePreset(saved.data(), size);
  if (!rack_.CreateModule(module->GetName(), module->GetVendorName(), module->place.moduleIndex,
                          firstVoice, rack_.engine.voiceCount - 1)) {
    return false;
  }
  const auto forEachClone = [&](auto&& f) {
    rack_.ForEachVoice(module, [&](Module& instance) {
      if (instance.voice >= firstVoice) f(instance);
    });
  };
  forEachClone([&](Module& clone) {
    clone.place.moduleIndex = module->place.moduleIndex;
    clone.setVisible(false);
    clone.mono = false;
    clone.SetBandlimitMode(module->GetBandlimitMode());
    clone.alwaysOn = module->alwaysOn;
    clone.SetClipLevel(module->GetClipLevel());
    clone.oversampled = module->oversampled;
    clone.FollowRate();
    rack_.UpdateActiveState(&clone, false);
  });
  rack_.LinkVoiceControls(module);
  forEachClone([&](Module& clone) {
    clone.ModuleCreated(rack_.engine.voiceCount);
    clone.LoadPreset(saved.data(), size, module->GetVersion());
  });
  return true;
}

void RackVoices::FillVoices(int firstVoice) {
  struct Ends {
    PatchPoint* a;
    PatchPoint* b;
    int colour;
  };
  std::vector<Ends> cables;
  for (const Cable* cable = rack_.cables.cableList.head; cable; cable = cable->next) {
    if (cable->IsMain()) {
      cables.push_back({cable->destination, cable->origin, cable->colour});
    }
  }
  const std::vector<Module*> standing = rack_.modules[0];
  for (Module* module : standing) {
    if (!module->mono && !MakeClones(module, firstVoice)) SetModuleMono(module, true);
  }
  const auto inFirstNewVoice = [&](PatchPoint* point) {
    for (int voice = 0; voice < firstVoice && point->nextVoice; ++voice) point = point->NextVoice();
    return point;
  };
  for (const Ends& ends : cables) {
    rack_.cables.ConnectCable(inFirstNewVoice(ends.a), inFirstNewVoice(ends.b), ends.colour,
                              firstVoice);
  }
}

bool RackVoices::SetModuleMono(Module* module, bool mono) {
  if (module->mono == mono) return true;
  PatchEdit edit(rack_);
  if (!mono && !MakeClones(module, 1)) return false;
  if (!mono || module->GetPolyPatchPoints() > 0) rack_.cables.RemoveVoiceCablesOf(module);
  if (mono) {
    std::vector<Module*> clones;
    rack_.ForEachVoice(module, [&](Module& instance) {
      if (&instance != module) clones.push_back(&instance);
    });
    for (const Module* clone : clones) rack_.cables.RemoveCablesOf(clone);
    if (!clones.empty()) rack_.RemoveModule(clones.front(), true);
    module->forEach([](CView* view) {
      if (auto* control = dynamic_cast<CControl*>(view)) control->nextVoice = nullptr;
    });
    module->mono = true;
  } else {
    module->mono = false;
  }
  rack_.cables.RebuildCablesOf(module);
  return true;
}

}  // namespace halveron
