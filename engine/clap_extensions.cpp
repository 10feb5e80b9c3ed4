#include "engine/clap_extensions.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <system_error>

#include "engine/clap_plugin.h"
#include "engine/guarded_call.h"

namespace halveron {

namespace {

constexpr std::uint32_t kChannelsPerPort = 2;
constexpr std::uint32_t kInputPorts = kDawInputs / kChannelsPerPort;
constexpr std::uint32_t kOutputPorts = kDawOutputs / kChannelsPerPort;

ClapPluginInstance& Of(const clap_plugin_t* plugin) { return ClapPluginInstance::Of(plugin); }

const clap_plugin_latency_t kLatency = {
    [](const clap_plugin_t* plugin) { return Of(plugin).LatencyFrames(); }};

const clap_plugin_audio_ports_t kAudioPorts = {
    [](const clap_plugin_t*, bool isInput) { return isInput ? kInputPorts : kOutputPorts; },
    [](const clap_plugin_t*, std::uint32_t index, bool isInput, clap_audio_port_info_t* info) {
      if (!info || index >= (isInput ? kInputPorts : kOutputPorts)) return false;
      const char* direction = isInput ? "In" : "Out";
      *info = {};
      info->id = index;
      if (index == 0) {
        std::snprintf(info->name, sizeof info->name, "%s L/R", direction);
      } else {
        const unsigned first = index * kChannelsPerPort + 1;
        std::snprintf(info->name, sizeof info->name, "%s %u/%u", direction, first, first + 1);
      }
      info->flags = index == 0 ? CLAP_AUDIO_PORT_IS_MAIN : 0;
      info->channel_count = kChannelsPerPort;
      info->port_type = CLAP_PORT_STEREO;
      info->in_place_pair = CLAP_INVALID_ID;
      return true;
    }};

const clap_plugin_note_ports_t kNotePorts = {
    [](const clap_plugin_t*, bool) { return std::uint32_t{1}; },
    [](const clap_plugin_t*, std::uint32_t index, bool, clap_note_port_info_t* info) {
      if (!info || index != 0) return false;
      *info = {};
      info->supported_dialects =
          CLAP_NOTE_DIALECT_CLAP | CLAP_NOTE_DIALECT_MIDI | CLAP_NOTE_DIALECT_MIDI_MPE;
      info->preferred_dialect = CLAP_NOTE_DIALECT_MIDI;
      std::snprintf(info->name, sizeof info->name, "Port 0");
      return true;
    }};

bool DescribeParameter(const clap_plugin_t* plugin, std::uint32_t index, clap_param_info_t* info) {
  if (!info || index >= kParameterCount) return false;
  *info = {};
  info->id = index;
  info->flags = CLAP_PARAM_IS_AUTOMATABLE | CLAP_PARAM_IS_MODULATABLE |
                CLAP_PARAM_IS_MODULATABLE_PER_NOTE_ID | CLAP_PARAM_IS_MODULATABLE_PER_KEY |
                CLAP_PARAM_IS_MODULATABLE_PER_CHANNEL | CLAP_PARAM_IS_MODULATABLE_PER_PORT;
  Of(plugin).Engine().getParameterName(static_cast<int>(index), info->name);
  info->max_value = 1.0;
  return true;
}

// Neither printf nor strtod: the host process may have set a locale with decimal commas, and hosts
// store these texts.

bool ValueToText(double value, char* text, std::uint32_t size) {
  constexpr int kDecimals = 3;
  if (!text || size == 0 || !std::isfinite(value)) return false;
  const auto [end, error] =
      std::to_chars(text, text + size - 1, value, std::chars_format::fixed, kDecimals);
  *(error == std::errc{} ? end : text) = '\0';
  return error == std::errc{};
}

bool TextToValue(const char* text, double* value) {
  if (!text || !value) return false;
  std::string_view number = text;
  number.remove_prefix(std::min(number.find_first_not_of(" \t+"), number.size()));
  double parsed = 0.0;
  const auto result = std::from_chars(number.data(), number.data() + number.size(), parsed);
  if (result.ec != std::errc{} || !std::isfinite(parsed)) return false;
  *value = std::clamp(parsed, 0.0, 1.0);
  return true;
}

const clap_plugin_params_t kParams = {
    [](const clap_plugin_t*) { return std::uint32_t{kParameterCount}; },
    DescribeParameter,
    [](const clap_plugin_t* plugin, clap_id id, double* value) {
      if (!value || id >= kParameterCount) return false;
      *value = double{Of(plugin).Engine().getParameter(static_cast<int>(id))};
      return true;
    },
    [](const clap_plugin_t*, clap_id id, double value, char* text, std::uint32_t size) {
      return id < kParameterCount && ValueToText(value, text, size);
    },
    [](const clap_plugin_t*, clap_id id, const char* text, double* value) {
      return id < kParameterCount && TextToValue(text, value);
    },
    [](const clap_plugin_t* plugin, const clap_input_events_t* in,
       const clap_output_events_t* out) { GuardedCall([&] { Of(plugin).Flush(in, out); }); }};

const clap_plugin_state_t kState = {
    [](const clap_plugin_t* plugin, const clap_ostream_t* stream) {
      if (!stream || !stream->write) return false;
      return GuardedAnswer(false, [&] { return Of(plugin).SaveState(*stream); });
    },
    [](const clap_plugin_t* plugin, const clap_istream_t* stream) {
      if (!stream || !stream->read) return false;
      return GuardedAnswer(false, [&] { return Of(plugin).LoadState(*stream); });
    }};

const clap_plugin_voice_info_t kVoiceInfo = {[](const clap_plugin_t*, clap_voice_info_t* info) {
  if (!info) return false;
  *info = {kMaxVoices, kMaxVoices, CLAP_VOICE_INFO_SUPPORTS_OVERLAPPING_NOTES};
  return true;
}};

bool IsX11(const char* api) { return api && std::strcmp(api, CLAP_WINDOW_API_X11) == 0; }

const clap_plugin_gui_t kGui = {
    // Without an editor there is nothing to show.
    [](const clap_plugin_t* plugin, const char* api, bool isFloating) {
      return IsX11(api) && !isFloating && Of(plugin).Window().HasEditor();
    },
    [](const clap_plugin_t*, const char**, bool*) { return false; },     // get_preferred_api
    [](const clap_plugin_t* plugin, const char* api, bool isFloating) {  // create
      return IsX11(api) && !isFloating && Of(plugin).Window().HasEditor();
    },
    [](const clap_plugin_t* plugin) { GuardedCall([&] { Of(plugin).Window().Hide(); }); },
    [](const clap_plugin_t* plugin, double scale) {  // set_scale
      return GuardedAnswer(false, [&] { return Of(plugin).Window().SetScale(scale); });
    },
    [](const clap_plugin_t* plugin, std::uint32_t* width, std::uint32_t* height) {
      if (!width || !height) return false;
      return GuardedAnswer(false, [&] { return Of(plugin).Window().GetSize(width, height); });
    },
    [](const clap_plugin_t* plugin) {  // can_resize
      return GuardedAnswer(false, [&] { return Of(plugin).Window().CanResize(); });
    },
    [](const clap_plugin_t* plugin, clap_gui_resize_hints_t* hints) {
      if (!hints || !Of(plugin).Window().CanResize()) return false;
      *hints = {};
      hints->can_resize_horizontally = true;
      hints->can_resize_vertically = true;
      return true;
    },
    [](const clap_plugin_t* plugin, std::uint32_t* width, std::uint32_t* height) {  // adjust_size
      if (!width || !height) return false;
      return GuardedAnswer(false, [&] { return Of(plugin).Window().AdjustSize(width, height); });
    },
    [](const clap_plugin_t* plugin, std::uint32_t width, std::uint32_t height) {  // set_size
      return GuardedAnswer(false, [&] { return Of(plugin).Window().SetSize(width, height); });
    },
    [](const clap_plugin_t* plugin, const clap_window_t* window) {
      if (!window || !IsX11(window->api)) return false;
      return GuardedAnswer(false, [&] { return Of(plugin).Window().SetParent(window->x11); });
    },
    [](const clap_plugin_t*, const clap_window_t*) { return false; },  // set_transient
    [](const clap_plugin_t*, const char*) {},                          // suggest_title
    [](const clap_plugin_t* plugin) {
      return GuardedAnswer(false, [&] { return Of(plugin).Window().Show(); });
    },
    [](const clap_plugin_t* plugin) { return GuardedCall([&] { Of(plugin).Window().Hide(); }); }};

const clap_plugin_timer_support_t kTimerSupport = {[](const clap_plugin_t* plugin, clap_id timer) {
  GuardedCall([&] { Of(plugin).Window().OnTimer(timer); });
}};

const clap_plugin_posix_fd_support_t kPosixFdSupport = {
    [](const clap_plugin_t* plugin, int, clap_posix_fd_flags_t) {
      GuardedCall([&] { Of(plugin).Window().OnDescriptor(); });
    }};

struct Offer {
  const char* id;
  const void* record;
};

const Offer kOffers[] = {
    {CLAP_EXT_LATENCY, &kLatency},
    {CLAP_EXT_AUDIO_PORTS, &kAudioPorts},
    {CLAP_EXT_NOTE_PORTS, &kNotePorts},
    {CLAP_EXT_GUI, &kGui},
    {CLAP_EXT_PARAMS, &kParams},
    {CLAP_EXT_STATE, &kState},
    {CLAP_EXT_VOICE_INFO, &kVoiceInfo},
    {CLAP_EXT_VOICE_INFO_DRAFT, &kVoiceInfo},
    {CLAP_EXT_TIMER_SUPPORT, &kTimerSupport},
    {CLAP_EXT_POSIX_FD_SUPPORT, &kPosixFdSupport},
};

}  // namespace

const void* FindClapExtension(const char* id) {
  if (!id) return nullptr;
  for (const Offer& offer : kOffers) {
    if (std::strcmp(offer.id, id) == 0) return offer.record;
  }
  return nullptr;
}

}  // namespace halveron
