// A cable between two patch points, and the lists that the rack keeps of them.
#pragma once

namespace halveron {

class PatchPoint;

/// One record per voice and cable. The record is in exactly one list: the copying one, where it
/// sets its destination, or the summing one, where it adds to it.
struct Cable {
  Cable* prev = nullptr;
  Cable* next = nullptr;
  PatchPoint* destination = nullptr;  ///< the point whose `in` is written
  PatchPoint* origin = nullptr;       ///< the point whose `out` is read
  int colour = 1;                     ///< 1 to 6 of the palette, 7 for MIDI cables
  int voiceTag = 0;  ///< higher voice of the two ends, negated when they differ or when summing

  int Voice() const { return voiceTag < 0 ? -voiceTag : voiceTag; }
  bool CrossesVoices() const { return voiceTag < 0; }
  /// Of the records of one cable, the one that the user sees.
  bool IsMain() const { return voiceTag == 0; }
};

inline constexpr int kMidiCableColour = 7;
inline constexpr int kCableColours = 6;

/// Intrusive list in order of making. Owns nothing by itself; Append and Unlink are O(1).
class CableList {
 public:
  Cable* head = nullptr;
  Cable* tail = nullptr;

  void Append(Cable* cable) {
    cable->prev = tail;
    cable->next = nullptr;
    (tail ? tail->next : head) = cable;
    tail = cable;
    ++size_;
  }
  void Unlink(Cable* cable) {
    (cable->prev ? cable->prev->next : head) = cable->next;
    (cable->next ? cable->next->prev : tail) = cable->prev;
    cable->prev = cable->next = nullptr;
    --size_;
  }
  int size() const { return size_; }

 private:
  int size_ = 0;
};

}  // namespace halveron
