// Modules for Halveron in C++: the layer over halveron_module.h, header only. See docs/sdk.md.
//
// A module is a class derived from Module that declares
//   static constexpr char kName[]       display name
//   static constexpr char kVendor[]     as in the library's .ini
//   static constexpr int kColumns       panel width in columns of 12 units
//   static constexpr int kVersion       version of its saved data, 1000 or above
//   static constexpr bool kPolyphonic   one instance per voice by default
// and, where it wants to, `static constexpr unsigned kFlags` (HALVERON_ALWAYS_ON and so on),
// `static constexpr char kPicture[]` (a PNG file beside the library), and `using Voices`, a class
// that runs all voices in one call. Its constructor makes the panel; ProcessSample makes the sound.
// Any other operation of Module that it hides by its own is called; the others cost nothing.
//
// HALVERON_LIBRARY(A, B, ...) makes a library of module classes.
#pragma once

#include <cstddef>
#include <cstring>
#include <deque>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "halveron_module.h"

namespace halveron_sdk {

namespace detail {
template <class M>
struct Table;
}  // namespace detail

struct InCell {
  float in;
};
struct OutCell {
  float out;
};
struct EitherCell {
  float in;
  float out;
};

/// A patch point of a module: `pitch_->in`, `out_->out`.
template <class Cell>
class PointHandle {
 public:
  PointHandle() = default;
  PointHandle(const PointHandle&) = delete;
  PointHandle& operator=(const PointHandle&) = delete;

  Cell* operator->() const { return reinterpret_cast<Cell*>(jack_->signal); }
  bool IsCabled() const { return jack_->is_cabled != 0; }
  /// Where the signal lies; where voices run in one call, those of the other voices follow.
  float* Address() const { return jack_->signal; }
  /// By which CableConnected and CableDisconnected name it.
  unsigned Index() const { return index_; }

 private:
  friend class Module;
  const HalveronJack* jack_ = nullptr;
  unsigned index_ = 0;
};

using Input = PointHandle<InCell>;
using Output = PointHandle<OutCell>;
using Either = PointHandle<EitherCell>;

struct KnobCell : HalveronKnob {
  /// One smoothing step toward `value`: a one-pole low-pass, ended by a snap within 0.001.
  void SmoothValue() { StepToward(value); }
  /// One smoothing step toward `stepped_target`.
  void SmoothSteppedValue() { StepToward(stepped_target); }

 private:
  void StepToward(float target) {
    const auto distance = static_cast<float>(static_cast<double>(target) - smoothed_value);
    if (distance == 0.0f) return;
    if (distance > -0.001 && distance < 0.001) {
      smoothed_value = target;
    } else {
      smoothed_value += static_cast<double>(distance * smooth_step);
    }
  }
};
static_assert(sizeof(KnobCell) == sizeof(HalveronKnob));

/// A control of a module by its number on the panel.
class Control {
 public:
  unsigned Index() const { return index_; }
  bool operator==(const Control&) const = default;

 private:
  friend class Module;
  template <class M>
  friend struct detail::Table;
  unsigned index_ = ~0u;
};

/// A knob of a module: `cutoff_->smoothed_value`.
class Knob {
 public:
  KnobCell* operator->() const { return cell_; }
  operator Control() const { return control_; }

 private:
  friend class Module;
  KnobCell* cell_ = nullptr;
  Control control_;
};

class Lamp {
 public:
  void Set(float level) { *level_ = level; }

 private:
  friend class Module;
  float* level_ = nullptr;
};

using Display = unsigned;

/// Draws on a display, in panel units from its corner. Colours are 0xRRGGBBAA.
class Canvas {
 public:
  explicit Canvas(const HalveronCanvas& canvas) : c_(canvas) {}

  float Width() const { return c_.width; }
  float Height() const { return c_.height; }
  void SetColor(unsigned rgba) { c_.SetColor(c_.pen, rgba); }
  void SetLineWidth(float width) { c_.SetLineWidth(c_.pen, width); }
  void SetFontSize(float size) { c_.SetFontSize(c_.pen, size); }
  void DrawLine(float x1, float y1, float x2, float y2) { c_.DrawLine(c_.pen, x1, y1, x2, y2); }
  /// x and y of each point.
  void DrawPolyline(std::span<const float> xy) {
    c_.DrawPolyline(c_.pen, xy.data(), static_cast<unsigned>(xy.size() / 2));
  }
  void FillPolygon(std::span<const float> xy) {
    c_.FillPolygon(c_.pen, xy.data(), static_cast<unsigned>(xy.size() / 2));
  }
  void DrawRect(float x, float y, float w, float h) { c_.DrawRect(c_.pen, x, y, w, h); }
  void FillRect(float x, float y, float w, float h) { c_.FillRect(c_.pen, x, y, w, h); }
  void DrawEllipse(float x, float y, float w, float h) { c_.DrawEllipse(c_.pen, x, y, w, h); }
  void FillEllipse(float x, float y, float w, float h) { c_.FillEllipse(c_.pen, x, y, w, h); }
  void DrawText(const char* text, float x, float y, float w, float h,
                int align = HALVERON_ALIGN_CENTRE) {
    c_.DrawText(c_.pen, text, x, y, w, h, align);
  }

