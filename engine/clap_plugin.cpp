#include "engine/clap_plugin.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <mutex>
#include <vector>

#include "engine/clap_host_extension.h"

namespace halveron {

namespace {

constexpr std::uint32_t kChannelsPerPort = 2;
constexpr auto kMostFrames = static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max());

/// Writes the channels of `count` stereo ports into `target`, null for each that is not there.
template <std::size_t Count>
void Gather(const clap_audio_buffer_t* ports, std::uint32_t count,
            std::array<float*, Count>& target) {
  for (std::uint32_t i = 0; i < Count; ++i) {
    const std::uint32_t port = i / kChannelsPerPort;
    const std::uint32_t channel = i % kChannelsPerPort;
    if (!ports || port >= count) continue;
    const clap_audio_buffer_t& buffer = ports[port];
    if (buffer.data32 && channel < buffer.channel_count) target[i] = buffer.data32[channel];
  }
}

template <class Call>
void ForEachEvent(const clap_input_events_t* events, Call&& call) {
  if (!events || !events->size || !events->get) return;
  const std::uint32_t count = events->size(events);
  for (std::uint32_t i = 0; i < count; ++i) {
    if (const clap_event_header_t* event = events->get(events, i)) call(*event);
  }
}

double Beats(clap_beattime time) {
  return static_cast<double>(time) / static_cast<double>(CLAP_BEATTIME_FACTOR);
}

double Seconds(clap_sectime time) {
  return static_cast<double>(time) / static_cast<double>(CLAP_SECTIME_FACTOR);
}

VstTimeInfo ToTimeInfo(const clap_event_transport_t& transport, double sampleRate) {
  const auto flagIf = [&](clap_transport_flags clapFlag, VstTimeInfoFlags flag) {
    return (transport.flags & clapFlag) != 0 ? static_cast<std::int32_t>(flag) : 0;
  };
  VstTimeInfo info{};
  info.samplePos = Seconds(transport.song_pos_seconds) * sampleRate;
  info.sampleRate = sampleRate;
  info.nanoSeconds = std::numeric_limits<double>::max();  // CLAP reports no system time
  info.ppqPos = Beats(transport.song_pos_beats);
  info.tempo = transport.tempo;
  info.barStartPos = Beats(transport.bar_start);
  info.cycleStartPos = Beats(transport.loop_start_beats);
  info.cycleEndPos = Beats(transport.loop_end_beats);
  info.timeSigNumerator = transport.tsig_num;
  info.timeSigDenominator = transport.tsig_denom;
  info.flags = flagIf(CLAP_TRANSPORT_IS_PLAYING, kVstTransportPlaying) |
               flagIf(CLAP_TRANSPORT_IS_RECORDING, kVstTransportRecording) |
               flagIf(CLAP_TRANSPORT_IS_LOOP_ACTIVE, kVstTransportCycleActive);
  return info;
}

/// Everything up to the stream's end. False if it fails or exceeds the largest state.
bool ReadAll(const clap_istream_t& stream, std::vector<std::byte>& bytes) {
  constexpr std::size_t kFirstBytes = 4096;
  constexpr std::size_t kMostBytes = std::size_t{256} << 20;
  bytes.resize(kFirstBytes);
  std::size_t size = 0;
  for (;;) {
    const std::int64_t taken = stream.read(&stream, bytes.data() + size, bytes.size() - size);
    if (taken < 0 || static_cast<std::uint64_t>(taken) > bytes.size() - size) return false;
    if (taken == 0) break;
    size += static_cast<std::size_t>(taken);
    if (size < bytes.size()) continue;
    if (size >= kMostBytes) return false;
    bytes.resize(size * 2);
  }
  bytes.resize(size);
  return true;
}

}  // namespace

ClapPluginInstance::ClapPluginInstance(const clap_plugin_descriptor_t& descriptor,
                                       const clap_host_t* host)
    : host_(host),
      engine_(nullptr, HostKind::kClap, UserFiles::kUse),
      input_(engine_, notes_),
      window_(host) {
  record.desc = &descriptor;
  record.plugin_data = this;
}

ClapPluginInstance::~ClapPluginInstance() {
  window_.Hide();
  window_.SetEditor(nullptr);
  engine_.AttachClapHost(nullptr);
  engine_.close();
}

