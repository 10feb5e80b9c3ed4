// The scenarios of the benchmark program. Each reports its rates as counters.
#pragma once

namespace halveron::benchmarks {

/// Names of counters.
inline constexpr const char* kLoudNsPerSample = "loud_ns_per_sample";  ///< in full sound
inline constexpr const char* kSilentOverLoud = "silent_over_loud";
inline constexpr const char* kNsPerSample = "ns_per_sample";
inline constexpr const char* kNetNsPerSample = "net_ns_per_sample";  ///< less what surrounds it
inline constexpr const char* kNsPerVoiceAndStep = "ns_per_voice_and_step";
inline constexpr const char* kMilliseconds = "ms";
inline constexpr const char* kMicroseconds = "us";
inline constexpr const char* kLockMicroseconds = "lock_us";
inline constexpr const char* kLongestLockMicroseconds = "longest_lock_us";
inline constexpr const char* kTimesRealTime = "x_realtime";
inline constexpr const char* kHandNsPerSample = "hand_ns_per_sample";
inline constexpr const char* kPlainNsPerStep = "plain_ns_per_step";  ///< without oversampling
inline constexpr const char* kOverPlain = "over_plain";
inline constexpr const char* kRackOverHand = "rack_over_hand";
inline constexpr const char* kMostOverHand = "most_over_hand";  ///< the aim of the ratio
inline constexpr const char* kOverLongBlocks = "over_long_blocks";
inline constexpr const char* kAloneNsPerSample = "alone_ns_per_sample";  ///< without vectors
inline constexpr const char* kOverAlone = "over_alone";
inline constexpr const char* kOverUnmeasured = "over_unmeasured";  ///< on over off

/// The scene of mixers; the others are pads.
inline constexpr const char* kMixerScene = "e200";

/// Each timed by hand for this long at least, in seconds.
inline constexpr double kMeasuringTime = 0.3;

/// `module/<display name>`: each module that can be made, alone, and net of a module that does
/// nothing at as many cables. `voices16/<display name>`: each polyphonic one in 16 voices.
void RegisterModules();
/// `lanes/<display name>`: eight mono modules of each class that has a group, in vectors and each
/// by itself.
void RegisterLanes();
/// `silence/<display name>`: an effect or filter long after its sound has died away, when what is
/// left in its loops would be denormal, against the same one in full sound.
void RegisterSilence();
/// `kernel/`: effects that run their banks in vectors, held against a plain loop of the same law.
void RegisterKernels();
/// `scene/`: patches of benchmarks/scenes, and what the rack costs over a loop of the same kernels
/// written out by hand, which gives the same bits.
void RegisterMixerScene();
void RegisterScenes();
/// `load/<scene>/<samples of a block>`: the same scenes while the load of each module is measured,
/// over the same blocks while it is not.
void RegisterModuleLoads();
/// `voice/`: the demo patches with a held note.
void RegisterVoices();
/// `pad/`: a pad of 1 to 16 voices, and of one voice at every oversampling factor. Cost that is
/// linear in both shows as a column of equal figures per voice and step. `oversampling/`: that pad
/// against one whose host runs at the high rate, for either kind of filter.
void RegisterPolyphony();
/// `window/`: what a rack full of modules and cables costs on the screen, drawn by the processor
/// alone, in the skin that lies beside the program: a full redraw, the first paint of a window,
/// steps of what the mouse does, and the idle call of a rack at rest.
void RegisterWindow();
/// `external/`: the call of a module of a library, net of the same module built in.
void RegisterExternal();
/// `morph/`: a turn of the knob that moves every parameter of a full table.
void RegisterMorph();
/// `edit/`: how long an edit keeps the audio thread waiting, in a rack of 100 polyphonic modules of
/// 16 voices, and itself. The first stays under 50 microseconds.
void RegisterEdits();
/// `preset/`: a rack of 100 modules saved and loaded as a host does.
void RegisterPresets();

}  // namespace halveron::benchmarks
