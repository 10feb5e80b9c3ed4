#include "framework/rack_model.h"

#include <algorithm>
#include <utility>

#include "framework/module.h"

namespace halveron {

PatchEdit::PatchEdit(RackModel& rack) : rack_(rack), lock_(rack.engine.processingLock) {
  ++rack_.editDepth_;
}

PatchEdit::~PatchEdit() {
  if (--rack_.editDepth_ > 0) return;
  if (rack_.planOutdated_) rack_.RebuildPlan();
  lock_.unlock();
  rack_.engine.PatchEdited();
}

RackModel::RackModel(EngineContext& owner, ModuleMaker maker)
    : engine(owner), maker_(std::move(maker)) {
  FillHostTable();
}

RackModel::~RackModel() {
  RemoveAllModules();
  for (Module* module : trashList) module->forget();
}

void RackModel::RebuildPlan() {
  for (const std::vector<Module*>& row : modules) {
    for (Module* module : row) {
      if (!module || module->activeIndex != -1) continue;
      for (PatchPoint* point : module->Points()) point->Withdraw();
    }
  }
  plan.Build(activeModules, cableList, sumCableList);
  planOutdated_ = false;
}

Module* RackModel::GetVoiceModule(Module* module, int voice) const {
  if (voice < 0 || voice >= engine.voiceCount || module->moduleIndex < 0) return nullptr;
  return modules[static_cast<std::size_t>(voice)][static_cast<std::size_t>(module->moduleIndex)];
}

bool RackModel::CreateModule(std::string_view name, std::string_view vendor, int index,
                             int firstVoice, int lastVoice) {
  PatchEdit edit(*this);
  const auto place = static_cast<std::size_t>(index);
  for (int voice = firstVoice; voice <= lastVoice; ++voice) {
    Module* module = maker_(name, vendor, hostTable, voice);
    if (!module) {
      for (int made = firstVoice; made < voice; ++made) {
        Module*& entry = modules[static_cast<std::size_t>(made)][place];
        Discard(entry);
        entry = nullptr;
      }
      return false;
    }
    modules[static_cast<std::size_t>(voice)][place] = module;
  }
  return true;
}

Module* RackModel::AddModule(std::string_view name, std::string_view vendor) {
  PatchEdit edit(*this);
  const int index = ModuleCount();
  const auto voices = static_cast<std::size_t>(engine.voiceCount);
  for (std::size_t voice = 0; voice < voices; ++voice) modules[voice].push_back(nullptr);
  bool made = CreateModule(name, vendor, index, 0, 0);
  if (made && !modules[0].back()->GetMonoDefault()) {
    made = CreateModule(name, vendor, index, 1, engine.voiceCount - 1);
    if (!made) Discard(modules[0].back());
  }
  if (!made) {
    for (std::size_t voice = 0; voice < voices; ++voice) modules[voice].pop_back();
    return nullptr;
  }
  SetUpNewModule(index);
  return modules[0].back();
}

Module* RackModel::AdoptModule(Module* module) {
  PatchEdit edit(*this);
  for (int voice = 0; voice < engine.voiceCount; ++voice) {
    modules[static_cast<std::size_t>(voice)].push_back(voice == 0 ? module : nullptr);
  }
  SetUpNewModule(ModuleCount() - 1);
  return module;
}

void RackModel::SetUpNewModule(int index) {
  const auto place = static_cast<std::size_t>(index);
  std::vector<Module*> instances;
  for (int voice = 0; voice < engine.voiceCount; ++voice) {
    if (Module* module = modules[static_cast<std::size_t>(voice)][place]) {
      instances.push_back(module);
    }
  }
  for (Module* module : instances) {
    module->moduleIndex = index;
    module->setVisible(module->voice == 0);
    module->mono = module->GetMonoDefault();
    module->alwaysOn = module->GetAlwaysOnDefault();
    UpdateActiveState(module, false);
  }
  LinkVoiceControls(instances.front());
  for (Module* module : instances) module->ModuleCreated(engine.voiceCount);
  ModuleJoined(instances.front());
}

void RackModel::LinkVoiceControls(Module* module) {
  for (int voice = module->voice; voice < engine.voiceCount; ++voice) {
    Module* present = GetVoiceModule(module, voice);
    if (!present) return;
    const Module* next = GetVoiceModule(module, voice + 1);
    for (int i = 0; i < present->getNbViews(); ++i) {
      auto* control = dynamic_cast<CControl*>(present->getView(i));
      if (!control) continue;
      control->nextVoice = next ? static_cast<CControl*>(next->getView(i)) : nullptr;
    }
  }
}

void RackModel::Discard(Module* instance) {
  instance->UnregisterControls();
  UnregisterFrom(eventModules, &Module::eventIndex, instance);
  UnregisterFrom(blockStartModules, &Module::blockStartIndex, instance);
  UnregisterFrom(mouseModules, &Module::mouseIndex, instance);
  for (PatchPoint* point : instance->Points()) point->Withdraw();
  const bool isHeldElsewhere = instance->getNbReference() > 1;
  instance->moduleIndex = -1;
  if (isHeldElsewhere) {
    instance->trashIndex = static_cast<int>(trashList.size());
    trashList.push_back(instance);
    return;
  }
  instance->forget();
}

void RackModel::RemoveModule(Module* module, bool deleteInstances) {
  PatchEdit edit(*this);
  const int index = module->moduleIndex;
  if (index < 0) return;
  const int firstVoice = module->voice;
  const auto place = static_cast<std::size_t>(index);
  std::vector<Module*> instances;
  for (int voice = firstVoice; voice < engine.voiceCount; ++voice) {
    if (Module* instance = modules[static_cast<std::size_t>(voice)][place]) {
      instances.push_back(instance);
    }
  }
  if (isDraggingCable && dragOrigin->Owner() == module) AbortCableDrag();
  for (Module* instance : instances) RemoveCablesOf(instance);
  if (deleteInstances) {
    for (Module* instance : instances) instance->ModuleRemoved();
  }
  for (Module* instance : instances) UpdateActiveState(instance, true);
  for (int voice = firstVoice; voice < engine.voiceCount; ++voice) {
    std::vector<Module*>& row = modules[static_cast<std::size_t>(voice)];
    if (firstVoice > 0) {
      row[place] = nullptr;
      continue;
    }
    row[place] = row.back();
    if (row[place]) row[place]->moduleIndex = index;
    row.pop_back();
  }
  if (firstVoice == 0) ModuleLeaves(module);
  for (Module* instance : instances) Discard(instance);
  RequestRedraw();
}

void RackModel::RemoveAllModules() {
  PatchEdit edit(*this);
  while (!modules[0].empty()) RemoveModule(modules[0].back(), true);
}

void RackModel::UpdateActiveState(Module* module, bool force) {
  PatchEdit edit(*this);
  std::vector<Module*>& active = activeModules[static_cast<std::size_t>(module->voice)];
  planOutdated_ = true;
  if (module->activeIndex != -1) {
    if (!force && (module->cableCount != 0 || module->alwaysOn)) return;
    if (module->IsAudioToDAW()) {
      --engine.dawOutputModuleCount;
      engine.clearOutputsPending = true;
    }
    Module* last = active.back();
    active[static_cast<std::size_t>(module->activeIndex)] = last;
    last->activeIndex = module->activeIndex;
    module->activeIndex = -1;
    active.pop_back();
    return;
  }
  if (force || (module->cableCount <= 0 && !module->alwaysOn)) return;
  if (module->IsAudioToDAW()) ++engine.dawOutputModuleCount;
  module->activeIndex = static_cast<int>(active.size());
  active.push_back(module);
}

bool RackModel::RegisterIn(std::vector<Module*>& list, int Module::*index, Module* module) {
  if (module->*index != -1) return false;
  PatchEdit edit(*this);
  module->*index = static_cast<int>(list.size());
  list.push_back(module);
  module->remember();
  return true;
}

void RackModel::UnregisterFrom(std::vector<Module*>& list, int Module::*index, Module* module) {
  const int position = module->*index;
  if (position == -1) return;
  Module* last = list.back();
  list[static_cast<std::size_t>(position)] = last;
  last->*index = position;
  module->*index = -1;
  list.pop_back();
  module->forget();
}

bool RackModel::RegisterForEvents(Module* module) {
  return RegisterIn(eventModules, &Module::eventIndex, module);
}

bool RackModel::RegisterForBlockStart(Module* module) {
  return RegisterIn(blockStartModules, &Module::blockStartIndex, module);
}

bool RackModel::RegisterForMouseMoved(Module* module) {
  return RegisterIn(mouseModules, &Module::mouseIndex, module);
}

bool RackModel::ReleaseFromTrash(Module* module) {
  if (module->trashIndex < 0) return false;
  Module* last = trashList.back();
  trashList[static_cast<std::size_t>(module->trashIndex)] = last;
  last->trashIndex = module->trashIndex;
  module->trashIndex = -1;
  trashList.pop_back();
  module->forget();
  return true;
}

void RackModel::EmptyTrash() {
  const std::vector<Module*> held = trashList;
  for (Module* module : held) {
    if (module->getNbReference() == 1) ReleaseFromTrash(module);
  }
}

CMouseEventResult RackModel::KnobContextClick(CControl*, const CPoint&) {
  return kMouseEventNotHandled;
}

CMouseEventResult RackModel::ModuleMouseDown(Module*, CPoint&, const CButtonState&) {
  return kMouseEventNotHandled;
}

CMouseEventResult RackModel::ModuleMouseUp(Module*, CPoint&, const CButtonState&) {
  return kMouseEventNotHandled;
}

CMouseEventResult RackModel::ModuleMouseMoved(Module*, CPoint&, const CButtonState&) {
  return kMouseEventNotHandled;
}

}  // namespace halveron
