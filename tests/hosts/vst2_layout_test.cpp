// Our layout of the VST2 interface against that of an independent header, where that one is right:
// it lacks about half of the opcodes, and its time info, pins and tails of MIDI events are guesses.
#include <gtest/gtest.h>

#include "engine/vst2_abi.h"

namespace ours = halveron;

#include <pluginterfaces/fst/fst.h>

#define EXPECT_SAME_PLACE(record, theirs, field) \
  static_assert(offsetof(ours::record, field) == offsetof(theirs, field))
#define EXPECT_SAME_NUMBER(name) \
  static_assert(static_cast<int>(ours::name) == static_cast<int>(::name))

EXPECT_SAME_PLACE(AEffect, t_fstEffect, magic);
EXPECT_SAME_PLACE(AEffect, t_fstEffect, dispatcher);
EXPECT_SAME_PLACE(AEffect, t_fstEffect, process);
EXPECT_SAME_PLACE(AEffect, t_fstEffect, setParameter);
EXPECT_SAME_PLACE(AEffect, t_fstEffect, getParameter);
EXPECT_SAME_PLACE(AEffect, t_fstEffect, numPrograms);
EXPECT_SAME_PLACE(AEffect, t_fstEffect, numParams);
EXPECT_SAME_PLACE(AEffect, t_fstEffect, numInputs);
EXPECT_SAME_PLACE(AEffect, t_fstEffect, numOutputs);
EXPECT_SAME_PLACE(AEffect, t_fstEffect, flags);
EXPECT_SAME_PLACE(AEffect, t_fstEffect, initialDelay);
EXPECT_SAME_PLACE(AEffect, t_fstEffect, object);
EXPECT_SAME_PLACE(AEffect, t_fstEffect, user);
EXPECT_SAME_PLACE(AEffect, t_fstEffect, uniqueID);
EXPECT_SAME_PLACE(AEffect, t_fstEffect, version);
EXPECT_SAME_PLACE(AEffect, t_fstEffect, processReplacing);
EXPECT_SAME_PLACE(AEffect, t_fstEffect, processDoubleReplacing);

EXPECT_SAME_PLACE(VstMidiEvent, t_fstMidiEvent, deltaFrames);
EXPECT_SAME_PLACE(VstMidiEvent, t_fstMidiEvent, midiData);
EXPECT_SAME_PLACE(VstMidiSysexEvent, t_fstSysexEvent, dumpBytes);
EXPECT_SAME_PLACE(VstMidiSysexEvent, t_fstSysexEvent, sysexDump);
static_assert(sizeof(ours::VstMidiSysexEvent) == sizeof(t_fstSysexEvent));
EXPECT_SAME_PLACE(VstEvents, t_fstEvents, events);
EXPECT_SAME_PLACE(VstTimeInfo, t_fstTimeInfo, samplePos);
EXPECT_SAME_PLACE(VstTimeInfo, t_fstTimeInfo, ppqPos);
EXPECT_SAME_PLACE(VstTimeInfo, t_fstTimeInfo, tempo);
EXPECT_SAME_PLACE(VstTimeInfo, t_fstTimeInfo, cycleEndPos);
EXPECT_SAME_PLACE(VstTimeInfo, t_fstTimeInfo, timeSigDenominator);
EXPECT_SAME_PLACE(VstPinProperties, t_fstPinProperties, flags);
EXPECT_SAME_PLACE(VstPinProperties, t_fstPinProperties, shortLabel);
EXPECT_SAME_PLACE(VstSpeakerArrangement, t_fstSpeakerArrangement, speakers);
static_assert(sizeof(ours::VstSpeakerProperties) == sizeof(t_fstSpeakerProperties));
static_assert(sizeof(ours::ERect) == sizeof(::ERect));

