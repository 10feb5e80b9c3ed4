#include "media/midi_file.h"

#include <smf.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <new>

#include "media/midi_track_reader.h"
#include "platform/file_error.h"

namespace halveron::media {

using platform::FileError;

namespace {

constexpr double kMicrosecondsPerMinute = 60e6;

struct SongDeleter {
  void operator()(smf_t* song) const { smf_delete(song); }
};
using Song = std::unique_ptr<smf_t, SongDeleter>;

std::vector<std::uint8_t> ReadBytes(const std::string& path) {
  std::error_code error;
  std::ifstream file(path, std::ios::binary);
  if (!file || std::filesystem::is_directory(path, error)) {
    throw FileError(path, "",
                    std::string("cannot be read: ") + std::strerror(file ? EISDIR : errno),
                    "give a standard MIDI file");
  }
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void AddTrack(smf_t* song, const std::vector<TrackEvent>& events, std::int64_t end) {
  smf_track_t* track = smf_track_new();
  if (!track) throw std::bad_alloc();
  smf_add_track(song, track);
  for (const TrackEvent& from : events) {
    std::vector<std::uint8_t> bytes = from.bytes;
    smf_event_t* event = smf_event_new_from_pointer(bytes.data(), static_cast<int>(bytes.size()));
    if (!event) throw std::bad_alloc();
    smf_track_add_event_pulses(track, event, static_cast<int>(from.tick));
  }
  if (smf_track_add_eot_pulses(track, static_cast<int>(end)) != 0) throw std::bad_alloc();
}

/// The song in the library's form, which knows the time of each event. It is built from events, not
/// from the file: the library's own parser ends the process at a split SysEx message or at a track
/// whose end is not marked.
Song MakeSong(const MidiTracks& tracks) {
  Song song(smf_new());
  if (!song || smf_set_ppqn(song.get(), tracks.ticksPerQuarter) != 0) throw std::bad_alloc();
  // First, so that no later tempo changes the times of events that are there.
  AddTrack(song.get(), tracks.conductor, tracks.lengthInTicks);
  for (const auto& track : tracks.tracks) {
    AddTrack(song.get(), track, track.empty() ? 0 : track.back().tick);
  }
  smf_rewind(song.get());
  return song;
}

}  // namespace

MidiFile ReadMidiFile(const std::string& path) {
  const MidiTracks tracks = ReadMidiTracks(path, ReadBytes(path));
  const Song song = MakeSong(tracks);
  MidiFile midi;
  const double quartersPerTick = 1.0 / tracks.ticksPerQuarter;
  const smf_tempo_t* tempo = nullptr;
  for (int i = 0; (tempo = smf_get_tempo_by_number(song.get(), i)) != nullptr; ++i) {
    const TempoChange change{tempo->time_seconds, tempo->time_pulses * quartersPerTick,
                             kMicrosecondsPerMinute / tempo->microseconds_per_quarter_note,
                             tempo->numerator, tempo->denominator};
    if (!midi.tempos.empty() && midi.tempos.back().quarters == change.quarters) {
      midi.tempos.back() = change;
    } else {
      midi.tempos.push_back(change);
    }
  }
  while (const smf_event_t* event = smf_get_next_event(song.get())) {
    midi.seconds = event->time_seconds;
    midi.quarters = event->time_pulses * quartersPerTick;
    if (smf_event_is_metadata(event)) continue;
    midi.events.push_back({event->time_seconds,
                           midi.quarters,
                           {event->midi_buffer, event->midi_buffer + event->midi_buffer_length}});
  }
  return midi;
}

}  // namespace halveron::media
