/* The interface between Halveron and libraries of modules. Plain C; see docs/sdk.md.
 *
 * A library exports DllInitialize and GetDllModule. It describes each module by a HalveronModule:
 * what stands on the panel, and the functions of an instance. One instance exists per voice of a
 * polyphonic module, one in all of a mono one.
 *
 * Every table that crosses the boundary begins with its size in bytes. Whoever reads a table reads
 * no field beyond that size: what a library built for an earlier interface lacks counts as zero.
 * Fields are only ever added at the end.
 *
 * No C++ type, exception or allocation crosses the boundary. What the library hands over stays the
 * library's, what Halveron hands over stays Halveron's. Texts are UTF-8.
 *
 * Threads. On the audio thread run process_sample, block_start, midi_events, and load_voices,
 * run_voices and store_voices: they must not allocate, lock, wait or call the system. draw, mouse,
 * wheel and mouse_moved run on the window thread, while the audio thread may be running. All other
 * functions run on the window thread or a thread of the host's; value_changed also runs on the
 * audio thread, when the host automates a control. While anything but draw, mouse, wheel,
 * mouse_moved, is_display_fresh and value_changed runs, the module does not process: no lock is
 * needed. */
#ifndef HALVERON_MODULE_H
#define HALVERON_MODULE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Of this header. A module that requires a later one than its host has is not made. */
#define HALVERON_INTERFACE_VERSION 200

#define HALVERON_EXPORT __attribute__((visibility("default")))

/* Panel units: a row is 291 high, a column 12 wide. Places are from the panel's top left corner. */
#define HALVERON_PANEL_HEIGHT 291
#define HALVERON_COLUMN_WIDTH 12

/* What a module has. */

/* Kinds of controls. Values are 0 to 1 where nothing else is said. */
enum {
  HALVERON_KNOB = 0,         /* look; smoothed by the module, see HalveronKnob */
  HALVERON_STEPPED_KNOB = 1, /* steps 5, 7, 11 or 13 */
  HALVERON_SWITCH = 2,       /* steps 2 or 3, the lowest position is 0 */
  HALVERON_PUSH_BUTTON = 3,  /* look; 1 from the press to the release */
  HALVERON_TOGGLE = 4,       /* on at 1, off at 0 */
  HALVERON_SLIDER = 5,       /* width and height; the longer one is its direction */
  HALVERON_MENU = 6,         /* entries; width and height; the value is the number of an entry */
  HALVERON_DIGITS = 7        /* steps places; shows a whole number from least to most */
};

/* Looks of knobs and push buttons. */
enum {
  HALVERON_SMALL = 0,
  HALVERON_BIG = 1,
  HALVERON_GRAY = 2,
  HALVERON_BLACK = 3,
  HALVERON_RED = 4,
  HALVERON_WHITE = 5 /* push buttons only, as gray, small and big are for knobs only */
};

/* Flags of a control. */
enum {
  HALVERON_NO_PARAMETER = 1 /* the host cannot automate it, as it never can menus and digits */
};

typedef struct HalveronControl {
  const char* role; /* its name, unique among controls, lamps and displays; patches refer to it */
  const char* caption; /* shorter text for the panel; null takes the role */
  int32_t kind;
  int32_t look;
  int32_t steps;
  uint32_t flags;
  float least; /* range; 0 and 1 but for digits, 0 and the last entry's number for menus */
  float most;
  float initial; /* default */
  float x;       /* place of its centre */
  float y;
  float width; /* of kinds that have no size of their own */
  float height;
  uint32_t entry_count; /* of a menu */
  const char* const* entries;
} HalveronControl;

/* Directions of a patch point. */
enum {
  HALVERON_INPUT = 0,
  HALVERON_OUTPUT = 1,
  HALVERON_EITHER = 2 /* the first cable decides */
};

typedef struct HalveronPoint {
  const char*
      role; /* unique among inputs and among outputs; a point that goes either way is both */
  const char* caption;
  int32_t direction;
  int32_t is_midi; /* carries words of MIDI instead of a signal, and joins only such points */
  float x;
  float y;
} HalveronPoint;

enum { HALVERON_RED_LAMP = 0, HALVERON_BLUE_LAMP = 1 };

typedef struct HalveronLamp {
  const char* role;
  const char* caption;
  int32_t look;
  float x;
  float y;
} HalveronLamp;

