// The catalogue is what users' files depend on: its names and order are frozen here.
#include "editor/module_catalogue.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/test_rack.h"

namespace halveron::testing {
namespace {

struct FrozenEntry {
  int category;
  const char* name;
  const char* className;
};

constexpr FrozenEntry kFrozen[] = {
    {0, "S101 Mixer", "S101Mixer"},
    {0, "S102 Unity Mixer", "S102UnityMixer"},
    {0, "S103 Matrix Mixer/VCA", "S103MatrixMixerVCA"},
    {0, "S110 Dual VC Panner", "S110DPan"},
    {0, "S116 VC Cross Fader", "S116VCCrossFader"},
    {0, "S120 Mono To Poly", "S120MonoToPoly"},
    {0, "S121 Poly To Mono", "S121PolyToMono"},
    {1, "S201 VCF", "S201VCF"},
    {1, "S202 HP/Low Shelf VCF", "S202HPLSVCF"},
    {1, "S205 Low Pass Gate", "S205LPG"},
    {1, "S206 Pole Separation LP VCF", "S206PoleSeparationLPVCF"},
    {1, "S212 VCF", "S212VCF"},
    {1, "S210 Dual DC Blocker", "S210DualDCBlocker"},
    {1, "S213 Morphing VCF", "S213MorphingVCF"},
    {1, "S216 Moving Fixed Filter Bank", "S216MovingFixedFilterBank"},
    {1, "S218 Spectral Filter", "S218SpectralFilter"},
    {1, "S223 Dual Tap Comb Filter", "S223DualTapCombFilter"},
    {1, "S224 Allpass Diffusion Filter", "S224AllPassDiffusion"},
    {1, "S225 Allpass Phase Shifter", "S225AllPassPhaseShifter"},
    {2, "S302 Dual Sub/Sin VCO", "S302DualSubSinVCO"},
    {2, "S303 Noise", "S303Noise"},
    {2, "S304 VCO", "S304VCO"},
    {2, "S310 VCO", "S310VCO"},
    {2, "S312 Phase Locked Loop", "S312PhaseLockedLoop"},
    {2, "S313 Internet Radio", "S313InternetRadio"},
    {2, "S315 Mini Sampler VCO", "S315MiniSampler"},
    {2, "S318 Tracker Mod Player", "S318TrackerModPlayer"},
    {2, "S321 FM/PM VCO", "S321FMPMVCO"},
    {3, "S400 Dual VCA", "S400DVCA"},
    {3, "S401 Multi db VCA/Attenuator", "S401VCAAtn"},
    {3, "S404 VCA", "S404VCA"},
    {4, "S500 ADSR", "S500ADSR"},
    {4, "S515 VCLFO", "S515VCLFO"},
    {4, "S516 R-S&H", "S516RSH"},
    {4, "S518 Mouse Theremin", "S518MouseTheremin"},
    {4, "S525 VC Envelope Generator/LFO", "S525VCEnvelopeGeneratorLFO"},
    {5, "S602 VC Delay", "S602VCDel"},
    {5, "S605 RM/AM", "S605RMAM"},
    {5, "S606 VC Ring Modulator", "S606VCRingMod"},
    {5, "S607 Aliasing Waveshaper", "S607AliasingWaveshaper"},
    {5, "S609 VC Bit Crusher", "S609VCBitCrusher"},
    {5, "S610 Aliasing Triple Wave Folder", "S610TripleWaveFolder"},
    {5, "S612 Octet Chorus", "S612OctetChorus"},
    {5, "S616 Stereo Reverb", "S616StereoReverb"},
    {5, "S620 Frequency Shifter", "S620FrequencyShifter"},
    {5, "S626 Dual Band Phaser", "S626DualBandPhaser"},
    {5, "S630 DX Distortion", "S630DXDistortion"},
    {5, "S631 VC Distortion", "S631VCDistortion"},
    {5, "S634 Quick Distortion", "S634QuickDistortion"},
    {6, "S701 Shift/Reset Clock Divider", "S701ShiftResetClockDiv"},
    {6, "S702 Reset Clock Divider", "S702ResetClockDiv"},
    {6, "S703 Clock Divider", "S703ClockDiv"},
    {6, "S704 Dual Gate to Trigger Converter", "S704DualGatetoTrigger"},
    {6, "S705 Gate Length Processor", "S705GateLengthProcessor"},
    {6, "S709 Manual Trigger/Gate", "S709ManualTriggerGate"},
    {6, "S713 Swing/Rotate Clock Divider/Multiplier", "S713SRClockDivMult"},
    {7, "S806 VC Sequential Switch", "S806VCSeqSw"},
    {7, "S810 4x4 Sequence Router", "S8104x4SequenceRouter"},
    {7, "S815 InOut Connector", "S815InOutConnector"},
    {8, "S902 EG/LFO Level Converter", "S902EGLFOLevelConverter"},
    {8, "S903 Dual Offset Generator", "S903DOffsetGen"},
    {8, "S904 VC Attenuator/Inverter", "S904VCAtnInv"},
    {8, "S905 Slew Limiter", "S905SlewLim"},
    {8, "S906 Envelope Follower", "S906EnvelopeFollower"},
    {8, "S910 Unary Tools", "S910UTools"},
    {8, "S911 Binary Tools", "S911BTools"},
    {8, "S913 Pitch Transpose", "S913PitchTranspose"},
    {8, "S914 Tunable Quantizer", "S914TunableQuantizer"},
    {8, "S921 Quad Mixing Polarizer", "S921QuadMixingPolarizer"},
    {9, "SA01 2 From DAW", "SA012FromDAW"},
    {9, "SA02 2 DAW", "SA022DAW"},
    {9, "SA03 MIDI/Sync From DAW", "SA03MSFromDAW"},
    {9, "SA04 Tempo From DAW", "SA04TempoFromDAW"},
    {9, "SA05 2 DAW 12db Amplifier", "SA052DAW12dbAmp"},
    {9, "SA06 MIDI To DAW", "SA06MIDIToDAW"},
    {9, "SA11 Audio/CV From DAW", "SA11AudioCVFromDAW"},
    {9, "SA12 Audio/CV To DAW", "SA12AudioCVToDAW"},
    {9, "SA13 Clipped 2 DAW", "SA13Clipped2DAW"},
    {10, "SB11 CV Sequencer", "SB11CVSeq"},
    {10, "SB12 Ratcheting Trigger Sequencer", "SB12RachetTrigSeq"},
    {10, "SB20 Complex Shift Register", "SB20ComplexShiftRegister"},
    {11, "SC03 Logic Tools", "SC03LogicTools"},
    {12, "SD02 MIDI-CV/Sync", "SD02MCVS"},
    {12, "SD02Ex MCVS Programmer", "SD02ExProgrammer"},
    {12, "SD05 MIDI Poly Chainer", "SD05MPC"},
    {12, "SD06 MIDI Merger", "SD06MIDIMerger"},
    {12, "SD07 MIDI Filter", "SD07MIDIFilter"},
    {12, "SD08 MIDI Monitor", "SD08MIDIMonitor"},
    {12, "SD09 MIDI Channel Converter", "SD09MCC"},
    {12, "SD12 CV To MIDI Converter", "SD12CVToMIDIConverter"},
    {12, "SD13 CV To MIDI CC Converter", "SD13CVToMIDICCConverter"},
    {12, "SD14 Clock/Sync To MIDI", "SD14ClockSyncToMIDI"},
    {12, "SD20 MIDI CC To CV Interface", "SD20MIDICCToCVInterface"},
    {12, "SD23 MIDI Note To Trigger", "SD23MIDINoteToTrigger"},
    {12, "SD30 MIDI Recorder", "SD30MIDIRecorder"},
    {12, "SD31 MIDI Trance Gate", "SD31MIDITranceGate"},
    {12, "SD33 MIDI Arpeggiator", "SD33MIDIArpeggiator"},
    {13, "SE01 Sample Delay", "SE01SampleDelay"},
    {13, "SE06 Hardware Tuner", "SE06HardwareTuner"},
    {13, "SE10 Dual Volt Meter", "SE10DualVoltMeter"},
    {13, "SE15 Signal Analyzer", "SE15SignalAnalyzer"},
    {13, "SE16 Wide Signal Analyzer", "SE16WideSignalAnalyzer"},
    {13, "SE20 Global Morph", "SE20GlobalMorph"},
};

TEST(Catalogue, NamesAndOrderAreFrozen) {
  const auto catalogue = ModuleCatalogue();
  ASSERT_EQ(catalogue.size(), 103u);
  ASSERT_EQ(std::size(kFrozen), 103u);
  for (std::size_t i = 0; i < catalogue.size(); ++i) {
    EXPECT_EQ(static_cast<int>(catalogue[i].category), kFrozen[i].category) << kFrozen[i].name;
    EXPECT_STREQ(catalogue[i].name, kFrozen[i].name);
    EXPECT_STREQ(catalogue[i].className, kFrozen[i].className);
    EXPECT_EQ(FindInCatalogue(catalogue[i].name, kBuiltInVendor), &catalogue[i]);
  }
  constexpr const char* kFolders[kCategoryCount] = {
      "MixerPanner", "Filter", "OscillatorSource",  "Amplifier", "Modulator", "ModifierEffect",
      "ClockGate",   "Switch", "CVSourceProcessor", "FromToDAW", "Sequencer", "LogicBit",
      "MIDI",        "Other"};
  for (int i = 0; i < kCategoryCount; ++i) {
    EXPECT_STREQ(NamesOf(static_cast<Category>(i)).folder, kFolders[i]);
  }
}

TEST(Catalogue, FindsByNameAndVendorByteForByte) {
  EXPECT_EQ(FindInCatalogue("S310 VCO", "calderine"), nullptr);
  EXPECT_EQ(FindInCatalogue("S310 VCO ", kBuiltInVendor), nullptr);
  const CatalogueEntry* misspelt =
      FindInCatalogue("SB12 Racheting Trigger Sequencer", kBuiltInVendor);
  ASSERT_NE(misspelt, nullptr);
  EXPECT_STREQ(misspelt->className, "SB12RachetTrigSeq");
}

TEST(Catalogue, DefaultsOfTheMadeClasses) {
  const std::set<std::string> polyphonic = {"S101", "S102", "S110", "S116", "S201", "S202", "S205",
                                            "S206", "S212", "S213", "S302", "S304", "S310", "S315",
                                            "S321", "S400", "S401", "S404", "S500", "S515", "S516",
                                            "S525", "S605", "S606", "S902", "S903", "S904", "SD02"};
  const std::set<std::string> alwaysOn = {"SA03", "S515", "SA04", "S709", "SB20", "SE15", "SE16"};
  const std::set<std::string> toHost = {"SA02", "SA05", "SA12", "SA13"};
  const std::set<std::string> monoOnly = {"SA02", "SA05", "SA12", "SA13", "S313", "S318",
                                          "S518", "SE20", "SD08", "S120", "S121"};
  const std::set<std::string> usesPolyphony = {"SD05", "SD06", "S120", "S121"};
  TestRack rack;
  int made = 0;
  for (const CatalogueEntry& entry : ModuleCatalogue()) {
    const std::string name = entry.name;
    const std::string number = name.substr(0, name.find(' '));
    Module* module = rack.editor.AddModule(name, kBuiltInVendor);
    EXPECT_EQ(module != nullptr, entry.make != nullptr) << name;
    if (!module) continue;
    ++made;
    EXPECT_EQ(!module->GetMonoDefault(), polyphonic.contains(number)) << name;
    EXPECT_EQ(module->GetAlwaysOnDefault(), alwaysOn.contains(number)) << name;
    EXPECT_EQ(module->IsAudioToDAW(), toHost.contains(number)) << name;
    EXPECT_EQ(!module->monoSelectable, monoOnly.contains(number)) << name;
    EXPECT_EQ(module->UsesPolyphony(), usesPolyphony.contains(number)) << name;
    EXPECT_EQ(module->mono, module->GetMonoDefault()) << name;
  }
  EXPECT_GE(made, 25);
}

}  // namespace
}  // namespace halveron::testing
