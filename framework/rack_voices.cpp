// The rack's voices: clones of polyphonic modules, and modules that turn mono or polyphonic.
#include <cstdlib>

#include "framework/rack_model.h"

namespace halveron {

void RackModel::ApplyVoiceCount(int count) {
  PatchEdit edit(*this);
  const int old = engine.voiceCount;
  if (count > old) {
    for (int voice = old; voice < count; ++voice) {
      modules[static_cast<std::size_t>(voice)].assign(modules[0].size(), nullptr);
    }
    engine.voiceCount = count;
    FillVoices(old);
  } else if (count < old) {
    RemoveVoices(count);
    for (int voice = count; voice < kMaxVoices; ++voice) {
      modules[static_cast<std::size_t>(voice)].clear();
    }
    engine.voiceCount = count;
    ReleaseNotes(count);
  }
  for (Module* module : modules[0]) {
    ForEachVoice(module, [&](Module& instance) { instance.VoiceCountChanged(engine.voiceCount); });
  }
}

void RackModel::ReleaseNotes(int firstVoice) {
  PatchEdit edit(*this);
  constexpr int kWhicheverNote = -1;
  for (int voice = firstVoice; voice < kMaxVoices; ++voice) {
    engine.ReleaseVoiceNote(voice, kWhicheverNote);
  }
}

void RackModel::RemoveVoices(int count) {
  for (const bool inSumList : {true, false}) {
    CableList& list = inSumList ? sumCableList : cableList;
    for (Cable* cable = list.head; cable;) {
      Cable* next = cable->next;
      if (std::abs(cable->voiceTag) >= count) RemoveCable(cable, 1, inSumList);
      cable = next;
    }
  }
  for (std::size_t index = 0; index < modules[0].size(); ++index) {
    Module* last = modules[static_cast<std::size_t>(count - 1)][index];
    Module* first = modules[static_cast<std::size_t>(count)][index];
    if (!first) continue;
    last->forEach([](CView* view) {
      if (auto* control = dynamic_cast<CControl*>(view)) control->nextVoice = nullptr;
    });
    RemoveModule(first, true);
  }
}

void RackModel::ResetPolyphonyIfUnused() {
  if (engine.voiceCount == 1) return;
  for (const Module* module : modules[0]) {
    if (module->UsesPolyphony()) return;
  }
  ApplyVoiceCount(1);
}

bool RackModel::MakeClones(Module* module, int firstVoice) {
  std::vector<std::byte> saved(static_cast<std::size_t>(module->GetPresetSize()));
  const int size = static_cast<int>(saved.size());
  module->SavePreset(saved.data(), size);
  if (!CreateModule(module->GetName(), module->GetVendorName(), module->moduleIndex, firstVoice,
                    engine.voiceCount - 1)) {
    return false;
  }
  const auto forEachClone = [&](auto&& f) {
    ForEachVoice(module, [&](Module& instance) {
      if (instance.voice >= firstVoice) f(instance);
    });
  };
  forEachClone([&](Module& clone) {
    clone.moduleIndex = module->moduleIndex;
    clone.setVisible(false);
    clone.mono = false;
    clone.SetBandlimitMode(module->GetBandlimitMode());
    clone.alwaysOn = module->alwaysOn;
    clone.SetClipLevel(module->GetClipLevel());
    clone.oversampled = module->oversampled;
    clone.FollowRate();
    UpdateActiveState(&clone, false);
  });
  LinkVoiceControls(module);
  forEachClone([&](Module& clone) {
    clone.ModuleCreated(engine.voiceCount);
    clone.LoadPreset(saved.data(), size, module->GetVersion());
  });
  return true;
}

void RackModel::FillVoices(int firstVoice) {
  struct Ends {
    PatchPoint* a;
    PatchPoint* b;
    int colour;
  };
  std::vector<Ends> cables;
  for (const Cable* cable = cableList.head; cable; cable = cable->next) {
    if (cable->voiceTag == 0) {
      cables.push_back({cable->destination, cable->origin, cable->colour});
    }
  }
  const std::vector<Module*> standing = modules[0];
  for (Module* module : standing) {
    if (!module->mono && !MakeClones(module, firstVoice)) SetModuleMono(module, true);
  }
  const auto inFirstNewVoice = [&](PatchPoint* point) {
    for (int voice = 0; voice < firstVoice && point->nextVoice; ++voice) point = point->NextVoice();
    return point;
  };
  for (const Ends& ends : cables) {
    ConnectCable(inFirstNewVoice(ends.a), inFirstNewVoice(ends.b), ends.colour, firstVoice);
  }
}

bool RackModel::SetModuleMono(Module* module, bool mono) {
  if (module->mono == mono) return true;
  PatchEdit edit(*this);
  if (!mono && !MakeClones(module, 1)) return false;
  if (!mono || module->polyPatchPoints > 0) RemoveVoiceCablesOf(module);
  if (mono) {
    std::vector<Module*> clones;
    ForEachVoice(module, [&](Module& instance) {
      if (&instance != module) clones.push_back(&instance);
    });
    for (const Module* clone : clones) RemoveCablesOf(clone);
    if (!clones.empty()) RemoveModule(clones.front(), true);
    module->forEach([](CView* view) {
      if (auto* control = dynamic_cast<CControl*>(view)) control->nextVoice = nullptr;
    });
    module->mono = true;
  } else {
    module->mono = false;
  }
  RebuildCablesOf(module);
  return true;
}

void RackModel::SetModuleOversampled(Module* module, bool oversampled) {
  PatchEdit edit(*this);
  ForEachVoice(module, [&](Module& instance) {
    if (instance.oversampled == oversampled) return;
    instance.oversampled = oversampled;
    instance.FollowRate();
    planOutdated_ = true;
  });
}

void RackModel::SetModuleAlwaysOn(Module* module, bool alwaysOn) {
  PatchEdit edit(*this);
  ForEachVoice(module, [&](Module& instance) {
    instance.alwaysOn = alwaysOn;
    UpdateActiveState(&instance, false);
  });
}

void RackModel::SetModuleBandlimitMode(Module* module, int mode) {
  PatchEdit edit(*this);
  ForEachVoice(module, [&](Module& instance) { instance.SetBandlimitMode(mode); });
}

void RackModel::SetModuleClipLevel(Module* module, float level) {
  PatchEdit edit(*this);
  ForEachVoice(module, [&](Module& instance) { instance.SetClipLevel(level); });
}

}  // namespace halveron
