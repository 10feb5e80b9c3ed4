#include "engine/audio_effect.h"

#include <cmath>
#include <limits>

#include "engine/guarded_call.h"

namespace halveron {

namespace {

bool IsWithin(std::intptr_t number, std::int32_t count) { return number >= 0 && number < count; }

bool FitsCount(std::intptr_t number) {
  return number >= 1 && number <= std::numeric_limits<int>::max();
}

bool IsRate(float rate) { return std::isfinite(rate) && rate > 0.0f; }

AudioEffect* EffectOf(AEffect* record) {
  return record != nullptr ? static_cast<AudioEffect*>(record->object) : nullptr;
}

/// Whether a call needs a `ptr` other than null.
bool NeedsPointer(std::int32_t opcode) {
  switch (opcode) {
    case effSetProgramName:
    case effGetProgramName:
    case effGetParamLabel:
    case effGetParamDisplay:
    case effGetParamName:
    case effEditGetRect:
    case effGetChunk:
    case effSetChunk:
    case effProcessEvents:
    case effGetProgramNameIndexed:
    case effGetInputProperties:
    case effGetOutputProperties:
    case effOfflineNotify:
    case effOfflinePrepare:
    case effOfflineRun:
    case effProcessVarIo:
    case effSetSpeakerArrangement:
    case effGetEffectName:
    case effGetErrorText:
    case effGetVendorString:
    case effGetProductString:
    case effCanDo:
    case effGetParameterProperties:
    case effGetMidiProgramName:
    case effGetMidiProgramCategory:
    case effGetMidiKeyName:
    case effGetSpeakerArrangement:
    case effShellGetNextPlugin:
    case effBeginLoadBank:
    case effBeginLoadProgram:
      return true;
    default:
      return false;
  }
}

/// Whether `index` of a call names a parameter.
bool NamesParameter(std::int32_t opcode) {
  switch (opcode) {
    case effGetParamLabel:
    case effGetParamDisplay:
    case effGetParamName:
    case effCanBeAutomated:
    case effString2Parameter:
    case effGetParameterProperties:
      return true;
    default:
      return false;
  }
}

/// Whether the numbers of a call that sets rate, block size or state are valid.
bool BringsUsableNumbers(std::int32_t opcode, std::intptr_t value, float opt) {
  switch (opcode) {
    case effSetSampleRate:
      return IsRate(opt);
    case effSetBlockSize:
    case effSetChunk:
      return FitsCount(value);
    case effSetBlockSizeAndSampleRate:
      return FitsCount(value) && IsRate(opt);
    default:
      return true;
  }
}

}  // namespace

/// The functions behind the pointers of an `AEffect`.
struct AEffectEntries {
  static std::intptr_t Dispatch(AEffect* record, std::int32_t opcode, std::int32_t index,
                                std::intptr_t value, void* ptr, float opt) {
    AudioEffect* effect = EffectOf(record);
    if (effect == nullptr || (ptr == nullptr && NeedsPointer(opcode)) ||
        (NamesParameter(opcode) && !IsWithin(index, record->numParams)) ||
        !BringsUsableNumbers(opcode, value, opt)) {
      return 0;
    }
    const std::intptr_t answer = GuardedAnswer<std::intptr_t>(
        0, [&] { return effect->dispatcher(opcode, index, value, ptr, opt); });
    if (opcode != effClose) {
      return answer;
    }
    delete effect;
    return 1;
  }

  /// Accumulating processing is deprecated; every host uses the replacing one. The function exists
  /// because a host may test the pointer.
  static void Process(AEffect*, float**, float**, std::int32_t) {}

  static void ProcessReplacing(AEffect* record, float** inputs, float** outputs,
                               std::int32_t sampleFrames) {
    AudioEffect* effect = EffectOf(record);
    if (effect == nullptr || sampleFrames < 0) {
      return;
    }
    GuardedCall([&] { effect->processHostBlock(inputs, outputs, sampleFrames); });
  }

  static void ProcessDoubleReplacing(AEffect* record, double** inputs, double** outputs,
                                     std::int32_t sampleFrames) {
    AudioEffect* effect = EffectOf(record);
    if (effect == nullptr || sampleFrames < 0) {
      return;
    }
    GuardedCall([&] { effect->processDoubleReplacing(inputs, outputs, sampleFrames); });
  }

  static void SetParameter(AEffect* record, std::int32_t index, float value) {
    AudioEffect* effect = EffectOf(record);
    if (effect == nullptr || !IsWithin(index, record->numParams) || !std::isfinite(value)) {
      return;
    }
    GuardedCall([&] { effect->setParameter(index, value); });
  }