/* An area on which the module draws and that gets the mouse. Its value is not saved. */
typedef struct HalveronDisplay {
  const char* role;
  float x; /* centre */
  float y;
  float width;
  float height;
} HalveronDisplay;

/* What an instance reads and writes for each sample. */

/* A patch point of an instance. The signal's place may change between two samples, so read it
 * through this. An input's signal is what its cables bring, an output's is what the module writes;
 * a point that goes either way has signal[0] to read and signal[1] to write. 1.0 stands for 10 V.
 */
typedef struct HalveronJack {
  float* signal;
  uint8_t is_cabled;
} HalveronJack;

/* A knob of an instance. The module moves smoothed_value towards value (a stepped knob's towards
 * stepped_target) once for each sample in which it needs it, by smooth_step of the distance, and
 * sets it when it is nearer than 0.001. A loaded patch sets both at once. */
typedef struct HalveronKnob {
  double smoothed_value;
  float value;
  float stepped_target;
  float smooth_step;
} HalveronKnob;

/* Where an instance finds its panel. Stays where it is until the instance is destroyed. */
typedef struct HalveronPanel {
  uint32_t size;
  const HalveronJack* jacks;  /* by patch point */
  HalveronKnob* const* knobs; /* by control; null for one that is no knob */
  float* lamps;               /* by lamp: brightness, 0 to 1 */
} HalveronPanel;

/* Events and drawing. */

/* A MIDI message: a status byte and its data, or a system exclusive dump from 0xF0 to 0xF7. The
 * bytes are valid during the call only. */
typedef struct HalveronMidiEvent {
  int32_t frame; /* sample of the block */
  uint32_t byte_count;
  const uint8_t* bytes;
  int32_t note_slot; /* for BindNoteSlotToVoice; 0 for none */
} HalveronMidiEvent;

enum {
  HALVERON_PLAYING = 1,
  HALVERON_RECORDING = 2,
  HALVERON_QUARTERS_VALID = 4,
  HALVERON_TEMPO_VALID = 8,
  HALVERON_BARS_VALID = 16,
  HALVERON_SIGNATURE_VALID = 32
};

/* Set size before the call that fills it. */
typedef struct HalveronTransport {
  uint32_t size;
  uint32_t flags;
  double sample_position;
  double quarters;  /* since the start of the song */
  double tempo;     /* quarters a minute */
  double bar_start; /* quarters */
  int32_t numerator;
  int32_t denominator;
} HalveronTransport;

/* Mouse buttons and keys, added up. */
enum {
  HALVERON_LEFT_BUTTON = 2,
  HALVERON_MIDDLE_BUTTON = 4,
  HALVERON_RIGHT_BUTTON = 8,
  HALVERON_SHIFT = 16,
  HALVERON_CONTROL = 32,
  HALVERON_ALT = 64,
  HALVERON_DOUBLE_CLICK = 128
};

enum { HALVERON_MOUSE_DOWN = 0, HALVERON_MOUSE_MOVED = 1, HALVERON_MOUSE_UP = 2 };

enum { HALVERON_ALIGN_LEFT = 0, HALVERON_ALIGN_CENTRE = 1, HALVERON_ALIGN_RIGHT = 2 };

typedef struct HalveronContext HalveronContext; /* an instance, as Halveron knows it */
typedef struct HalveronPen HalveronPen;         /* what a canvas draws with */

/* Draws on a display, in panel units from its top left corner; nothing shows beyond its edges. The
 * display is dark when draw begins. Colours are 0xRRGGBBAA. */
typedef struct HalveronCanvas {
  uint32_t size;
  HalveronPen* pen; /* the first argument of each function */
  float width;
  float height;
  void (*SetColor)(HalveronPen* pen, uint32_t rgba);
  void (*SetLineWidth)(HalveronPen* pen, float width);
  void (*SetFontSize)(HalveronPen* pen, float size);
  void (*DrawLine)(HalveronPen* pen, float x1, float y1, float x2, float y2);
  void (*DrawPolyline)(HalveronPen* pen, const float* xy, uint32_t point_count);
  void (*FillPolygon)(HalveronPen* pen, const float* xy, uint32_t point_count);
  void (*DrawRect)(HalveronPen* pen, float x, float y, float width, float height);
  void (*FillRect)(HalveronPen* pen, float x, float y, float width, float height);
  void (*DrawEllipse)(HalveronPen* pen, float x, float y, float width, float height);
  void (*FillEllipse)(HalveronPen* pen, float x, float y, float width, float height);
  void (*DrawText)(HalveronPen* pen, const char* text, float x, float y, float width, float height,
                   int32_t align);
} HalveronCanvas;

