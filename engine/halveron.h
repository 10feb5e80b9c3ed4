// The engine of a plug-in instance: the rack, its lock, and the block process.
#pragma once

#include <memory>
#include <string>

#include "editor/syn_editor.h"
#include "engine/audio_effect_x.h"
#include "engine/oversampling.h"
#include "framework/engine_context.h"

namespace halveron {

/// Every sample the engine runs all active modules once and then moves every value along every
/// cable, so a cable always delays by one sample, whatever the order of modules, and feedback needs
/// no special case.
class Halveron final : public AudioEffectX, public EngineContext {
 public:
  /// `host` may be null: then nobody is asked for anything.
  Halveron(audioMasterCallback host, HostKind kind);
  ~Halveron() override;

  // Life. The instance must be opened before it processes; the first one that opens in a process
  // sets up what all share, the last that closes tears it down.
  void open() override;
  void close() override;
  void suspend() override {}
  void setSampleRate(float rate) override;
  void setBlockSize(int frames) override;

  /// One block. Audio thread; waits for a patch change that is under way.
  void processReplacing(float** inputs, float** outputs, int sampleFrames) override;
  void processDoubleReplacing(double**, double**, int) override {}
  /// Hands host events to the active modules that registered for them.
  int processEvents(VstEvents* events) override;

  // Host parameters: a slot is a control of voice 0, its clones follow. Any thread, no lock.
  void setParameter(int index, float value) override;
  float getParameter(int index) override;
  void getParameterName(int index, char* text) override;
  bool canParameterBeAutomated(int) override { return true; }

  /// The rack as the host keeps it; the bytes stay until the next call. `isPreset` is ignored.
  int getChunk(void** data, bool isPreset) override;
  /// 1 if the rack was loaded, 0 if not.
  int setChunk(void* data, int byteSize, bool isPreset) override;
  bool getProgramNameIndexed(int category, int index, char* text) override;

  void ApplyOversamplingFactor(int menuEntry) override;
  void ApplyOversamplingFilter(int row) override;
  void VoiceCountApplied() override {}
  const OversamplingFilter& Filter() const { return filter_; }

  /// Null after close.
  SynEditor* Editor() const { return rack_.get(); }
  /// Folder of the plug-in's file, with a slash at its end; empty if the loader does not tell.
  const std::string& DllFolder() const { return dllFolder_; }

  float HostSampleRate() const override { return sampleRate; }
  int HostBlockSize() const override { return blockSize; }
  const VstTimeInfo* HostTimeInfo(int filter) override { return getTimeInfo(filter); }
  bool SendEventsToHost(VstEvents* events) override { return sendVstEventsToHost(events); }
  void BindNoteSlotToVoice(int voice, int noteSlot) override;
  void ReleaseVoiceNote(int voice, int noteSlot) override;
  void ParameterMoved(int index, float value) override { setParameterAutomated(index, value); }

  /// Frames handed to BlockStart; the CLAP side sets them itself, 0 for a block's later slices.
  int blockStartFrames = 0;

 private:
  template <class F>
  void ForEachInstance(F&& f);
  void ClearOutputs(int sampleFrames);
  void StartBlock();
  void RunPlain(int sampleFrames);
  void RunOversampled(int sampleFrames);
  void AdvanceSample();

  std::string dllFolder_;
  OversamplingFilter filter_;
  std::unique_ptr<SynEditor> rack_;
  bool isOpen_ = false;
};

}  // namespace halveron