 private:
  const HalveronCanvas& c_;
};

struct MouseEvent {
  int kind;  ///< HALVERON_MOUSE_DOWN, _MOVED or _UP
  float x;   ///< panel units from the display's corner
  float y;
  int buttons;  ///< HALVERON_LEFT_BUTTON and so on, added up
};

namespace detail {

/// A control that is to be made.
struct ControlPlan {
  int kind;
  int look = 0;
  int steps = 0;
  float least = 0;
  float most = 1;
  float initial = 0;
  float x = 0;
  float y = 0;
  float width = 0;
  float height = 0;
  unsigned entryCount = 0;
  const char* const* entries = nullptr;
};

/// What the constructor of a module class puts on the panel, as the tables of the interface.
struct Recorder {
  std::vector<HalveronControl> controls;
  std::vector<HalveronPoint> points;
  std::vector<HalveronLamp> lamps;
  std::vector<HalveronDisplay> displays;
  std::deque<std::string> texts;
  std::deque<std::vector<const char*>> lists;
  const char** caption = nullptr;  // of what was recorded last
  // What the handles of the recorded instance point to.
  std::deque<HalveronJack> jacks;
  std::deque<KnobCell> knobs;
  std::deque<float> levels;
  std::deque<float[2]> signals;

  const char* Keep(std::string_view text) { return texts.emplace_back(text).c_str(); }
};

}  // namespace detail

/// What a module class is constructed with, and hands on to Module.
class Setup {
 private:
  friend class Module;
  template <class M>
  friend struct detail::Table;
  detail::Recorder* recorder = nullptr;
  const HalveronHost* host = nullptr;
  HalveronContext* context = nullptr;
  const HalveronPanel* panel = nullptr;
  int voice = 0;
};

class Module {
 public:
  explicit Module(const Setup& setup) : setup_(setup) {}
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  // What a module class may hide by its own. The header of halveron_module.h says on which thread
  // each is called.

  void SetSampleRate(float /*rate*/, float /*hostRate*/) {}
  void ValueChanged(Control /*control*/, float /*value*/) {}
  void CableConnected(unsigned /*point*/) {}
  void CableDisconnected(unsigned /*point*/) {}
  void BlockStart(int /*frames*/) {}
  void ProcessEvents(std::span<const HalveronMidiEvent> /*events*/) {}
  void OptionsChanged(float /*clipLevel*/, int /*bandlimitMode*/) {}
  void VoiceCountChanged(int /*voices*/) {}
  void ModuleCreated(int /*voices*/) {}
  void ModuleRemoved() {}
  unsigned DataSize() { return 0; }
  void SaveData(void* /*buffer*/, unsigned /*size*/) {}
  void LoadData(const void* /*data*/, unsigned /*size*/, int /*version*/) {}
  void Draw(Display /*display*/, Canvas& /*canvas*/) {}
  bool IsFresh(Display /*display*/) { return false; }
  bool Mouse(Display /*display*/, const MouseEvent& /*event*/) { return false; }
  bool Wheel(Display /*display*/, const MouseEvent& /*where*/, float /*notches*/) { return false; }
  void MouseMoved(float /*x*/, float /*y*/) {}

  int Voice() const { return setup_.voice; }

 protected:
  ~Module() = default;

  // Makers of the panel, for the constructor. x and y name the centre in panel units (a row is 291
  // high). Roles are unique among controls, lamps and displays, among inputs and among outputs.
  // Once somebody has saved a patch, controls may follow behind the others, and points behind the
  // others; nothing else changes, in particular not the number of lamps.

