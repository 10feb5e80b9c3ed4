#include "engine/note_tracker.h"

#include <algorithm>

namespace halveron {

namespace {

bool IsVoice(int voice) { return voice >= 0 && voice < kMaxVoices; }

template <class Notes, class Test>
int FindVoice(const Notes& notes, int voiceCount, Test&& matches) {
  for (int voice = 0; voice < voiceCount; ++voice) {
    const ActiveNote& note = notes[static_cast<std::size_t>(voice)];
    if (note.IsNote() && matches(note)) return voice;
  }
  return -1;
}

}  // namespace

int NoteTracker::Store(const ActiveNote& note) {
  const int slot = nextSlot_;
  nextSlot_ = (slot + 1) % kSlots;
  slots_[static_cast<std::size_t>(slot)] = {note};
  const auto end = waiting_.begin() + waitingCount_;
  if (std::find(waiting_.begin(), end, slot) == end) {
    waiting_[static_cast<std::size_t>(waitingCount_++)] = static_cast<std::uint8_t>(slot);
  }
  if (heldCount_ == kMostHeld) {
    std::copy(held_.begin() + 1, held_.end(), held_.begin());
    --heldCount_;
  }
  held_[static_cast<std::size_t>(heldCount_++)] = note;
  return slot;
}

ActiveNote NoteTracker::Bind(int voice, int slot) {
  if (!IsVoice(voice)) return {};
  ActiveNote next;
  if (slot >= 0 && slot < kSlots) {
    next = std::exchange(slots_[static_cast<std::size_t>(slot)].note, ActiveNote{});
  }
  return std::exchange(voiceNotes_[static_cast<std::size_t>(voice)], next);
}

NoteTracker::Released NoteTracker::Release(int voice, int slot, int voiceCount) {
  if (!IsVoice(voice) || slot >= kSlots) return {{}, false};
  ActiveNote& held = voiceNotes_[static_cast<std::size_t>(voice)];
  if (slot < 0) return {std::exchange(held, ActiveNote{}), true};
  const ActiveNote& wanted = slots_[static_cast<std::size_t>(slot)].note;
  if (!wanted.IsNote()) return {{}, false};
  const int holder = FindVoice(voiceNotes_, voiceCount, [&](const ActiveNote& note) {
    return note.noteId == wanted.noteId;
  });
  if (holder < 0) return {{}, false};
  const ActiveNote ended = held;
  voiceNotes_[static_cast<std::size_t>(holder)] = {};
  return {ended, true};
}

int NoteTracker::VoiceOf(const NoteAddress& address, int voiceCount) const {
  return FindVoice(voiceNotes_, voiceCount,
                   [&](const ActiveNote& note) { return address.Means(note); });
}

const ActiveNote* NoteTracker::WaitingNote(const NoteAddress& address) const {
  for (int i = 0; i < waitingCount_; ++i) {
    const Slot& slot = slots_[waiting_[static_cast<std::size_t>(i)]];
    if (address.Means(slot.note)) return &slot.note;
  }
  return nullptr;
}

void NoteTracker::TakeNewestHeld(const NoteAddress& address) {
  for (int i = heldCount_ - 1; i >= 0; --i) {
    if (!address.Fits(held_[static_cast<std::size_t>(i)])) continue;
    std::copy(held_.begin() + i + 1, held_.begin() + heldCount_, held_.begin() + i);
    --heldCount_;
    return;
  }
}

bool NoteTracker::IsHeld(const NoteAddress& address) const {
  return std::any_of(held_.begin(), held_.begin() + heldCount_,
                     [&](const ActiveNote& note) { return address.Fits(note); });
}

}  // namespace halveron
