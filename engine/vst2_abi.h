// The VST 2.4 binary interface: the record by which plug-in and host know each other, the opcodes
// of both directions and the records that travel with them, with the published numbers and the
// layout of 64-bit systems. Nothing here has behaviour; `AudioEffect` and `AudioEffectX` do.
//
// Events and transport are in framework/host_events.h, because modules use them too.
#pragma once

#include <cstddef>
#include <cstdint>

#include "framework/host_events.h"

namespace halveron {

struct AEffect;

/// Host services, called by the plug-in. What the arguments mean depends on the opcode.
using audioMasterCallback = std::intptr_t (*)(AEffect* effect, std::int32_t opcode,
                                              std::int32_t index, std::intptr_t value, void* ptr,
                                              float opt);
using AEffectDispatcherProc = std::intptr_t (*)(AEffect* effect, std::int32_t opcode,
                                                std::int32_t index, std::intptr_t value, void* ptr,
                                                float opt);
using AEffectProcessProc = void (*)(AEffect* effect, float** inputs, float** outputs,
                                    std::int32_t sampleFrames);
using AEffectProcessDoubleProc = void (*)(AEffect* effect, double** inputs, double** outputs,
                                          std::int32_t sampleFrames);
using AEffectSetParameterProc = void (*)(AEffect* effect, std::int32_t index, float parameter);
using AEffectGetParameterProc = float (*)(AEffect* effect, std::int32_t index);

/// Number that four characters make, the first in the highest byte.
constexpr std::int32_t FourCharacterCode(char a, char b, char c, char d) {
  const auto byte = [](char character) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(character));
  };
  return static_cast<std::int32_t>(byte(a) << 24 | byte(b) << 16 | byte(c) << 8 | byte(d));
}

inline constexpr std::int32_t kEffectMagic = FourCharacterCode('V', 's', 't', 'P');
inline constexpr std::int32_t kVstVersion = 2400;

/// Lengths in characters of the strings that pass between plug-in and host.
inline constexpr int kVstMaxParamStrLen = 8;
inline constexpr int kVstMaxProgNameLen = 24;
inline constexpr int kVstMaxEffectNameLen = 32;
inline constexpr int kVstMaxVendorStrLen = 64;
inline constexpr int kVstMaxProductStrLen = 64;
inline constexpr int kVstMaxLabelLen = 64;
inline constexpr int kVstMaxShortLabelLen = 8;
inline constexpr int kVstMaxCategLabelLen = 24;
inline constexpr int kVstMaxNameLen = 64;

/// What a host holds of a plug-in.
struct AEffect {
  std::int32_t magic;  ///< `kEffectMagic`.
  AEffectDispatcherProc dispatcher;
  AEffectProcessProc process;  ///< Accumulating process; withdrawn, but must not be null.
  AEffectSetParameterProc setParameter;
  AEffectGetParameterProc getParameter;
  std::int32_t numPrograms;
  std::int32_t numParams;
  std::int32_t numInputs;
  std::int32_t numOutputs;
  std::int32_t flags;  ///< `VstAEffectFlags`.
  std::intptr_t resvd1;
  std::intptr_t resvd2;
  std::int32_t initialDelay;   ///< Latency in samples.
  std::int32_t realQualities;  ///< Withdrawn.
  std::int32_t offQualities;   ///< Withdrawn.
  float ioRatio;               ///< Withdrawn; 1.
  void* object;                ///< The plug-in's own.
  void* user;                  ///< The host's own.
  std::int32_t uniqueID;
  std::int32_t version;
  AEffectProcessProc processReplacing;
  AEffectProcessDoubleProc processDoubleReplacing;
  char future[56];
};