  template <class Cell>
  void AddPatchPoint(PointHandle<Cell>& handle, std::string_view role, float x, float y) {
    MakePoint(handle, role, x, y, 0);
  }
  template <class Cell>
  void AddMidiPatchPoint(PointHandle<Cell>& handle, std::string_view role, float x, float y) {
    MakePoint(handle, role, x, y, 1);
  }
  void AddModuleKnob(Knob& knob, std::string_view role, float x, float y, int look, float initial) {
    MakeKnob(knob, {.kind = HALVERON_KNOB, .look = look, .initial = initial, .x = x, .y = y}, role);
  }
  /// `steps` is 5, 7, 11 or 13.
  void AddSteppedKnob(Knob& knob, std::string_view role, float x, float y, int steps,
                      float initial) {
    MakeKnob(knob,
             {.kind = HALVERON_STEPPED_KNOB, .steps = steps, .initial = initial, .x = x, .y = y},
             role);
  }
  /// `steps` is 2 or 3.
  Control AddVerticalSwitch(std::string_view role, float x, float y, int steps, float initial) {
    return MakeControl(
        {.kind = HALVERON_SWITCH, .steps = steps, .initial = initial, .x = x, .y = y}, role);
  }
  /// `look` is HALVERON_BLACK, _RED or _WHITE.
  Control AddKickButton(std::string_view role, float x, float y, int look) {
    return MakeControl({.kind = HALVERON_PUSH_BUTTON, .look = look, .x = x, .y = y}, role);
  }
  Control AddOnOffButton(std::string_view role, float x, float y, float initial) {
    return MakeControl({.kind = HALVERON_TOGGLE, .initial = initial, .x = x, .y = y}, role);
  }
  Control AddSlider(std::string_view role, float x, float y, float width, float height,
                    float initial) {
    return MakeControl({.kind = HALVERON_SLIDER,
                        .initial = initial,
                        .x = x,
                        .y = y,
                        .width = width,
                        .height = height},
                       role);
  }
  Control AddOptionMenu(std::string_view role, float x, float y, float width, float height,
                        std::initializer_list<const char*> entries, int initial) {
    detail::ControlPlan control{.kind = HALVERON_MENU,
                                .most = static_cast<float>(entries.size()) - 1,
                                .initial = static_cast<float>(initial),
                                .x = x,
                                .y = y,
                                .width = width,
                                .height = height};
    if (setup_.recorder) {
      control.entryCount = static_cast<unsigned>(entries.size());
      control.entries = setup_.recorder->lists.emplace_back(entries).data();
    }
    return MakeControl(control, role);
  }
  Control AddSpecialDigit(std::string_view role, float x, float y, int places, int least,
                          int most) {
    return MakeControl({.kind = HALVERON_DIGITS,
                        .steps = places,
                        .least = static_cast<float>(least),
                        .most = static_cast<float>(most),
                        .initial = static_cast<float>(least),
                        .x = x,
                        .y = y},
                       role);
  }
  void AddLamp(Lamp& lamp, std::string_view role, float x, float y, int look = HALVERON_RED_LAMP) {
    if (detail::Recorder* recorder = setup_.recorder) {
      recorder->lamps.push_back({recorder->Keep(role), nullptr, look, x, y});
      recorder->caption = &recorder->lamps.back().caption;
      lamp.level_ = &recorder->levels.emplace_back();
    } else {
      lamp.level_ = &setup_.panel->lamps[lamps_];
    }
    ++lamps_;
  }
  Display AddDisplay(std::string_view role, float x, float y, float width, float height) {
    if (detail::Recorder* recorder = setup_.recorder) {
      recorder->displays.push_back({recorder->Keep(role), x, y, width, height});
    }
    return displays_++;
  }
  /// Keeps the control that was made last from having a host parameter. Menus and digits never have
  /// one.
  void ExcludeFromAutomation() {
    if (setup_.recorder) setup_.recorder->controls.back().flags |= HALVERON_NO_PARAMETER;
  }
  /// A shorter text on the panel for what was made last; empty for none.
  void SetCaption(std::string_view caption) {
    if (setup_.recorder) *setup_.recorder->caption = setup_.recorder->Keep(caption);
  }

  // Services of the rack.