namespace {

// The compiler makes the comparison; one test makes it visible in a run.
TEST(Vst2Layout, NumbersAgreeWithThoseOfOthers) {
  EXPECT_SAME_NUMBER(audioMasterAutomate);
  EXPECT_SAME_NUMBER(audioMasterVersion);
  EXPECT_SAME_NUMBER(audioMasterCurrentId);
  EXPECT_SAME_NUMBER(audioMasterWantMidi);
  EXPECT_SAME_NUMBER(audioMasterGetTime);
  EXPECT_SAME_NUMBER(audioMasterProcessEvents);
  EXPECT_SAME_NUMBER(audioMasterTempoAt);
  EXPECT_SAME_NUMBER(audioMasterSizeWindow);
  EXPECT_SAME_NUMBER(audioMasterGetSampleRate);
  EXPECT_SAME_NUMBER(audioMasterGetBlockSize);
  EXPECT_SAME_NUMBER(audioMasterGetCurrentProcessLevel);
  EXPECT_SAME_NUMBER(audioMasterGetVendorString);
  EXPECT_SAME_NUMBER(audioMasterGetProductString);
  EXPECT_SAME_NUMBER(audioMasterGetVendorVersion);
  EXPECT_SAME_NUMBER(audioMasterCanDo);
  EXPECT_SAME_NUMBER(audioMasterBeginEdit);
  EXPECT_SAME_NUMBER(audioMasterEndEdit);
  EXPECT_SAME_NUMBER(effOpen);
  EXPECT_SAME_NUMBER(effClose);
  EXPECT_SAME_NUMBER(effSetProgram);
  EXPECT_SAME_NUMBER(effGetParamName);
  EXPECT_SAME_NUMBER(effSetSampleRate);
  EXPECT_SAME_NUMBER(effSetBlockSize);
  EXPECT_SAME_NUMBER(effMainsChanged);
  EXPECT_SAME_NUMBER(effEditGetRect);
  EXPECT_SAME_NUMBER(effEditOpen);
  EXPECT_SAME_NUMBER(effEditClose);
  EXPECT_SAME_NUMBER(effEditIdle);
  EXPECT_SAME_NUMBER(effIdentify);
  EXPECT_SAME_NUMBER(effGetChunk);
  EXPECT_SAME_NUMBER(effSetChunk);
  EXPECT_SAME_NUMBER(effProcessEvents);
  EXPECT_SAME_NUMBER(effCanBeAutomated);
  EXPECT_SAME_NUMBER(effString2Parameter);
  EXPECT_SAME_NUMBER(effGetProgramNameIndexed);
  EXPECT_SAME_NUMBER(effGetInputProperties);
  EXPECT_SAME_NUMBER(effGetOutputProperties);
  EXPECT_SAME_NUMBER(effGetPlugCategory);
  EXPECT_SAME_NUMBER(effSetSpeakerArrangement);
  EXPECT_SAME_NUMBER(effGetEffectName);
  EXPECT_SAME_NUMBER(effGetVendorString);
  EXPECT_SAME_NUMBER(effGetProductString);
  EXPECT_SAME_NUMBER(effGetVendorVersion);
  EXPECT_SAME_NUMBER(effVendorSpecific);
  EXPECT_SAME_NUMBER(effCanDo);
  EXPECT_SAME_NUMBER(effGetVstVersion);
  EXPECT_SAME_NUMBER(effGetCurrentMidiProgram);
  EXPECT_SAME_NUMBER(effGetSpeakerArrangement);
  EXPECT_SAME_NUMBER(effShellGetNextPlugin);
  EXPECT_SAME_NUMBER(effStartProcess);
  EXPECT_SAME_NUMBER(effStopProcess);
  EXPECT_SAME_NUMBER(effSetTotalSampleToProcess);
  EXPECT_SAME_NUMBER(effSetProcessPrecision);
  EXPECT_SAME_NUMBER(effFlagsHasEditor);
  EXPECT_SAME_NUMBER(effFlagsCanReplacing);
  EXPECT_SAME_NUMBER(effFlagsProgramChunks);
  EXPECT_SAME_NUMBER(effFlagsIsSynth);
  EXPECT_SAME_NUMBER(effFlagsNoSoundInStop);
  EXPECT_SAME_NUMBER(effFlagsCanDoubleReplacing);
  EXPECT_SAME_NUMBER(kVstMidiType);
  EXPECT_SAME_NUMBER(kVstSysExType);
  EXPECT_SAME_NUMBER(kVstTransportPlaying);
  EXPECT_SAME_NUMBER(kVstPpqPosValid);
  EXPECT_SAME_NUMBER(kVstTempoValid);
  EXPECT_SAME_NUMBER(kVstTimeSigValid);
  EXPECT_SAME_NUMBER(kPlugCategSynth);
  EXPECT_EQ(ours::kEffectMagic, kEffectMagic);
}

}  // namespace
