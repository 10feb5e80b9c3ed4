#include "editor/module_catalogue.h"

#include <array>
#include <cstring>

#include "modules/amplifiers/S400DVCA.h"
#include "modules/amplifiers/S401VCAAtn.h"
#include "modules/amplifiers/S404VCA.h"
#include "modules/clocks/S701ShiftResetClockDiv.h"
#include "modules/clocks/S702ResetClockDiv.h"
#include "modules/clocks/S703ClockDiv.h"
#include "modules/clocks/S704DualGatetoTrigger.h"
#include "modules/clocks/S705GateLengthProcessor.h"
#include "modules/clocks/S709ManualTriggerGate.h"
#include "modules/clocks/S713SRClockDivMult.h"
#include "modules/cv/S902EGLFOLevelConverter.h"
#include "modules/cv/S903DOffsetGen.h"
#include "modules/cv/S904VCAtnInv.h"
#include "modules/cv/S905SlewLim.h"
#include "modules/cv/S906EnvelopeFollower.h"
#include "modules/cv/S910UTools.h"
#include "modules/cv/S911BTools.h"
#include "modules/cv/S913PitchTranspose.h"
#include "modules/cv/S914TunableQuantizer.h"
#include "modules/cv/S921QuadMixingPolarizer.h"
#include "modules/daw/SA012FromDAW.h"
#include "modules/daw/SA022DAW.h"
#include "modules/daw/SA03MSFromDAW.h"
#include "modules/daw/SA04TempoFromDAW.h"
#include "modules/daw/SA052DAW12dbAmp.h"
#include "modules/daw/SA06MIDIToDAW.h"
#include "modules/daw/SA11AudioCVFromDAW.h"
#include "modules/daw/SA12AudioCVToDAW.h"
#include "modules/daw/SA13Clipped2DAW.h"
#include "modules/effects/S602VCDel.h"
#include "modules/effects/S605RMAM.h"
#include "modules/effects/S606VCRingMod.h"
#include "modules/effects/S607AliasingWaveshaper.h"
#include "modules/effects/S609VCBitCrusher.h"
#include "modules/effects/S610TripleWaveFolder.h"
#include "modules/effects/S612OctetChorus.h"
#include "modules/effects/S616StereoReverb.h"
#include "modules/effects/S620FrequencyShifter.h"
#include "modules/effects/S626DualBandPhaser.h"
#include "modules/effects/S630DXDistortion.h"
#include "modules/effects/S631VCDistortion.h"
#include "modules/effects/S634QuickDistortion.h"
#include "modules/filters/S201VCF.h"
#include "modules/filters/S202HPLSVCF.h"
#include "modules/filters/S205LPG.h"
#include "modules/filters/S206PoleSeparationLPVCF.h"
#include "modules/filters/S210DualDCBlocker.h"
#include "modules/filters/S212VCF.h"
#include "modules/filters/S213MorphingVCF.h"
#include "modules/filters/S216MovingFixedFilterBank.h"
#include "modules/filters/S218SpectralFilter.h"
#include "modules/filters/S223DualTapCombFilter.h"
#include "modules/filters/S224AllPassDiffusion.h"
#include "modules/filters/S225AllPassPhaseShifter.h"
#include "modules/logic/SC03LogicTools.h"
#include "modules/midi/SD02ExProgrammer.h"
#include "modules/midi/SD02MCVS.h"
#include "modules/midi/SD05MPC.h"
#include "modules/midi/SD06MIDIMerger.h"
#include "modules/midi/SD07MIDIFilter.h"
#include "modules/midi/SD08MIDIMonitor.h"
#include "modules/midi/SD09MCC.h"
#include "modules/midi/SD12CVToMIDIConverter.h"
#include "modules/midi/SD13CVToMIDICCConverter.h"
#include "modules/midi/SD14ClockSyncToMIDI.h"
#include "modules/midi/SD20MIDICCToCVInterface.h"
#include "modules/midi/SD23MIDINoteToTrigger.h"
#include "modules/midi/SD30MIDIRecorder.h"
#include "modules/midi/SD31MIDITranceGate.h"
#include "modules/midi/SD33MIDIArpeggiator.h"
#include "modules/mixers/S101Mixer.h"
#include "modules/mixers/S102UnityMixer.h"
#include "modules/mixers/S103MatrixMixerVCA.h"
#include "modules/mixers/S110DPan.h"
#include "modules/mixers/S116VCCrossFader.h"
#include "modules/mixers/S120MonoToPoly.h"
#include "modules/mixers/S121PolyToMono.h"
#include "modules/modulators/S500ADSR.h"
#include "modules/modulators/S515VCLFO.h"
#include "modules/modulators/S516RSH.h"
#include "modules/modulators/S518MouseTheremin.h"
#include "modules/modulators/S525VCEnvelopeGeneratorLFO.h"
#include "modules/other/SE01SampleDelay.h"
#include "modules/other/SE06HardwareTuner.h"
#include "modules/other/SE10DualVoltMeter.h"
#include "modules/other/SE15SignalAnalyzer.h"
#include "modules/other/SE16WideSignalAnalyzer.h"
#include "modules/other/SE20GlobalMorph.h"
#include "modules/sequencers/SB11CVSeq.h"
#include "modules/sequencers/SB12RachetTrigSeq.h"
#include "modules/sequencers/SB20ComplexShiftRegister.h"
#include "modules/sources/S302DualSubSinVCO.h"
#include "modules/sources/S303Noise.h"
#include "modules/sources/S304VCO.h"
#include "modules/sources/S310VCO.h"
#include "modules/sources/S312PhaseLockedLoop.h"
#include "modules/sources/S313InternetRadio.h"
#include "modules/sources/S315MiniSampler.h"
#include "modules/sources/S318TrackerModPlayer.h"
#include "modules/sources/S321FMPMVCO.h"
#include "modules/switches/S806VCSeqSw.h"
#include "modules/switches/S8104x4SequenceRouter.h"
#include "modules/switches/S815InOutConnector.h"

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

