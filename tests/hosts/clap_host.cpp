#include "tests/hosts/clap_host.h"

#include <algorithm>
#include <stdexcept>

namespace halveron::testing {

namespace {

template <class Event>
Event Make(int type, std::uint32_t time) {
  Event event{};
  event.header = {sizeof(Event), time, CLAP_CORE_EVENT_SPACE_ID, static_cast<std::uint16_t>(type),
                  0};
  return event;
}

template <class Event>
void Aim(Event& event, int noteId, int port, int channel, int key) {
  event.note_id = noteId;
  event.port_index = static_cast<std::int16_t>(port);
  event.channel = static_cast<std::int16_t>(channel);
  event.key = static_cast<std::int16_t>(key);
}

struct EventList {
  explicit EventList(const std::vector<ClapEvent>& list) : events(&list) {}

  const std::vector<ClapEvent>* events;
  clap_input_events_t record{
      this,
      [](const clap_input_events_t* list) {
        return static_cast<std::uint32_t>(static_cast<EventList*>(list->ctx)->events->size());
      },
      [](const clap_input_events_t* list, std::uint32_t index) {
        return &(*static_cast<EventList*>(list->ctx)->events)[index].Header();
      }};
};

bool Take(const clap_output_events_t* list, const clap_event_header_t* event) {
  auto& host = *static_cast<ClapHost*>(list->ctx);
  if (event->type < host.pushed.size()) ++host.pushed[event->type];
  if (!host.keepsEvents) return true;
  host.taken.emplace_back(event);
  if (event->type == CLAP_EVENT_MIDI_SYSEX) {
    const auto* dump = reinterpret_cast<const clap_event_midi_sysex_t*>(event);
    host.takenDumps.emplace_back(dump->buffer, dump->buffer + dump->size);
  }
  return true;
}

struct Bytes {
  std::vector<std::byte> bytes;
  std::size_t position = 0;
  std::size_t mostAtOnce;
};

}  // namespace

ClapEvent ClapEvent::Note(int type, std::uint32_t time, int key, int noteId, int channel,
                          double velocity) {
  auto event = Make<clap_event_note_t>(type, time);
  Aim(event, noteId, 0, channel, key);
  event.velocity = velocity;
  return ClapEvent(event);
}

ClapEvent ClapEvent::Expression(std::uint32_t time, int expression, double value, int noteId,
                                int port, int channel, int key) {
  auto event = Make<clap_event_note_expression_t>(CLAP_EVENT_NOTE_EXPRESSION, time);
  Aim(event, noteId, port, channel, key);
  event.expression_id = expression;
  event.value = value;
  return ClapEvent(event);
}

ClapEvent ClapEvent::ParamValue(std::uint32_t time, clap_id id, double value) {
  auto event = Make<clap_event_param_value_t>(CLAP_EVENT_PARAM_VALUE, time);
  Aim(event, -1, -1, -1, -1);
  event.param_id = id;
  event.value = value;
  return ClapEvent(event);
}

ClapEvent ClapEvent::ParamMod(std::uint32_t time, clap_id id, double amount, int noteId, int port,
                              int channel, int key) {
  auto event = Make<clap_event_param_mod_t>(CLAP_EVENT_PARAM_MOD, time);
  Aim(event, noteId, port, channel, key);
  event.param_id = id;
  event.amount = amount;
  return ClapEvent(event);
}

ClapEvent ClapEvent::Midi(std::uint32_t time, int status, int data1, int data2) {
  auto event = Make<clap_event_midi_t>(CLAP_EVENT_MIDI, time);
  event.data[0] = static_cast<std::uint8_t>(status);
  event.data[1] = static_cast<std::uint8_t>(data1);
  event.data[2] = static_cast<std::uint8_t>(data2);
  return ClapEvent(event);
}

ClapEvent ClapEvent::SysEx(std::uint32_t time, const std::vector<std::uint8_t>& bytes) {
  auto event = Make<clap_event_midi_sysex_t>(CLAP_EVENT_MIDI_SYSEX, time);
  event.buffer = bytes.data();
  event.size = static_cast<std::uint32_t>(bytes.size());
  return ClapEvent(event);
}

ClapHost::ClapHost(const void* factory, Withheld withheld) : withheld_(std::move(withheld)) {
  const auto* plugins = static_cast<const clap_plugin_factory_t*>(factory);
  record_ = {{1, 0, 3},
             this,
             "Test host",
             "Calderine",
             "",
             "1",
             [](const clap_host_t* host, const char* id) { return Of(host).Extension(id); },
             [](const clap_host_t*) {},
             [](const clap_host_t*) {},
             [](const clap_host_t* host) { ++Of(host).callbacks; }};
  const clap_plugin_descriptor_t* descriptor = plugins->get_plugin_descriptor(plugins, 0);
  plugin = plugins->create_plugin(plugins, &record_, descriptor->id);
  if (!plugin || !plugin->init(plugin)) throw std::runtime_error("the plug-in cannot be made");
}

ClapHost::~ClapHost() {
  if (isActive_) Deactivate();
  plugin->destroy(plugin);
}

const void* ClapHost::Extension(const char* id) const {
  static const clap_host_params_t kParams = {
      [](const clap_host_t* host, clap_param_rescan_flags flags) {
        if (flags == CLAP_PARAM_RESCAN_VALUES) ++Of(host).valueRescans;
      },
      [](const clap_host_t*, clap_id, clap_param_clear_flags) {},
      [](const clap_host_t* host) { ++Of(host).flushRequests; }};
  static const clap_host_state_t kState = {[](const clap_host_t* host) { ++Of(host).dirtyMarks; }};
  static const clap_host_log_t kLog = {[](const clap_host_t* host, clap_log_severity,
                                          const char* text) { Of(host).log.emplace_back(text); }};
  static const clap_host_timer_support_t kTimer = {
      [](const clap_host_t* host, std::uint32_t, clap_id* id) {
        Of(host).timers.push_back(*id = 7);
        return true;
      },
      [](const clap_host_t* host, clap_id id) { return std::erase(Of(host).timers, id) == 1; }};
  static const clap_host_posix_fd_support_t kDescriptor = {
      [](const clap_host_t* host, int fd, clap_posix_fd_flags_t) {
        Of(host).descriptors.push_back(fd);
        return true;
      },
      [](const clap_host_t*, int, clap_posix_fd_flags_t) { return true; },
      [](const clap_host_t* host, int fd) { return std::erase(Of(host).descriptors, fd) == 1; }};
  if (withheld_.count("*") != 0 || withheld_.count(id) != 0) return nullptr;
  const std::string name = id;
  if (name == CLAP_EXT_PARAMS) return &kParams;
  if (name == CLAP_EXT_STATE) return &kState;
  if (name == CLAP_EXT_LOG) return &kLog;
  if (name == CLAP_EXT_TIMER_SUPPORT) return &kTimer;
  if (name == CLAP_EXT_POSIX_FD_SUPPORT) return &kDescriptor;
  return nullptr;
}

void ClapHost::Activate(double rate, std::uint32_t maxFrames) {
  if (isActive_) Deactivate();
  isActive_ = plugin->activate(plugin, rate, 1, maxFrames);
  if (!isActive_) return;
  for (auto& channel : inputs_) channel.assign(maxFrames, 0.0f);
  for (auto& channel : outputs_) channel.assign(maxFrames, 0.0f);
  plugin->start_processing(plugin);
}

void ClapHost::Deactivate() {
  plugin->stop_processing(plugin);
  plugin->deactivate(plugin);
  isActive_ = false;
}

clap_process_status ClapHost::Process(std::uint32_t frames, const std::vector<ClapEvent>& events) {
  float* inputChannels[kDawInputs];
  float* outputChannels[kDawOutputs];
  for (std::size_t i = 0; i < kDawOutputs; ++i) outputChannels[i] = outputs_[i].data();
  for (std::size_t i = 0; i < kDawInputs; ++i) {
    inputChannels[i] = inputs_[i].data();
    if (inPlace) std::copy_n(inputs_[i].begin(), frames, outputs_[i].begin());
    if (inPlace) inputChannels[i] = outputChannels[i];
  }
  clap_audio_buffer_t inputs[kDawInputs / 2]{};
  clap_audio_buffer_t outputs[kDawOutputs / 2]{};
  for (std::uint32_t i = 0; i < inputPorts; ++i) inputs[i] = {inputChannels + 2 * i, {}, 2, 0, 0};
  for (std::uint32_t i = 0; i < outputPorts; ++i) {
    outputs[i] = {outputChannels + 2 * i, {}, 2, 0, 0};
  }
  EventList list(events);
  const clap_output_events_t out{this, Take};
  clap_process_t block{};
  block.steady_time = -1;
  block.frames_count = frames;
  block.transport = transport;
  block.audio_inputs = inputs;
  block.audio_outputs = outputs;
  block.audio_inputs_count = inputPorts;
  block.audio_outputs_count = outputPorts;
  block.in_events = &list.record;
  block.out_events = offersOutEvents ? &out : nullptr;
  return plugin->process(plugin, &block);
}

void ClapHost::Flush(const std::vector<ClapEvent>& events) {
  EventList list(events);
  const clap_output_events_t out{this, Take};
  Ask<clap_plugin_params_t>(CLAP_EXT_PARAMS)->flush(plugin, &list.record, &out);
}

std::vector<std::byte> ClapHost::Save(std::size_t mostPerWrite) {
  Bytes target{{}, 0, mostPerWrite};
  const clap_ostream_t stream{
      &target, [](const clap_ostream_t* self, const void* buffer, std::uint64_t size) {
        auto& to = *static_cast<Bytes*>(self->ctx);
        const std::size_t taken = std::min<std::size_t>(size, to.mostAtOnce);
        const auto* first = static_cast<const std::byte*>(buffer);
        to.bytes.insert(to.bytes.end(), first, first + taken);
        return static_cast<std::int64_t>(taken);
      }};
  const auto* state = Ask<clap_plugin_state_t>(CLAP_EXT_STATE);
  if (!state->save(plugin, &stream)) target.bytes.clear();
  return target.bytes;
}

bool ClapHost::Load(const std::vector<std::byte>& state, std::size_t mostPerRead) {
  Bytes source{state, 0, mostPerRead};
  const clap_istream_t stream{
      &source, [](const clap_istream_t* self, void* buffer, std::uint64_t size) {
        auto& from = *static_cast<Bytes*>(self->ctx);
        const std::size_t left = from.bytes.size() - from.position;
        const std::size_t given = std::min({std::size_t{size}, left, from.mostAtOnce});
        if (given > 0) std::memcpy(buffer, from.bytes.data() + from.position, given);
        from.position += given;
        return static_cast<std::int64_t>(given);
      }};
  return Ask<clap_plugin_state_t>(CLAP_EXT_STATE)->load(plugin, &stream);
}

}  // namespace halveron::testing