enum VstAEffectFlags : std::int32_t {
  effFlagsHasEditor = 1 << 0,
  effFlagsHasClip = 1 << 1,  // withdrawn
  effFlagsHasVu = 1 << 2,    // withdrawn
  effFlagsCanMono = 1 << 3,  // withdrawn
  effFlagsCanReplacing = 1 << 4,
  effFlagsProgramChunks = 1 << 5,
  effFlagsIsSynth = 1 << 8,
  effFlagsNoSoundInStop = 1 << 9,
  effFlagsExtIsAsync = 1 << 10,    // withdrawn
  effFlagsExtHasBuffer = 1 << 11,  // withdrawn
  effFlagsCanDoubleReplacing = 1 << 12
};

/// Calls from the host. Those marked are withdrawn from the interface; old hosts still send them.
enum AEffectOpcodes : std::int32_t {
  effOpen = 0,
  effClose = 1,
  effSetProgram = 2,
  effGetProgram = 3,
  effSetProgramName = 4,
  effGetProgramName = 5,
  effGetParamLabel = 6,
  effGetParamDisplay = 7,
  effGetParamName = 8,
  effGetVu = 9,  // withdrawn
  effSetSampleRate = 10,
  effSetBlockSize = 11,
  effMainsChanged = 12,
  effEditGetRect = 13,
  effEditOpen = 14,
  effEditClose = 15,
  effEditDraw = 16,   // withdrawn
  effEditMouse = 17,  // withdrawn
  effEditKey = 18,    // withdrawn
  effEditIdle = 19,
  effEditTop = 20,    // withdrawn
  effEditSleep = 21,  // withdrawn
  effIdentify = 22,   // withdrawn
  effGetChunk = 23,
  effSetChunk = 24,
  effProcessEvents = 25,
  effCanBeAutomated = 26,
  effString2Parameter = 27,
  effGetNumProgramCategories = 28,  // withdrawn
  effGetProgramNameIndexed = 29,
  effCopyProgram = 30,    // withdrawn
  effConnectInput = 31,   // withdrawn
  effConnectOutput = 32,  // withdrawn
  effGetInputProperties = 33,
  effGetOutputProperties = 34,
  effGetPlugCategory = 35,
  effGetCurrentPosition = 36,    // withdrawn
  effGetDestinationBuffer = 37,  // withdrawn
  effOfflineNotify = 38,
  effOfflinePrepare = 39,
  effOfflineRun = 40,
  effProcessVarIo = 41,
  effSetSpeakerArrangement = 42,
  effSetBlockSizeAndSampleRate = 43,  // withdrawn
  effSetBypass = 44,
  effGetEffectName = 45,
  effGetErrorText = 46,  // withdrawn
  effGetVendorString = 47,
  effGetProductString = 48,
  effGetVendorVersion = 49,
  effVendorSpecific = 50,
  effCanDo = 51,
  effGetTailSize = 52,
  effIdle = 53,             // withdrawn
  effGetIcon = 54,          // withdrawn
  effSetViewPosition = 55,  // withdrawn
  effGetParameterProperties = 56,
  effKeysRequired = 57,  // withdrawn
  effGetVstVersion = 58,
  effEditKeyDown = 59,
  effEditKeyUp = 60,
  effSetEditKnobMode = 61,
  effGetMidiProgramName = 62,
  effGetCurrentMidiProgram = 63,
  effGetMidiProgramCategory = 64,
  effHasMidiProgramsChanged = 65,
  effGetMidiKeyName = 66,
  effBeginSetProgram = 67,
  effEndSetProgram = 68,
  effGetSpeakerArrangement = 69,
  effShellGetNextPlugin = 70,
  effStartProcess = 71,
  effStopProcess = 72,
  effSetTotalSampleToProcess = 73,
  effSetPanLaw = 74,
  effBeginLoadBank = 75,
  effBeginLoadProgram = 76,
  effSetProcessPrecision = 77,
  effGetNumMidiInputChannels = 78,
  effGetNumMidiOutputChannels = 79
};

