// Base classes of a VST 2.4 plug-in, second half: what version 2 of the interface added, and the
// services that a host offers.
#pragma once

#include <cstdint>

#include "engine/audio_effect.h"

namespace halveron {

/// A plug-in that overrides nothing is a valid one: every operation returns what hosts take for
/// "not supported". Where the answer is a bool, the host gets 1 or 0.
class AudioEffectX : public AudioEffect {
 public:
  AudioEffectX(audioMasterCallback host, int numPrograms, int numParams);

  std::intptr_t dispatcher(int opcode, int index, std::intptr_t value, void* ptr,
                           float opt) override;

  /// Asks the host for events if the plug-in is a synth or the host sends MIDI. An override calls
  /// this one.
  void resume() override;

  /// Events of the coming block, on whatever thread the host calls it (the audio thread, as a
  /// rule). The list and what it points at are the host's until the call returns; no entry is
  /// null. 1 if events are wanted.
  virtual int processEvents(VstEvents* /*events*/) { return 0; }

  // Identity. Texts have room for the kVstMax...StrLen of their kind.
  virtual bool getEffectName(char* /*name*/) { return false; }
  virtual bool getVendorString(char* /*text*/) { return false; }
  virtual bool getProductString(char* /*text*/) { return false; }
  virtual int getVendorVersion() { return 0; }
  virtual int getVstVersion() { return kVstVersion; }
  virtual VstPlugCategory getPlugCategory() {
    return (cEffect.flags & effFlagsIsSynth) != 0 ? kPlugCategSynth : kPlugCategUnknown;
  }
  virtual int getNextShellPlugin(char* /*name*/) { return 0; }

  /// 1 for yes, -1 for no, 0 for "don't know".
  virtual int canDo(char* /*text*/) { return 0; }

  /// Samples of the tail after the input has ended: 0 for "unknown", 1 for none.
  virtual int getGetTailSize() { return 0; }
  virtual std::intptr_t vendorSpecific(int index, std::intptr_t value, void* ptr, float opt);

  // Parameters and programs.
  virtual bool canParameterBeAutomated(int /*index*/) { return true; }

  /// Sets a parameter from text. A null text asks whether that can be done.
  virtual bool string2parameter(int /*index*/, char* /*text*/) { return false; }
  virtual bool getParameterProperties(int /*index*/, VstParameterProperties* /*properties*/) {
    return false;
  }
  virtual bool getProgramNameIndexed(int /*category*/, int /*index*/, char* /*text*/) {
    return false;
  }
  virtual bool beginSetProgram() { return false; }
  virtual bool endSetProgram() { return false; }

  /// Announce a bank or program: 1 if it can be loaded, -1 if not, 0 if unknown.
  virtual int beginLoadBank(VstPatchChunkInfo* /*info*/) { return 0; }
  virtual int beginLoadProgram(VstPatchChunkInfo* /*info*/) { return 0; }

  // Channels and processing.
  virtual bool getInputProperties(int /*index*/, VstPinProperties* /*properties*/) { return false; }
  virtual bool getOutputProperties(int /*index*/, VstPinProperties* /*properties*/) {
    return false;
  }
  virtual bool setSpeakerArrangement(VstSpeakerArrangement* /*input*/,
                                     VstSpeakerArrangement* /*output*/) {
    return false;
  }
  virtual bool getSpeakerArrangement(VstSpeakerArrangement** input, VstSpeakerArrangement** output);
  virtual bool setBypass(bool /*onOff*/) { return false; }
  virtual bool setPanLaw(int /*type*/, float /*value*/) { return false; }
  virtual bool setProcessPrecision(int /*precision*/) { return false; }
  virtual int startProcess() { return 0; }
  virtual int stopProcess() { return 0; }

