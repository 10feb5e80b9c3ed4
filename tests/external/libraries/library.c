/* Libraries for the tests, in plain C. FAULT selects what is wrong with one; 0 for nothing. */
#include <stdlib.h>
#include <string.h>

#include "halveron_module.h"

#define IN_ORDER 0
#define NO_INITIALIZE 1
#define NO_GET_MODULE 2
#define NULL_CREATE 3
#define WILD_POINTERS 4
#define ENDLESS_COUNTS 5
#define UNRULY 6
#define GROWN 7 /* a later version */

#ifndef FAULT
#define FAULT IN_ORDER
#endif

HALVERON_EXPORT int test_initialized = 0;
HALVERON_EXPORT int test_asked = 0;
HALVERON_EXPORT int test_instances = 0;
HALVERON_EXPORT int test_row_height = 0;

/* Probe: a gain that counts what it is called for. */
typedef struct Probe {
  const HalveronHost* host;
  HalveronContext* context;
  const HalveronPanel* panel;
  float rate;
  float mode;
  int blinks;
  int32_t counts[8]; /* its own data */
} Probe;

enum { BLOCKS, EVENTS, CONNECTED, DISCONNECTED, CREATED, REMOVED, VOICES, LAST_NOTE };

static void* Create(const HalveronHost* host, HalveronContext* context, const HalveronPanel* panel,
                    int32_t voice) {
  Probe* probe = FAULT == NULL_CREATE ? NULL : calloc(1, sizeof(Probe));
  (void)voice;
  if (!probe) return NULL;
  probe->host = host;
  probe->context = context;
  probe->panel = panel;
  ++test_instances;
  return probe;
}

static void Destroy(void* instance) {
  --test_instances;
  free(instance);
}

static void ProcessSample(void* instance) {
  Probe* probe = instance;
  HalveronKnob* level = probe->panel->knobs[0];
  float in = *probe->panel->jacks[0].signal;
  level->smoothed_value = level->value;
  *probe->panel->jacks[1].signal = in * level->value * (probe->mode >= 0.5f ? -1.0f : 1.0f);
  probe->panel->lamps[0] = in > 0 ? 1.0f : 0.0f;
  if (*probe->panel->jacks[0].signal == 9.0f) probe->host->SendStereoToDAW(probe->context, 0.5f, -0.5f);
}

static void SetRate(void* instance, float rate, float host_rate) {
  (void)host_rate;
  ((Probe*)instance)->rate = rate;
}
static void ValueChanged(void* instance, uint32_t control, float value) {
  if (control == 1) ((Probe*)instance)->mode = value;
}
static void Connected(void* instance, uint32_t point) {
  ((Probe*)instance)->counts[CONNECTED] += 1 + (int32_t)point;
}
static void Disconnected(void* instance, uint32_t point) {
  ((Probe*)instance)->counts[DISCONNECTED] += 1 + (int32_t)point;
}
static void BlockStart(void* instance, int32_t frames) {
  ((Probe*)instance)->counts[BLOCKS] += frames;
}
static void MidiEvents(void* instance, const HalveronMidiEvent* events, uint32_t count) {
  Probe* probe = instance;
  probe->counts[EVENTS] += (int32_t)count;
  probe->counts[LAST_NOTE] = events[count - 1].bytes[1] + 1000 * events[count - 1].frame;
  probe->host->SendEventsToHost(probe->context, events, count);
}
static void Created(void* instance, int32_t voices) {
  ((Probe*)instance)->counts[CREATED] += voices;
}
static void Removed(void* instance) { ((Probe*)instance)->counts[REMOVED]++; }
static void VoiceCount(void* instance, int32_t voices) {
  ((Probe*)instance)->counts[VOICES] = voices;
}
static uint32_t DataSize(void* instance) {
  (void)instance;
  return sizeof(((Probe*)0)->counts);
}
static void SaveData(void* instance, void* buffer, uint32_t size) {
  memcpy(buffer, ((Probe*)instance)->counts, size);
}
static void LoadData(void* instance, const void* data, uint32_t size, int32_t version) {
  Probe* probe = instance;
  if (version >= 1000 && size == sizeof probe->counts) memcpy(probe->counts, data, size);
}