/// Calls to the host. Number 5 was never given.
enum AudioMasterOpcodes : std::int32_t {
  audioMasterAutomate = 0,
  audioMasterVersion = 1,
  audioMasterCurrentId = 2,
  audioMasterIdle = 3,
  audioMasterPinConnected = 4,  // withdrawn
  audioMasterWantMidi = 6,      // withdrawn
  audioMasterGetTime = 7,
  audioMasterProcessEvents = 8,
  audioMasterSetTime = 9,                       // withdrawn
  audioMasterTempoAt = 10,                      // withdrawn
  audioMasterGetNumAutomatableParameters = 11,  // withdrawn
  audioMasterGetParameterQuantization = 12,     // withdrawn
  audioMasterIOChanged = 13,
  audioMasterNeedIdle = 14,  // withdrawn
  audioMasterSizeWindow = 15,
  audioMasterGetSampleRate = 16,
  audioMasterGetBlockSize = 17,
  audioMasterGetInputLatency = 18,
  audioMasterGetOutputLatency = 19,
  audioMasterGetPreviousPlug = 20,          // withdrawn
  audioMasterGetNextPlug = 21,              // withdrawn
  audioMasterWillReplaceOrAccumulate = 22,  // withdrawn
  audioMasterGetCurrentProcessLevel = 23,
  audioMasterGetAutomationState = 24,
  audioMasterOfflineStart = 25,
  audioMasterOfflineRead = 26,
  audioMasterOfflineWrite = 27,
  audioMasterOfflineGetCurrentPass = 28,
  audioMasterOfflineGetCurrentMetaPass = 29,
  audioMasterSetOutputSampleRate = 30,          // withdrawn
  audioMasterGetOutputSpeakerArrangement = 31,  // withdrawn
  audioMasterGetVendorString = 32,
  audioMasterGetProductString = 33,
  audioMasterGetVendorVersion = 34,
  audioMasterVendorSpecific = 35,
  audioMasterSetIcon = 36,  // withdrawn
  audioMasterCanDo = 37,
  audioMasterGetLanguage = 38,
  audioMasterOpenWindow = 39,   // withdrawn
  audioMasterCloseWindow = 40,  // withdrawn
  audioMasterGetDirectory = 41,
  audioMasterUpdateDisplay = 42,
  audioMasterBeginEdit = 43,
  audioMasterEndEdit = 44,
  audioMasterOpenFileSelector = 45,
  audioMasterCloseFileSelector = 46,
  audioMasterEditFile = 47,                   // withdrawn
  audioMasterGetChunkFile = 48,               // withdrawn
  audioMasterGetInputSpeakerArrangement = 49  // withdrawn
};

enum VstPlugCategory : std::int32_t {
  kPlugCategUnknown = 0,
  kPlugCategEffect = 1,
  kPlugCategSynth = 2,
  kPlugCategAnalysis = 3,
  kPlugCategMastering = 4,
  kPlugCategSpacializer = 5,
  kPlugCategRoomFx = 6,
  kPlugSurroundFx = 7,
  kPlugCategRestoration = 8,
  kPlugCategOfflineProcess = 9,
  kPlugCategShell = 10,
  kPlugCategGenerator = 11
};

/// Answers to `audioMasterGetCurrentProcessLevel`.
enum VstProcessLevels : std::int32_t {
  kVstProcessLevelUnknown = 0,
  kVstProcessLevelUser = 1,
  kVstProcessLevelRealtime = 2,
  kVstProcessLevelPrefetch = 3,
  kVstProcessLevelOffline = 4
};

/// Answers to `audioMasterGetAutomationState`.
enum VstAutomationStates : std::int32_t {
  kVstAutomationUnsupported = 0,
  kVstAutomationOff = 1,
  kVstAutomationRead = 2,
  kVstAutomationWrite = 3,
  kVstAutomationReadWrite = 4
};

/// Answers to `audioMasterGetLanguage`.
enum VstHostLanguage : std::int32_t {
  kVstLangEnglish = 1,
  kVstLangGerman = 2,
  kVstLangFrench = 3,
  kVstLangItalian = 4,
  kVstLangSpanish = 5,
  kVstLangJapanese = 6
};

