// The engine of a plug-in instance: the rack, its lock, and the block process.
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "editor/syn_editor.h"
#include "engine/audio_effect_x.h"
#include "engine/clap_host_services.h"
#include "engine/oversampling.h"
#include "engine/separate_inputs.h"
#include "engine/window_editor.h"
#include "framework/engine_context.h"
#include "presets/preset_document.h"

namespace halveron {

/// Every sample the engine runs all active modules once and then moves every value along every
/// cable, so a cable always delays by one sample, whatever the order of modules, and feedback needs
/// no special case.
class Halveron final : public AudioEffectX, public EngineContext {
 public:
  static constexpr int kMidiChannels = 16;

  /// `host` may be null: then every host service is unavailable.
  Halveron(audioMasterCallback host, HostKind kind, UserFiles userFiles = UserFiles::kLeaveAlone);
  ~Halveron() override;

  // Lifecycle. The instance must be opened before it processes; the first one that opens in a
  // process sets up the shared resources, the last that closes releases them.
  void open() override;
  void close() override;
  void suspend() override {}
  void setSampleRate(float rate) override;
  void setBlockSize(int frames) override;

  /// One block. Audio thread; waits for a patch change in progress. An input may share its
  /// buffer with an output.
  void processReplacing(float** inputs, float** outputs, int sampleFrames) override;
  /// The same, for a host: channels that no active module writes are cleared.
  void processHostBlock(float** inputs, float** outputs, int sampleFrames) override;
  void processDoubleReplacing(double**, double**, int) override {}
  /// Hands host events to the active modules that registered for them.
  int processEvents(VstEvents* events) override;
  /// What the main thread does now and then whether there is a window or not.
  int fxIdle() override;
  /// The same for a caller that holds the processing lock.
  void HandEvents(VstEvents* events);

  // Identity.
  bool getEffectName(char* name) override;
  bool getVendorString(char* text) override;
  bool getProductString(char* text) override;
  int getVendorVersion() override { return kPresetVersion; }
  int getNumMidiInputChannels() override { return kMidiChannels; }
  int getNumMidiOutputChannels() override { return kMidiChannels; }
  int canDo(char* text) override;
  bool getInputProperties(int index, VstPinProperties* properties) override;
  bool getOutputProperties(int index, VstPinProperties* properties) override;

  // Host parameters: a slot is a control of voice 0, its clones follow. Any thread; neither call
  // waits. A value that comes while the rack is edited takes effect right after the edit.
  void setParameter(int index, float value) override;
  float getParameter(int index) override;
  void getParameterName(int index, char* text) override;
  bool canParameterBeAutomated(int) override { return true; }

  /// The rack as the host keeps it; the bytes stay until the next call. `isPreset` is ignored.
  int getChunk(void** data, bool isPreset) override;
  /// 1 if the rack was loaded, 0 if not.
  int setChunk(void* data, int byteSize, bool isPreset) override;
  /// Writes the name and returns false: there is only one program to choose.
  bool getProgramNameIndexed(int category, int index, char* text) override;

  void ApplyOversamplingFactor(int menuEntry) override;
  void ApplyOversamplingFilter(int row) override;
  const OversamplingFilter& Filter() const { return filter_; }

  /// Null after close.
  SynEditor* Editor() const { return rack_.get(); }
  /// Folder of the plug-in's file, with a slash at its end; empty if unknown.
  const std::string& DllFolder() const { return dllFolder_; }

  float HostSampleRate() const override { return sampleRate; }
  int HostBlockSize() const override { return blockSize; }
  /// Host services, from whichever interface the instance was made by.
  const VstTimeInfo* HostTimeInfo(int filter) override;
  bool SendEventsToHost(VstEvents* events) override;
  void BindNoteSlotToVoice(int voice, int noteSlot) override;
  bool ReleaseVoiceNote(int voice, int noteSlot) override;
  void ParameterMoved(int index, float value) override;
  void ParameterGesture(int index, bool begins) override;
  void PatchEdited() override;
  bool ResizeEditor(int width, int height) override;
  std::string HostProduct() override;

  /// The CLAP instance that drives this engine, which outlives it; null under VST2.
  void AttachClapHost(ClapHostServices* host) { clapHost_ = host; }

  /// Frames handed to BlockStart; the CLAP side sets them itself, 0 for a block's later slices.
  int blockStartFrames = 0;

 private:
  template <class F>
  void ForEachInstance(F&& f);
  void ClearOutputs(int sampleFrames);
  void StartBlock();
  void RunPlain(int sampleFrames);
  void RunOversampled(int sampleFrames);
  /// A sample, with the clock read between the modules.
  void RunMeasured();
  void AdvanceSample();
  /// A sample of the main pair, 0 while no module writes its channel.
  float MainOutput(int channel, const float* sample) const;

  std::string dllFolder_;
  OversamplingFilter filter_;
  SeparateInputs separateInputs_;
  ClapHostServices* clapHost_ = nullptr;
  std::unique_ptr<SynEditor> rack_;
  std::unique_ptr<WindowEditor> windowEditor_;
  std::atomic<bool> isOpen_ = false;
  std::atomic<bool> isLoading_ = false;
  std::atomic<bool> isEdited_ = false;  // by the load that is under way
};

}  // namespace halveron
