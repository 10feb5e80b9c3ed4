#include "editor/note_keys.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace halveron {

namespace {

// Semitones from the row's C, by position.
constexpr std::u32string_view kLowerRow = U"zsxdcvgbhnjm,l.;/";
constexpr std::u32string_view kUpperRow = U"q2w3er5t6y7ui9o0p";
constexpr int kOctave = 12;
constexpr int kHighestNote = 127;
constexpr int kLastOctave = 8;
constexpr int kVelocityStep = 16;
constexpr int kSoftest = 4;
constexpr int kFull = 127;
constexpr std::uint8_t kNoteOn = 0x90;
constexpr std::uint8_t kNoteOff = 0x80;

/// A letter without Shift, so that its release is recognised.
char32_t Plain(char32_t character) {
  return character >= U'A' && character <= U'Z' ? character + (U'a' - U'A') : character;
}

/// Semitones above the lower row's C; negative for a letter that plays nothing.
int SemitonesOf(char32_t letter) {
  if (letter == 0) return -1;
  if (const auto at = kLowerRow.find(letter); at != std::u32string_view::npos) {
    return static_cast<int>(at);
  }
  const auto at = kUpperRow.find(letter);
  return at == std::u32string_view::npos ? -1 : static_cast<int>(at) + kOctave;
}

}  // namespace

void NoteKeys::SendNote(int note, int velocity) {
  const std::array<std::uint8_t, 3> message = {velocity > 0 ? kNoteOn : kNoteOff,
                                               static_cast<std::uint8_t>(note),
                                               static_cast<std::uint8_t>(velocity)};
  send_(message);
}

bool NoteKeys::Adjust(const CKeyEvent& event) {
  if (event.key != kKeyPageUp && event.key != kKeyPageDown) return false;
  const int direction = event.key == kKeyPageUp ? 1 : -1;
  if (event.modifiers() & kShift) {
    velocity_ = std::clamp(velocity_ + direction * kVelocityStep, kSoftest, kFull);
  } else {
    octave_ = std::clamp(octave_ + direction, 0, kLastOctave);
  }
  return true;
}

bool NoteKeys::Down(const CKeyEvent& event) {
  if (event.modifiers() & (kControl | kAlt)) return false;
  if (Adjust(event)) return true;
  const char32_t letter = Plain(event.character);
  // Its release would come as the key's plain sign, which may be another one of these.
  const bool isShiftedSign = (event.modifiers() & kShift) && letter == event.character;
  if (isShiftedSign) return false;
  const int semitones = SemitonesOf(letter);
  if (semitones < 0) return false;
  for (Held& held : held_) {
    if (held.letter != letter) continue;
    held.releasedAt = -1;
    return true;
  }
  const int note = (octave_ + 1) * kOctave + semitones;
  if (note > kHighestNote) return true;
  held_.push_back({letter, note, -1});
  SendNote(note, event.character != letter ? kFull : velocity_);
  return true;
}

bool NoteKeys::Up(const CKeyEvent& event, double now) {
  for (Held& held : held_) {
    if (held.letter != Plain(event.character)) continue;
    held.releasedAt = now;
    return true;
  }
  return false;
}

void NoteKeys::Settle(double now) {
  std::erase_if(held_, [&](const Held& held) {
    const bool isOver = held.releasedAt >= 0 && now - held.releasedAt >= kReleaseTime;
    if (isOver) SendNote(held.note, 0);
    return isOver;
  });
}

void NoteKeys::AllOff() {
  for (const Held& held : held_) SendNote(held.note, 0);
  held_.clear();
}

}  // namespace halveron