/* What Halveron offers. */

enum { HALVERON_HOST_VST2 = 0, HALVERON_HOST_CLAP = 2 };

typedef struct HalveronHost {
  uint32_t size;
  int32_t (*GetHostVersion)(HalveronContext* context); /* of the interface: 200 */
  int32_t (*GetOversamplingSteps)(HalveronContext* context);
  void* (*GetVoiceModule)(HalveronContext* context, int32_t voice); /* instance; null if none */
  int32_t (*GetVoiceCount)(HalveronContext* context);
  int32_t (*GetBlockSize)(HalveronContext* context); /* most samples in a block */
  float (*GetSampleRate)(HalveronContext* context);  /* the host's, in hertz */
  int32_t (*GetHostKind)(HalveronContext* context);
  /* Audio thread; 0 if the host does not take them. */
  int32_t (*SendEventsToHost)(HalveronContext* context, const HalveronMidiEvent* events,
                              uint32_t count);
  int32_t (*GetTransportInfo)(HalveronContext* context, HalveronTransport* transport);
  void (*BindNoteSlotToVoice)(HalveronContext* context, int32_t voice, int32_t note_slot);
  int32_t (*ReleaseVoiceNote)(HalveronContext* context, int32_t voice, int32_t note_slot);
  /* Host audio of the present sample, within process_sample. values[channel] is read or written for
   * first, first + 2 ... up to last. Modules that send set HALVERON_SENDS_AUDIO. */
  void (*SendToDAW)(HalveronContext* context, const float* values, int32_t first, int32_t last);
  void (*ReceiveFromDAW)(HalveronContext* context, float* values, int32_t first, int32_t last);
  void (*SendStereoToDAW)(HalveronContext* context, float left, float right);
  void (*ReceiveStereoFromDAW)(HalveronContext* context, float* left, float* right);
  int32_t (*GetDAWInputCount)(HalveronContext* context);
  int32_t (*GetDAWOutputCount)(HalveronContext* context);
  /* Around changes that process_sample must not see halfway. They nest. */
  void (*EnterProcessingCriticalSection)(HalveronContext* context);
  void (*LeaveProcessingCriticalSection)(HalveronContext* context);
  /* Controls, by their place in the module's table. Setting is for the window thread; it counts as
   * the user's doing and reaches all voices, hosts and value_changed. */
  float (*GetValue)(HalveronContext* context, uint32_t control);
  void (*SetValue)(HalveronContext* context, uint32_t control, float value);
  /* Data of the module's own has changed, which hosts should save. Not for the audio thread. */
  void (*DataChanged)(HalveronContext* context);
} HalveronHost;

/* What a module does. */

/* Runs all voices of a module in one call. Optional. Between blocks all state is in the instances:
 * a block begins with load_voices and ends with store_voices. While voices run this way, the
 * signals of a point lie side by side, those of voice 0 first, in memory for 16 voices. */
typedef struct HalveronVoices {
  uint32_t size;
  /* Null if these instances cannot run together. `lanes` is the number of floats in the widest
   * vector that pays for so many voices here: 4, 8 or 16. Not on the audio thread. */
  void* (*create_voices)(void* const* instances, uint32_t count, uint32_t lanes);
  void (*destroy_voices)(void* voices);
  int32_t (*load_voices)(void* voices); /* 0: in this block each voice runs by itself */
  void (*run_voices)(void* voices);     /* one sample */
  void (*store_voices)(void* voices);
} HalveronVoices;

/* Flags of a module. */
enum {
  HALVERON_POLYPHONIC = 1,       /* one instance per voice, unless the user decides otherwise */
  HALVERON_ALWAYS_ON = 2,        /* processed without cables */
  HALVERON_FIXED_VOICES = 4,     /* the user cannot change polyphonic to mono, or back */
  HALVERON_FIXED_RATE = 8,       /* the user cannot exclude it from oversampling */
  HALVERON_SENDS_AUDIO = 16,     /* writes host outputs */
  HALVERON_USES_POLYPHONY = 32,  /* leads to voices, as a module that assigns notes does */
  HALVERON_CLIPS = 64,           /* limits its output at the clip level of its menu */
  HALVERON_BANDLIMIT_MODES = 128 /* has the menu "Bandlimit" */
};

