#include "modules/midi/SD30MIDIRecorderKernel.h"

#include <algorithm>
#include <cmath>

namespace halveron {

namespace {

constexpr double kClocksPerSecondWithoutClock = 2.0;

bool Earlier(const RecordedTake::Event& a, const RecordedTake::Event& b) { return a.time < b.time; }

enum DumpSource : std::size_t { kLive, kPlayed };

}  // namespace

SD30MIDIRecorderKernel::SD30MIDIRecorderKernel()
    : events_(RecordedTake::kMostEvents), layer_(RecordedTake::kMostEvents) {
  for (auto& channel : playing_) channel.fill(kNoKey);
}

void SD30MIDIRecorderKernel::Record() {
  switch (state_) {
    case State::kRecording:
      if (loops) {
        ContinueAsLoop();
      } else {
        Finish();
      }
      return;
    case State::kOverdubbing:
      MergeLayer();
      state_ = State::kPlaying;
      return;
    case State::kPlaying:
      if (overdubs) {
        state_ = State::kOverdubbing;
        return;
      }
      break;
    case State::kStopped:
      if (overdubs && count_ > 0) {
        Start(State::kOverdubbing);
        return;
      }
      break;
  }
  Clear();
  isClocked_ = clockIsCabled;
  Start(State::kRecording);
}

void SD30MIDIRecorderKernel::Play() {
  if (state_ == State::kRecording) Finish();
  if (state_ == State::kStopped && count_ > 0) Start(State::kPlaying);
}

void SD30MIDIRecorderKernel::Stop() {
  if (state_ == State::kRecording) {
    Finish();
  } else if (state_ != State::kStopped) {
    StopPlaying();
  }
}

void SD30MIDIRecorderKernel::Reset() {
  if (state_ == State::kRecording) Finish();
  if (state_ == State::kOverdubbing) MergeLayer();
  ReleasePlayed();
  position_ = 0.0;
  next_ = 0;
  awaitsClock_ = isClocked_ && clockIsCabled;
}

void SD30MIDIRecorderKernel::Clear() {
  ReleasePlayed();
  for (auto& channel : recorded_) channel.fill(false);
  recordedCount_ = 0;
  recordedDumps_.fill(false);
  state_ = State::kStopped;
  count_ = layerCount_ = 0;
  length_ = 0;
  position_ = 0.0;
  next_ = 0;
}

void SD30MIDIRecorderKernel::Start(State state) {
  if (state != State::kRecording && position_ >= length_) position_ = 0.0;
  state_ = state;
  awaitsClock_ = isClocked_ && clockIsCabled;
  const Event here{static_cast<std::uint32_t>(std::ceil(std::max(position_, 0.0))), {}};
  next_ = static_cast<std::size_t>(
      std::lower_bound(events_.begin(), events_.begin() + static_cast<std::ptrdiff_t>(count_), here,
                       Earlier) -
      events_.begin());
}

void SD30MIDIRecorderKernel::StopPlaying() {
  if (state_ == State::kOverdubbing) MergeLayer();
  ReleasePlayed();
  state_ = State::kStopped;
}

/// Ends a recording. One against a clock is as long as its nearest whole number of clocks.
void SD30MIDIRecorderKernel::Finish() {
  CloseNotes();
  RemoveOpenDumps(events_.data(), count_);
  double length = std::min(position_, static_cast<double>(RecordedTake::kLongest));
  if (isClocked_) {
    constexpr double kClock = RecordedTake::kUnitsPerClock;
    length = std::max(1.0, std::floor(length / kClock + 0.5)) * kClock;
  }
  length_ = std::max(RecordedTake::kShortest, static_cast<std::uint32_t>(length));
  for (std::size_t i = count_; i > 0 && events_[i - 1].time > length_; --i) {
    events_[i - 1].time = length_;
  }
  if (count_ == 0) length_ = 0;
  state_ = State::kStopped;
  position_ = 0.0;
  next_ = 0;
}

/// Ends a recording and plays it on without a break, as a loop that was closed a little before or
/// after its last clock.
void SD30MIDIRecorderKernel::ContinueAsLoop() {
  const double position = position_;
  const double target = target_;
  Finish();
  if (count_ == 0) return;
  state_ = State::kPlaying;
  awaitsClock_ = false;
  position_ = position - length_;
  target_ = target - length_;
}

/// What an overdub has recorded becomes part of the take; at equal times it comes later.
void SD30MIDIRecorderKernel::MergeLayer() {
  CloseNotes();
  RemoveOpenDumps(layer_.data(), layerCount_);
  std::size_t from = count_;
  std::size_t layer = layerCount_;
  std::size_t to = count_ + layerCount_;
  while (layer > 0) {
    if (from > 0 && Earlier(layer_[layer - 1], events_[from - 1])) {
      events_[--to] = events_[--from];
    } else {
      events_[--to] = layer_[--layer];
    }
  }
  count_ += layerCount_;
  next_ += layerCount_;  // all of it lies before what is not scheduled yet
  layerCount_ = 0;
}

MidiCableWord SD30MIDIRecorderKernel::Step(MidiCableWord word, float clock) {
  hasEnded_ = false;
  FollowClock(clockEdge_.Step(clock));
  if (IsPlaying() && position_ >= length_) ReachEnd();
  if (!word.IsNone()) Listen(word);
  if (state_ != State::kStopped && !awaitsClock_) {
    // A note may be moved forward by half the grid: it has to be seen that much earlier.
    if (IsPlaying()) PlayDue(position_, position_ + Grid() / 2);
    Advance();
  }
  return output_.Pop();
}

void SD30MIDIRecorderKernel::FollowClock(bool ticks) {
  dsp::CountInterval(sinceClock_);
  if (!clockIsCabled) awaitsClock_ = false;
  if (!ticks) return;
  const double step = RecordedTake::kUnitsPerClock * (IsPlaying() ? speed : 1.0);
  if (awaitsClock_) {
    awaitsClock_ = false;
  } else if (isClocked_ && state_ != State::kStopped) {
    position_ = target_;
  }
  target_ = position_ + step;
  increment_ = sinceClock_ < dsp::kIdleCounter ? step / sinceClock_ : 0.0;
  sinceClock_ = 0;
}

void SD30MIDIRecorderKernel::Advance() {
  const double pace = IsPlaying() ? speed : 1.0;
  if (!isClocked_) {
    position_ += pace * RecordedTake::kUnitsPerSecond / rate_;
  } else if (clockIsCabled) {
    position_ = std::min(position_ + increment_, target_);
  } else {
    position_ += pace * RecordedTake::kUnitsPerClock * kClocksPerSecondWithoutClock / rate_;
  }
  if (state_ == State::kRecording && position_ >= RecordedTake::kLongest) Finish();
}

void SD30MIDIRecorderKernel::ReachEnd() {
  hasEnded_ = true;
  const auto end = static_cast<double>(length_);
  if (!loops) {
    PlayDue(end, end);
    StopPlaying();
    return;
  }
  PlayDue(end - 0.5, end);  // what falls on the end itself begins the next pass
  if (state_ == State::kOverdubbing) MergeLayer();
  const int pending = pendingCount_;
  ReleasePlayed();
  pendingCount_ = pending;
  for (int i = 0; i < pendingCount_; ++i) {
    pending_[static_cast<std::size_t>(i)].time -= length_;
  }
  const double over = std::fmod(position_, length_);
  target_ -= position_ - over;
  position_ = over;
  next_ = 0;
}

void SD30MIDIRecorderKernel::Listen(MidiCableWord word) {
  if (IsRecording()) RecordWord(word);
  const std::size_t channel = word.Channel();
  const std::size_t key = word.Data1() & midi::kLargestData;
  if (word.IsNoteOn()) {
    if (live_[channel][key]) EndKey(static_cast<int>(channel), static_cast<int>(key));
    live_[channel][key] = true;
    BeginKey(word);
  } else if (word.IsNoteOff() && live_[channel][key]) {
    live_[channel][key] = false;
    EndKey(static_cast<int>(channel), static_cast<int>(key));
  } else {
    if (word.IsAllNotesOff()) ReleaseLive();
    output_.Through(word.IsPacket() ? sentDumps_.Pass(kLive, word) : word);
  }
}

void SD30MIDIRecorderKernel::ReleaseLive() {
  for (int channel = 0; channel < midi::kChannels; ++channel) {
    for (int key = 0; key < midi::kKeys; ++key) {
      bool& isLive = live_[static_cast<std::size_t>(channel)][static_cast<std::size_t>(key)];
      if (isLive) EndKey(channel, key);
      isLive = false;
    }
  }
}

void SD30MIDIRecorderKernel::RecordWord(MidiCableWord word) {
  if (!IsWanted(word)) return;
  // Room is kept for the ends of what has begun.
  const std::size_t room = RecordedTake::kMostEvents - EventCount();
  const bool endsNote = word.IsNoteOff();
  if (!endsNote && room < static_cast<std::size_t>(recordedCount_) + 2) return;
  Append(word);
  if (!word.IsNoteOn() && !endsNote) return;
  bool& isDown = recorded_[word.Channel()][word.Data1() & midi::kLargestData];
  if (isDown != word.IsNoteOn()) recordedCount_ += word.IsNoteOn() ? 1 : -1;
  isDown = word.IsNoteOn();
}

/// Not the clock and its like, and no end of what began before.
bool SD30MIDIRecorderKernel::IsWanted(MidiCableWord word) {
  if (word.IsPacket()) {
    const SysExPayload payload(word);
    bool& isOpen = recordedDumps_[word.Status()];
    const bool isWanted = isOpen || payload.IsHead();
    isOpen = isWanted && !payload.ended;
    return isWanted;
  }
  if (word.IsNoteOff()) return recorded_[word.Channel()][word.Data1() & midi::kLargestData];
  return word.Status() >= midi::kNoteOff && word.Status() < midi::kClock &&
         word.Status() != midi::kTimeCode;
}

void SD30MIDIRecorderKernel::Append(MidiCableWord word) {
  const bool isLayer = state_ == State::kOverdubbing;
  double time = position_;
  if (isLayer) time = std::min(time, static_cast<double>(length_));
  (isLayer ? layer_[layerCount_++] : events_[count_++]) = {static_cast<std::uint32_t>(time), word};
}

void SD30MIDIRecorderKernel::CloseNotes() {
  for (int channel = 0; channel < midi::kChannels && recordedCount_ > 0; ++channel) {
    for (int key = 0; key < midi::kKeys; ++key) {
      bool& isDown = recorded_[static_cast<std::size_t>(channel)][static_cast<std::size_t>(key)];
      if (!isDown) continue;
      isDown = false;
      --recordedCount_;
      Append(MidiCableWord::ChannelMessage(midi::kNoteOff, static_cast<unsigned>(channel),
                                           static_cast<unsigned>(key), kReleaseVelocity));
    }
  }
}

void SD30MIDIRecorderKernel::RemoveOpenDumps(Event* events, std::size_t& count) {
  for (std::size_t i = count; i > 0; --i) {
    MidiCableWord& word = events[i - 1].word;
    if (!word.IsPacket() || !recordedDumps_[word.Status()]) continue;
    if (SysExPayload(word).IsHead()) recordedDumps_[word.Status()] = false;
    word = {};
  }
  recordedDumps_.fill(false);
  const auto isGone = [](const Event& event) { return event.word.IsNone(); };
  count = static_cast<std::size_t>(std::remove_if(events, events + count, isGone) - events);
}

double SD30MIDIRecorderKernel::Grid() const {
  return gridShare_ * (isClocked_ ? RecordedTake::kUnitsPerClock : quarterUnits_);
}

void SD30MIDIRecorderKernel::PlayDue(double position, double seen) {
  while (next_ < count_ && events_[next_].time <= seen && pendingCount_ < kMostPending) {
    Schedule(events_[next_++]);
  }
  int played = 0;
  while (played < pendingCount_ && pending_[static_cast<std::size_t>(played)].time <= position &&
         output_.HasRoom()) {
    Emit(pending_[static_cast<std::size_t>(played++)].word);
  }
  if (played == 0) return;
  std::copy(pending_.begin() + played, pending_.begin() + pendingCount_, pending_.begin());
  pendingCount_ -= played;
}

void SD30MIDIRecorderKernel::Schedule(const Event& event) {
  const MidiCableWord word = event.word;
  double time = event.time;
  float& shift = shift_[word.Channel()][word.Data1() & midi::kLargestData];
  if (word.IsNoteOn()) {
    const double grid = Grid();
    shift = grid > 0.0 ? static_cast<float>(std::floor(time / grid + 0.5) * grid - time) : 0.0f;
    time += shift;
  } else if (word.IsNoteOff()) {
    time += shift;  // a note keeps its length
  }
  int place = pendingCount_++;
  for (; place > 0 && pending_[static_cast<std::size_t>(place - 1)].time > time; --place) {
    pending_[static_cast<std::size_t>(place)] = pending_[static_cast<std::size_t>(place - 1)];
  }
  pending_[static_cast<std::size_t>(place)] = {time, word};
}

void SD30MIDIRecorderKernel::Emit(MidiCableWord word) {
  if (word.IsPacket()) {
    output_.Send(sentDumps_.Pass(kPlayed, word));
    return;
  }
  const int channel = word.Channel();
  std::int16_t& playing = playing_[word.Channel()][word.Data1() & midi::kLargestData];
  if (word.IsNoteOn()) {
    if (playing != kNoKey) EndKey(channel, playing);
    playing =
        static_cast<std::int16_t>(std::clamp(word.Data1() + transpose, 0, midi::kLargestData));
    BeginKey(MidiCableWord::FromBytes(word.Status(), static_cast<unsigned>(playing), word.Data2(),
                                      word.Extra()));
  } else if (word.IsNoteOff()) {
    if (playing != kNoKey) EndKey(channel, playing);
    playing = kNoKey;
  } else if (word.Kind() == midi::kKeyPressure) {
    if (playing != kNoKey) {
      output_.Send(MidiCableWord::FromBytes(word.Status(), static_cast<unsigned>(playing),
                                            word.Data2(), word.Extra()));
    }
  } else {
    output_.Send(word);
  }
}

void SD30MIDIRecorderKernel::ReleasePlayed() {
  pendingCount_ = 0;
  for (int channel = 0; channel < midi::kChannels; ++channel) {
    for (std::int16_t& playing : playing_[static_cast<std::size_t>(channel)]) {
      if (playing != kNoKey) EndKey(channel, playing);
      playing = kNoKey;
    }
  }
}

void SD30MIDIRecorderKernel::BeginKey(MidiCableWord noteOn) {
  std::uint16_t& holders = sounding_[noteOn.Channel()][noteOn.Data1() & midi::kLargestData];
  if (holders++ > 0) output_.End(noteOn.AsNoteOff());
  if (output_.Begin(noteOn)) return;
  // No room: the key is silent, for those who hold it already too.
  holders = 0;
}

void SD30MIDIRecorderKernel::EndKey(int channel, int key) {
  std::uint16_t& holders =
      sounding_[static_cast<std::size_t>(channel)][static_cast<std::size_t>(key)];
  if (holders == 0 || --holders > 0) return;
  output_.End(MidiCableWord::ChannelMessage(midi::kNoteOff, static_cast<unsigned>(channel),
                                            static_cast<unsigned>(key), kReleaseVelocity));
}

std::uint32_t SD30MIDIRecorderKernel::Length() const {
  return state_ == State::kRecording ? static_cast<std::uint32_t>(position_) : length_;
}

void SD30MIDIRecorderKernel::CopyTake(RecordedTake& take) const {
  take.isClocked = isClocked_;
  take.length = Length();
  const auto base = events_.begin();
  const auto layer = layer_.begin();
  take.events.resize(EventCount());
  std::merge(base, base + static_cast<std::ptrdiff_t>(count_), layer,
             layer + static_cast<std::ptrdiff_t>(layerCount_), take.events.begin(), Earlier);
}

void SD30MIDIRecorderKernel::SetTake(RecordedTake& take, std::size_t count) {
  Clear();
  count_ = count;
  length_ = take.length;
  isClocked_ = take.isClocked;
  events_.swap(take.events);
}

}  // namespace halveron
