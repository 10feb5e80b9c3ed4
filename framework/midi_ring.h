// A queue of MIDI words from the threads that change a patch to the audio thread.
#pragma once

#include <atomic>
#include <memory>

#include "framework/midi_cable_word.h"

namespace halveron {

/// First in, first out, without a bound: a full ring gets a follower of 2 * capacity + 2 words.
///
/// Push belongs to one writer at a time, which holds a lock of its own (a module's critical
/// section) and may allocate. TryPop belongs to one reader, the audio thread: no lock, no
/// allocation. Growing moves no words: the full ring keeps its own and points at its follower. The
/// reader goes on to the follower once it has emptied the full one, and the writer frees the rings
/// behind the reader when it grows the next time.
class MidiRing {
 public:
  static constexpr int kInitialCapacity = 6;

  MidiRing() : oldest_(new Segment(kInitialCapacity)), newest_(oldest_), reading_(oldest_) {}
  ~MidiRing() { FreeUpTo(nullptr); }
  MidiRing(const MidiRing&) = delete;
  MidiRing& operator=(const MidiRing&) = delete;

  /// Writer.
  void Push(MidiCableWord word) {
    if (newest_->Push(word)) return;
    FreeUpTo(reading_.load(std::memory_order_acquire));
    auto* follower = new Segment(newest_->capacity * 2 + 2);
    follower->Push(word);
    newest_->next.store(follower, std::memory_order_release);
    newest_ = follower;
  }

  /// Reader: false, and `word` as it was, if nothing waits.
  bool TryPop(MidiCableWord& word) {
    Segment* segment = reading_.load(std::memory_order_relaxed);
    for (;;) {
      // Looked at before the words: nothing is pushed to a segment that has a follower.
      Segment* follower = segment->next.load(std::memory_order_acquire);
      if (segment->TryPop(word)) return true;
      if (!follower) return false;
      segment = follower;
      reading_.store(segment, std::memory_order_release);
    }
  }

  /// Writer: words that the newest ring can hold.
  int Capacity() const { return newest_->capacity; }

 private:
  struct Segment {
    explicit Segment(int words)
        : capacity(words), slots(std::make_unique<MidiCableWord[]>(words + 1)) {}

    bool Push(MidiCableWord word) {
      const int at = write.load(std::memory_order_relaxed);
      const int after = Next(at);
      if (after == read.load(std::memory_order_acquire)) return false;
      slots[at] = word;
      write.store(after, std::memory_order_release);
      return true;
    }
    bool TryPop(MidiCableWord& word) {
      const int at = read.load(std::memory_order_relaxed);
      if (at == write.load(std::memory_order_acquire)) return false;
      word = slots[at];
      read.store(Next(at), std::memory_order_release);
      return true;
    }
    int Next(int index) const { return index == capacity ? 0 : index + 1; }

    const int capacity;
    std::unique_ptr<MidiCableWord[]> slots;  ///< one stays free, to tell full from empty
    std::atomic<int> read = 0;
    std::atomic<int> write = 0;
    std::atomic<Segment*> next = nullptr;
  };

  void FreeUpTo(const Segment* end) {
    while (oldest_ != end) {
      Segment* next = oldest_->next.load(std::memory_order_relaxed);
      delete oldest_;
      oldest_ = next;
    }
  }

  Segment* oldest_;
  Segment* newest_;
  std::atomic<Segment*> reading_;
};

}  // namespace halveron