/// Values of `effSetProcessPrecision`.
enum VstProcessPrecision : std::int32_t { kVstProcessPrecision32 = 0, kVstProcessPrecision64 = 1 };

/// Values of `effSetPanLaw`.
enum VstPanLawType : std::int32_t { kLinearPanLaw = 0, kEqualPowerPanLaw = 1 };

/// Modes of `effSetEditKnobMode`.
enum VstKnobMode : std::int32_t { kCircularMode = 0, kRelativCircularMode = 1, kLinearMode = 2 };

/// The editor's rectangle in pixels.
struct ERect {
  std::int16_t top;
  std::int16_t left;
  std::int16_t bottom;
  std::int16_t right;
};

enum VstPinPropertiesFlags : std::int32_t {
  kVstPinIsActive = 1,
  kVstPinIsStereo = 2,  ///< First of a stereo pair.
  kVstPinUseSpeaker = 4
};

/// One input or output channel.
struct VstPinProperties {
  char label[kVstMaxLabelLen];
  std::int32_t flags;            ///< `VstPinPropertiesFlags`.
  std::int32_t arrangementType;  ///< `VstSpeakerArrangementType`, with `kVstPinUseSpeaker`.
  char shortLabel[kVstMaxShortLabelLen];
  char future[48];
};

enum VstParameterFlags : std::int32_t {
  kVstParameterIsSwitch = 1 << 0,
  kVstParameterUsesIntegerMinMax = 1 << 1,
  kVstParameterUsesFloatStep = 1 << 2,
  kVstParameterUsesIntStep = 1 << 3,
  kVstParameterSupportsDisplayIndex = 1 << 4,
  kVstParameterSupportsDisplayCategory = 1 << 5,
  kVstParameterCanRamp = 1 << 6
};

/// How a host may show a parameter.
struct VstParameterProperties {
  float stepFloat;
  float smallStepFloat;
  float largeStepFloat;
  char label[kVstMaxLabelLen];
  std::int32_t flags;  ///< `VstParameterFlags`.
  std::int32_t minInteger;
  std::int32_t maxInteger;
  std::int32_t stepInteger;
  std::int32_t largeStepInteger;
  char shortLabel[kVstMaxShortLabelLen];
  std::int16_t displayIndex;
  std::int16_t category;
  std::int16_t numParametersInCategory;
  std::int16_t reserved;
  char categoryLabel[kVstMaxCategLabelLen];
  char future[16];
};

/// Kinds of `VstSpeakerArrangement`; the digits count the channels before and after the point.
enum VstSpeakerArrangementType : std::int32_t {
  kSpeakerArrUserDefined = -2,
  kSpeakerArrEmpty = -1,
  kSpeakerArrMono = 0,
  kSpeakerArrStereo = 1,
  kSpeakerArrStereoSurround = 2,
  kSpeakerArrStereoCenter = 3,
  kSpeakerArrStereoSide = 4,
  kSpeakerArrStereoCLfe = 5,
  kSpeakerArr30Cine = 6,
  kSpeakerArr30Music = 7,
  kSpeakerArr31Cine = 8,
  kSpeakerArr31Music = 9,
  kSpeakerArr40Cine = 10,
  kSpeakerArr40Music = 11,
  kSpeakerArr41Cine = 12,
  kSpeakerArr41Music = 13,
  kSpeakerArr50 = 14,
  kSpeakerArr51 = 15,
  kSpeakerArr60Cine = 16,
  kSpeakerArr60Music = 17,
  kSpeakerArr61Cine = 18,
  kSpeakerArr61Music = 19,
  kSpeakerArr70Cine = 20,
  kSpeakerArr70Music = 21,
  kSpeakerArr71Cine = 22,
  kSpeakerArr71Music = 23,
  kSpeakerArr80Cine = 24,
  kSpeakerArr80Music = 25,
  kSpeakerArr81Cine = 26,
  kSpeakerArr81Music = 27,
  kSpeakerArr102 = 28
};