  // Offline processing.
  virtual int setTotalSampleToProcess(int samples) { return samples; }
  virtual bool processVariableIo(VstVariableIo* /*io*/) { return false; }
  virtual bool offlineNotify(VstAudioFile* /*files*/, int /*count*/, bool /*start*/) {
    return false;
  }
  virtual bool offlinePrepare(VstOfflineTask* /*tasks*/, int /*count*/) { return false; }
  virtual bool offlineRun(VstOfflineTask* /*tasks*/, int /*count*/) { return false; }

  // MIDI. Program operations answer the number of programs or categories of a channel.
  virtual int getNumMidiInputChannels() { return 0; }
  virtual int getNumMidiOutputChannels() { return 0; }
  virtual int getMidiProgramName(int /*channel*/, MidiProgramName* /*program*/) { return 0; }
  virtual int getCurrentMidiProgram(int /*channel*/, MidiProgramName* /*program*/) { return -1; }
  virtual int getMidiProgramCategory(int /*channel*/, MidiProgramCategory* /*category*/) {
    return 0;
  }
  virtual bool hasMidiProgramsChanged(int /*channel*/) { return false; }
  virtual bool getMidiKeyName(int /*channel*/, MidiKeyName* /*key*/) { return false; }

  // Withdrawn from the interface; old hosts ask.
  virtual int getNumCategories() { return 1; }
  virtual bool copyProgram(int /*destination*/) { return false; }
  virtual void inputConnected(int /*index*/, bool /*state*/) {}
  virtual void outputConnected(int /*index*/, bool /*state*/) {}
  virtual int reportCurrentPosition() { return 0; }
  virtual float* reportDestinationBuffer() { return nullptr; }
  virtual bool setBlockSizeAndSampleRate(int newBlockSize, float newSampleRate);
  virtual bool getErrorText(char* /*text*/) { return false; }
  virtual int fxIdle() { return 0; }
  virtual void* getIcon() { return nullptr; }
  virtual bool setViewPosition(VstWindow* /*window*/) { return false; }
  virtual bool keysRequired() { return false; }

  // Host services. Without a host all answer 0, null or false.

  /// Transport of the current block; `mask` selects the `VstTimeInfoFlags` fields. Null
  /// if the host has none. The record is the host's, valid in this process call. Audio thread.
  VstTimeInfo* getTimeInfo(int mask);

  /// Sends events, timed within the current block. Audio thread, in the process call.
  bool sendVstEventsToHost(VstEvents* events);

  /// Asks the host to send events; hosts of version 2.4 do so unasked.
  void wantEvents(int filter = 1);

  /// 1 for yes, -1 for no, 0 for "don't know".
  int canHostDo(const char* text);

  // Window thread: the user has taken a parameter's control, and released it.
  bool beginEdit(int index);
  bool endEdit(int index);

  /// Asks for another size of the editor's window, in pixels.
  bool sizeWindow(int width, int height);

  /// Programs or parameters have changed as a whole.
  bool updateDisplay();

  /// Channel counts or latency have changed. Not on the audio thread.
  bool ioChanged();

  float getHostSampleRate();  ///< Hz
  int getHostBlockSize();     ///< Samples
  int getCurrentProcessLevel();

  // `text` has room for 64 characters, and holds a terminated text in any case.
  bool getHostVendorString(char* text);
  bool getHostProductString(char* text);
  int getHostVendorVersion();

 protected:
  void isSynth(bool state = true) { SetFlag(effFlagsIsSynth, state); }
  void noTail(bool state = true) { SetFlag(effFlagsNoSoundInStop, state); }

 private:
  std::intptr_t DispatchIdentity(int opcode, int index, std::intptr_t value, void* ptr, float opt);
  std::intptr_t DispatchMidi(int opcode, int index, std::intptr_t value, void* ptr, float opt);
  std::intptr_t DispatchOffline(int opcode, int index, std::intptr_t value, void* ptr, float opt);
  std::intptr_t DispatchKeys(int opcode, int index, std::intptr_t value, void* ptr, float opt);
  std::intptr_t DispatchWithdrawn(int opcode, int index, std::intptr_t value, void* ptr, float opt);
  bool AskHostText(int opcode, char* text);
};

}  // namespace halveron
