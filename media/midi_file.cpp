#include "media/midi_file.h"

#include <glib.h>
#include <smf.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <mutex>

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

/// Keeps what the library says off the standard error stream and remembers it. Process-wide, so one
/// at a time.
class LibraryMessages {
 public:
  LibraryMessages() : lock_(Mutex()), former_(g_log_set_default_handler(&Take, this)) {}
  ~LibraryMessages() { g_log_set_default_handler(former_, nullptr); }
  LibraryMessages(const LibraryMessages&) = delete;
  LibraryMessages& operator=(const LibraryMessages&) = delete;

  const std::string& First() const { return first_; }

 private:
  static std::mutex& Mutex() {
    static std::mutex mutex;
    return mutex;
  }
  static void Take(const gchar*, GLogLevelFlags, const gchar* message, gpointer self) {
    std::string& first = static_cast<LibraryMessages*>(self)->first_;
    if (first.empty() && message) first = message;
  }

  std::unique_lock<std::mutex> lock_;
  std::string first_;
  GLogFunc former_;
};

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

}  // namespace

MidiFile ReadMidiFile(const std::string& path) {
  const CheckedMidi checked = CheckMidi(path, ReadBytes(path));
  const std::vector<std::uint8_t> bytes = WriteMidi(checked);
  if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()) ||
      checked.tracks.size() >= 0xFFFF) {
    throw FileError(path, "", "the file is too large", "split it");
  }

  const LibraryMessages messages;
  const Song song(smf_load_from_memory(bytes.data(), static_cast<int>(bytes.size())));
  if (!song || !messages.First().empty()) {
    throw FileError(path, "", messages.First(), "save the MIDI file again");
  }

  MidiFile midi;
  const double quartersPerTick = 1.0 / checked.ticksPerQuarter;
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
  smf_rewind(song.get());
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