/// Where one speaker stands.
struct VstSpeakerProperties {
  float azimuth;    ///< Radians.
  float elevation;  ///< Radians.
  float radius;     ///< Metres.
  float reserved;
  char name[kVstMaxNameLen];
  std::int32_t type;
  char future[28];
};

/// Speakers of all inputs or all outputs; `speakers` extends beyond the struct where there are
/// more.
struct VstSpeakerArrangement {
  std::int32_t type;  ///< `VstSpeakerArrangementType`.
  std::int32_t numChannels;
  VstSpeakerProperties speakers[8];
};

/// A process call that reads and writes different numbers of samples (offline only).
struct VstVariableIo {
  float** inputs;
  float** outputs;
  std::int32_t numSamplesInput;
  std::int32_t numSamplesOutput;
  std::int32_t* numSamplesInputProcessed;
  std::int32_t* numSamplesOutputProcessed;
};

/// What a host knows of a bank or program before it hands over the chunk.
struct VstPatchChunkInfo {
  std::int32_t version;
  std::int32_t pluginUniqueID;
  std::int32_t pluginVersion;
  std::int32_t numElements;
  char future[48];
};

/// Value of `MidiProgramName::flags`: the program answers to all channels.
inline constexpr std::int32_t kMidiIsOmni = 1;

/// One MIDI program of a channel.
struct MidiProgramName {
  std::int32_t thisProgramIndex;
  char name[kVstMaxNameLen];
  char midiProgram;
  char midiBankMsb;
  char midiBankLsb;
  char reserved;
  std::int32_t parentCategoryIndex;
  std::int32_t flags;
};

/// One category of MIDI programs.
struct MidiProgramCategory {
  std::int32_t thisCategoryIndex;
  char name[kVstMaxNameLen];
  std::int32_t parentCategoryIndex;
  std::int32_t flags;
};

/// Name of one key of a MIDI program.
struct MidiKeyName {
  std::int32_t thisProgramIndex;
  std::int32_t thisKeyNumber;
  char keyName[kVstMaxNameLen];
  std::int32_t reserved;
  std::int32_t flags;
};

/// Keys without a character, for `VstKeyCode::virt`.
enum VstVirtualKey : std::int32_t {
  VKEY_BACK = 1,
  VKEY_TAB,
  VKEY_CLEAR,
  VKEY_RETURN,
  VKEY_PAUSE,
  VKEY_ESCAPE,
  VKEY_SPACE,
  VKEY_NEXT,
  VKEY_END,
  VKEY_HOME,
  VKEY_LEFT,
  VKEY_UP,
  VKEY_RIGHT,
  VKEY_DOWN,
  VKEY_PAGEUP,
  VKEY_PAGEDOWN,
  VKEY_SELECT,
  VKEY_PRINT,
  VKEY_ENTER,
  VKEY_SNAPSHOT,
  VKEY_INSERT,
  VKEY_DELETE,
  VKEY_HELP,
  VKEY_NUMPAD0,
  VKEY_NUMPAD1,
  VKEY_NUMPAD2,
  VKEY_NUMPAD3,
  VKEY_NUMPAD4,
  VKEY_NUMPAD5,
  VKEY_NUMPAD6,
  VKEY_NUMPAD7,
  VKEY_NUMPAD8,
  VKEY_NUMPAD9,
  VKEY_MULTIPLY,
  VKEY_ADD,
  VKEY_SEPARATOR,
  VKEY_SUBTRACT,
  VKEY_DECIMAL,
  VKEY_DIVIDE,
  VKEY_F1,
  VKEY_F2,
  VKEY_F3,
  VKEY_F4,
  VKEY_F5,
  VKEY_F6,
  VKEY_F7,
  VKEY_F8,
  VKEY_F9,
  VKEY_F10,
  VKEY_F11,
  VKEY_F12,
  VKEY_NUMLOCK,
  VKEY_SCROLL,
  VKEY_SHIFT,
  VKEY_CONTROL,
  VKEY_ALT,
  VKEY_EQUALS
};