  float ValueOf(Control control) const {
    return HasHost() ? setup_.host->GetValue(setup_.context, control.Index()) : 0.0f;
  }
  /// As if the user had moved the control. Window thread.
  void SetValue(Control control, float value) {
    if (HasHost()) setup_.host->SetValue(setup_.context, control.Index(), value);
  }
  /// Tells hosts that the module's own data has changed.
  void DataChanged() {
    if (HasHost()) setup_.host->DataChanged(setup_.context);
  }
  /// The instance of another voice, null if there is none. M is the module's own class.
  template <class M>
  M* VoiceModule(int voice) const {
    return HasHost() ? static_cast<M*>(setup_.host->GetVoiceModule(setup_.context, voice))
                     : nullptr;
  }
  /// False where the host reports no transport.
  bool GetTransport(HalveronTransport& transport) const {
    transport = {};
    transport.size = sizeof transport;
    return HasHost() && setup_.host->GetTransportInfo(setup_.context, &transport) != 0;
  }
  /// Everything else. Null while the panel is recorded, before any instance is in a rack.
  const HalveronHost* Host() const { return setup_.host; }
  HalveronContext* Context() const { return setup_.context; }

  /// Holds what processes the module for a scope, from panel logic that touches what ProcessSample
  /// uses.
  class ProcessingSection {
   public:
    explicit ProcessingSection(const Module& module) : module_(module) {
      if (module.HasHost()) module.Host()->EnterProcessingCriticalSection(module.Context());
    }
    ~ProcessingSection() {
      if (module_.HasHost()) module_.Host()->LeaveProcessingCriticalSection(module_.Context());
    }
    ProcessingSection(const ProcessingSection&) = delete;
    ProcessingSection& operator=(const ProcessingSection&) = delete;

   private:
    const Module& module_;
  };

 private:
  template <class M>
  friend struct detail::Table;

  bool HasHost() const { return setup_.host != nullptr; }

  template <class Cell>
  static constexpr int DirectionOf() {
    return std::is_same_v<Cell, InCell>    ? HALVERON_INPUT
           : std::is_same_v<Cell, OutCell> ? HALVERON_OUTPUT
                                           : HALVERON_EITHER;
  }

  template <class Cell>
  void MakePoint(PointHandle<Cell>& handle, std::string_view role, float x, float y, int isMidi) {
    if (detail::Recorder* recorder = setup_.recorder) {
      recorder->points.push_back(
          {recorder->Keep(role), nullptr, DirectionOf<Cell>(), isMidi, x, y});
      recorder->caption = &recorder->points.back().caption;
      auto& signals = recorder->signals.emplace_back();
      handle.jack_ = &recorder->jacks.emplace_back(HalveronJack{signals, 0});
    } else {
      handle.jack_ = &setup_.panel->jacks[points_];
    }
    handle.index_ = points_++;
  }

  Control MakeControl(const detail::ControlPlan& plan, std::string_view role) {
    if (detail::Recorder* recorder = setup_.recorder) {
      recorder->controls.push_back({recorder->Keep(role), nullptr, plan.kind, plan.look, plan.steps,
                                    0, plan.least, plan.most, plan.initial, plan.x, plan.y,
                                    plan.width, plan.height, plan.entryCount, plan.entries});
      recorder->caption = &recorder->controls.back().caption;
    }
    Control made;
    made.index_ = controls_++;
    return made;
  }

  void MakeKnob(Knob& knob, const detail::ControlPlan& control, std::string_view role) {
    knob.control_ = MakeControl(control, role);
    knob.cell_ = setup_.recorder
                     ? &setup_.recorder->knobs.emplace_back()
                     : static_cast<KnobCell*>(setup_.panel->knobs[knob.control_.Index()]);
  }

  const Setup setup_;
  unsigned controls_ = 0, points_ = 0, lamps_ = 0, displays_ = 0;
};

namespace detail {

/// No exception crosses the boundary.
template <class F>
void Guarded(F&& f) noexcept {
  try {
    f();
  } catch (...) {
  }
}

/// True where a class has put an operation of its own in the place of Module's.
template <class Own, class Base>
inline constexpr bool kIsOwn = !std::is_same_v<Own, Base>;

/// The functions and the table of one module class.
template <class M>
struct Table {
  static M& Of(void* instance) { return *static_cast<M*>(instance); }

  static void* Create(const HalveronHost* host, HalveronContext* context,
                      const HalveronPanel* panel, int32_t voice) {
    M* made = nullptr;
    Guarded([&] {
      Setup setup;
      setup.host = host;
      setup.context = context;
      setup.panel = panel;
      setup.voice = voice;
      made = new M(setup);
    });
    return made;
  }
  static void Destroy(void* instance) {
    Guarded([&] { delete static_cast<M*>(instance); });
  }