#if FAULT == UNRULY
/* "Falls" and "Deep" crash when they play, "Few" makes four instances, "Quartet" those of four
 * voices, "Shared" hands sound from one to the next, "Blinks" gives one value that is no number when
 * a control moves, "Skewed" sounds otherwise when its voices run in one call, "Late" only in the
 * ninth sample of a block. */
static void* CreateFew(const HalveronHost* host, HalveronContext* context,
                       const HalveronPanel* panel, int32_t voice) {
  return test_instances < 4 ? Create(host, context, panel, voice) : NULL;
}
static void* CreateQuartet(const HalveronHost* host, HalveronContext* context,
                           const HalveronPanel* panel, int32_t voice) {
  return voice < 4 ? Create(host, context, panel, voice) : NULL;
}
static int Dig(volatile char* above) {
  volatile char room[4096];
  room[0] = above[0];
  return Dig(room) + room[0];
}
static void ProcessDeep(void* instance) {
  volatile char ground = 0;
  (void)instance;
  (void)Dig(&ground);
}
static void ValueChangedBlinks(void* instance, uint32_t control, float value) {
  (void)control;
  (void)value;
  ((Probe*)instance)->blinks = 1;
}
static void ProcessBlinks(void* instance) {
  Probe* probe = instance;
  ProcessSample(instance);
  if (probe->blinks) *probe->panel->jacks[1].signal = 0.0f / 0.0f;
  probe->blinks = 0;
}
static void ProcessFalling(void* instance) {
  static volatile int* nowhere = NULL;
  (void)instance;
  *nowhere = 1;
}
static void ProcessShared(void* instance) {
  static float before = 0;
  Probe* probe = instance;
  ProcessSample(instance);
  *probe->panel->jacks[1].signal += before;
  before = *probe->panel->jacks[0].signal;
}
typedef struct Group {
  uint32_t count;
  int samples; /* of the block */
  void* instances[16];
} Group;
static void* CreateVoices(void* const* instances, uint32_t count, uint32_t lanes) {
  Group* group = calloc(1, sizeof *group);
  (void)lanes;
  group->count = count;
  memcpy(group->instances, instances, count * sizeof *instances);
  return group;
}
static int32_t LoadVoices(void* voices) { return voices != NULL; }
static void RunVoices(void* voices) {
  const Group* group = voices;
  for (uint32_t i = 0; i < group->count; ++i) {
    ProcessSample(group->instances[i]);
    if (i == 3) *((Probe*)group->instances[i])->panel->jacks[1].signal += 1;
  }
}
static int32_t LoadLate(void* voices) {
  ((Group*)voices)->samples = 0;
  return 1;
}
static void RunLate(void* voices) {
  Group* group = voices;
  ++group->samples;
  for (uint32_t i = 0; i < group->count; ++i) {
    ProcessSample(group->instances[i]);
    if (group->samples == 9) *((Probe*)group->instances[i])->panel->jacks[1].signal += 1;
  }
}
static void StoreVoices(void* voices) { (void)voices; }
static const HalveronVoices late = {sizeof late, CreateVoices, free, LoadLate, RunLate, StoreVoices};
static const HalveronVoices skewed = {sizeof skewed, CreateVoices, free,
                                      LoadVoices,    RunVoices,    StoreVoices};
#endif

