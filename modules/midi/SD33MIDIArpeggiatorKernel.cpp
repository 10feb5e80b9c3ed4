#include "modules/midi/SD33MIDIArpeggiatorKernel.h"

#include <algorithm>

#include "dsp/edge.h"
#include "dsp/random.h"

namespace halveron {

namespace {

/// 0 to `last`.
int RandomUpTo(int last) {
  return static_cast<int>(dsp::NextRandomPcg() % static_cast<std::uint32_t>(last + 1));
}

bool IsSameNote(MidiCableWord a, MidiCableWord b) {
  return a.Data1() == b.Data1() && a.Channel() == b.Channel();
}

}  // namespace

void SD33MIDIArpeggiatorKernel::SetMode(int mode) {
  mode_ = static_cast<Mode>(std::clamp(mode, 0, kModes - 1));
  RebuildPattern();
  direction_ = 1;
}

void SD33MIDIArpeggiatorKernel::SetHold(bool hold) {
  hold_ = hold;
  if (hold) return;
  for (int i = lastNote_; i >= 0; --i) {
    if (!played_[i].isDown) Remove(i);
  }
}

void SD33MIDIArpeggiatorKernel::SetOctaves(int range, int step) {
  octaveLow_ = 0;
  octaveStep_ = std::max(1, step);
  octaveHigh_ = std::max(0, range) / octaveStep_ * octaveStep_;
  octave_ = std::clamp(octave_ / octaveStep_ * octaveStep_, octaveLow_, octaveHigh_);
}

MidiCableWord SD33MIDIArpeggiatorKernel::Step(MidiCableWord word, float clock) {
  if (word.IsNoteOn()) {
    NoteOn(word);
  } else if (word.IsNoteOff()) {
    NoteOff(word);
  } else if (word.IsAllNotesOff()) {
    ReleaseAllKeys();
  } else if (!word.IsNone()) {
    output_.Through(word);
  }
  const bool rises = dsp::IsRisingEdge(lastClock_, clock);
  const bool falls = dsp::IsRisingEdge(clock, lastClock_);
  lastClock_ = clock;
  dsp::CountInterval(sinceClock_);
  dsp::CountInterval(period_);
  if (rises) {
    ClockEdge();
  } else {
    CountGate(falls);
  }
  return output_.Pop();
}

void SD33MIDIArpeggiatorKernel::ReleaseAllKeys() {
  EndNote();
  for (int i = 0; i <= lastNote_; ++i) played_[i].isDown = false;
  if (!hold_) lastNote_ = -1;
}

void SD33MIDIArpeggiatorKernel::NoteOn(MidiCableWord word) {
  // A key that is played again while it is held on only goes down: it is in the lists already.
  const int known = FindPlayed(word);
  if (known >= 0 && !played_[known].isDown) {
    played_[known].isDown = true;
    return;
  }
  if (lastNote_ >= kMostNotes - 1) return;
  const bool isFirst = lastNote_ < 0;
  Insert(word);
  if (!isFirst) return;
  isFresh_ = true;
  if (!startAtOnce) return;
  GoToStart();
  BeginNote();
  sinceClock_ = 0;
}

void SD33MIDIArpeggiatorKernel::NoteOff(MidiCableWord word) {
  // Of a key that is in the lists twice, the note that is still down.
  int found = -1;
  for (int i = 0; i <= lastNote_ && found < 0; ++i) {
    if (played_[i].isDown && IsSameNote(played_[i].word, word)) found = i;
  }
  if (found < 0) return;
  if (hold_) {
    played_[found].isDown = false;
  } else {
    Remove(found);
  }
}

int SD33MIDIArpeggiatorKernel::FindPlayed(MidiCableWord word) const {
  for (int i = 0; i <= lastNote_; ++i) {
    if (IsSameNote(played_[i].word, word)) return i;
  }
  return -1;
}

int SD33MIDIArpeggiatorKernel::FindInPattern(MidiCableWord word) const {
  for (int i = 0; i <= lastNote_; ++i) {
    if (pattern_[i] == word) return i;
  }
  return 0;
}

void SD33MIDIArpeggiatorKernel::Insert(MidiCableWord word) {
  played_[lastNote_ + 1] = {word, true};
  if (mode_ == kShuffled) {
    const int place = RandomUpTo(lastNote_ + 1);
    pattern_[lastNote_ + 1] = pattern_[place];
    pattern_[place] = word;
    if (place <= lastNote_) {
      if (position_ == place) position_ = lastNote_ + 1;
      if (sounding_ == place) sounding_ = lastNote_ + 1;
    }
  } else if (mode_ == kAsPlayed || lastNote_ < 0) {
    pattern_[lastNote_ + 1] = word;
  } else {
    InsertAt(PlaceByKey(word), word);
  }
  ++lastNote_;
}

int SD33MIDIArpeggiatorKernel::PlaceByKey(MidiCableWord word) const {
  int place = 0;
  while (place <= lastNote_ && pattern_[place].Data1() <= word.Data1()) ++place;
  return place;
}

void SD33MIDIArpeggiatorKernel::InsertAt(int place, MidiCableWord word) {
  for (int i = lastNote_; i >= place; --i) pattern_[i + 1] = pattern_[i];
  pattern_[place] = word;
  if (position_ >= place) ++position_;
  if (sounding_ != kNone && sounding_ >= place) ++sounding_;
}

void SD33MIDIArpeggiatorKernel::Remove(int played) {
  const int place = FindInPattern(played_[played].word);
  if (sounding_ == place) EndNote();
  for (int i = played; i < lastNote_; ++i) played_[i] = played_[i + 1];
  for (int i = place; i < lastNote_; ++i) pattern_[i] = pattern_[i + 1];
  --lastNote_;
  // A walk that was at the note goes on with its neighbour: upward from the one before it.
  const bool isUpward = mode_ != kDown && !(mode_ == kUpAndDown && direction_ < 0);
  if (position_ > place || (position_ == place && isUpward)) --position_;
  if (sounding_ != kNone && sounding_ > place) --sounding_;
}

void SD33MIDIArpeggiatorKernel::RebuildPattern() {
  const MidiCableWord sounding = IsSounding() ? pattern_[sounding_] : MidiCableWord{};
  const int last = lastNote_;
  const int position = position_;
  const bool wasSounding = IsSounding();
  lastNote_ = -1;
  for (int i = 0; i <= last; ++i) {
    const bool isDown = played_[i].isDown;
    Insert(played_[i].word);
    played_[i].isDown = isDown;
  }
  position_ = std::clamp(position, 0, std::max(last, 0));
  if (wasSounding) sounding_ = FindInPattern(sounding);
}

void SD33MIDIArpeggiatorKernel::GoToStart() {
  isFresh_ = false;
  direction_ = 1;
  octave_ = mode_ == kDown ? octaveHigh_ : octaveLow_;
  position_ = 0;
  if (mode_ == kDown) position_ = lastNote_;
  if (mode_ == kInsideOut) position_ = lastNote_ / 2;
}

void SD33MIDIArpeggiatorKernel::Walk() {
  switch (mode_) {
    case kDown:
      if (--position_ < 0) {
        position_ = lastNote_;
        OctaveDown();
      }
      break;
    case kRandom:
      position_ = RandomUpTo(lastNote_);
      octave_ = octaveLow_ + octaveStep_ * RandomUpTo((octaveHigh_ - octaveLow_) / octaveStep_);
      break;
    case kUpAndDown:
      WalkUpAndDown();
      break;
    case kInsideOut:
      WalkInsideOut();
      break;
    default:
      if (++position_ > lastNote_) {
        position_ = 0;
        OctaveUp();
      }
      break;
  }
  position_ = std::clamp(position_, 0, lastNote_);
}

void SD33MIDIArpeggiatorKernel::WalkUpAndDown() {
  // One line over all octaves; its ends sound once each.
  const int notes = lastNote_ + 1;
  const int last = notes * ((octaveHigh_ - octaveLow_) / octaveStep_ + 1) - 1;
  int place = (octave_ - octaveLow_) / octaveStep_ * notes + position_ + direction_;
  if (place > last) {
    direction_ = -1;
    place = std::max(last - 1, 0);
  } else if (place < 0) {
    direction_ = 1;
    place = std::min(1, last);
  }
  octave_ = octaveLow_ + place / notes * octaveStep_;
  position_ = place % notes;
}

void SD33MIDIArpeggiatorKernel::WalkInsideOut() {
  position_ += direction_;
  direction_ = direction_ > 0 ? -direction_ - 1 : 1 - direction_;
  if (position_ >= 0 && position_ <= lastNote_) return;
  position_ = lastNote_ / 2;
  direction_ = 1;
  OctaveUp();
}

void SD33MIDIArpeggiatorKernel::ClockEdge() {
  noteLength_ = period_;
  period_ = 0;
  sinceClock_ = 0;
  if (lastNote_ < 0) return;
  EndNote();
  if (isFresh_) {
    GoToStart();
  } else {
    Walk();
  }
  BeginNote();
}

void SD33MIDIArpeggiatorKernel::BeginNote() {
  const MidiCableWord note = pattern_[position_];
  const int key = std::clamp(note.Data1() + octave_, 0, midi::kLargestData);
  current_ = MidiCableWord::FromBytes(note.Status(), static_cast<unsigned>(key), note.Data2(),
                                      note.Extra());
  sounding_ = output_.Begin(current_) ? position_ : kNone;
}

void SD33MIDIArpeggiatorKernel::EndNote() {
  if (!IsSounding()) return;
  output_.End(current_.AsNoteOff());
  sounding_ = kNone;
}

void SD33MIDIArpeggiatorKernel::CountGate(bool clockFalls) {
  if (!IsSounding()) return;
  if (followClock ? clockFalls : sinceClock_ > static_cast<double>(noteLength_) * gate) EndNote();
}

}  // namespace halveron