bool ClapPluginInstance::Init() {
  hostLog_ = FindHostExtension<clap_host_log_t>(host_, CLAP_EXT_LOG);
  hostThreadCheck_ = FindHostExtension<clap_host_thread_check_t>(host_, CLAP_EXT_THREAD_CHECK);
  hostLatency_ = FindHostExtension<clap_host_latency_t>(host_, CLAP_EXT_LATENCY);
  hostParams_ = FindHostExtension<clap_host_params_t>(host_, CLAP_EXT_PARAMS);
  hostState_ = FindHostExtension<clap_host_state_t>(host_, CLAP_EXT_STATE);
  window_.FindServices();
  engine_.open();
  window_.SetEditor(engine_.getEditor());
  engine_.AttachClapHost(this);
  return true;
}

bool ClapPluginInstance::Activate(double sampleRate, std::uint32_t maxFrames) {
  const auto rate = static_cast<float>(sampleRate);
  if (!std::isfinite(rate) || rate <= 0.0f || maxFrames == 0 || maxFrames > kMostFrames) {
    Log(CLAP_LOG_ERROR, "Halveron cannot run at the sample rate or block size that was asked for");
    return false;
  }
  engine_.setSampleRate(rate);
  engine_.setBlockSize(static_cast<int>(maxFrames));
  return true;
}

void ClapPluginInstance::Reset() {
  const std::lock_guard lock(engine_.processingLock);
  notes_.Clear([this](const ActiveNote& note) { output_.NoteEnd(note); });
  input_.AllNotesOff();
}

ClapPluginInstance::Channels::Channels(const clap_process_t& block) {
  Gather(block.audio_inputs, block.audio_inputs_count, inputs);
  Gather(block.audio_outputs, block.audio_outputs_count, outputs);
}

void ClapPluginInstance::Channels::Advance(int frames) {
  const auto advance = [frames](auto& channels) {
    for (float*& channel : channels) {
      if (channel) channel += frames;
    }
  };
  advance(inputs);
  advance(outputs);
}

clap_process_status ClapPluginInstance::Process(const clap_process_t& block) {
  if (block.frames_count > kMostFrames) return CLAP_PROCESS_ERROR;
  const int frames = static_cast<int>(block.frames_count);
  processingThread_.store(std::this_thread::get_id(), std::memory_order_relaxed);
  {
    const std::lock_guard lock(engine_.processingLock);
    TakeTransport(block.transport);
    output_.Begin(block.out_events, frames);
    engine_.blockStartFrames = frames;
    Channels channels(block);
    if (engine_.Editor()->parameters.sampleAccurate) {
      RunCut(channels, frames, block.in_events);
    } else {
      TakeEvents(block.in_events);
      RunSlice(channels, frames);
    }
    input_.EndBlock();
    notes_.EndUnclaimed(frames, engine_.HostSampleRate(),
                        [this](const ActiveNote& note) { output_.NoteEnd(note); });
    output_.Drain(block.out_events);
  }
  if (block.audio_outputs) {
    std::for_each_n(block.audio_outputs, block.audio_outputs_count,
                    [](clap_audio_buffer_t& port) { port.constant_mask = 0; });
  }
  if (engine_.Editor()->plan.HaveTeamsBroken() &&
      !wantsRegrouping_.exchange(true, std::memory_order_relaxed)) {
    RequestMainThread();
  }
  processingThread_.store({}, std::memory_order_relaxed);
  return CLAP_PROCESS_CONTINUE;
}

void ClapPluginInstance::RunSlice(Channels& channels, int frames) {
  engine_.processHostBlock(channels.inputs.data(), channels.outputs.data(), frames);
}

// Events other than parameter changes keep their time within the whole block, by which the rack
// counts its samples.
void ClapPluginInstance::RunCut(Channels& channels, int frames, const clap_input_events_t* events) {
  int done = 0;
  const auto runUpTo = [&](int end) {
    if (end <= done) return;
    RunSlice(channels, end - done);
    engine_.blockStartFrames = 0;
    channels.Advance(end - done);
    done = end;
  };
  ForEachEvent(events, [&](const clap_event_header_t& event) {
    if (ClapEventInput::ChangesParameter(event)) {
      runUpTo(static_cast<int>(std::min(event.time, static_cast<std::uint32_t>(frames))));
    }
    input_.Take(event);
  });
  runUpTo(frames);
}

void ClapPluginInstance::TakeEvents(const clap_input_events_t* events) {
  ForEachEvent(events, [this](const clap_event_header_t& event) { input_.Take(event); });
}

