// A small CLAP host that calls a plug-in as music programs do, and records the results.
#pragma once

#include <array>
#include <atomic>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "engine/clap_abi.h"
#include "framework/rack_limits.h"

namespace halveron::testing {

/// An event of any type, by its bytes.
class ClapEvent {
 public:
  template <class Event>
  explicit ClapEvent(const Event& event) {
    static_assert(sizeof(Event) <= sizeof(bytes_));
    std::memcpy(bytes_, &event, sizeof event);
  }
  explicit ClapEvent(const clap_event_header_t* event) {
    std::memcpy(bytes_, event, std::min<std::size_t>(event->size, sizeof bytes_));
  }

  const clap_event_header_t& Header() const {
    return *reinterpret_cast<const clap_event_header_t*>(bytes_);
  }
  clap_event_header_t& Header() { return *reinterpret_cast<clap_event_header_t*>(bytes_); }
  template <class Event>
  const Event& As() const {
    return *reinterpret_cast<const Event*>(bytes_);
  }

  static ClapEvent Note(int type, std::uint32_t time, int key, int noteId = -1, int channel = 0,
                        double velocity = 0.8);
  static ClapEvent Expression(std::uint32_t time, int expression, double value, int noteId,
                              int port = -1, int channel = -1, int key = -1);
  static ClapEvent ParamValue(std::uint32_t time, clap_id id, double value);
  static ClapEvent ParamMod(std::uint32_t time, clap_id id, double amount, int noteId = -1,
                            int port = -1, int channel = -1, int key = -1);
  static ClapEvent Midi(std::uint32_t time, int status, int data1, int data2);
  /// The bytes are not copied.
  static ClapEvent SysEx(std::uint32_t time, const std::vector<std::uint8_t>& bytes);

 private:
  alignas(8) std::byte bytes_[sizeof(clap_event_param_value_t)] = {};
};

class ClapHost {
 public:
  /// Host extensions not to offer, by identifier; "*" for all of them.
  using Withheld = std::set<std::string>;

  explicit ClapHost(const void* factory, Withheld withheld = {});
  ~ClapHost();
  ClapHost(const ClapHost&) = delete;
  ClapHost& operator=(const ClapHost&) = delete;

  const clap_plugin_t* plugin = nullptr;

  template <class Extension>
  const Extension* Ask(const char* id) const {
    return static_cast<const Extension*>(plugin->get_extension(plugin, id));
  }

  void Activate(double rate, std::uint32_t maxFrames);
  void Deactivate();
  bool IsActive() const { return isActive_; }

  /// Runs a block with these events, and leaves it in Output and `taken`.
  clap_process_status Process(std::uint32_t frames, const std::vector<ClapEvent>& events = {});
  void Flush(const std::vector<ClapEvent>& events);

  std::vector<std::byte> Save(std::size_t mostPerWrite = SIZE_MAX);
  bool Load(const std::vector<std::byte>& state, std::size_t mostPerRead = SIZE_MAX);

  std::vector<float>& Input(int channel) { return inputs_[static_cast<std::size_t>(channel)]; }
  std::vector<float>& Output(int channel) { return outputs_[static_cast<std::size_t>(channel)]; }

  /// What the plug-in pushed since the last clear, SysEx dumps as they were when it was pushed.
  std::vector<ClapEvent> taken;
  std::vector<std::vector<std::uint8_t>> takenDumps;
  std::array<int, 16> pushed{};  ///< how many of each type, kept or not
  bool keepsEvents = true;       ///< keeping allocates, which the audio thread must not

  // How it processes.
  const clap_event_transport_t* transport = nullptr;
  bool inPlace = false;  ///< inputs and outputs share their buffers
  bool offersOutEvents = true;
  std::uint32_t inputPorts = 5;
  std::uint32_t outputPorts = 6;

  // Calls from the plug-in.
  std::atomic<int> callbacks = 0;
  std::atomic<int> flushRequests = 0;
  int dirtyMarks = 0;
  int valueRescans = 0;
  std::vector<std::string> log;
  std::vector<clap_id> timers;
  std::vector<int> descriptors;

 private:
  const void* Extension(const char* id) const;
  static ClapHost& Of(const clap_host_t* host) { return *static_cast<ClapHost*>(host->host_data); }

  clap_host_t record_{};
  Withheld withheld_;
  bool isActive_ = false;
  std::array<std::vector<float>, kDawInputs> inputs_;
  std::array<std::vector<float>, kDawOutputs> outputs_;
};

}  // namespace halveron::testing
