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
constexpr CatalogueEntry Made(Category category, const char* className, const char* summary,
                              const char* keywords) {
  return {category,
          M::kName,
          className,
          summary,
          keywords,
          [](CFrame* frame, const HostTable& hostTable, int voice) -> Module* {
            return new M(frame, hostTable, voice);
          },
          &M::SetUpClass,
          &M::TearDownClass};
}

constexpr CatalogueEntry kCatalogue[] = {
    Made<S101Mixer>(Category::kMixerPanner, "S101Mixer",
                    "Four channels with a level each, and a master.", "sum level master blend"),
    Made<S102UnityMixer>(Category::kMixerPanner, "S102UnityMixer", "The sum of four inputs.",
                         "sum add"),
    Made<S103MatrixMixerVCA>(Category::kMixerPanner, "S103MatrixMixerVCA",
                             "Four inputs to four outputs, each crosspoint under voltage.",
                             "sum routing crosspoint vca"),
    Made<S110DPan>(Category::kMixerPanner, "S110DPan",
                   "Two inputs between two outputs, under voltage.", "stereo left right position"),
    Made<S116VCCrossFader>(Category::kMixerPanner, "S116VCCrossFader",
                           "From A to C directly, and by way of B.", "blend fade morph"),
    Made<S120MonoToPoly>(Category::kMixerPanner, "S120MonoToPoly",
                         "Sixteen mono signals become the voices of one cable.",
                         "voices polyphony"),
    Made<S121PolyToMono>(Category::kMixerPanner, "S121PolyToMono",
                         "The voices of one cable become sixteen mono signals.",
                         "voices polyphony"),
    Made<S201VCF>(Category::kFilter, "S201VCF",
                  "A resonant two-pole low-pass with a clipped feedback node.",
                  "low-pass lowpass resonance cutoff"),
    Made<S202HPLSVCF>(Category::kFilter, "S202HPLSVCF",
                      "A resonant two-pole high-pass, by a switch a low shelf.",
                      "high-pass highpass shelf eq resonance"),
    Made<S205LPG>(Category::kFilter, "S205LPG",
                  "Filter and amplifier under one control, with a natural close.",
                  "lpg vactrol pluck vca low-pass"),
    Made<S206PoleSeparationLPVCF>(Category::kFilter, "S206PoleSeparationLPVCF",
                                  "A four-pole low-pass whose two halves move apart.",
                                  "lowpass resonance cutoff"),
    Made<S212VCF>(
        Category::kFilter, "S212VCF",
        "A multimode filter of four outputs, two or four poles, with a knob for instability.",
        "multimode lowpass highpass bandpass notch resonance"),
    Made<S210DualDCBlocker>(Category::kFilter, "S210DualDCBlocker",
                            "Takes the constant part off two signals.", "offset high-pass"),
    Made<S213MorphingVCF>(Category::kFilter, "S213MorphingVCF",
                          "From low-pass to high-pass in one turn, with drive and a folder.",
                          "multimode lowpass bandpass highpass resonance drive"),
    Made<S216MovingFixedFilterBank>(
        Category::kFilter, "S216MovingFixedFilterBank",
        "Twelve band-passes, with levels that a control signal moves through.",
        "band-pass eq equaliser vocoder formant"),
    Made<S218SpectralFilter>(
        Category::kFilter, "S218SpectralFilter",
        "A frequency response drawn as bars, in frames to step through and morph between.",
        "fft fir drawn eq"),
    Made<S223DualTapCombFilter>(Category::kFilter, "S223DualTapCombFilter",
                                "Up to 50 ms, two taps, feedback or feed-forward.",
                                "flanger resonator string karplus delay"),
    Made<S224AllPassDiffusion>(Category::kFilter, "S224AllPassDiffusion",
                               "A chain of all-passes with a send and return before its last line.",
                               "reverb smear"),
    Made<S225AllPassPhaseShifter>(Category::kFilter, "S225AllPassPhaseShifter",
                                  "A second-order all-pass, tuned by two voltages.",
                                  "phaser all-pass"),
    Made<S302DualSubSinVCO>(Category::kOscillatorSource, "S302DualSubSinVCO",
                            "Two sines, each whole octaves above or below the pitch.",
                            "oscillator sine sub bass"),
    Made<S303Noise>(Category::kOscillatorSource, "S303Noise",
                    "White, pink, and a noise of a colour to choose.",
                    "white pink random hiss wind"),
    Made<S304VCO>(Category::kOscillatorSource, "S304VCO",
                  "Two detuned sawtooths with linear FM through zero.",
                  "oscillator saw supersaw detune fm"),
    Made<S310VCO>(Category::kOscillatorSource, "S310VCO",
                  "The main oscillator: saw, triangle, round wave and pulse, with hard sync.",
                  "oscillator saw triangle square pulse pwm sync"),
    Made<S312PhaseLockedLoop>(Category::kOscillatorSource, "S312PhaseLockedLoop",
                              "An oscillator that follows the pitch of its input at a ratio.",
                              "pll oscillator tracking"),
    Made<S313InternetRadio>(Category::kOscillatorSource, "S313InternetRadio",
                            "A station's stream as a stereo signal.", "stream web audio"),
    Made<S315MiniSampler>(Category::kOscillatorSource, "S315MiniSampler",
                          "Plays a window of a sample at a pitch, loops it, and records over it.",
                          "sample player loop recorder wav oscillator"),
    Made<S318TrackerModPlayer>(Category::kOscillatorSource, "S318TrackerModPlayer",
                               "Tracker music and sound files, locked to a clock if wanted.",
                               "sample song mod xm it s3m player wav"),
    Made<S321FMPMVCO>(Category::kOscillatorSource, "S321FMPMVCO",
                      "A sine carrier for frequency and phase modulation, with feedback and sync.",
                      "oscillator sine frequency modulation phase dx"),
    Made<S400DVCA>(Category::kAmplifier, "S400DVCA",
                   "Two linear amplifiers, or a crossfade of both under one bipolar voltage.",
                   "gain volume level crossfade"),
    Made<S401VCAAtn>(Category::kAmplifier, "S401VCAAtn",
                     "Two amplifiers under one voltage, with a gain in steps of 6 dB.",
                     "gain volume level attenuator"),
    Made<S404VCA>(Category::kAmplifier, "S404VCA",
                  "Two inputs under one gain law, and a crossfade of both.",
                  "gain volume level crossfade"),
    Made<S500ADSR>(
        Category::kModulator, "S500ADSR",
        "Envelope with linear or curved segments, retrigger, and time under voltage control.",
        "envelope generator attack decay sustain release eg"),
    Made<S515VCLFO>(
        Category::kModulator, "S515VCLFO",
        "LFO of seven waves, free or at a multiple of a clock, with an output quantiser.",
        "lfo low frequency oscillator vibrato tremolo"),
    Made<S516RSH>(Category::kModulator, "S516RSH",
                  "Random source and sample-and-hold, free or clocked.",
                  "random sample and hold lfo noise"),
    Made<S518MouseTheremin>(
        Category::kModulator, "S518MouseTheremin",
        "The mouse's distance from the panel, anywhere over the rack, as voltages.",
        "joystick xy controller"),
    Made<S525VCEnvelopeGeneratorLFO>(
        Category::kModulator, "S525VCEnvelopeGeneratorLFO",
        "An envelope with all times and levels under voltage, and ways to run by itself.",
        "envelope adsr eg attack decay lfo loop"),
    Made<S602VCDel>(Category::kModifierEffect, "S602VCDel",
                    "Up to two seconds with feedback, set by hand, by voltage or by a clock.",
                    "echo feedback tape"),
    Made<S605RMAM>(Category::kModifierEffect, "S605RMAM",
                   "Ring and amplitude modulation of two signals.", "ring modulator amplitude"),
    Made<S606VCRingMod>(Category::kModifierEffect, "S606VCRingMod",
                        "A product whose factors fade to 1 under voltage control.",
                        "ring modulator tremolo"),
    Made<S607AliasingWaveshaper>(Category::kModifierEffect, "S607AliasingWaveshaper",
                                 "Other slopes beyond a threshold, with or without a jump there.",
                                 "distortion clip wave"),
    Made<S609VCBitCrusher>(Category::kModifierEffect, "S609VCBitCrusher",
                           "Lower sample rates, and steps in proportion to the envelope.",
                           "lo-fi distortion decimator sample rate"),
    Made<S610TripleWaveFolder>(Category::kModifierEffect, "S610TripleWaveFolder",
                               "Three folding stages in series.",
                               "wavefolder distortion west coast"),
    Made<S612OctetChorus>(Category::kModifierEffect, "S612OctetChorus",
                          "Two to eight modulated delays, spread over a stereo pair.",
                          "ensemble stereo flanger"),
    Made<S616StereoReverb>(Category::kModifierEffect, "S616StereoReverb",
                           "4 to 20 modulated combs and a chain of all-passes.",
                           "room hall echo space"),
    Made<S620FrequencyShifter>(Category::kModifierEffect, "S620FrequencyShifter",
                               "Moves all frequencies of a signal by the same number of hertz.",
                               "bode single sideband detune"),
    Made<S626DualBandPhaser>(Category::kModifierEffect, "S626DualBandPhaser",
                             "Two chains of all-pass stages in series or side by side.",
                             "all-pass sweep"),
    Made<S630DXDistortion>(Category::kModifierEffect, "S630DXDistortion",
                           "A stereo distortion with filters around it, 32 samples late.",
                           "overdrive fuzz saturation"),
    Made<S631VCDistortion>(
        Category::kModifierEffect, "S631VCDistortion",
        "Bends what exceeds a share of the envelope, from soft limiting to folding.",
        "overdrive fuzz saturation fold clip"),
    Made<S634QuickDistortion>(Category::kModifierEffect, "S634QuickDistortion",
                              "Squashes a signal towards its envelope.",
                              "overdrive saturation compressor"),
    Made<S701ShiftResetClockDiv>(Category::kClockGate, "S701ShiftResetClockDiv",
                                 "Six divisions of a clock, each shifted by whole clocks.",
                                 "rhythm division"),
    Made<S702ResetClockDiv>(Category::kClockGate, "S702ResetClockDiv",
                            "Divides a clock by 2 to 7, with a reset.", "rhythm division"),
    Made<S703ClockDiv>(Category::kClockGate, "S703ClockDiv",
                       "A ladder of powers of two over a base of 1 to 5 clocks.",
                       "rhythm division"),
    Made<S704DualGatetoTrigger>(Category::kClockGate, "S704DualGatetoTrigger",
                                "A trigger of one sample for each rising edge.", "pulse edge"),
    Made<S705GateLengthProcessor>(Category::kClockGate, "S705GateLengthProcessor",
                                  "Gates of a length relative to their clock, or in seconds.",
                                  "pulse length duration"),
    Made<S709ManualTriggerGate>(Category::kClockGate, "S709ManualTriggerGate",
                                "A button for triggers, and one that holds a gate.",
                                "button push start"),
    Made<S713SRClockDivMult>(Category::kClockGate, "S713SRClockDivMult",
                             "Four clocks at ratios of one, with swing, on outputs that rotate.",
                             "rhythm division multiplication shuffle"),
    Made<S806VCSeqSw>(Category::kSwitchMultiple, "S806VCSeqSw",
                      "One point joined to one of four, stepped by clocks and a voltage.",
                      "router selector multiplexer"),
    Made<S8104x4SequenceRouter>(Category::kSwitchMultiple, "S8104x4SequenceRouter",
                                "A matrix of crosspoints that steps through up to 100 patterns.",
                                "router matrix pattern"),
    Made<S815InOutConnector>(Category::kSwitchMultiple, "S815InOutConnector",
                             "Three signals passed on, to gather cables in one place.",
                             "multiple split buffer mult thru"),
    Made<S902EGLFOLevelConverter>(Category::kCvSourceProcessor, "S902EGLFOLevelConverter",
                                  "Envelopes of 0 to 1 to modulation of -1 to 1, and back.",
                                  "envelope unipolar bipolar offset"),
    Made<S903DOffsetGen>(Category::kCvSourceProcessor, "S903DOffsetGen",
                         "Adds a constant of -1 to 1 to each of two signals.", "constant dc bias"),
    Made<S904VCAtnInv>(Category::kCvSourceProcessor, "S904VCAtnInv",
                       "A signal scaled by a knob and a voltage, and its negative.",
                       "attenuverter scale invert"),
    Made<S905SlewLim>(Category::kCvSourceProcessor, "S905SlewLim",
                      "Two signals that follow their inputs at a bounded speed.",
                      "glide portamento lag smooth"),
    Made<S906EnvelopeFollower>(Category::kCvSourceProcessor, "S906EnvelopeFollower",
                               "The level of a signal, and gates where it is above thresholds.",
                               "level detector gate threshold"),
    Made<S910UTools>(Category::kCvSourceProcessor, "S910UTools",
                     "Five functions of one signal each.", "math invert rectify abs"),
    Made<S911BTools>(Category::kCvSourceProcessor, "S911BTools", "Functions of two signals.",
                     "math minimum maximum compare"),
    Made<S913PitchTranspose>(Category::kCvSourceProcessor, "S913PitchTranspose",
                             "Five pitches shifted by octaves or semitones.",
                             "octave semitone chord interval"),
    Made<S914TunableQuantizer>(Category::kCvSourceProcessor, "S914TunableQuantizer",
                               "A voltage rounded to the notes of a scale.",
                               "scale note tuning microtonal quantiser"),
    Made<S921QuadMixingPolarizer>(
        Category::kCvSourceProcessor, "S921QuadMixingPolarizer",
        "Four signals scaled by -1 to 1, offset by each other, and mixed.",
        "attenuverter mixer scale invert"),
    Made<SA012FromDAW>(Category::kFromToDaw, "SA012FromDAW", "The host's first input pair.",
                       "input audio in host external"),
    Made<SA022DAW>(Category::kFromToDaw, "SA022DAW",
                   "The main outputs, unity gain with the knobs full up.",
                   "output audio out host speaker main"),
    Made<SA03MSFromDAW>(Category::kFromToDaw, "SA03MSFromDAW",
                        "The host's events as MIDI, and a clock locked to its transport.",
                        "input keyboard notes host transport clock"),
    Made<SA04TempoFromDAW>(Category::kFromToDaw, "SA04TempoFromDAW",
                           "A clock at the host's tempo that runs whatever the transport does.",
                           "input clock bpm host"),
    Made<SA052DAW12dbAmp>(Category::kFromToDaw, "SA052DAW12dbAmp",
                          "The main outputs, unity gain with the knobs in the middle.",
                          "output audio out host speaker main"),
    Made<SA06MIDIToDAW>(Category::kFromToDaw, "SA06MIDIToDAW",
                        "Hands the words of a MIDI cable to the host as events.",
                        "output notes host"),
    Made<SA11AudioCVFromDAW>(Category::kFromToDaw, "SA11AudioCVFromDAW",
                             "The host's ten input channels.", "input audio in host sidechain"),
    Made<SA12AudioCVToDAW>(Category::kFromToDaw, "SA12AudioCVToDAW",
                           "The host's output channels beyond the main pair.",
                           "output audio out host"),
    Made<SA13Clipped2DAW>(Category::kFromToDaw, "SA13Clipped2DAW",
                          "The main outputs, held within full scale.",
                          "output audio out host speaker main limiter"),
    Made<SB11CVSeq>(Category::kSequencer, "SB11CVSeq",
                    "Up to four rows of voltages, and a gate in proportion to the clock.",
                    "step melody pattern"),
    Made<SB12RachetTrigSeq>(Category::kSequencer, "SB12RachetTrigSeq",
                            "Bursts of triggers, counted by the knob of each step.",
                            "step drum rhythm pattern burst"),
    Made<SB20ComplexShiftRegister>(
        Category::kSequencer, "SB20ComplexShiftRegister",
        "Twelve points in a ring, turned by one of four taps in each step.",
        "random turing pattern"),
    Made<SC03LogicTools>(Category::kLogicBit, "SC03LogicTools",
                         "The logical operations on up to three gates.",
                         "and or xor nand not boolean"),
    Made<SD02MCVS>(Category::kMidi, "SD02MCVS",
                   "Turns a MIDI stream into the voltages of one voice.",
                   "keyboard note pitch gate velocity"),
    Made<SD02ExProgrammer>(Category::kMidi, "SD02ExProgrammer",
                           "Sends the options of an SD02 that have no control on its panel.",
                           "options bend"),
    Made<SD05MPC>(Category::kMidi, "SD05MPC",
                  "Deals the notes of one MIDI stream across the voices of the rack.",
                  "polyphony voices keyboard chord"),
    Made<SD06MIDIMerger>(Category::kMidi, "SD06MIDIMerger",
                         "The messages of sixteen inputs on one output.", "join combine"),
    Made<SD07MIDIFilter>(Category::kMidi, "SD07MIDIFilter",
                         "Splits a stream in two by the kind of message and by channel.", "split"),
    Made<SD08MIDIMonitor>(Category::kMidi, "SD08MIDIMonitor", "A MIDI stream as readable text.",
                          "log display debug"),
    Made<SD09MCC>(Category::kMidi, "SD09MCC", "Sends the messages of each channel on another.",
                  "remap"),
    Made<SD12CVToMIDIConverter>(Category::kMidi, "SD12CVToMIDIConverter",
                                "Plays notes from gate, pitch and velocity.", "note output"),
    Made<SD13CVToMIDICCConverter>(Category::kMidi, "SD13CVToMIDICCConverter",
                                  "Sends eight signals as control changes.", "controller output"),
    Made<SD14ClockSyncToMIDI>(Category::kMidi, "SD14ClockSyncToMIDI",
                              "Makes MIDI clock, start and stop of a clock and a gate.",
                              "start stop sync"),
    Made<SD20MIDICCToCVInterface>(Category::kMidi, "SD20MIDICCToCVInterface",
                                  "Eight controllers as voltages.", "controller knob learn"),
    Made<SD23MIDINoteToTrigger>(Category::kMidi, "SD23MIDINoteToTrigger",
                                "A gate for each of twelve keys.", "drum pad gate"),
    Made<SD30MIDIRecorder>(Category::kMidi, "SD30MIDIRecorder",
                           "Records MIDI, plays it back, and keeps it in the preset.",
                           "looper sequencer record"),
    Made<SD31MIDITranceGate>(Category::kMidi, "SD31MIDITranceGate",
                             "Chops held notes on and off by a pattern of sixteen steps.",
                             "chop rhythm pattern"),
    Made<SD33MIDIArpeggiator>(Category::kMidi, "SD33MIDIArpeggiator",
                              "Plays held notes one at a time, by a clock.", "arp chord sequence"),
    Made<SE01SampleDelay>(Category::kOther, "SE01SampleDelay",
                          "0 to 98 samples, to align paths of a patch by hand.", "align latency"),
    Made<SE06HardwareTuner>(
        Category::kOther, "SE06HardwareTuner",
        "Shows the pitch of a tone, and tunes an oscillator outside of the rack.",
        "pitch frequency"),
    Made<SE10DualVoltMeter>(Category::kOther, "SE10DualVoltMeter",
                            "Two signals in numbers, as volts or as pitches.",
                            "display value debug"),
    Made<SE15SignalAnalyzer>(Category::kOther, "SE15SignalAnalyzer",
                             "An oscilloscope and a spectrum of two inputs.",
                             "oscilloscope scope spectrum"),
    Made<SE16WideSignalAnalyzer>(Category::kOther, "SE16WideSignalAnalyzer",
                                 "An oscilloscope and a spectrum of four inputs.",
                                 "oscilloscope scope spectrum"),
    Made<SE20GlobalMorph>(
        Category::kOther, "SE20GlobalMorph",
        "Snapshots of all controls of the rack, and one knob that leads through them.",
        "snapshot scene random"),
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