typedef struct HalveronModule {
  uint32_t size;
  const char* name; /* with the vendor what patches know it by; never changes. At most 519 bytes */
  const char* vendor; /* the same as in the library's .ini */
  int32_t columns;    /* width */
  int32_t version;    /* of the saved data, 1000 or above */
  uint32_t flags;
  const char*
      picture; /* PNG file of the panel; null has it painted like those of built-in modules */

  /* Tables: the size of an entry, their number, and the entries. Saved are the values of all
   * controls, then of all lamps, then of all points, each in the order of its table. Later versions
   * of the module may add controls and points at the ends of their tables; apart from that, what
   * stands here never changes, and neither does the number of lamps. Displays are not saved. */
  uint32_t control_size;
  uint32_t control_count;
  const HalveronControl* controls;
  uint32_t point_size;
  uint32_t point_count;
  const HalveronPoint* points;
  uint32_t lamp_size;
  uint32_t lamp_count;
  const HalveronLamp* lamps;
  uint32_t display_size;
  uint32_t display_count;
  const HalveronDisplay* displays;
  const HalveronVoices* voices; /* or null */

  /* An instance; null if it cannot be made. The panel and `host` stay valid until destroy. The
   * first calls after it are set_rate, options_changed, and value_changed for each control. */
  void* (*create)(const HalveronHost* host, HalveronContext* context, const HalveronPanel* panel,
                  int32_t voice);
  void (*destroy)(void* instance);
  void (*process_sample)(void* instance);

  /* The following may be null. */

  /* `rate` is that of process_sample, `host_rate` the host's, in hertz. */
  void (*set_rate)(void* instance, float rate, float host_rate);
  void (*value_changed)(void* instance, uint32_t control, float value);
  void (*cable_connected)(void* instance, uint32_t point);
  void (*cable_disconnected)(void* instance, uint32_t point);
  void (*block_start)(void* instance, int32_t frames);
  void (*midi_events)(void* instance, const HalveronMidiEvent* events, uint32_t count);
  /* The clip level is linear; the mode is 0 at the oversampling Nyquist, 1 near the host's. */
  void (*options_changed)(void* instance, float clip_level, int32_t bandlimit_mode);
  void (*voice_count_changed)(void* instance, int32_t voices);
  void (*module_created)(void* instance, int32_t voices);
  void (*module_removed)(void* instance);

  /* Data beside the controls' values, all three or none. `version` is the module's when it saved.
   * What load gets may be anything. */
  uint32_t (*data_size)(void* instance);
  void (*save_data)(void* instance, void* buffer, uint32_t size);
  void (*load_data)(void* instance, const void* data, uint32_t size, int32_t version);

  /* Displays. draw is required where there is one. */
  void (*draw)(void* instance, uint32_t display, const HalveronCanvas* canvas);
  int32_t (*is_display_fresh)(void* instance, uint32_t display); /* not 0: draw it again */
  /* In panel units from the display's corner. Not 0 if it was used; a press that was gets the moves
   * up to its release. */
  int32_t (*mouse)(void* instance, uint32_t display, int32_t event, float x, float y,
                   int32_t buttons);
  int32_t (*wheel)(void* instance, uint32_t display, float x, float y, float notches,
                   int32_t buttons);
  /* Each move over the window, in shares of the visible rack from the module's corner. */
  void (*mouse_moved)(void* instance, float x, float y);
} HalveronModule;

/* What a library exports. */

/* The skin of the process. Valid until the instance of the plug-in closes. */
typedef struct HalveronSkin {
  uint32_t size;
  const char* skin_path; /* folder with a slash at its end, or empty */
  const char* skin_fallback_path;
  int32_t panelHeight; /* of a row, in pixels */
  float uiScale;       /* pixels of a panel unit */
} HalveronSkin;

typedef struct HalveronModuleEntry {
  uint32_t size;
  const char* name; /* as in the library's .ini */
  int32_t
      required_host_version; /* to be filled: HALVERON_INTERFACE_VERSION of the library's header */
  const HalveronModule* module; /* to be filled; valid until the library is unloaded */
} HalveronModuleEntry;

/* Called before anything else, once for each instance of the plug-in. */
HALVERON_EXPORT void DllInitialize(const HalveronSkin* skin);

/* Called next, once for each module of the library's .ini. 0 if the library does not know the name.
 */
HALVERON_EXPORT int32_t GetDllModule(HalveronModuleEntry* entry, const char* vendor);

#ifdef __cplusplus
}
#endif

#endif