  static void AddPanelFunctions(HalveronModule& table) {
    if constexpr (kIsOwn<decltype(&M::Draw), decltype(&Module::Draw)>) {
      table.draw = [](void* m, uint32_t display, const HalveronCanvas* canvas) {
        Guarded([&] {
          Canvas own(*canvas);
          Of(m).Draw(display, own);
        });
      };
    }
    if constexpr (kIsOwn<decltype(&M::IsFresh), decltype(&Module::IsFresh)>) {
      table.is_display_fresh = [](void* m, uint32_t display) -> int32_t {
        bool fresh = false;
        Guarded([&] { fresh = Of(m).IsFresh(display); });
        return fresh ? 1 : 0;
      };
    }
    if constexpr (kIsOwn<decltype(&M::Mouse), decltype(&Module::Mouse)>) {
      table.mouse = [](void* m, uint32_t display, int32_t kind, float x, float y,
                       int32_t buttons) -> int32_t {
        bool used = false;
        Guarded([&] { used = Of(m).Mouse(display, {kind, x, y, buttons}); });
        return used ? 1 : 0;
      };
    }
    if constexpr (kIsOwn<decltype(&M::Wheel), decltype(&Module::Wheel)>) {
      table.wheel = [](void* m, uint32_t display, float x, float y, float notches,
                       int32_t buttons) -> int32_t {
        bool used = false;
        Guarded([&] {
          used = Of(m).Wheel(display, {HALVERON_MOUSE_MOVED, x, y, buttons}, notches);
        });
        return used ? 1 : 0;
      };
    }
    if constexpr (kIsOwn<decltype(&M::MouseMoved), decltype(&Module::MouseMoved)>) {
      table.mouse_moved = [](void* m, float x, float y) {
        Guarded([&] { Of(m).MouseMoved(x, y); });
      };
    }
  }

  static void AddDataFunctions(HalveronModule& table) {
    if constexpr (kIsOwn<decltype(&M::DataSize), decltype(&Module::DataSize)>) {
      table.data_size = [](void* m) -> uint32_t {
        unsigned size = 0;
        Guarded([&] { size = Of(m).DataSize(); });
        return size;
      };
      table.save_data = [](void* m, void* buffer, uint32_t size) {
        Guarded([&] { Of(m).SaveData(buffer, size); });
      };
      table.load_data = [](void* m, const void* data, uint32_t size, int32_t version) {
        Guarded([&] { Of(m).LoadData(data, size, version); });
      };
    }
  }

  static void AddNotices(HalveronModule& table) {
    if constexpr (kIsOwn<decltype(&M::SetSampleRate), decltype(&Module::SetSampleRate)>) {
      table.set_rate = [](void* m, float rate, float hostRate) {
        Guarded([&] { Of(m).SetSampleRate(rate, hostRate); });
      };
    }
    if constexpr (kIsOwn<decltype(&M::ValueChanged), decltype(&Module::ValueChanged)>) {
      table.value_changed = [](void* m, uint32_t control, float value) {
        Guarded([&] {
          Control moved;
          moved.index_ = control;
          Of(m).ValueChanged(moved, value);
        });
      };
    }
    if constexpr (kIsOwn<decltype(&M::CableConnected), decltype(&Module::CableConnected)>) {
      table.cable_connected = [](void* m, uint32_t point) {
        Guarded([&] { Of(m).CableConnected(point); });
      };
    }
    if constexpr (kIsOwn<decltype(&M::CableDisconnected), decltype(&Module::CableDisconnected)>) {
      table.cable_disconnected = [](void* m, uint32_t point) {
        Guarded([&] { Of(m).CableDisconnected(point); });
      };
    }
    if constexpr (kIsOwn<decltype(&M::OptionsChanged), decltype(&Module::OptionsChanged)>) {
      table.options_changed = [](void* m, float clipLevel, int32_t bandlimitMode) {
        Guarded([&] { Of(m).OptionsChanged(clipLevel, bandlimitMode); });
      };
    }
    if constexpr (kIsOwn<decltype(&M::VoiceCountChanged), decltype(&Module::VoiceCountChanged)>) {
      table.voice_count_changed = [](void* m, int32_t voices) {
        Guarded([&] { Of(m).VoiceCountChanged(voices); });
      };
    }
    if constexpr (kIsOwn<decltype(&M::ModuleCreated), decltype(&Module::ModuleCreated)>) {
      table.module_created = [](void* m, int32_t voices) {
        Guarded([&] { Of(m).ModuleCreated(voices); });
      };
    }
    if constexpr (kIsOwn<decltype(&M::ModuleRemoved), decltype(&Module::ModuleRemoved)>) {
      table.module_removed = [](void* m) { Guarded([&] { Of(m).ModuleRemoved(); }); };
    }
  }

