// Base classes of a VST 2.4 plug-in, first half: the record that the host holds, the functions
// behind its pointers, and the operations that version 1 of the interface had.
#pragma once

#include <cstdint>

#include "engine/vst2_abi.h"

namespace halveron {

/// A plug-in's editor as the host sees it. All calls come on the host's window thread.
class AEffGUIEditor {
 public:
  virtual ~AEffGUIEditor() = default;

  /// Points `*rect` at the editor's size in pixels, which the editor owns. May be
  /// called before `open`.
  virtual bool getRect(ERect** rect) = 0;

  /// Opens the editor as a child of the host's window `parent` (an X11 window id).
  virtual bool open(void* parent) = 0;
  virtual void close() = 0;

  /// Called many times a second while the editor is open.
  virtual void idle() = 0;

  /// The file descriptor of the open editor's window events, -1 if it has none. A
  /// host that can wait for it may then call `idle` as soon as something happens.
  virtual int eventDescriptor() { return -1; }

  /// The scale that the host shows its windows in, 1 for none; any time.
  virtual void setScale(double /*scale*/) {}
  /// Changes a size in pixels to the nearest that the editor can have; false if it has only one.
  virtual bool nearestSize(int& /*width*/, int& /*height*/) const { return false; }
  /// The editor's size in pixels from now on, open or not; false if it has only one.
  virtual bool setSize(int /*width*/, int /*height*/) { return false; }

  /// True if the key was used; the host keeps the others.
  virtual bool onKeyDown(const VstKeyCode& /*key*/) { return false; }
  virtual bool onKeyUp(const VstKeyCode& /*key*/) { return false; }

  /// `mode` is one of `VstKnobMode`; true if knobs follow it.
  virtual bool setKnobMode(int /*mode*/) { return false; }
};

/// Owns the `AEffect` that the host holds and turns the calls through it into virtual operations.
///
/// What comes from the host is checked here: null pointers, numbers out of range and parameters
/// that are not finite never reach an operation. No exception leaves: the call then answers 0.
///
/// The host's `effClose` calls `close` and then deletes the object, so a plug-in that a host gets
/// is made with `new`. Without a host the object may be owned in any way, as long as `effClose` is
/// never sent.
class AudioEffect {
 public:
  /// `host` may be null: a plug-in without a host, for which every host service answers 0.
  AudioEffect(audioMasterCallback host, int numPrograms, int numParams);
  virtual ~AudioEffect() = default;
  AudioEffect(const AudioEffect&) = delete;
  AudioEffect& operator=(const AudioEffect&) = delete;

  /// The record for the host, valid as long as this object.
  AEffect* getAeffect() { return &cEffect; }

  /// Every call from the host but those that have a pointer of their own in `AEffect`.
  virtual std::intptr_t dispatcher(int opcode, int index, std::intptr_t value, void* ptr,
                                   float opt);

  // Life: open, then rate and block size, then resume, process calls and suspend any number of
  // times, then close. Not on the audio thread.
  virtual void open() {}
  virtual void close() {}
  virtual void suspend() {}
  virtual void resume() {}

  /// Rate in Hz, finite and above 0. An override calls this one to keep `sampleRate` true.
  virtual void setSampleRate(float newSampleRate) { sampleRate = newSampleRate; }

  /// Largest block in samples, at least 1. An override calls this one to keep `blockSize` true.
  virtual void setBlockSize(int newBlockSize) { blockSize = newBlockSize; }

  // Audio thread. Channel arrays are the host's own, and `sampleFrames` is never negative.
  virtual void processReplacing(float** inputs, float** outputs, int sampleFrames) = 0;
  /// What the host calls. An override adds what a host expects around a block.
  virtual void processHostBlock(float** inputs, float** outputs, int sampleFrames) {
    processReplacing(inputs, outputs, sampleFrames);
  }
  virtual void processDoubleReplacing(double** /*inputs*/, double** /*outputs*/,
                                      int /*sampleFrames*/) {}

  // Any thread. `index` is from 0 to the number of parameters - 1, `value` is finite. Texts have
  // room for kVstMaxParamStrLen characters by the interface, and for more in every known host.
  virtual void setParameter(int /*index*/, float /*value*/) {}
  virtual float getParameter(int /*index*/) { return 0.0f; }
  virtual void getParameterLabel(int /*index*/, char* label) { *label = '\0'; }
  virtual void getParameterDisplay(int /*index*/, char* text) { *text = '\0'; }
  virtual void getParameterName(int /*index*/, char* text) { *text = '\0'; }

  // `program` is from 0 to the number of programs - 1. Names have room for kVstMaxProgNameLen
  // characters.
  virtual void setProgram(int program) { curProgram = program; }
  virtual int getProgram() { return curProgram; }
  virtual void setProgramName(char* /*name*/) {}
  virtual void getProgramName(char* name) { *name = '\0'; }

  /// Points `*data` at the state, which stays the plug-in's and valid until the next call.
  /// Answers its size in bytes. `isPreset` asks for the program at hand instead of the bank.
  virtual int getChunk(void** /*data*/, bool /*isPreset*/) { return 0; }

  /// Takes a state of `byteSize` bytes (at least 1). 1 on success, else 0.
  virtual int setChunk(void* /*data*/, int /*byteSize*/, bool /*isPreset*/) { return 0; }

  /// Level for a meter, 0 to 1. Withdrawn from the interface.
  virtual float getVu() { return 0.0f; }

  AEffGUIEditor* getEditor() { return editor; }
  float getSampleRate() const { return sampleRate; }
  int getBlockSize() const { return blockSize; }

  /// Version of the interface that the host supports, 0 without a host.
  int getMasterVersion();

  /// `setParameter`, then notifies the host.
  void setParameterAutomated(int index, float value);

 protected:
  void setNumInputs(int inputs) { cEffect.numInputs = inputs; }
  void setNumOutputs(int outputs) { cEffect.numOutputs = outputs; }
  void setUniqueID(std::int32_t id) { cEffect.uniqueID = id; }
  void setInitialDelay(int frames) { cEffect.initialDelay = frames; }
  void canProcessReplacing(bool state = true) { SetFlag(effFlagsCanReplacing, state); }
  void canDoubleReplacing(bool state = true) { SetFlag(effFlagsCanDoubleReplacing, state); }
  void programsAreChunks(bool state = true) { SetFlag(effFlagsProgramChunks, state); }

  /// Attaches the editor, or takes it off with null. The derived class owns it, and takes it off
  /// before it dies.
  void setEditor(AEffGUIEditor* newEditor);

  void SetFlag(std::int32_t flag, bool state);

  /// Calls the host; 0 if there is none.
  std::intptr_t CallHost(int opcode, int index = 0, std::intptr_t value = 0, void* ptr = nullptr,
                         float opt = 0.0f);

  audioMasterCallback audioMaster;
  float sampleRate = 44100.0f;
  int blockSize = 1024;
  int curProgram = 0;
  AEffect cEffect = {};

 private:
  friend struct AEffectEntries;

  std::intptr_t DispatchEditor(int opcode, void* ptr);

  AEffGUIEditor* editor = nullptr;
};

}  // namespace halveron
