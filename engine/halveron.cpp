#include "engine/halveron.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <mutex>

#include "dsp/random.h"
#include "editor/module_catalogue.h"
#include "engine/guarded_call.h"
#include "framework/module.h"
#include "framework/shared_bitmaps.h"
#include "framework/voice_group.h"
#include "platform/cpu_features.h"
#include "platform/denormals.h"
#include "platform/library_path.h"

namespace halveron {

namespace {

constexpr int kPrograms = 1;

/// Open instances in this process.
std::atomic<int> instanceCount{0};

void SetUpProcess(const SkinChoice& skin) {
  skinPath = skin.Path();
  skinFallbackPath = skin.FallbackPath();
  if (skin.RowHeight() > 0) {
    SetPanelMetrics(skin.RowHeight());
  } else {
    ResetPanelMetrics();
  }
  digitColor = ReadDigitColor(skinPath, skinFallbackPath);
  dsp::SeedRandomFromClock();
  LoadSharedBitmaps(skinPath, skinFallbackPath);
  SetUpModuleClasses();
}

void TearDownProcess() {
  ForgetSharedBitmaps();
  TearDownModuleClasses();
  TakeOffSkin();
  ResetPanelMetrics();
  skinPath.clear();
  skinFallbackPath.clear();
}

}  // namespace

Halveron::Halveron(audioMasterCallback host, HostKind kind, UserFiles userFiles)
    : AudioEffectX(host, kPrograms, kParameterCount) {
  hostKind = kind;
  if (host) {
    setNumInputs(kDawInputs);
    setNumOutputs(kDawOutputs);
    isSynth();
    canProcessReplacing();
    setUniqueID(FourCharacterCode('n', 'V', 'a', 'H'));
  }
  RebuildNoteTable();
  const std::string path = platform::LibraryPath();
  dllFolder_ = path.substr(0, path.find_last_of('/') + 1);
  filter_.AllowVectors(platform::HasSse41() ? WidestVectorUnit() : VectorUnit::kNone);
  filter_.SetIirRate(sampleRate, oversamplingFactor);
  separateInputs_.Prepare(blockSize);
  rack_ = std::make_unique<SynEditor>(*this, DataFolders::Find(dllFolder_, userFiles));
  rack_->rendersOffline = [this] { return getCurrentProcessLevel() == kVstProcessLevelOffline; };
  windowEditor_ = std::make_unique<WindowEditor>(*rack_);
  setEditor(windowEditor_.get());
  programsAreChunks();
}

Halveron::~Halveron() {
  if (isOpen_) close();
}

void Halveron::open() {
  if (isOpen_ || !rack_) return;
  isOpen_ = true;
  if (instanceCount.fetch_add(1) == 0) SetUpProcess(rack_->skin);
}

void Halveron::close() {
  if (!isOpen_) return;
  isOpen_ = false;
  setEditor(nullptr);
  windowEditor_.reset();
  // The code of the modules' libraries must be there until the last module has gone.
  ExternalModules::Handles libraries = rack_->externalModules.LoadedHandles();
  rack_.reset();
  for (auto& library : libraries) library.reset();
  if (instanceCount.fetch_sub(1) == 1) TearDownProcess();
}

template <class F>
void Halveron::ForEachInstance(F&& f) {
  if (!rack_) return;
  rack_->plan.PutBack();
  for (std::size_t index = 0; index < rack_->modules[0].size(); ++index) {
    for (int voice = 0; voice < voiceCount; ++voice) {
      Module* module = rack_->modules[static_cast<std::size_t>(voice)][index];
      if (!module) break;
      f(*module);
    }
  }
}

void Halveron::setSampleRate(float rate) {
  const std::lock_guard edit(editLock);
  const std::lock_guard lock(processingLock);
  AudioEffectX::setSampleRate(rate);
  ForEachInstance([&](Module& module) {
    module.SetDAWSampleRate(rate);
    module.FollowRate();
  });
}

void Halveron::setBlockSize(int frames) {
  const std::lock_guard edit(editLock);
  const std::lock_guard lock(processingLock);
  AudioEffectX::setBlockSize(frames);
  separateInputs_.Prepare(frames);
  clearOutputsPending = true;
  ForEachInstance([&](Module& module) { module.SetBlockSize(static_cast<float>(frames)); });
}

void Halveron::ApplyOversamplingFactor(int menuEntry) {
  {
    const std::lock_guard edit(editLock);
    const std::lock_guard lock(processingLock);
    oversamplingFactor = oversamplingSteps = 1 << menuEntry;
    filter_.SetIirRate(sampleRate, oversamplingFactor);
    filter_.Configure(filterMenuIndex, oversamplingFactor);
    ForEachInstance([](Module& module) { module.FollowRate(); });
  }
  PatchEdited();
}

void Halveron::ApplyOversamplingFilter(int row) {
  filterMenuIndex = row;
  PatchEdited();
  if (oversamplingFactor == 1) return;
  const std::lock_guard lock(processingLock);
  filter_.Configure(row, oversamplingFactor);
}

void Halveron::setParameter(int index, float value) {
  if (!rack_ || !std::isfinite(value)) return;
  rack_->parameters.Post(index, std::clamp(value, 0.0f, 1.0f));
}

float Halveron::getParameter(int index) {
  return rack_ && index >= 0 && index < kParameterCount ? rack_->parameters.Value(index) : 0.0f;
}

void Halveron::getParameterName(int index, char* text) {
  std::snprintf(text, kVstMaxParamStrLen, "P%d", index);
}

int Halveron::getChunk(void** data, bool) {
  if (!rack_) return 0;
  {
    const std::lock_guard lock(processingLock);
    rack_->parameters.TakePosted();
  }
  const std::span<const std::byte> chunk = rack_->SaveChunk();
  *data = const_cast<std::byte*>(chunk.data());  // hosts only read it
  return static_cast<int>(chunk.size());
}

int Halveron::setChunk(void* data, int byteSize, bool) {
  if (!rack_ || !data || byteSize <= 0) return 0;
  const auto size = static_cast<std::size_t>(byteSize);
  // A load consists of many edits; the host is notified once.
  isLoading_ = true;
  const bool loaded = GuardedAnswer(false, [&] {
    return rack_->LoadChunk({static_cast<const std::byte*>(data), size});
  });
  isLoading_ = false;
  if (isEdited_.exchange(false)) PatchEdited();
  return loaded ? 1 : 0;
}

bool Halveron::getProgramNameIndexed(int, int index, char* text) {
  std::snprintf(text, kVstMaxProgNameLen, "P%d", index);
  return false;
}

void Halveron::ClearOutputs(int sampleFrames) {
  for (int channel = 0; channel < dawOutputChannels; ++channel) {
    if (dawOutputs[channel]) std::fill_n(dawOutputs[channel], sampleFrames, 0.0f);
  }
  clearOutputsPending = sampleFrames == 0;
}

void Halveron::processHostBlock(float** inputs, float** outputs, int sampleFrames) {
  if (!rack_) return;
  const MeteredBlock metered(rack_->load, sampleFrames, sampleRate);
  processReplacing(inputs, outputs, sampleFrames);
  if (!outputs) return;
  for (int channel = 0; channel < kDawOutputs; ++channel) {
    const bool isWritten = (dawOutputsWritten >> channel & 1) != 0;
    if (!isWritten && outputs[channel]) std::fill_n(outputs[channel], sampleFrames, 0.0f);
  }
}

void Halveron::StartBlock() {
  if (blockStartFrames == 0) return;
  for (Module* module : rack_->plan.BlockStartModules()) module->BlockStart(blockStartFrames);
}

void Halveron::processReplacing(float** inputs, float** outputs, int sampleFrames) {
  const std::lock_guard lock(processingLock);
  const platform::DenormalsOff denormalsOff;
  dawOutputsWritten = 0;
  if (!rack_) return;
  rack_->parameters.TakePosted();
  blockPosition = 0;
  dawOutputs = outputs;
  dawInputs = inputs ? separateInputs_.Of(inputs, outputs, sampleFrames) : nullptr;
  dawInputChannels = inputs ? kDawInputs : 0;
  dawOutputChannels = outputs ? kDawOutputs : 0;
  currentOutL = outputs ? outputs[0] : nullptr;
  currentOutR = outputs ? outputs[1] : nullptr;
  if (clearOutputsPending) ClearOutputs(sampleFrames);
  if (hostKind != HostKind::kClap) blockStartFrames = sampleFrames;
  StartBlock();
  if (rack_->knobs->TakeMoves()) rack_->plan.PutBack();
  rack_->plan.BeginBlock(sampleFrames * oversamplingSteps);
  for (int done = 0; done < sampleFrames;) {
    const int plain = rack_->moduleLoads.SamplesBefore(sampleFrames - done);
    oversamplingFactor == 1 ? RunPlain(plain) : RunOversampled(plain);
    done += plain;
    if (done == sampleFrames) break;
    RunMeasured();
    ++done;
  }
  rack_->plan.EndBlock();
}

int Halveron::fxIdle() {
  if (rack_) rack_->RegroupModules();
  return 0;  // hosts need not call again for this
}

void Halveron::AdvanceSample() {
  if (currentOutL) ++currentOutL;
  if (currentOutR) ++currentOutR;
  ++blockPosition;
}

void Halveron::RunPlain(int sampleFrames) {
  for (int sample = 0; sample < sampleFrames; ++sample) {
    rack_->plan.RunEveryStep();
    rack_->plan.RunFirstStep();
    rack_->plan.CarryCables();
    AdvanceSample();
  }
}

float Halveron::MainOutput(int channel, const float* sample) const {
  return sample && (dawOutputsWritten >> channel & 1) != 0 ? *sample : 0.0f;
}

void Halveron::RunOversampled(int sampleFrames) {
  for (int sample = 0; sample < sampleFrames; ++sample) {
    for (int step = 0; step < oversamplingSteps; ++step) {
      rack_->plan.RunEveryStep();
      if (step == 0) rack_->plan.RunFirstStep();
      rack_->plan.CarryCables();
      filter_.Push(MainOutput(0, currentOutL), MainOutput(1, currentOutR));
    }
    filter_.Decimate(currentOutL, currentOutR);
    AdvanceSample();
  }
}

void Halveron::RunMeasured() {
  SamplePlan& plan = rack_->plan;
  RunStopwatch watch;
  for (int step = 0; step < oversamplingSteps; ++step) {
    plan.RunEveryStep(watch);
    if (step == 0) plan.RunFirstStep(watch);
    plan.CarryCables(watch);
    if (oversamplingFactor == 1) continue;
    filter_.Push(MainOutput(0, currentOutL), MainOutput(1, currentOutR));
    watch.Skip();
  }
  if (oversamplingFactor != 1) filter_.Decimate(currentOutL, currentOutR);
  AdvanceSample();
  rack_->moduleLoads.SampleMeasured(watch, plan.Costs());
}

int Halveron::processEvents(VstEvents* events) {
  if (!events || events->numEvents == 0) return 1;
  const std::lock_guard lock(processingLock);
  HandEvents(events);
  return 1;
}

void Halveron::HandEvents(VstEvents* events) {
  if (!rack_) return;
  // A host may hand back from within a block what a module sent. Between blocks, events move knobs,
  // which is noted, and change what no group keeps.
  if (rack_->plan.IsInBlock()) rack_->plan.LeaveVectors();
  rack_->midi.Take(*events);
  for (Module* module : rack_->plan.EventModules()) module->ProcessEvents(events);
}

const VstTimeInfo* Halveron::HostTimeInfo(int filter) {
  return clapHost_ ? clapHost_->TimeInfo() : getTimeInfo(filter);
}

bool Halveron::SendEventsToHost(VstEvents* events) {
  return clapHost_ ? clapHost_->SendEvents(*events) : sendVstEventsToHost(events);
}

// VST2 notes have no identifiers that could be tied to a voice.
void Halveron::BindNoteSlotToVoice(int voice, int noteSlot) {
  if (clapHost_) clapHost_->BindNoteSlotToVoice(voice, noteSlot);
}

bool Halveron::ReleaseVoiceNote(int voice, int noteSlot) {
  return clapHost_ && clapHost_->ReleaseVoiceNote(voice, noteSlot);
}

void Halveron::ParameterMoved(int index, float value) {
  if (clapHost_) {
    clapHost_->QueueParamValue(index, value);
  } else {
    setParameterAutomated(index, value);
  }
}

void Halveron::ParameterGesture(int index, bool begins) {
  if (clapHost_) {
    clapHost_->QueueParamGesture(index, begins);
  } else if (begins) {
    beginEdit(index);
  } else {
    endEdit(index);
  }
}

void Halveron::PatchEdited() {
  if (!isOpen_) return;
  rack_->history.MarkEdited();
  if (isLoading_) {
    isEdited_ = true;
    return;
  }
  if (clapHost_) {
    clapHost_->PatchEdited();
  } else {
    updateDisplay();
  }
}

bool Halveron::ResizeEditor(int width, int height) {
  return clapHost_ ? clapHost_->ResizeEditor(width, height) : sizeWindow(width, height);
}

std::string Halveron::HostProduct() {
  char product[kVstMaxProductStrLen] = "";
  return !clapHost_ && getHostProductString(product) ? product : "";
}

}  // namespace halveron