  static void AddSoundFunctions(HalveronModule& table) {
    table.process_sample = [](void* m) { Guarded([&] { Of(m).ProcessSample(); }); };
    if constexpr (kIsOwn<decltype(&M::BlockStart), decltype(&Module::BlockStart)>) {
      table.block_start = [](void* m, int32_t frames) {
        Guarded([&] { Of(m).BlockStart(frames); });
      };
    }
    if constexpr (kIsOwn<decltype(&M::ProcessEvents), decltype(&Module::ProcessEvents)>) {
      table.midi_events = [](void* m, const HalveronMidiEvent* events, uint32_t count) {
        Guarded([&] { Of(m).ProcessEvents({events, count}); });
      };
    }
    if constexpr (requires { typename M::Voices; }) {
      using Voices = typename M::Voices;
      static constexpr HalveronVoices kVoices{
          .size = sizeof(HalveronVoices),
          .create_voices = [](void* const* instances, uint32_t count, uint32_t lanes) -> void* {
            Voices* made = nullptr;
            Guarded([&] {
              made = new Voices(std::span<M* const>(reinterpret_cast<M* const*>(instances), count),
                                lanes);
            });
            return made;
          },
          .destroy_voices = [](void* v) { Guarded([&] { delete static_cast<Voices*>(v); }); },
          .load_voices = [](void* v) -> int32_t {
            bool loaded = false;
            Guarded([&] { loaded = static_cast<Voices*>(v)->Load(); });
            return loaded ? 1 : 0;
          },
          .run_voices = [](void* v) { Guarded([&] { static_cast<Voices*>(v)->Run(); }); },
          .store_voices = [](void* v) { Guarded([&] { static_cast<Voices*>(v)->Store(); }); }};
      table.voices = &kVoices;
    }
  }

  static HalveronModule Make(Recorder& recorder) {
    Setup setup;
    setup.recorder = &recorder;
    const M recorded(setup);
    HalveronModule table{};
    table.size = sizeof table;
    table.name = M::kName;
    table.vendor = M::kVendor;
    table.columns = M::kColumns;
    table.version = M::kVersion;
    if constexpr (requires { M::kFlags; }) table.flags = M::kFlags;
    if constexpr (M::kPolyphonic) table.flags |= HALVERON_POLYPHONIC;
    if constexpr (requires { M::kPicture; }) table.picture = M::kPicture;
    const auto list = [](auto& items, auto& entries, uint32_t& size, uint32_t& count) {
      entries = items.data();
      size = sizeof items[0];
      count = static_cast<uint32_t>(items.size());
    };
    list(recorder.controls, table.controls, table.control_size, table.control_count);
    list(recorder.points, table.points, table.point_size, table.point_count);
    list(recorder.lamps, table.lamps, table.lamp_size, table.lamp_count);
    list(recorder.displays, table.displays, table.display_size, table.display_count);
    table.create = Create;
    table.destroy = Destroy;
    AddSoundFunctions(table);
    AddNotices(table);
    AddDataFunctions(table);
    AddPanelFunctions(table);
    return table;
  }

  static const HalveronModule& Get() {
    static Recorder recorder;
    static const HalveronModule table = Make(recorder);
    return table;
  }
};

template <class... Modules>
bool Find(HalveronModuleEntry& entry, const char* vendor) {
  bool found = false;
  Guarded([&] {
    const auto take = [&]<class M>(std::type_identity<M>) {
      if (std::strcmp(entry.name, M::kName) != 0 || std::strcmp(vendor, M::kVendor) != 0) {
        return false;
      }
      entry.module = &Table<M>::Get();
      entry.required_host_version = HALVERON_INTERFACE_VERSION;
      return true;
    };
    found = (take(std::type_identity<Modules>{}) || ...);
  });
  return found;
}

}  // namespace detail

/// The skin of the process, from the library's first call on.
inline HalveronSkin skin{};

}  // namespace halveron_sdk

#define HALVERON_LIBRARY(...)                                                 \
  extern "C" HALVERON_EXPORT void DllInitialize(const HalveronSkin* given) {  \
    halveron_sdk::skin = *given;                                              \
  }                                                                           \
  extern "C" HALVERON_EXPORT int32_t GetDllModule(HalveronModuleEntry* entry, \
                                                  const char* vendor) {       \
    return halveron_sdk::detail::Find<__VA_ARGS__>(*entry, vendor) ? 1 : 0;   \
  }