constexpr CatalogueEntry kCatalogue[] = {
    Made<S101Mixer>(Category::kMixerPanner, "S101Mixer"),
    Made<S102UnityMixer>(Category::kMixerPanner, "S102UnityMixer"),
    Made<S103MatrixMixerVCA>(Category::kMixerPanner, "S103MatrixMixerVCA"),
    Made<S110DPan>(Category::kMixerPanner, "S110DPan"),
    Made<S116VCCrossFader>(Category::kMixerPanner, "S116VCCrossFader"),
    Made<S120MonoToPoly>(Category::kMixerPanner, "S120MonoToPoly"),
    Made<S121PolyToMono>(Category::kMixerPanner, "S121PolyToMono"),
    Made<S201VCF>(Category::kFilter, "S201VCF"),
    Made<S202HPLSVCF>(Category::kFilter, "S202HPLSVCF"),
    Made<S205LPG>(Category::kFilter, "S205LPG"),
    Made<S206PoleSeparationLPVCF>(Category::kFilter, "S206PoleSeparationLPVCF"),
    Made<S212VCF>(Category::kFilter, "S212VCF"),
    Made<S210DualDCBlocker>(Category::kFilter, "S210DualDCBlocker"),
    Made<S213MorphingVCF>(Category::kFilter, "S213MorphingVCF"),
    Made<S216MovingFixedFilterBank>(Category::kFilter, "S216MovingFixedFilterBank"),
    Made<S218SpectralFilter>(Category::kFilter, "S218SpectralFilter"),
    Made<S223DualTapCombFilter>(Category::kFilter, "S223DualTapCombFilter"),
    Made<S224AllPassDiffusion>(Category::kFilter, "S224AllPassDiffusion"),
    Made<S225AllPassPhaseShifter>(Category::kFilter, "S225AllPassPhaseShifter"),
    Made<S302DualSubSinVCO>(Category::kOscillatorSource, "S302DualSubSinVCO"),
    Made<S303Noise>(Category::kOscillatorSource, "S303Noise"),
    Made<S304VCO>(Category::kOscillatorSource, "S304VCO"),
    Made<S310VCO>(Category::kOscillatorSource, "S310VCO"),
    Made<S312PhaseLockedLoop>(Category::kOscillatorSource, "S312PhaseLockedLoop"),
    Made<S313InternetRadio>(Category::kOscillatorSource, "S313InternetRadio"),
    Made<S315MiniSampler>(Category::kOscillatorSource, "S315MiniSampler"),
    Made<S318TrackerModPlayer>(Category::kOscillatorSource, "S318TrackerModPlayer"),
    Made<S321FMPMVCO>(Category::kOscillatorSource, "S321FMPMVCO"),
    Made<S400DVCA>(Category::kAmplifier, "S400DVCA"),
    Made<S401VCAAtn>(Category::kAmplifier, "S401VCAAtn"),
    Made<S404VCA>(Category::kAmplifier, "S404VCA"),
    Made<S500ADSR>(Category::kModulator, "S500ADSR"),
    Made<S515VCLFO>(Category::kModulator, "S515VCLFO"),
    Made<S516RSH>(Category::kModulator, "S516RSH"),
    Made<S518MouseTheremin>(Category::kModulator, "S518MouseTheremin"),
    Made<S525VCEnvelopeGeneratorLFO>(Category::kModulator, "S525VCEnvelopeGeneratorLFO"),
    Made<S602VCDel>(Category::kModifierEffect, "S602VCDel"),
    Made<S605RMAM>(Category::kModifierEffect, "S605RMAM"),
    Made<S606VCRingMod>(Category::kModifierEffect, "S606VCRingMod"),
    Made<S607AliasingWaveshaper>(Category::kModifierEffect, "S607AliasingWaveshaper"),
    Made<S609VCBitCrusher>(Category::kModifierEffect, "S609VCBitCrusher"),
    Made<S610TripleWaveFolder>(Category::kModifierEffect, "S610TripleWaveFolder"),
    Made<S612OctetChorus>(Category::kModifierEffect, "S612OctetChorus"),
    Made<S616StereoReverb>(Category::kModifierEffect, "S616StereoReverb"),
    Made<S620FrequencyShifter>(Category::kModifierEffect, "S620FrequencyShifter"),
    Made<S626DualBandPhaser>(Category::kModifierEffect, "S626DualBandPhaser"),
    Made<S630DXDistortion>(Category::kModifierEffect, "S630DXDistortion"),
    Made<S631VCDistortion>(Category::kModifierEffect, "S631VCDistortion"),
    Made<S634QuickDistortion>(Category::kModifierEffect, "S634QuickDistortion"),
    Made<S701ShiftResetClockDiv>(Category::kClockGate, "S701ShiftResetClockDiv"),
    Made<S702ResetClockDiv>(Category::kClockGate, "S702ResetClockDiv"),
    Made<S703ClockDiv>(Category::kClockGate, "S703ClockDiv"),
    Made<S704DualGatetoTrigger>(Category::kClockGate, "S704DualGatetoTrigger"),
    Made<S705GateLengthProcessor>(Category::kClockGate, "S705GateLengthProcessor"),
    Made<S709ManualTriggerGate>(Category::kClockGate, "S709ManualTriggerGate"),
    Made<S713SRClockDivMult>(Category::kClockGate, "S713SRClockDivMult"),
    Made<S806VCSeqSw>(Category::kSwitchMultiple, "S806VCSeqSw"),
    Made<S8104x4SequenceRouter>(Category::kSwitchMultiple, "S8104x4SequenceRouter"),
    Made<S815InOutConnector>(Category::kSwitchMultiple, "S815InOutConnector"),
    Made<S902EGLFOLevelConverter>(Category::kCvSourceProcessor, "S902EGLFOLevelConverter"),
    Made<S903DOffsetGen>(Category::kCvSourceProcessor, "S903DOffsetGen"),
    Made<S904VCAtnInv>(Category::kCvSourceProcessor, "S904VCAtnInv"),
    Made<S905SlewLim>(Category::kCvSourceProcessor, "S905SlewLim"),
    Made<S906EnvelopeFollower>(Category::kCvSourceProcessor, "S906EnvelopeFollower"),
    Made<S910UTools>(Category::kCvSourceProcessor, "S910UTools"),
    Made<S911BTools>(Category::kCvSourceProcessor, "S911BTools"),
    Made<S913PitchTranspose>(Category::kCvSourceProcessor, "S913PitchTranspose"),
    Made<S914TunableQuantizer>(Category::kCvSourceProcessor, "S914TunableQuantizer"),
    Made<S921QuadMixingPolarizer>(Category::kCvSourceProcessor, "S921QuadMixingPolarizer"),
    Made<SA012FromDAW>(Category::kFromToDaw, "SA012FromDAW"),
    Made<SA022DAW>(Category::kFromToDaw, "SA022DAW"),
    Made<SA03MSFromDAW>(Category::kFromToDaw, "SA03MSFromDAW"),
    Made<SA04TempoFromDAW>(Category::kFromToDaw, "SA04TempoFromDAW"),
    Made<SA052DAW12dbAmp>(Category::kFromToDaw, "SA052DAW12dbAmp"),
    Made<SA06MIDIToDAW>(Category::kFromToDaw, "SA06MIDIToDAW"),
    Made<SA11AudioCVFromDAW>(Category::kFromToDaw, "SA11AudioCVFromDAW"),
    Made<SA12AudioCVToDAW>(Category::kFromToDaw, "SA12AudioCVToDAW"),
    Made<SA13Clipped2DAW>(Category::kFromToDaw, "SA13Clipped2DAW"),
    Made<SB11CVSeq>(Category::kSequencer, "SB11CVSeq"),
    Made<SB12RachetTrigSeq>(Category::kSequencer, "SB12RachetTrigSeq"),
    Made<SB20ComplexShiftRegister>(Category::kSequencer, "SB20ComplexShiftRegister"),
    Made<SC03LogicTools>(Category::kLogicBit, "SC03LogicTools"),
    Made<SD02MCVS>(Category::kMidi, "SD02MCVS"),
    Made<SD02ExProgrammer>(Category::kMidi, "SD02ExProgrammer"),
    Made<SD05MPC>(Category::kMidi, "SD05MPC"),
    Made<SD06MIDIMerger>(Category::kMidi, "SD06MIDIMerger"),
    Made<SD07MIDIFilter>(Category::kMidi, "SD07MIDIFilter"),
    Made<SD08MIDIMonitor>(Category::kMidi, "SD08MIDIMonitor"),
    Made<SD09MCC>(Category::kMidi, "SD09MCC"),
    Made<SD12CVToMIDIConverter>(Category::kMidi, "SD12CVToMIDIConverter"),
    Made<SD13CVToMIDICCConverter>(Category::kMidi, "SD13CVToMIDICCConverter"),
    Made<SD14ClockSyncToMIDI>(Category::kMidi, "SD14ClockSyncToMIDI"),
    Made<SD20MIDICCToCVInterface>(Category::kMidi, "SD20MIDICCToCVInterface"),
    Made<SD23MIDINoteToTrigger>(Category::kMidi, "SD23MIDINoteToTrigger"),
    Made<SD30MIDIRecorder>(Category::kMidi, "SD30MIDIRecorder"),
    Made<SD31MIDITranceGate>(Category::kMidi, "SD31MIDITranceGate"),
    Made<SD33MIDIArpeggiator>(Category::kMidi, "SD33MIDIArpeggiator"),
    Made<SE01SampleDelay>(Category::kOther, "SE01SampleDelay"),
    Made<SE06HardwareTuner>(Category::kOther, "SE06HardwareTuner"),
    Made<SE10DualVoltMeter>(Category::kOther, "SE10DualVoltMeter"),
    Made<SE15SignalAnalyzer>(Category::kOther, "SE15SignalAnalyzer"),
    Made<SE16WideSignalAnalyzer>(Category::kOther, "SE16WideSignalAnalyzer"),
    Made<SE20GlobalMorph>(Category::kOther, "SE20GlobalMorph"),
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