/// Bits of `VstKeyCode::modifier`.
enum VstModifierKey : std::int32_t {
  MODIFIER_SHIFT = 1 << 0,
  MODIFIER_ALTERNATE = 1 << 1,
  MODIFIER_COMMAND = 1 << 2,
  MODIFIER_CONTROL = 1 << 3
};

/// A key pressed or released in the editor.
struct VstKeyCode {
  std::int32_t character;  ///< ASCII, 0 for a key that has none.
  unsigned char virt;      ///< `VstVirtualKey`.
  unsigned char modifier;  ///< `VstModifierKey`.
};

// Records of offline processing and of host windows, which pass through unopened.
struct VstAudioFile;
struct VstOfflineTask;
struct VstWindow;

static_assert(sizeof(AEffect) == 192);
static_assert(offsetof(AEffect, magic) == 0);
static_assert(offsetof(AEffect, dispatcher) == 8);
static_assert(offsetof(AEffect, process) == 16);
static_assert(offsetof(AEffect, setParameter) == 24);
static_assert(offsetof(AEffect, getParameter) == 32);
static_assert(offsetof(AEffect, numPrograms) == 40);
static_assert(offsetof(AEffect, numParams) == 44);
static_assert(offsetof(AEffect, numInputs) == 48);
static_assert(offsetof(AEffect, numOutputs) == 52);
static_assert(offsetof(AEffect, flags) == 56);
static_assert(offsetof(AEffect, resvd1) == 64);
static_assert(offsetof(AEffect, resvd2) == 72);
static_assert(offsetof(AEffect, initialDelay) == 80);
static_assert(offsetof(AEffect, realQualities) == 84);
static_assert(offsetof(AEffect, offQualities) == 88);
static_assert(offsetof(AEffect, ioRatio) == 92);
static_assert(offsetof(AEffect, object) == 96);
static_assert(offsetof(AEffect, user) == 104);
static_assert(offsetof(AEffect, uniqueID) == 112);
static_assert(offsetof(AEffect, version) == 116);
static_assert(offsetof(AEffect, processReplacing) == 120);
static_assert(offsetof(AEffect, processDoubleReplacing) == 128);
static_assert(offsetof(AEffect, future) == 136);

static_assert(sizeof(ERect) == 8);
static_assert(offsetof(ERect, top) == 0);
static_assert(offsetof(ERect, left) == 2);
static_assert(offsetof(ERect, bottom) == 4);
static_assert(offsetof(ERect, right) == 6);

static_assert(sizeof(VstPinProperties) == 128);
static_assert(offsetof(VstPinProperties, label) == 0);
static_assert(offsetof(VstPinProperties, flags) == 64);
static_assert(offsetof(VstPinProperties, arrangementType) == 68);
static_assert(offsetof(VstPinProperties, shortLabel) == 72);
static_assert(offsetof(VstPinProperties, future) == 80);

static_assert(sizeof(VstParameterProperties) == 152);
static_assert(offsetof(VstParameterProperties, stepFloat) == 0);
static_assert(offsetof(VstParameterProperties, smallStepFloat) == 4);
static_assert(offsetof(VstParameterProperties, largeStepFloat) == 8);
static_assert(offsetof(VstParameterProperties, label) == 12);
static_assert(offsetof(VstParameterProperties, flags) == 76);
static_assert(offsetof(VstParameterProperties, minInteger) == 80);
static_assert(offsetof(VstParameterProperties, maxInteger) == 84);
static_assert(offsetof(VstParameterProperties, stepInteger) == 88);
static_assert(offsetof(VstParameterProperties, largeStepInteger) == 92);
static_assert(offsetof(VstParameterProperties, shortLabel) == 96);
static_assert(offsetof(VstParameterProperties, displayIndex) == 104);
static_assert(offsetof(VstParameterProperties, category) == 106);
static_assert(offsetof(VstParameterProperties, numParametersInCategory) == 108);
static_assert(offsetof(VstParameterProperties, reserved) == 110);
static_assert(offsetof(VstParameterProperties, categoryLabel) == 112);
static_assert(offsetof(VstParameterProperties, future) == 136);

