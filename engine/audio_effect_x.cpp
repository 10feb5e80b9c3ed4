#include "engine/audio_effect_x.h"

#include <algorithm>
#include <limits>

namespace halveron {

namespace {

bool HoldsTogether(const VstEvents& list) {
  for (int i = 0; i < list.numEvents; ++i) {
    if (EventAt(list, i) == nullptr) {
      return false;
    }
  }
  return list.numEvents >= 0;
}

int ToInt(std::intptr_t value) {
  return static_cast<int>(std::clamp<std::intptr_t>(value, std::numeric_limits<int>::min(),
                                                    std::numeric_limits<int>::max()));
}

}  // namespace

AudioEffectX::AudioEffectX(audioMasterCallback host, int numPrograms, int numParams)
    : AudioEffect(host, numPrograms, numParams) {}

// A call that one group does not know is passed to the next, and finally to the base class.
std::intptr_t AudioEffectX::dispatcher(int opcode, int index, std::intptr_t value, void* ptr,
                                       float opt) {
  char* const text = static_cast<char*>(ptr);
  switch (opcode) {
    case effProcessEvents: {
      VstEvents* const events = static_cast<VstEvents*>(ptr);
      return HoldsTogether(*events) ? processEvents(events) : 0;
    }
    case effCanBeAutomated:
      return canParameterBeAutomated(index) ? 1 : 0;
    case effString2Parameter:
      return string2parameter(index, text) ? 1 : 0;
    case effGetParameterProperties:
      return getParameterProperties(index, static_cast<VstParameterProperties*>(ptr)) ? 1 : 0;
    case effGetProgramNameIndexed:
      return getProgramNameIndexed(ToInt(value), index, text) ? 1 : 0;
    case effBeginSetProgram:
      return beginSetProgram() ? 1 : 0;
    case effEndSetProgram:
      return endSetProgram() ? 1 : 0;
    case effBeginLoadBank:
      return beginLoadBank(static_cast<VstPatchChunkInfo*>(ptr));
    case effBeginLoadProgram:
      return beginLoadProgram(static_cast<VstPatchChunkInfo*>(ptr));
    case effGetInputProperties:
      return getInputProperties(index, static_cast<VstPinProperties*>(ptr)) ? 1 : 0;
    case effGetOutputProperties:
      return getOutputProperties(index, static_cast<VstPinProperties*>(ptr)) ? 1 : 0;
    case effSetSpeakerArrangement:
      return value != 0 && setSpeakerArrangement(reinterpret_cast<VstSpeakerArrangement*>(value),
                                                 static_cast<VstSpeakerArrangement*>(ptr))
                 ? 1
                 : 0;
    case effGetSpeakerArrangement:
      return value != 0 && getSpeakerArrangement(reinterpret_cast<VstSpeakerArrangement**>(value),
                                                 static_cast<VstSpeakerArrangement**>(ptr))
                 ? 1
                 : 0;
    case effSetBypass:
      return setBypass(value != 0) ? 1 : 0;
    case effSetPanLaw:
      return setPanLaw(ToInt(value), opt) ? 1 : 0;
    case effSetProcessPrecision:
      return setProcessPrecision(ToInt(value)) ? 1 : 0;
    case effStartProcess:
      return startProcess();
    case effStopProcess:
      return stopProcess();
    default:
      return DispatchIdentity(opcode, index, value, ptr, opt);
  }
}

std::intptr_t AudioEffectX::DispatchIdentity(int opcode, int index, std::intptr_t value, void* ptr,
                                             float opt) {
  char* const text = static_cast<char*>(ptr);
  switch (opcode) {
    case effGetEffectName:
      return getEffectName(text) ? 1 : 0;
    case effGetVendorString:
      return getVendorString(text) ? 1 : 0;
    case effGetProductString:
      return getProductString(text) ? 1 : 0;
    case effGetVendorVersion:
      return getVendorVersion();
    case effGetVstVersion:
      return getVstVersion();
    case effGetPlugCategory:
      return getPlugCategory();
    case effShellGetNextPlugin:
      return getNextShellPlugin(text);
    case effCanDo:
      return canDo(text);
    case effGetTailSize:
      return getGetTailSize();
    case effVendorSpecific:
      return vendorSpecific(index, value, ptr, opt);
    default:
      return DispatchMidi(opcode, index, value, ptr, opt);
  }
}

std::intptr_t AudioEffectX::DispatchMidi(int opcode, int index, std::intptr_t value, void* ptr,
                                         float opt) {
  switch (opcode) {
    case effGetNumMidiInputChannels:
      return getNumMidiInputChannels();
    case effGetNumMidiOutputChannels:
      return getNumMidiOutputChannels();
    case effGetMidiProgramName:
      return getMidiProgramName(index, static_cast<MidiProgramName*>(ptr));
    case effGetCurrentMidiProgram:
      return ptr != nullptr ? getCurrentMidiProgram(index, static_cast<MidiProgramName*>(ptr)) : -1;
    case effGetMidiProgramCategory:
      return getMidiProgramCategory(index, static_cast<MidiProgramCategory*>(ptr));
    case effHasMidiProgramsChanged:
      return hasMidiProgramsChanged(index) ? 1 : 0;
    case effGetMidiKeyName:
      return getMidiKeyName(index, static_cast<MidiKeyName*>(ptr)) ? 1 : 0;
    default:
      return DispatchOffline(opcode, index, value, ptr, opt);
  }
}

std::intptr_t AudioEffectX::DispatchOffline(int opcode, int index, std::intptr_t value, void* ptr,
                                            float opt) {
  switch (opcode) {
    case effSetTotalSampleToProcess:
      return setTotalSampleToProcess(ToInt(value));
    case effProcessVarIo:
      return processVariableIo(static_cast<VstVariableIo*>(ptr)) ? 1 : 0;
    case effOfflineNotify:
      return offlineNotify(static_cast<VstAudioFile*>(ptr), ToInt(value), index != 0) ? 1 : 0;
    case effOfflinePrepare:
      return offlinePrepare(static_cast<VstOfflineTask*>(ptr), ToInt(value)) ? 1 : 0;
    case effOfflineRun:
      return offlineRun(static_cast<VstOfflineTask*>(ptr), ToInt(value)) ? 1 : 0;
    default:
      return DispatchKeys(opcode, index, value, ptr, opt);
  }
}

std::intptr_t AudioEffectX::DispatchKeys(int opcode, int index, std::intptr_t value, void* ptr,
                                         float opt) {
  AEffGUIEditor* const editor = getEditor();
  const auto key = [&] {
    return VstKeyCode{index, static_cast<unsigned char>(std::clamp<std::intptr_t>(value, 0, 255)),
                      static_cast<unsigned char>(opt >= 0.0f && opt <= 255.0f ? opt : 0.0f)};
  };
  switch (opcode) {
    case effEditKeyDown:
      return editor != nullptr && editor->onKeyDown(key()) ? 1 : 0;
    case effEditKeyUp:
      return editor != nullptr && editor->onKeyUp(key()) ? 1 : 0;
    case effSetEditKnobMode:
      return editor != nullptr && editor->setKnobMode(ToInt(value)) ? 1 : 0;
    default:
      return DispatchWithdrawn(opcode, index, value, ptr, opt);
  }
}

std::intptr_t AudioEffectX::DispatchWithdrawn(int opcode, int index, std::intptr_t value, void* ptr,
                                              float opt) {
  switch (opcode) {
    case effGetNumProgramCategories:
      return getNumCategories();
    case effCopyProgram:
      return copyProgram(index) ? 1 : 0;
    case effConnectInput:
      inputConnected(index, value != 0);
      return 1;
    case effConnectOutput:
      outputConnected(index, value != 0);
      return 1;
    case effGetCurrentPosition:
      return reportCurrentPosition();
    case effGetDestinationBuffer:
      return reinterpret_cast<std::intptr_t>(reportDestinationBuffer());
    case effSetBlockSizeAndSampleRate:
      return setBlockSizeAndSampleRate(ToInt(value), opt) ? 1 : 0;
    case effGetErrorText:
      return getErrorText(static_cast<char*>(ptr)) ? 1 : 0;
    case effIdle:
      return fxIdle();
    case effGetIcon:
      return reinterpret_cast<std::intptr_t>(getIcon());
    case effSetViewPosition:
      return setViewPosition(static_cast<VstWindow*>(ptr)) ? 1 : 0;
    case effKeysRequired:
      // The one question that hosts ask the other way round.
      return keysRequired() ? 0 : 1;
    default:
      return AudioEffect::dispatcher(opcode, index, value, ptr, opt);
  }
}

void AudioEffectX::resume() {
  if ((cEffect.flags & effFlagsIsSynth) != 0 || canHostDo("receiveVstMidiEvent") == 1) {
    wantEvents();
  }
}

std::intptr_t AudioEffectX::vendorSpecific(int /*index*/, std::intptr_t /*value*/, void* /*ptr*/,
                                           float /*opt*/) {
  return 0;
}

bool AudioEffectX::getSpeakerArrangement(VstSpeakerArrangement** input,
                                         VstSpeakerArrangement** output) {
  *input = nullptr;
  *output = nullptr;
  return false;
}

bool AudioEffectX::setBlockSizeAndSampleRate(int newBlockSize, float newSampleRate) {
  setBlockSize(newBlockSize);
  setSampleRate(newSampleRate);
  return true;
}

VstTimeInfo* AudioEffectX::getTimeInfo(int mask) {
  return reinterpret_cast<VstTimeInfo*>(CallHost(audioMasterGetTime, 0, mask));
}

bool AudioEffectX::sendVstEventsToHost(VstEvents* events) {
  return CallHost(audioMasterProcessEvents, 0, 0, events) == 1;
}

void AudioEffectX::wantEvents(int filter) { CallHost(audioMasterWantMidi, 0, filter); }

int AudioEffectX::canHostDo(const char* text) {
  return static_cast<int>(CallHost(audioMasterCanDo, 0, 0, const_cast<char*>(text)));
}

bool AudioEffectX::beginEdit(int index) { return CallHost(audioMasterBeginEdit, index) != 0; }

bool AudioEffectX::endEdit(int index) { return CallHost(audioMasterEndEdit, index) != 0; }

bool AudioEffectX::sizeWindow(int width, int height) {
  return CallHost(audioMasterSizeWindow, width, height) != 0;
}

bool AudioEffectX::updateDisplay() { return CallHost(audioMasterUpdateDisplay) != 0; }

bool AudioEffectX::ioChanged() { return CallHost(audioMasterIOChanged) != 0; }

float AudioEffectX::getHostSampleRate() {
  return static_cast<float>(CallHost(audioMasterGetSampleRate));
}

int AudioEffectX::getHostBlockSize() { return ToInt(CallHost(audioMasterGetBlockSize)); }

int AudioEffectX::getCurrentProcessLevel() {
  return static_cast<int>(CallHost(audioMasterGetCurrentProcessLevel));
}

bool AudioEffectX::getHostVendorString(char* text) {
  return AskHostText(audioMasterGetVendorString, text);
}

bool AudioEffectX::getHostProductString(char* text) {
  return AskHostText(audioMasterGetProductString, text);
}

int AudioEffectX::getHostVendorVersion() {
  return static_cast<int>(CallHost(audioMasterGetVendorVersion));
}

// Hosts are known to write more than the 64 characters of the interface.
bool AudioEffectX::AskHostText(int opcode, char* text) {
  char answer[512] = {};
  const bool known = CallHost(opcode, 0, 0, answer) != 0;
  char* const limit = answer + (known ? kVstMaxVendorStrLen - 1 : 0);
  *std::copy(answer, std::find(answer, limit, '\0'), text) = '\0';
  return known;
}

}  // namespace halveron
