// SD30 MIDI Recorder kernel: a take of MIDI words, recorded and played.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "dsp/counters.h"
#include "dsp/edge.h"
#include "framework/sysex.h"
#include "modules/midi/dump_merger.h"
#include "modules/midi/note_output.h"

namespace halveron {

/// What was recorded. Times are in units: of a take against samples 1/96000 s, of one against a
/// clock 1/960 of a clock, which counts as a quarter note.
struct RecordedTake {
  struct Event {
    std::uint32_t time = 0;
    MidiCableWord word;
    friend bool operator==(const Event&, const Event&) = default;
  };

  static constexpr std::size_t kMostEvents = 100000;
  static constexpr double kUnitsPerSecond = 96000.0;
  static constexpr int kUnitsPerClock = 960;
  static constexpr std::uint32_t kLongest = 0xFFFFFFF0u;
  static constexpr std::uint32_t kShortest = 96;

  std::vector<Event> events;  ///< in the order of their times, none after the end
  std::uint32_t length = 0;
  bool isClocked = false;
};

/// Plays a take and records into it. All that was begun is ended: notes at a stop, at the end of a
/// loop and of a recording; a dump that was recorded in part is taken out again.
///
/// Live notes and played ones share the output: a key that sounds for both begins once and ends
/// with the later of them.
class SD30MIDIRecorderKernel {
 public:
  using Event = RecordedTake::Event;

  enum class State { kStopped, kPlaying, kRecording, kOverdubbing };

  SD30MIDIRecorderKernel();

  // Panel.
  bool loops = false;
  bool overdubs = false;
  double speed = 1.0;  ///< of playing, above 0
  int transpose = 0;   ///< semitones, of played notes that begin
  bool clockIsCabled = false;

  void Prepare(float rate) { rate_ = rate; }
  /// The grid on which played notes begin, as a share of a clock or of a quarter note; 0 for none.
  void SetQuantise(double share) { gridShare_ = share; }
  /// Units of a quarter note where the take was recorded against samples.
  void SetQuarter(double units) { quarterUnits_ = units; }

  void Record();
  void Play();
  void Stop();
  void Reset();
  void Clear();

  /// One sample: the word that comes in, and the one that goes out.
  MidiCableWord Step(MidiCableWord word, float clock);
  /// Whether the end of the take was reached in this sample.
  bool HasEnded() const { return hasEnded_; }
  /// Ends the notes that came in, when nothing more can come.
  void ReleaseLive();

  State GetState() const { return state_; }
  bool IsRecording() const { return state_ == State::kRecording || state_ == State::kOverdubbing; }
  bool IsPlaying() const { return state_ == State::kPlaying || state_ == State::kOverdubbing; }
  double Position() const { return position_; }
  std::uint32_t Length() const;
  std::size_t EventCount() const { return count_ + layerCount_; }
  bool IsClocked() const { return isClocked_; }

  /// Copies the take, with what is being recorded. Allocates nothing where `take` has reserved room
  /// for kMostEvents.
  void CopyTake(RecordedTake& take) const;
  /// Stops, and has another take in the place of this one, of which `count` events are used. It
  /// must hold together and have kMostEvents events; it gets the old one's memory.
  void SetTake(RecordedTake& take, std::size_t count);

 private:
  static constexpr int kNoKey = -1;
  static constexpr int kMostPending = 256;

  template <class T>
  using PerKey = std::array<std::array<T, midi::kKeys>, midi::kChannels>;

  struct Pending {
    double time = 0.0;
    MidiCableWord word;
  };

  void Start(State state);
  void StopPlaying();
  void Finish();
  void ContinueAsLoop();
  void MergeLayer();
  void FollowClock(bool ticks);
  void Advance();
  void ReachEnd();

  // Recording.
  void Listen(MidiCableWord word);
  void RecordWord(MidiCableWord word);
  bool IsWanted(MidiCableWord word);
  void Append(MidiCableWord word);
  void CloseNotes();
  void RemoveOpenDumps(Event* events, std::size_t& count);

  // Playing.
  double Grid() const;
  /// Sends what is due at a position, of the events up to `seen`.
  void PlayDue(double position, double seen);
  void Schedule(const Event& event);
  void Emit(MidiCableWord word);
  void ReleasePlayed();
  void BeginKey(MidiCableWord noteOn);
  void EndKey(int channel, int key);

  float rate_ = 48000.0f;
  State state_ = State::kStopped;
  bool hasEnded_ = false;

  std::vector<Event> events_;  // kMostEvents, of which count_ are used
  std::size_t count_ = 0;
  std::vector<Event> layer_;  // of the present pass of an overdub
  std::size_t layerCount_ = 0;
  std::uint32_t length_ = 0;
  bool isClocked_ = false;

  double position_ = 0.0;
  double target_ = 0.0;     // where the next clock finds the position
  double increment_ = 0.0;  // units a sample between clocks
  bool awaitsClock_ = false;
  int sinceClock_ = dsp::kIdleCounter;
  dsp::EdgeDetector<> clockEdge_;

  std::size_t next_ = 0;  // the first event that is not scheduled
  std::array<Pending, kMostPending> pending_{};
  int pendingCount_ = 0;
  double gridShare_ = 0.0;
  double quarterUnits_ = RecordedTake::kUnitsPerSecond / 2;
  PerKey<float> shift_{};             // by which quantising moved the note
  PerKey<std::int16_t> playing_;      // the transposed key that a played note sounds
  PerKey<std::uint16_t> sounding_{};  // how many of live and played notes hold a key
  PerKey<bool> live_{};
  PerKey<bool> recorded_{};  // a note-on was recorded, its note-off was not
  int recordedCount_ = 0;
  std::array<bool, kSysExStreams + 1> recordedDumps_{};
  DumpMerger<2> sentDumps_;  // live and played ones
  NoteOutput output_;
};

}  // namespace halveron
