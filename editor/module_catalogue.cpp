#include "editor/module_catalogue.h"

#include <array>
#include <cstring>

#include "modules/amplifiers/S400DVCA.h"
#include "modules/amplifiers/S401VCAAtn.h"
#include "modules/amplifiers/S404VCA.h"
#include "modules/bridge/S815InOutConnector.h"
#include "modules/bridge/SA012FromDAW.h"
#include "modules/bridge/SA022DAW.h"
#include "modules/bridge/SA03MSFromDAW.h"
#include "modules/bridge/SA04TempoFromDAW.h"
#include "modules/bridge/SA052DAW12dbAmp.h"
#include "modules/bridge/SA06MIDIToDAW.h"
#include "modules/bridge/SA11AudioCVFromDAW.h"
#include "modules/bridge/SA12AudioCVToDAW.h"
#include "modules/bridge/SA13Clipped2DAW.h"
#include "modules/envelopes/S500ADSR.h"
#include "modules/envelopes/S515VCLFO.h"
#include "modules/envelopes/S516RSH.h"
#include "modules/filters/S201VCF.h"
#include "modules/filters/S202HPLSVCF.h"
#include "modules/filters/S212VCF.h"
#include "modules/midi/SD02ExProgrammer.h"
#include "modules/midi/SD02MCVS.h"
#include "modules/midi/SD05MPC.h"
#include "modules/mixers/S101Mixer.h"
#include "modules/mixers/S102UnityMixer.h"
#include "modules/mixers/S120MonoToPoly.h"
#include "modules/mixers/S121PolyToMono.h"
#include "modules/sources/S310VCO.h"