  static float GetParameter(AEffect* record, std::int32_t index) {
    AudioEffect* effect = EffectOf(record);
    if (effect == nullptr || !IsWithin(index, record->numParams)) {
      return 0.0f;
    }
    return GuardedAnswer(0.0f, [&] { return effect->getParameter(index); });
  }
};

AudioEffect::AudioEffect(audioMasterCallback host, int numPrograms, int numParams)
    : audioMaster(host) {
  cEffect.magic = kEffectMagic;
  cEffect.dispatcher = AEffectEntries::Dispatch;
  cEffect.process = AEffectEntries::Process;
  cEffect.setParameter = AEffectEntries::SetParameter;
  cEffect.getParameter = AEffectEntries::GetParameter;
  cEffect.processReplacing = AEffectEntries::ProcessReplacing;
  cEffect.processDoubleReplacing = AEffectEntries::ProcessDoubleReplacing;
  cEffect.numPrograms = numPrograms;
  cEffect.numParams = numParams;
  cEffect.numInputs = 1;
  cEffect.numOutputs = 2;
  cEffect.ioRatio = 1.0f;
  cEffect.object = this;
  cEffect.uniqueID = FourCharacterCode('N', 'o', 'E', 'f');
  cEffect.version = 1;
  canProcessReplacing();
}

std::intptr_t AudioEffect::dispatcher(int opcode, int index, std::intptr_t value, void* ptr,
                                      float opt) {
  char* const text = static_cast<char*>(ptr);
  switch (opcode) {
    case effOpen:
      open();
      return 0;
    case effClose:
      close();
      return 0;
    case effSetProgram:
      if (IsWithin(value, cEffect.numPrograms)) {
        setProgram(static_cast<int>(value));
      }
      return 0;
    case effGetProgram:
      return getProgram();
    case effSetProgramName:
      setProgramName(text);
      return 0;
    case effGetProgramName:
      getProgramName(text);
      return 0;
    case effGetParamLabel:
      getParameterLabel(index, text);
      return 0;
    case effGetParamDisplay:
      getParameterDisplay(index, text);
      return 0;
    case effGetParamName:
      getParameterName(index, text);
      return 0;
    case effGetVu:
      return static_cast<std::intptr_t>(getVu() * 32767.0f);
    case effSetSampleRate:
      setSampleRate(opt);
      return 0;
    case effSetBlockSize:
      setBlockSize(static_cast<int>(value));
      return 0;
    case effMainsChanged:
      if (value != 0) {
        resume();
      } else {
        suspend();
      }
      return 0;
    case effIdentify:
      return FourCharacterCode('N', 'v', 'E', 'f');
    case effGetChunk:
      return getChunk(static_cast<void**>(ptr), index != 0);
    case effSetChunk:
      return setChunk(ptr, static_cast<int>(value), index != 0);
    default:
      return DispatchEditor(opcode, ptr);
  }
}

std::intptr_t AudioEffect::DispatchEditor(int opcode, void* ptr) {
  if (editor == nullptr) {
    return 0;
  }
  // The draw, mouse, key, top and sleep opcodes belong to hosts on old Macintoshes.
  switch (opcode) {
    case effEditGetRect:
      return editor->getRect(static_cast<ERect**>(ptr)) ? 1 : 0;
    case effEditOpen:
      return editor->open(ptr) ? 1 : 0;
    case effEditClose:
      editor->close();
      return 0;
    case effEditIdle:
      editor->idle();
      return 0;
    default:
      return 0;
  }
}

int AudioEffect::getMasterVersion() { return static_cast<int>(CallHost(audioMasterVersion)); }

void AudioEffect::setParameterAutomated(int index, float value) {
  setParameter(index, value);
  CallHost(audioMasterAutomate, index, 0, nullptr, value);
}

void AudioEffect::setEditor(AEffGUIEditor* newEditor) {
  editor = newEditor;
  SetFlag(effFlagsHasEditor, newEditor != nullptr);
}

void AudioEffect::SetFlag(std::int32_t flag, bool state) {
  cEffect.flags = state ? cEffect.flags | flag : cEffect.flags & ~flag;
}

std::intptr_t AudioEffect::CallHost(int opcode, int index, std::intptr_t value, void* ptr,
                                    float opt) {
  return audioMaster != nullptr ? audioMaster(&cEffect, opcode, index, value, ptr, opt) : 0;
}

}  // namespace halveron