static_assert(sizeof(VstSpeakerProperties) == 112);
static_assert(offsetof(VstSpeakerProperties, azimuth) == 0);
static_assert(offsetof(VstSpeakerProperties, elevation) == 4);
static_assert(offsetof(VstSpeakerProperties, radius) == 8);
static_assert(offsetof(VstSpeakerProperties, reserved) == 12);
static_assert(offsetof(VstSpeakerProperties, name) == 16);
static_assert(offsetof(VstSpeakerProperties, type) == 80);
static_assert(offsetof(VstSpeakerProperties, future) == 84);
static_assert(sizeof(VstSpeakerArrangement) == 904);
static_assert(offsetof(VstSpeakerArrangement, type) == 0);
static_assert(offsetof(VstSpeakerArrangement, numChannels) == 4);
static_assert(offsetof(VstSpeakerArrangement, speakers) == 8);

static_assert(sizeof(VstVariableIo) == 40);
static_assert(offsetof(VstVariableIo, inputs) == 0);
static_assert(offsetof(VstVariableIo, outputs) == 8);
static_assert(offsetof(VstVariableIo, numSamplesInput) == 16);
static_assert(offsetof(VstVariableIo, numSamplesOutput) == 20);
static_assert(offsetof(VstVariableIo, numSamplesInputProcessed) == 24);
static_assert(offsetof(VstVariableIo, numSamplesOutputProcessed) == 32);

static_assert(sizeof(VstPatchChunkInfo) == 64);
static_assert(offsetof(VstPatchChunkInfo, version) == 0);
static_assert(offsetof(VstPatchChunkInfo, pluginUniqueID) == 4);
static_assert(offsetof(VstPatchChunkInfo, pluginVersion) == 8);
static_assert(offsetof(VstPatchChunkInfo, numElements) == 12);
static_assert(offsetof(VstPatchChunkInfo, future) == 16);

static_assert(sizeof(MidiProgramName) == 80);
static_assert(offsetof(MidiProgramName, thisProgramIndex) == 0);
static_assert(offsetof(MidiProgramName, name) == 4);
static_assert(offsetof(MidiProgramName, midiProgram) == 68);
static_assert(offsetof(MidiProgramName, midiBankMsb) == 69);
static_assert(offsetof(MidiProgramName, midiBankLsb) == 70);
static_assert(offsetof(MidiProgramName, reserved) == 71);
static_assert(offsetof(MidiProgramName, parentCategoryIndex) == 72);
static_assert(offsetof(MidiProgramName, flags) == 76);

static_assert(sizeof(MidiProgramCategory) == 76);
static_assert(offsetof(MidiProgramCategory, thisCategoryIndex) == 0);
static_assert(offsetof(MidiProgramCategory, name) == 4);
static_assert(offsetof(MidiProgramCategory, parentCategoryIndex) == 68);
static_assert(offsetof(MidiProgramCategory, flags) == 72);

static_assert(sizeof(MidiKeyName) == 80);
static_assert(offsetof(MidiKeyName, thisProgramIndex) == 0);
static_assert(offsetof(MidiKeyName, thisKeyNumber) == 4);
static_assert(offsetof(MidiKeyName, keyName) == 8);
static_assert(offsetof(MidiKeyName, reserved) == 72);
static_assert(offsetof(MidiKeyName, flags) == 76);

static_assert(sizeof(VstKeyCode) == 8);
static_assert(offsetof(VstKeyCode, character) == 0);
static_assert(offsetof(VstKeyCode, virt) == 4);
static_assert(offsetof(VstKeyCode, modifier) == 5);

}  // namespace halveron
