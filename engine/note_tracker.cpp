#include "engine/note_tracker.h"

#include <utility>

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
  const int slot = nextNoteSlot_;
  nextNoteSlot_ = (slot + 1) % kSlots;
  noteSlots_[static_cast<std::size_t>(slot)] = note;
  return slot;
}

ActiveNote NoteTracker::Bind(int voice, int slot) {
  if (!IsVoice(voice)) return {};
  ActiveNote next;
  if (slot >= 0 && slot < kSlots) {
    next = std::exchange(noteSlots_[static_cast<std::size_t>(slot)], ActiveNote{});
  }
  return std::exchange(voiceNotes_[static_cast<std::size_t>(voice)], next);
}

NoteTracker::Released NoteTracker::Release(int voice, int slot, int voiceCount) {
  if (!IsVoice(voice) || slot >= kSlots) return {{}, false};
  ActiveNote& held = voiceNotes_[static_cast<std::size_t>(voice)];
  if (slot < 0) return {std::exchange(held, ActiveNote{}), true};
  const ActiveNote& wanted = noteSlots_[static_cast<std::size_t>(slot)];
  if (!wanted.IsNote()) return {{}, false};
  const int holder = FindVoice(voiceNotes_, voiceCount, [&](const ActiveNote& note) {
    return note.noteId == wanted.noteId;
  });
  if (holder < 0) return {{}, false};
  const ActiveNote ended = held;
  voiceNotes_[static_cast<std::size_t>(holder)] = {};
  return {ended, true};
}

int NoteTracker::VoiceOf(std::int32_t noteId, int voiceCount) const {
  return FindVoice(voiceNotes_, voiceCount,
                   [&](const ActiveNote& note) { return note.noteId == noteId; });
}

int NoteTracker::VoiceOf(int portIndex, int channel, int key, int voiceCount) const {
  return FindVoice(voiceNotes_, voiceCount, [&](const ActiveNote& note) {
    return note.portIndex == portIndex && note.channel == channel && note.key == key;
  });
}

}  // namespace halveron
