// The CLAP binary interface: the published headers, and extensions that they lack, in the same
// form.
#pragma once

#include <clap/entry.h>
#include <clap/events.h>
#include <clap/ext/audio-ports.h>
#include <clap/ext/gui.h>
#include <clap/ext/latency.h>
#include <clap/ext/note-ports.h>
#include <clap/ext/params.h>
#include <clap/ext/state.h>
#include <clap/ext/thread-check.h>
#include <clap/ext/timer-support.h>
#include <clap/fixedpoint.h>
#include <clap/plugin-factory.h>
#include <clap/plugin.h>
#include <clap/stream.h>

#include <cstdint>

namespace halveron {

/// Version of the interface that Halveron implements, independent of that of the headers.
inline constexpr clap_version_t kClapVersion = {1, 0, 3};

}  // namespace halveron

// How many voices sound, and whether notes of one key may overlap.

inline constexpr char CLAP_EXT_VOICE_INFO[] = "clap.voice-info";
inline constexpr char CLAP_EXT_VOICE_INFO_DRAFT[] = "clap.voice-info.draft/0";

enum { CLAP_VOICE_INFO_SUPPORTS_OVERLAPPING_NOTES = 1 << 0 };

struct clap_voice_info_t {
  std::uint32_t voice_count;
  std::uint32_t voice_capacity;
  std::uint64_t flags;
};

struct clap_plugin_voice_info_t {
  bool (*get)(const clap_plugin_t* plugin, clap_voice_info_t* info);
};

// Events of a file descriptor, on the main thread.

inline constexpr char CLAP_EXT_POSIX_FD_SUPPORT[] = "clap.posix-fd-support";

enum { CLAP_POSIX_FD_READ = 1 << 0, CLAP_POSIX_FD_WRITE = 1 << 1, CLAP_POSIX_FD_ERROR = 1 << 2 };
using clap_posix_fd_flags_t = std::uint32_t;

struct clap_plugin_posix_fd_support_t {
  void (*on_fd)(const clap_plugin_t* plugin, int fd, clap_posix_fd_flags_t flags);
};

struct clap_host_posix_fd_support_t {
  bool (*register_fd)(const clap_host_t* host, int fd, clap_posix_fd_flags_t flags);
  bool (*modify_fd)(const clap_host_t* host, int fd, clap_posix_fd_flags_t flags);
  bool (*unregister_fd)(const clap_host_t* host, int fd);
};

// Messages for the host's log. Any thread.

inline constexpr char CLAP_EXT_LOG[] = "clap.log";

enum { CLAP_LOG_DEBUG, CLAP_LOG_INFO, CLAP_LOG_WARNING, CLAP_LOG_ERROR, CLAP_LOG_FATAL };
using clap_log_severity = std::int32_t;

struct clap_host_log_t {
  void (*log)(const clap_host_t* host, clap_log_severity severity, const char* message);
};

// Events are passed by pointer between code of different compilers.

static_assert(sizeof(clap_event_header_t) == 16);
static_assert(sizeof(clap_event_note_t) == 40);
static_assert(sizeof(clap_event_midi_t) == 24);
static_assert(sizeof(clap_event_midi_sysex_t) == 40);
static_assert(sizeof(clap_event_param_value_t) == 56);
static_assert(sizeof(clap_event_transport_t) == 104);