void ClapPluginInstance::TakeTransport(const clap_event_transport_t* transport) {
  hasTransport_ = transport && transport->header.size >= sizeof(clap_event_transport_t);
  if (hasTransport_) timeInfo_ = ToTimeInfo(*transport, engine_.HostSampleRate());
}

void ClapPluginInstance::Flush(const clap_input_events_t* in, const clap_output_events_t* out) {
  const std::lock_guard lock(engine_.processingLock);
  TakeEvents(in);
  output_.Drain(out);
}

void ClapPluginInstance::OnMainThread() {
  wantsRegrouping_.store(false, std::memory_order_relaxed);
  engine_.fxIdle();
  window_.OnMainThread();
  if (!patchEdited_.exchange(false, std::memory_order_acquire)) return;
  if (hostState_ && hostState_->mark_dirty) hostState_->mark_dirty(host_);
  if (hostParams_ && hostParams_->rescan) hostParams_->rescan(host_, CLAP_PARAM_RESCAN_VALUES);
}

bool ClapPluginInstance::SaveState(const clap_ostream_t& stream) {
  void* data = nullptr;
  const int size = engine_.getChunk(&data, false);
  const auto* bytes = static_cast<const std::byte*>(data);
  auto left = static_cast<std::uint64_t>(std::max(size, 0));
  if (left == 0) {
    Log(CLAP_LOG_ERROR, "Halveron cannot put this rack into a state");
    return false;
  }
  while (left > 0) {
    const std::int64_t taken = stream.write(&stream, bytes, left);
    if (taken <= 0 || static_cast<std::uint64_t>(taken) > left) return false;
    bytes += taken;
    left -= static_cast<std::uint64_t>(taken);
  }
  return true;
}

bool ClapPluginInstance::LoadState(const clap_istream_t& stream) {
  std::vector<std::byte> bytes;
  if (!ReadAll(stream, bytes)) {
    Log(CLAP_LOG_ERROR, "Halveron could not read its state from the host");
    return false;
  }
  isLoadingState_ = true;
  const bool loaded = engine_.setChunk(bytes.data(), static_cast<int>(bytes.size()), false) == 1;
  isLoadingState_ = false;
  {
    const std::lock_guard lock(engine_.processingLock);
    input_.ForgetModulation();
  }
  const bool lacksModules = !loaded && engine_.Editor() && engine_.Editor()->HasPlaceholders();
  if (lacksModules) {
    Log(CLAP_LOG_ERROR, "Halveron lacks modules of a state and keeps placeholders for them");
  } else if (!loaded) {
    Log(CLAP_LOG_ERROR, "Halveron refused a state that does not hold together");
  }
  if ((loaded || lacksModules) && hostParams_ && hostParams_->rescan) {
    hostParams_->rescan(host_, CLAP_PARAM_RESCAN_VALUES);
  }
  return loaded;
}

bool ClapPluginInstance::SendEvents(const VstEvents& events) {
  output_.Send(events);
  return true;
}

void ClapPluginInstance::BindNoteSlotToVoice(int voice, int noteSlot) {
  output_.NoteEnd(notes_.Bind(voice, noteSlot));
  if (voice >= 0 && voice < kMaxVoices) input_.StartNote(voice);
}

bool ClapPluginInstance::ReleaseVoiceNote(int voice, int noteSlot) {
  const NoteTracker::Released released = notes_.Release(voice, noteSlot, engine_.voiceCount);
  output_.NoteEnd(released.note);
  return released.known;
}

void ClapPluginInstance::QueueParamValue(int index, float value) {
  output_.QueueParamValue(index, value);
  // A block in progress sends it; otherwise the host may not be processing.
  if (processingThread_.load(std::memory_order_relaxed) == std::this_thread::get_id()) return;
  if (hostParams_ && hostParams_->request_flush) hostParams_->request_flush(host_);
}

void ClapPluginInstance::QueueParamGesture(int index, bool begins) {
  output_.QueueParamGesture(index, begins);
  if (hostParams_ && hostParams_->request_flush) hostParams_->request_flush(host_);
}

void ClapPluginInstance::PatchEdited() {
  if (isLoadingState_ || patchEdited_.exchange(true, std::memory_order_release)) return;
  RequestMainThread();
}

void ClapPluginInstance::RequestMainThread() const {
  if (host_ && host_->request_callback) host_->request_callback(host_);
}

void ClapPluginInstance::Log(clap_log_severity severity, const char* message) const {
  if (hostLog_ && hostLog_->log) hostLog_->log(host_, severity, message);
}

}  // namespace halveron