static const HalveronControl controls[] = {
    {"Level", NULL, HALVERON_KNOB, HALVERON_SMALL, 0, 0, 0, 1, 0.5f, 24, 80, 0, 0, 0, NULL},
    {"Invert", NULL, HALVERON_SWITCH, 0, 2, 0, 0, 1, 0, 24, 124, 0, 0, 0, NULL},
    {"Tone", NULL, HALVERON_KNOB, HALVERON_SMALL, 0, 0, 0, 1, 0.75f, 24, 150, 0, 0, 0, NULL},
    {"Fixed", NULL, HALVERON_TOGGLE, 0, 0, HALVERON_NO_PARAMETER, 0, 1, 1, 24, 60, 0, 0, 0, NULL}};
static const HalveronPoint points[] = {{"In", NULL, HALVERON_INPUT, 0, 24, 180},
                                       {"Out", NULL, HALVERON_OUTPUT, 0, 24, 250},
                                       {"Side", NULL, HALVERON_INPUT, 0, 24, 270}};
static const HalveronLamp lamps[] = {{"On", NULL, HALVERON_RED_LAMP, 36, 215}};

static HalveronModule table;

static void FillTable(const char* name) {
  memset(&table, 0, sizeof table);
  table.size = sizeof table;
  table.name = name;
  table.vendor = "Test Vendor";
  table.columns = 4;
  table.version = 1000;
  table.flags = HALVERON_POLYPHONIC;
  table.picture = "probe.png";
  table.control_size = sizeof controls[0];
  table.control_count = FAULT == ENDLESS_COUNTS ? 900 : FAULT == GROWN ? 4 : 2;
  table.controls = controls;
  table.point_size = sizeof points[0];
  table.point_count = FAULT == GROWN ? 3 : 2;
  table.points = FAULT == WILD_POINTERS ? (const HalveronPoint*)16 : points;
  table.lamp_size = sizeof lamps[0];
  table.lamp_count = 1;
  table.lamps = lamps;
  table.create = Create;
  table.destroy = Destroy;
  table.process_sample = FAULT == WILD_POINTERS ? (void (*)(void*))32 : ProcessSample;
  table.set_rate = SetRate;
  table.value_changed = ValueChanged;
  table.cable_connected = Connected;
  table.cable_disconnected = Disconnected;
  table.block_start = BlockStart;
  table.midi_events = MidiEvents;
  table.voice_count_changed = VoiceCount;
  table.module_created = Created;
  table.module_removed = Removed;
  table.data_size = DataSize;
  table.save_data = SaveData;
  table.load_data = LoadData;
#if FAULT == UNRULY
  if (strcmp(name, "Falls") == 0) table.process_sample = ProcessFalling;
  if (strcmp(name, "Deep") == 0) table.process_sample = ProcessDeep;
  if (strcmp(name, "Quartet") == 0) table.create = CreateQuartet;
  if (strcmp(name, "Blinks") == 0) {
    table.process_sample = ProcessBlinks;
    table.value_changed = ValueChangedBlinks;
  }
  if (strcmp(name, "Late") == 0) table.voices = &late;
  if (strcmp(name, "Few") == 0) table.create = CreateFew;
  if (strcmp(name, "Shared") == 0) table.process_sample = ProcessShared;
  if (strcmp(name, "Skewed") == 0) table.voices = &skewed;
#endif
}

#if FAULT != NO_INITIALIZE
void DllInitialize(const HalveronSkin* skin) {
  ++test_initialized;
  test_row_height = skin->panelHeight;
}
#endif

#if FAULT != NO_GET_MODULE
int32_t GetDllModule(HalveronModuleEntry* entry, const char* vendor) {
  static char name[32];
  ++test_asked;
  if (strcmp(vendor, "Test Vendor") != 0 || strcmp(entry->name, "Unknown") == 0) return 0;
  /* "Later" needs the next version of the interface. */
  entry->required_host_version =
      HALVERON_INTERFACE_VERSION + (strcmp(entry->name, "Later") == 0 ? 1 : 0);
  strncpy(name, entry->name, sizeof name - 1);
  FillTable(name);
  entry->module = &table;
  return 1;
}
#endif