namespace halveron {

namespace {

constexpr std::array<CategoryNames, kCategoryCount> kCategoryNames{{
    {"Mixer/Panner", "MixerPanner"},
    {"Filter", "Filter"},
    {"Oscillator/Source", "OscillatorSource"},
    {"Amplifier", "Amplifier"},
    {"Modulator", "Modulator"},
    {"Modifier/Effect", "ModifierEffect"},
    {"Clock/Gate", "ClockGate"},
    {"Switch/Multiple", "Switch"},
    {"CV Source/Processor", "CVSourceProcessor"},
    {"From/To DAW", "FromToDAW"},
    {"Sequencer", "Sequencer"},
    {"Logic/Bit", "LogicBit"},
    {"MIDI", "MIDI"},
    {"Other", "Other"},
}};

template <class M>
constexpr CatalogueEntry Made(Category category, const char* className) {
  return {category,
          M::kName,
          className,
          [](CFrame* frame, const HostTable& hostTable, int voice) -> Module* {
            return new M(frame, hostTable, voice);
          },
          &M::SetUpClass,
          &M::TearDownClass};
}

constexpr CatalogueEntry ToCome(Category category, const char* name, const char* className) {
  return {category, name, className, nullptr, nullptr, nullptr};
}

constexpr CatalogueEntry kCatalogue[] = {
    Made<S101Mixer>(Category::kMixerPanner, "S101Mixer"),
    Made<S102UnityMixer>(Category::kMixerPanner, "S102UnityMixer"),
    ToCome(Category::kMixerPanner, "S103 Matrix Mixer/VCA", "S103MatrixMixerVCA"),
    ToCome(Category::kMixerPanner, "S110 Dual VC Panner", "S110DPan"),
    ToCome(Category::kMixerPanner, "S116 VC Cross Fader", "S116VCCrossFader"),
    Made<S120MonoToPoly>(Category::kMixerPanner, "S120MonoToPoly"),
    Made<S121PolyToMono>(Category::kMixerPanner, "S121PolyToMono"),
    Made<S201VCF>(Category::kFilter, "S201VCF"),
    Made<S202HPLSVCF>(Category::kFilter, "S202HPLSVCF"),
    ToCome(Category::kFilter, "S205 Low Pass Gate", "S205LPG"),
    ToCome(Category::kFilter, "S206 Pole Separation LP VCF", "S206PoleSeparationLPVCF"),
    Made<S212VCF>(Category::kFilter, "S212VCF"),
    ToCome(Category::kFilter, "S210 Dual DC Blocker", "S210DualDCBlocker"),
    ToCome(Category::kFilter, "S213 Morphing VCF", "S213MorphingVCF"),
    ToCome(Category::kFilter, "S216 Moving Fixed Filter Bank", "S216MovingFixedFilterBank"),
    ToCome(Category::kFilter, "S218 Spectral Filter", "S218SpectralFilter"),
    ToCome(Category::kFilter, "S223 Dual Tap Comb Filter", "S223DualTapCombFilter"),
    ToCome(Category::kFilter, "S224 Allpass Diffusion Filter", "S224AllPassDiffusion"),
    ToCome(Category::kFilter, "S225 Allpass Phase Shifter", "S225AllPassPhaseShifter"),
    ToCome(Category::kOscillatorSource, "S302 Dual Sub/Sin VCO", "S302DualSubSinVCO"),
    ToCome(Category::kOscillatorSource, "S303 Noise", "S303Noise"),
    ToCome(Category::kOscillatorSource, "S304 VCO", "S304VCO"),
    Made<S310VCO>(Category::kOscillatorSource, "S310VCO"),
    ToCome(Category::kOscillatorSource, "S312 Phase Locked Loop", "S312PhaseLockedLoop"),
    ToCome(Category::kOscillatorSource, "S313 Internet Radio", "S313InternetRadio"),
    ToCome(Category::kOscillatorSource, "S315 Mini Sampler VCO", "S315MiniSampler"),
    ToCome(Category::kOscillatorSource, "S318 Tracker Mod Player", "S318TrackerModPlayer"),
    ToCome(Category::kOscillatorSource, "S321 FM/PM VCO", "S321FMPMVCO"),
    Made<S400DVCA>(Category::kAmplifier, "S400DVCA"),
    Made<S401VCAAtn>(Category::kAmplifier, "S401VCAAtn"),
    Made<S404VCA>(Category::kAmplifier, "S404VCA"),
    Made<S500ADSR>(Category::kModulator, "S500ADSR"),
    Made<S515VCLFO>(Category::kModulator, "S515VCLFO"),
    Made<S516RSH>(Category::kModulator, "S516RSH"),
    ToCome(Category::kModulator, "S518 Mouse Theremin", "S518MouseTheremin"),
    ToCome(Category::kModulator, "S525 VC Envelope Generator/LFO", "S525VCEnvelopeGeneratorLFO"),
    ToCome(Category::kModifierEffect, "S602 VC Delay", "S602VCDel"),
    ToCome(Category::kModifierEffect, "S605 RM/AM", "S605RMAM"),
    ToCome(Category::kModifierEffect, "S606 VC Ring Modulator", "S606VCRingMod"),
    ToCome(Category::kModifierEffect, "S607 Aliasing Waveshaper", "S607AliasingWaveshaper"),
    ToCome(Category::kModifierEffect, "S609 VC Bit Crusher", "S609VCBitCrusher"),
    ToCome(Category::kModifierEffect, "S610 Aliasing Triple Wave Folder", "S610TripleWaveFolder"),
    ToCome(Category::kModifierEffect, "S612 Octet Chorus", "S612OctetChorus"),
    ToCome(Category::kModifierEffect, "S616 Stereo Reverb", "S616StereoReverb"),
    ToCome(Category::kModifierEffect, "S620 Frequency Shifter", "S620FrequencyShifter"),
    ToCome(Category::kModifierEffect, "S626 Dual Band Phaser", "S626DualBandPhaser"),
    ToCome(Category::kModifierEffect, "S630 DX Distortion", "S630DXDistortion"),
    ToCome(Category::kModifierEffect, "S631 VC Distortion", "S631VCDistortion"),
    ToCome(Category::kModifierEffect, "S634 Quick Distortion", "S634QuickDistortion"),
    ToCome(Category::kClockGate, "S701 Shift/Reset Clock Divider", "S701ShiftResetClockDiv"),
    ToCome(Category::kClockGate, "S702 Reset Clock Divider", "S702ResetClockDiv"),
    ToCome(Category::kClockGate, "S703 Clock Divider", "S703ClockDiv"),
    ToCome(Category::kClockGate, "S704 Dual Gate to Trigger Converter", "S704DualGatetoTrigger"),
    ToCome(Category::kClockGate, "S705 Gate Length Processor", "S705GateLengthProcessor"),
    ToCome(Category::kClockGate, "S709 Manual Trigger/Gate", "S709ManualTriggerGate"),
    ToCome(Category::kClockGate, "S713 Swing/Rotate Clock Divider/Multiplier",
           "S713SRClockDivMult"),
    ToCome(Category::kSwitchMultiple, "S806 VC Sequential Switch", "S806VCSeqSw"),
    ToCome(Category::kSwitchMultiple, "S810 4x4 Sequence Router", "S8104x4SequenceRouter"),
    Made<S815InOutConnector>(Category::kSwitchMultiple, "S815InOutConnector"),
    ToCome(Category::kCvSourceProcessor, "S902 EG/LFO Level Converter", "S902EGLFOLevelConverter"),
    ToCome(Category::kCvSourceProcessor, "S903 Dual Offset Generator", "S903DOffsetGen"),
    ToCome(Category::kCvSourceProcessor, "S904 VC Attenuator/Inverter", "S904VCAtnInv"),
    ToCome(Category::kCvSourceProcessor, "S905 Slew Limiter", "S905SlewLim"),
    ToCome(Category::kCvSourceProcessor, "S906 Envelope Follower", "S906EnvelopeFollower"),
    ToCome(Category::kCvSourceProcessor, "S910 Unary Tools", "S910UTools"),
    ToCome(Category::kCvSourceProcessor, "S911 Binary Tools", "S911BTools"),
    ToCome(Category::kCvSourceProcessor, "S913 Pitch Transpose", "S913PitchTranspose"),
    ToCome(Category::kCvSourceProcessor, "S914 Tunable Quantizer", "S914TunableQuantizer"),
    ToCome(Category::kCvSourceProcessor, "S921 Quad Mixing Polarizer", "S921QuadMixingPolarizer"),
    Made<SA012FromDAW>(Category::kFromToDaw, "SA012FromDAW"),
    Made<SA022DAW>(Category::kFromToDaw, "SA022DAW"),
    Made<SA03MSFromDAW>(Category::kFromToDaw, "SA03MSFromDAW"),
    Made<SA04TempoFromDAW>(Category::kFromToDaw, "SA04TempoFromDAW"),
    Made<SA052DAW12dbAmp>(Category::kFromToDaw, "SA052DAW12dbAmp"),
    Made<SA06MIDIToDAW>(Category::kFromToDaw, "SA06MIDIToDAW"),
    Made<SA11AudioCVFromDAW>(Category::kFromToDaw, "SA11AudioCVFromDAW"),
    Made<SA12AudioCVToDAW>(Category::kFromToDaw, "SA12AudioCVToDAW"),
    Made<SA13Clipped2DAW>(Category::kFromToDaw, "SA13Clipped2DAW"),
    ToCome(Category::kSequencer, "SB11 CV Sequencer", "SB11CVSeq"),
    ToCome(Category::kSequencer, "SB12 Ratcheting Trigger Sequencer", "SB12RachetTrigSeq"),
    ToCome(Category::kSequencer, "SB20 Complex Shift Register", "SB20ComplexShiftRegister"),
    ToCome(Category::kLogicBit, "SC03 Logic Tools", "SC03LogicTools"),
    Made<SD02MCVS>(Category::kMidi, "SD02MCVS"),
    Made<SD02ExProgrammer>(Category::kMidi, "SD02ExProgrammer"),
    Made<SD05MPC>(Category::kMidi, "SD05MPC"),
    ToCome(Category::kMidi, "SD06 MIDI Merger", "SD06MIDIMerger"),
    ToCome(Category::kMidi, "SD07 MIDI Filter", "SD07MIDIFilter"),
    ToCome(Category::kMidi, "SD08 MIDI Monitor", "SD08MIDIMonitor"),
    ToCome(Category::kMidi, "SD09 MIDI Channel Converter", "SD09MCC"),
    ToCome(Category::kMidi, "SD12 CV To MIDI Converter", "SD12CVToMIDIConverter"),
    ToCome(Category::kMidi, "SD13 CV To MIDI CC Converter", "SD13CVToMIDICCConverter"),
    ToCome(Category::kMidi, "SD14 Clock/Sync To MIDI", "SD14ClockSyncToMIDI"),
    ToCome(Category::kMidi, "SD20 MIDI CC To CV Interface", "SD20MIDICCToCVInterface"),
    ToCome(Category::kMidi, "SD23 MIDI Note To Trigger", "SD23MIDINoteToTrigger"),
    ToCome(Category::kMidi, "SD30 MIDI Recorder", "SD30MIDIRecorder"),
    ToCome(Category::kMidi, "SD31 MIDI Trance Gate", "SD31MIDITranceGate"),
    ToCome(Category::kMidi, "SD33 MIDI Arpeggiator", "SD33MIDIArpeggiator"),
    ToCome(Category::kOther, "SE01 Sample Delay", "SE01SampleDelay"),
    ToCome(Category::kOther, "SE06 Hardware Tuner", "SE06HardwareTuner"),
    ToCome(Category::kOther, "SE10 Dual Volt Meter", "SE10DualVoltMeter"),
    ToCome(Category::kOther, "SE15 Signal Analyzer", "SE15SignalAnalyzer"),
    ToCome(Category::kOther, "SE16 Wide Signal Analyzer", "SE16WideSignalAnalyzer"),
    ToCome(Category::kOther, "SE20 Global Morph", "SE20GlobalMorph"),
};

struct FormerName {
  const char* saved;
  const char* present;
};

// Names that earlier versions wrote into presets.
constexpr FormerName kFormerNames[] = {
    {"SB12 Racheting Trigger Sequencer", "SB12 Ratcheting Trigger Sequencer"},
};

}  // namespace

const CategoryNames& NamesOf(Category category) {
  return kCategoryNames[static_cast<std::size_t>(category)];
}

std::span<const CatalogueEntry> ModuleCatalogue() { return kCatalogue; }

const CatalogueEntry* FindInCatalogue(std::string_view name, std::string_view vendor) {
  if (vendor != kBuiltInVendor) return nullptr;
  for (const FormerName& former : kFormerNames) {
    if (name == former.saved) name = former.present;
  }
  for (const CatalogueEntry& entry : kCatalogue) {
    if (name == entry.name) return &entry;
  }
  return nullptr;
}

void SetUpModuleClasses() {
  for (const CatalogueEntry& entry : kCatalogue) {
    if (entry.setUpClass) entry.setUpClass();
  }
}

void TearDownModuleClasses() {
  for (const CatalogueEntry& entry : kCatalogue) {
    if (entry.tearDownClass) entry.tearDownClass();
  }
}

}  // namespace halveron
