// SD33 MIDI Arpeggiator kernel: held notes, played one at a time.
#pragma once

#include <array>

#include "dsp/counters.h"
#include "modules/midi/note_output.h"

namespace halveron {

/// Two lists of the held notes, in the order of arrival and in that of playing; a walk over the
/// second, through the octaves of a range, one step for each clock.
class SD33MIDIArpeggiatorKernel {
 public:
  enum Mode : int { kDown, kUp, kRandom, kUpAndDown, kAsPlayed, kInsideOut, kShuffled, kModes };
  static constexpr int kMostNotes = 130;
  static constexpr int kNone = 1147483500;

  // Panel.
  bool startAtOnce = false;  ///< the first note sounds as it comes
  bool followClock = false;  ///< notes end with the clock pulse; else by the gate time
  float gate = 0.5f;         ///< share of a clock period, 0..1

  void SetMode(int mode);
  /// Off: notes whose keys are up end.
  void SetHold(bool hold);
  /// The walk's reach in semitones up from the played octave, and its steps of 1 or more.
  void SetOctaves(int range, int step);

  /// One sample: the word that comes in, and the one that goes out.
  MidiCableWord Step(MidiCableWord word, float clock);

  /// Every key is up, when nothing more can come.
  void ReleaseAllKeys();

  bool IsSounding() const { return sounding_ != kNone; }

 private:
  struct Note {
    MidiCableWord word;
    bool isDown = true;  // its key; a note that is up stays by hold alone
  };

  void NoteOn(MidiCableWord word);
  void NoteOff(MidiCableWord word);
  int FindPlayed(MidiCableWord word) const;
  int FindInPattern(MidiCableWord word) const;
  void Insert(MidiCableWord word);
  void InsertAt(int place, MidiCableWord word);
  void Remove(int played);
  void RebuildPattern();
  int PlaceByKey(MidiCableWord word) const;

  void GoToStart();
  void Walk();
  void WalkUpAndDown();
  void WalkInsideOut();
  void OctaveUp() { octave_ = octave_ >= octaveHigh_ ? octaveLow_ : octave_ + octaveStep_; }
  void OctaveDown() { octave_ = octave_ <= octaveLow_ ? octaveHigh_ : octave_ - octaveStep_; }

  void ClockEdge();
  void BeginNote();
  void EndNote();
  void CountGate(bool clockFalls);

  std::array<Note, kMostNotes> played_{};
  std::array<MidiCableWord, kMostNotes> pattern_{};
  int lastNote_ = -1;
  int position_ = 0;
  int sounding_ = kNone;  // index in pattern_
  int direction_ = 1;
  int octave_ = 0;
  int octaveLow_ = 0;
  int octaveHigh_ = 0;
  int octaveStep_ = 12;
  bool isFresh_ = true;  // the next clock plays the start of the walk
  MidiCableWord current_;
  int sinceClock_ = dsp::kIdleCounter;
  int period_ = dsp::kIdleCounter;
  int noteLength_ = dsp::kIdleCounter;
  float lastClock_ = 0.0f;
  Mode mode_ = kUp;
  bool hold_ = false;
  NoteOutput output_;
};

}  // namespace halveron
