// One CLAP instance: an engine, and the calls of a CLAP host turned into those of a VST2 host.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <thread>

#include "engine/clap_abi.h"
#include "engine/clap_event_input.h"
#include "engine/clap_event_output.h"
#include "engine/clap_host_services.h"
#include "engine/clap_window.h"
#include "engine/halveron.h"
#include "engine/note_tracker.h"

namespace halveron {

/// Implements the calls of a CLAP host through `record`. Operations are named as in the published
/// interface, which also defines on which thread each is called. Any host extension may be missing.
class ClapPluginInstance final : public ClapHostServices {
 public:
  ClapPluginInstance(const clap_plugin_descriptor_t& descriptor, const clap_host_t* host);
  ~ClapPluginInstance() override;
  ClapPluginInstance(const ClapPluginInstance&) = delete;
  ClapPluginInstance& operator=(const ClapPluginInstance&) = delete;

  static ClapPluginInstance& Of(const clap_plugin_t* record) {
    return *static_cast<ClapPluginInstance*>(record->plugin_data);
  }

  Halveron& Engine() { return engine_; }
  ClapWindow& Window() { return window_; }
  std::uint32_t LatencyFrames() const { return kLatencyFrames; }

  /// The record that the host holds. The code that makes an instance fills in the calls.
  clap_plugin_t record{};

  bool Init();
  bool Activate(double sampleRate, std::uint32_t maxFrames);
  void Reset();
  clap_process_status Process(const clap_process_t& block);
  void OnMainThread();

  /// Parameter changes and other events outside of a block.
  void Flush(const clap_input_events_t* in, const clap_output_events_t* out);

  bool SaveState(const clap_ostream_t& stream);
  /// False, with the rack as it was, if the stream fails or its state is refused.
  bool LoadState(const clap_istream_t& stream);

  const VstTimeInfo* TimeInfo() const override { return hasTransport_ ? &timeInfo_ : nullptr; }
  bool SendEvents(const VstEvents& events) override;
  void BindNoteSlotToVoice(int voice, int noteSlot) override;
  bool ReleaseVoiceNote(int voice, int noteSlot) override;
  void QueueParamValue(int index, float value) override;
  void QueueParamGesture(int index, bool begins) override;
  void PatchEdited() override;
  bool ResizeEditor(int width, int height) override { return window_.RequestResize(width, height); }

 private:
  static constexpr std::uint32_t kLatencyFrames = 0;

  /// Channels of a block, in the order in which the engine counts them; null where the host has
  /// none.
  struct Channels {
    std::array<float*, kDawInputs> inputs{};
    std::array<float*, kDawOutputs> outputs{};

    explicit Channels(const clap_process_t& block);
    void Advance(int frames);
  };

  void TakeTransport(const clap_event_transport_t* transport);
  void TakeEvents(const clap_input_events_t* events);
  void RequestMainThread() const;
  void RunSlice(Channels& channels, int frames);
  void RunCut(Channels& channels, int frames, const clap_input_events_t* events);
  void Log(clap_log_severity severity, const char* message) const;

  const clap_host_t* host_;
  const clap_host_log_t* hostLog_ = nullptr;
  const clap_host_thread_check_t* hostThreadCheck_ = nullptr;
  const clap_host_latency_t* hostLatency_ = nullptr;
  const clap_host_params_t* hostParams_ = nullptr;
  const clap_host_state_t* hostState_ = nullptr;

  Halveron engine_;
  NoteTracker notes_;
  ClapEventInput input_;
  ClapEventOutput output_;
  ClapWindow window_;

  VstTimeInfo timeInfo_{};
  bool hasTransport_ = false;
  std::atomic<std::thread::id> processingThread_{};  // while in Process
  std::atomic<bool> wantsRegrouping_ = false;        // has asked for the main thread
  std::atomic<bool> patchEdited_ = false;            // and the host is not notified yet
  std::atomic<bool> isLoadingState_ = false;
};

}  // namespace halveron
