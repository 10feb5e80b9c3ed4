// Events from the rack to a CLAP host, queued until the host takes them.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "engine/clap_abi.h"
#include "engine/note_tracker.h"
#include "framework/host_events.h"
#include "framework/parameter_marks.h"
#include "framework/rack_limits.h"

namespace halveron {

/// Two sides that share no lock. Events of the rack are queued and drained inside the processing
/// lock, and reach the host in order of time. Moves of parameters and gestures are marks and values
/// that any thread may set; the host gets the last value of each parameter, since all of them would
/// arrive at the same moment.
class ClapEventOutput {
 public:
  ClapEventOutput();

  // Inside the processing lock.

  /// Until Drain, `host` takes events of a block of `frames` samples; null if it takes none.
  void Begin(const clap_output_events_t* host, int frames);

  void NoteEnd(const ActiveNote& note);

  /// Queues the messages and dumps of a list, the dumps as copies.
  void Send(const VstEvents& events);

  /// Passes all queued events to the host; without a host they are dropped. The bytes of a dump
  /// stay valid until the next Drain that passes events.
  void Drain(const clap_output_events_t* host);

  // Any thread.

  void QueueParamValue(int id, float value);
  /// The control of a parameter was taken, or left. Each begin that the host gets has an end.
  void QueueParamGesture(int id, bool begins);

 private:
  union Record {
    clap_event_header_t header;
    clap_event_note_t note;
    clap_event_midi_t midi;
    clap_event_midi_sysex_t sysEx;
    clap_event_param_value_t param;
  };
  struct Queued {
    Record record;
    std::uint32_t order;  // of arrival, among events of the same time
  };

  /// Memory of dumps that are freed together. Small ones, as most are, share a reserve.
  class Dumps {
   public:
    Dumps() { reserve_.reserve(kReservedBytes); }
    const std::uint8_t* Copy(const std::uint8_t* bytes, std::size_t size);
    void Clear();

   private:
    // Enough for all but the longest dumps. Pages that are never written are never resident.
    static constexpr std::size_t kReservedBytes = std::size_t{1} << 19;

    std::vector<std::uint8_t> reserve_;
    std::vector<std::unique_ptr<std::uint8_t[]>> large_;
  };

  static constexpr std::size_t kCapacity = 2048;
  enum ParameterFlags : unsigned { kMoved = 1, kGestured = 2, kHeld = 4 };

  struct Parameter {
    std::atomic<float> value{0.0f};
    std::atomic<unsigned> flags{0};
    bool begun = false;  // as the host sees it; inside the processing lock
  };

  void Append(const Record& record);
  void PushParameter(const clap_output_events_t* host, int id);
  void PushQueued(const clap_output_events_t* host);
  void PushParameters(const clap_output_events_t* host);

  std::vector<Queued> queue_;
  std::uint32_t earliest_ = 0;  // time of the last event that the host got
  const clap_output_events_t* host_ = nullptr;
  int lastFrame_ = 0;
  Dumps dumps_;        // of events since the last Drain
  Dumps olderDumps_;   // of events passed by the last Drain
  bool sent_ = false;  // an event was queued since the last Drain

  std::array<Parameter, kParameterCount> parameters_{};
  ParameterMarks marks_;
};

}  // namespace halveron
