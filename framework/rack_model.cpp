#include "framework/rack_model.h"

#include <algorithm>
#include <utility>

#include "framework/module.h"

namespace halveron {

PatchEdit::PatchEdit(RackModel& rack, Hold hold) : rack_(rack) {
  rack_.engine.editLock.lock();
  if (++rack_.editDepth_ == 1) rack_.recall_.emplace(rack_.plan, rack_.engine.processingLock);
  if (hold == Hold::kThroughout) rack_.HoldProcessingLock();
}

PatchEdit::~PatchEdit() {
  if (rack_.editDepth_ > 1) {
    --rack_.editDepth_;
    rack_.engine.editLock.unlock();
    return;
  }
  rack_.holdsProcessingLock_ ? rack_.CommitHeld() : rack_.CommitBeside();
  rack_.recall_.reset();
  --rack_.editDepth_;
  for (Module* module : std::exchange(rack_.discarded_, {})) module->forget();
  rack_.engine.editLock.unlock();
  rack_.parameters.TakePosted();  // what came while the lock was still held
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

void RackModel::LockModules() {
  // Most of the state comes back before the lock is held for good.
  const SamplePlan::Recall recall(plan, engine.processingLock);
  engine.processingLock.lock();
  plan.PutBack();
}

SamplePlan::Patch RackModel::PatchToPlay() const {
  return {activeModules,     cables.cableList, cables.sumCableList,
          blockStartModules, eventModules,     engine.processingLock};
}

void RackModel::HoldProcessingLock() {
  if (holdsProcessingLock_) return;
  LockModules();
  holdsProcessingLock_ = true;
  RunWaitingChanges();
}

bool RackModel::InLock(std::function<void()> change) {
  const std::lock_guard edit(engine.editLock);
  if (editDepth_ > 0 && !holdsProcessingLock_) {
    waitingChanges_.push_back(std::move(change));
    return false;
  }
  const auto modules = HoldModules();
  change();
  return true;
}

void RackModel::RunWaitingChanges() {
  for (const std::function<void()>& change : waitingChanges_) change();
  parameters.WaitingTagsSettled();
}

void RackModel::CommitHeld() {
  SamplePlan::OwnDraft draft;
  if (std::exchange(planOutdated_, false)) {
    draft = plan.Prepare(PatchToPlay(), SamplePlan::Draw::kAll);
    plan.Swap(*draft);
  }
  parameters.RefreshMirror();
  parameters.TakePosted();
  holdsProcessingLock_ = false;
  engine.processingLock.unlock();
  waitingChanges_.clear();
}

void RackModel::CommitBeside() {
  if (!planOutdated_ && waitingChanges_.empty()) return;
  const bool movesPlan = std::exchange(planOutdated_, false);
  const SamplePlan::OwnDraft draft = movesPlan ? PrepareBeside() : nullptr;
  if (!draft) LockModules();
  holdsProcessingLock_ = true;
  RunWaitingChanges();
  if (draft) plan.Swap(*draft);
  if (planOutdated_ || parameters.IsMirrorOutdated()) {
    CommitHeld();  // a module's answer to a notice has changed more
  } else {
    holdsProcessingLock_ = false;
    engine.processingLock.unlock();
    waitingChanges_.clear();
  }
  // Only now do modules know of their cables.
  if (movesPlan) Regroup();
}

/// Leaves the processing lock held.
SamplePlan::OwnDraft RackModel::PrepareBeside() {
  SamplePlan::OwnDraft draft = plan.Prepare(PatchToPlay(), SamplePlan::Draw::kNearby);
  LockModules();
  if (SamplePlan::Fits(*draft)) return draft;
  engine.processingLock.unlock();
  draft = plan.Prepare(PatchToPlay(), SamplePlan::Draw::kStill);
  LockModules();
  return draft;
}

void RackModel::Regroup() {
  if (!plan.HasOutgrownTeams(PatchToPlay())) return;
  const SamplePlan::OwnDraft draft = PrepareBeside();
  plan.Swap(*draft);
  engine.processingLock.unlock();
}

void RackModel::RegroupModules() {
  if (!plan.HaveTeamsBroken()) return;
  const std::lock_guard edit(engine.editLock);
  if (editDepth_ > 0 || !plan.TakeTeamsBroke()) return;
  const SamplePlan::Recall recall(plan, engine.processingLock);
  Regroup();
}

Module* RackModel::GetVoiceModule(Module* module, int voice) const {
  if (voice < 0 || voice >= engine.voiceCount || module->place.moduleIndex < 0) return nullptr;
  return modules[static_cast<std::size_t>(voice)]
                [static_cast<std::size_t>(module->place.moduleIndex)];
}

Module* RackModel::MakeInstance(std::string_view name, std::string_view vendor, int voice) {
  Module* module = maker_(name, vendor, hostTable, voice);
  if (!module) {
    moduleFailure_ = ModuleFailure::kUnavailable;
  } else if (module->GetHostVersion() > kHostInterfaceVersion) {
    moduleFailure_ = ModuleFailure::kNeedsLaterVersion;
    Discard(module);
    module = nullptr;
  }
  return module;
}

const char* RackModel::ModuleFailureText() const {
  return moduleFailure_ == ModuleFailure::kNeedsLaterVersion
             ? " requires a later version of Halveron!!"
             : " failed to load properly or was not found!";
}

bool RackModel::CreateModule(std::string_view name, std::string_view vendor, int index,
                             int firstVoice, int lastVoice) {
  PatchEdit edit(*this, PatchEdit::Hold::kAtTheEnd);
  const auto place = static_cast<std::size_t>(index);
  moduleFailure_ = ModuleFailure::kNone;
  for (int voice = firstVoice; voice <= lastVoice; ++voice) {
    Module* module = MakeInstance(name, vendor, voice);
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

void RackModel::ResizeTable(int count) {
  std::array<std::vector<Module*>, kMaxVoices> resized;
  const auto voices = static_cast<std::size_t>(engine.voiceCount);
  for (std::size_t voice = 0; voice < voices; ++voice) {
    resized[voice] = modules[voice];
    resized[voice].resize(static_cast<std::size_t>(count));
  }
  // Modules look up their voices in here while they play.
  const auto lock = HoldModules();
  for (std::size_t voice = 0; voice < voices; ++voice) modules[voice].swap(resized[voice]);
}

Module* RackModel::AddModule(std::string_view name, std::string_view vendor) {
  PatchEdit edit(*this, PatchEdit::Hold::kAtTheEnd);
  const int index = ModuleCount();
  ResizeTable(index + 1);
  bool made = CreateModule(name, vendor, index, 0, 0);
  if (made && !modules[0].back()->GetMonoDefault()) {
    made = CreateModule(name, vendor, index, 1, engine.voiceCount - 1);
    if (!made) Discard(modules[0].back());
  }
  if (!made) {
    ResizeTable(index);
    return nullptr;
  }
  SetUpNewModule(index);
  return modules[0].back();
}

Module* RackModel::AdoptModule(Module* module) {
  PatchEdit edit(*this, PatchEdit::Hold::kAtTheEnd);
  const int index = ModuleCount();
  ResizeTable(index + 1);
  modules[0].back() = module;
  SetUpNewModule(index);
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
    module->place.moduleIndex = index;
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
  UnregisterFrom(eventModules, &RackPlace::eventIndex, instance);
  UnregisterFrom(blockStartModules, &RackPlace::blockStartIndex, instance);
  UnregisterFrom(mouseModules, &RackPlace::mouseIndex, instance);
  InLock([instance] { instance->place.moduleIndex = -1; });
  if (instance->getNbReference() > 1) {  // held elsewhere
    instance->place.trashIndex = static_cast<int>(trashList.size());
    trashList.push_back(instance);
    return;
  }
  discarded_.push_back(instance);
}

void RackModel::RemoveFromTable(int index, int firstVoice) {
  const auto place = static_cast<std::size_t>(index);
  for (int voice = firstVoice; voice < engine.voiceCount; ++voice) {
    std::vector<Module*>& row = modules[static_cast<std::size_t>(voice)];
    if (firstVoice > 0) {
      row[place] = nullptr;
      continue;
    }
    row[place] = row.back();
    if (row[place]) row[place]->place.moduleIndex = index;
    row.pop_back();
  }
}

void RackModel::RemoveModule(Module* module, bool deleteInstances) {
  PatchEdit edit(*this, PatchEdit::Hold::kAtTheEnd);
  const int index = module->place.moduleIndex;
  if (index < 0) return;
  const int firstVoice = module->voice;
  const auto place = static_cast<std::size_t>(index);
  std::vector<Module*> instances;
  for (int voice = firstVoice; voice < engine.voiceCount; ++voice) {
    if (Module* instance = modules[static_cast<std::size_t>(voice)][place]) {
      instances.push_back(instance);
    }
  }
  if (cables.isDraggingCable && cables.dragOrigin->Owner() == module) cables.AbortCableDrag();
  for (Module* instance : instances) cables.RemoveCablesOf(instance);
  if (deleteInstances) {
    for (Module* instance : instances) {
      InLock([instance] { instance->ModuleRemoved(); });
    }
  }
  for (Module* instance : instances) UpdateActiveState(instance, true);
  InLock([=, this] { RemoveFromTable(index, firstVoice); });
  if (firstVoice == 0) {
    midi.ModuleLeaves(*module);
    ModuleLeaves(module);
  }
  for (Module* instance : instances) Discard(instance);
  RequestRedraw();
}

void RackModel::RemoveAllModules() {
  PatchEdit edit(*this);
  while (!modules[0].empty()) RemoveModule(modules[0].back(), true);
}

void RackModel::SortModules(const std::vector<Module*>& named) {
  const PatchEdit edit(*this);
  std::vector<Module*> order = named;
  for (Module* module : modules[0]) {
    if (std::find(named.begin(), named.end(), module) == named.end()) order.push_back(module);
  }
  for (int voice = engine.voiceCount - 1; voice >= 0; --voice) {
    std::vector<Module*>& row = modules[static_cast<std::size_t>(voice)];
    std::vector<Module*> sorted;
    for (const Module* module : order) {
      sorted.push_back(row[static_cast<std::size_t>(module->place.moduleIndex)]);
    }
    row = std::move(sorted);
  }
  // Only now, because the indices of voice 0 led to the clones.
  for (std::size_t index = 0; index < order.size(); ++index) {
    for (int voice = 0; voice < engine.voiceCount; ++voice) {
      Module* instance = modules[static_cast<std::size_t>(voice)][index];
      if (instance) instance->place.moduleIndex = static_cast<int>(index);
    }
  }
}

void RackModel::UpdateActiveState(Module* module, bool force) {
  PatchEdit edit(*this, PatchEdit::Hold::kAtTheEnd);
  std::vector<Module*>& active = activeModules[static_cast<std::size_t>(module->voice)];
  if (module->place.activeIndex != -1) {
    if (!force && (module->place.cableCount != 0 || module->alwaysOn)) return;
    edit.OutdatePlan();
    if (module->IsAudioToDAW()) {
      --engine.dawOutputModuleCount;
      InLock([this] { engine.clearOutputsPending = true; });
    }
    Module* last = active.back();
    active[static_cast<std::size_t>(module->place.activeIndex)] = last;
    last->place.activeIndex = module->place.activeIndex;
    module->place.activeIndex = -1;
    active.pop_back();
    return;
  }
  if (force || (module->place.cableCount <= 0 && !module->alwaysOn)) return;
  edit.OutdatePlan();
  if (module->IsAudioToDAW()) ++engine.dawOutputModuleCount;
  module->place.activeIndex = static_cast<int>(active.size());
  active.push_back(module);
}

bool RackModel::RegisterIn(std::vector<Module*>& list, int RackPlace::*index, Module* module) {
  if (module->place.*index != -1) return false;
  PatchEdit edit(*this, PatchEdit::Hold::kAtTheEnd);
  if (module->place.activeIndex != -1) edit.OutdatePlan();
  module->place.*index = static_cast<int>(list.size());
  list.push_back(module);
  module->remember();
  return true;
}

void RackModel::UnregisterFrom(std::vector<Module*>& list, int RackPlace::*index, Module* module) {
  const int position = module->place.*index;
  if (position == -1) return;
  Module* last = list.back();
  list[static_cast<std::size_t>(position)] = last;
  last->place.*index = position;
  module->place.*index = -1;
  list.pop_back();
  module->forget();
}

bool RackModel::RegisterForEvents(Module* module) {
  return RegisterIn(eventModules, &RackPlace::eventIndex, module);
}

bool RackModel::RegisterForBlockStart(Module* module) {
  return RegisterIn(blockStartModules, &RackPlace::blockStartIndex, module);
}

bool RackModel::RegisterForMouseMoved(Module* module) {
  return RegisterIn(mouseModules, &RackPlace::mouseIndex, module);
}

bool RackModel::ReleaseFromTrash(Module* module) {
  if (module->place.trashIndex < 0) return false;
  Module* last = trashList.back();
  trashList[static_cast<std::size_t>(module->place.trashIndex)] = last;
  last->place.trashIndex = module->place.trashIndex;
  module->place.trashIndex = -1;
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

void RackModel::SetModuleOversampled(Module* module, bool oversampled) {
  PatchEdit edit(*this);
  ForEachVoice(module, [&](Module& instance) {
    if (instance.oversampled == oversampled) return;
    instance.oversampled = oversampled;
    instance.FollowRate();
    edit.OutdatePlan();
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
