// The way from the rack to a CLAP host: events wait here until the host takes them.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "engine/clap_abi.h"
#include "engine/note_tracker.h"
#include "framework/host_events.h"
#include "framework/signal.h"

namespace halveron {

/// Two sides that share no lock. What the rack says is said and drained inside the processing lock.
/// A parameter that was moved, by whomever, is a mark and a value that any thread may set; the host
/// gets the last value of each, for all of them would arrive at the same moment.
class ClapEventOutput {
 public:
  ClapEventOutput();

  // Inside the processing lock.

  /// From here to Drain the host takes events of a block of so many frames; null if it takes none.
  void Begin(const clap_output_events_t* host, int frames);

  void NoteEnd(const ActiveNote& note);

  /// Queues the messages and dumps of a list, the dumps as copies.
  void Send(const VstEvents& events);

  /// Hands all that waits to the host. A dump that it gets stays valid until it gets more, a block
  /// later at the earliest.
  void Drain(const clap_output_events_t* host);

  // Any thread.

  void QueueParamValue(int id, float value);

 private:
  union Record {
    clap_event_header_t header;
    clap_event_note_t note;
    clap_event_midi_t midi;
    clap_event_midi_sysex_t sysEx;
    clap_event_param_value_t param;
  };

  /// Memory of dumps that are freed together. Small ones, as most are, share a reserve.
  class Dumps {
   public:
    Dumps() { reserve_.reserve(kReservedBytes); }
    const std::uint8_t* Copy(const std::uint8_t* bytes, std::size_t size);
    void Clear();

   private:
    static constexpr std::size_t kReservedBytes = 32768;

    std::vector<std::uint8_t> reserve_;
    std::vector<std::unique_ptr<std::uint8_t[]>> large_;
  };

  static constexpr std::size_t kCapacity = 2048;
  static constexpr std::size_t kMarkBits = 64;

  void Append(const Record& record);
  void PushQueued(const clap_output_events_t* host);
  void PushParameters(const clap_output_events_t* host);

  std::vector<Record> queue_;
  const clap_output_events_t* host_ = nullptr;
  int lastFrame_ = 0;
  Dumps dumps_;        // of events since the last Drain
  Dumps olderDumps_;   // of those that the host got then
  bool sent_ = false;  // anything since the last Drain

  std::array<std::atomic<float>, kParameterCount> movedTo_{};
  std::array<std::atomic<std::uint64_t>, (kParameterCount + kMarkBits - 1) / kMarkBits> moved_{};
};

}  // namespace halveron
