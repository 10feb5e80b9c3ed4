#include "editor/external_module.h"

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <span>
#include <utility>

#include "editor/external_host.h"
#include "editor/external_panel.h"
#include "framework/display_view.h"
#include "framework/midi_message.h"
#include "framework/rack_model.h"
#include "framework/voice_group.h"
#include "gui/option_menu.h"
#include "gui/slider.h"

namespace halveron {

// What the arithmetic of a library reads is the rack's own, without a copy between.
static_assert(sizeof(HalveronJack) == sizeof(PointLink));
static_assert(offsetof(HalveronJack, signal) == offsetof(PointLink, cell));
static_assert(offsetof(HalveronJack, is_cabled) == offsetof(PointLink, isCabled));
static_assert(sizeof(HalveronKnob) == sizeof(KnobCell));
static_assert(offsetof(HalveronKnob, smoothed_value) == offsetof(KnobCell, smoothed_value));
static_assert(offsetof(HalveronKnob, value) == offsetof(KnobCell, value));
static_assert(offsetof(HalveronKnob, stepped_target) == offsetof(KnobCell, stepped_target));
static_assert(offsetof(HalveronKnob, smooth_step) == offsetof(KnobCell, smooth_step));
static_assert(static_cast<int>(HALVERON_INPUT) == static_cast<int>(kInputPoint) &&
              static_cast<int>(HALVERON_OUTPUT) == static_cast<int>(kOutputPoint) &&
              static_cast<int>(HALVERON_EITHER) == static_cast<int>(kEitherPoint));
static_assert(HALVERON_PANEL_HEIGHT == kReferencePanelHeight);
static_assert(HALVERON_COLUMN_WIDTH == kReferenceUnitWidth);
static_assert(static_cast<int>(HALVERON_LEFT_BUTTON) == static_cast<int>(kLButton) &&
              static_cast<int>(HALVERON_DOUBLE_CLICK) == static_cast<int>(kDoubleClick));
static_assert(HALVERON_INTERFACE_VERSION == kHostInterfaceVersion);

namespace {

constexpr std::uint32_t kMostDataBytes = 64 << 20;

CRect PanelRect(const ExternalModuleType& type) {
  return CRect(0, 0, type.functions.columns * panelUnitWidth, panelHeight);
}

SharedBitmap KnobBitmap(int look) {
  switch (look) {
    case HALVERON_BIG:
      return SharedBitmap::kBigKnob;
    case HALVERON_GRAY:
      return SharedBitmap::kGrayKnob;
    case HALVERON_BLACK:
      return SharedBitmap::kBlackKnob;
    case HALVERON_RED:
      return SharedBitmap::kRedKnob;
    default:
      return SharedBitmap::kSmallKnob;
  }
}

SharedBitmap SteppedKnobBitmap(int steps) {
  switch (steps) {
    case 5:
      return SharedBitmap::kGrayKnob5;
    case 7:
      return SharedBitmap::kGrayKnob7;
    case 11:
      return SharedBitmap::kGrayKnob11;
    default:
      return SharedBitmap::kGrayKnob13;
  }
}

SharedBitmap ButtonBitmap(int look) {
  return look == HALVERON_BLACK   ? SharedBitmap::kBlackButton
         : look == HALVERON_WHITE ? SharedBitmap::kWhiteButton
                                  : SharedBitmap::kRedButton;
}

/// An area that the module draws on and that gets the mouse.
class ExternalDisplayView final : public DisplayView {
 public:
  ExternalDisplayView(const CRect& size, ExternalModule& owner, std::uint32_t index)
      : DisplayView(size, owner.editor), owner_(owner), index_(index) {
    const HalveronModule& functions = owner.Type().functions;
    SetPainter([this](CDrawContext& context, const CRect& area) {
      DrawOnCanvas(context, area, owner_.Type().functions.draw, owner_.Instance(), index_);
    });
    if (!functions.is_display_fresh) return;
    RedrawWhen([this] {
      return owner_.Type().functions.is_display_fresh(owner_.Instance(), index_) != 0;
    });
  }

  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override {
    return Tell(HALVERON_MOUSE_DOWN, where, buttons);
  }
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override {
    return Tell(HALVERON_MOUSE_MOVED, where, buttons);
  }
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override {
    return Tell(HALVERON_MOUSE_UP, where, buttons);
  }
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override {
    const auto wheel = owner_.Type().functions.wheel;
    if (!wheel) return false;
    const auto [x, y] = InUnits(where);
    const ExternalModule::MouseCall call(owner_);
    const bool used = wheel(owner_.Instance(), index_, x, y, distance, buttons()) != 0;
    if (used) {
      owner_.editor->ModuleEdited(owner_);
      setDirty();
    }
    return used;
  }

 private:
  std::pair<float, float> InUnits(const CPoint& where) const {
    return {static_cast<float>(where.x - viewSize.left) / uiScale,
            static_cast<float>(where.y - viewSize.top) / uiScale};
  }
  CMouseEventResult Tell(int event, const CPoint& where, const CButtonState& buttons) {
    const auto mouse = owner_.Type().functions.mouse;
    if (!mouse) return kMouseEventNotHandled;
    const auto [x, y] = InUnits(where);
    const ExternalModule::MouseCall call(owner_);
    const bool used = mouse(owner_.Instance(), index_, event, x, y, buttons()) != 0;
    if (event == HALVERON_MOUSE_DOWN && used && !isPressed_) {
      isPressed_ = true;
      beginEdit();
    } else if (event == HALVERON_MOUSE_UP && isPressed_) {
      isPressed_ = false;
      owner_.editor->ModuleEdited(owner_);
      endEdit();
    }
    if (!used) return kMouseEventNotHandled;
    setDirty();
    return kMouseEventHandled;
  }

  ExternalModule& owner_;
  const std::uint32_t index_;
  bool isPressed_ = false;  // a step of the history is under way
};

/// All voices of a module in one call of its library.
class ExternalVoiceGroup final : public VoiceGroup {
 public:
  ExternalVoiceGroup(std::span<Module* const> modules, std::uint32_t lanes)
      : functions_(static_cast<ExternalModule*>(modules.front())->Type().voices),
        engine_(*modules.front()->engine) {
    // The interface promises that the modules do not process meanwhile, and the library may take
    // down where the signals lie.
    const std::lock_guard lock(engine_.processingLock);
    std::vector<void*> instances;
    for (Module* module : modules) {
      static_cast<ExternalModule*>(module)->ShowPlannedPlaces(true);
      instances.push_back(static_cast<ExternalModule*>(module)->Instance());
    }
    voices_ = functions_.create_voices(instances.data(),
                                       static_cast<std::uint32_t>(instances.size()), lanes);
    for (Module* module : modules) static_cast<ExternalModule*>(module)->ShowPlannedPlaces(false);
  }
  ~ExternalVoiceGroup() override {
    if (!voices_) return;
    const std::lock_guard lock(engine_.processingLock);
    functions_.destroy_voices(voices_);
  }

  bool Load() override { return voices_ && functions_.load_voices(voices_) != 0; }
  void Run() override { functions_.run_voices(voices_); }
  void Store() override { functions_.store_voices(voices_); }
  void ShowLamps() override {}  // the library does as it stores

 private:
  const HalveronVoices functions_;
  EngineContext& engine_;
  void* voices_;
};

template <std::uint32_t lanes>
OwnVoiceGroup MakeExternalVoices(std::span<Module* const> voices) {
  // A library gets the voices of one module in a call.
  if (voices.empty()) return {};
  return OwnVoiceGroup(new ExternalVoiceGroup(voices, lanes));
}

}  // namespace

namespace {

/// Of this thread; null outside of mouse calls.
thread_local const ExternalModule* mouseModule = nullptr;

}  // namespace

ExternalModule::MouseCall::MouseCall(const ExternalModule& module)
    : outer_(std::exchange(mouseModule, &module)) {}

ExternalModule::MouseCall::~MouseCall() { mouseModule = outer_; }

void ExternalModule::DataChanged() {
  // The history belongs to the window thread, and a library may call this from others.
  if (mouseModule == this) {
    editor->ModuleEdited(*this);
  } else {
    engine->PatchEdited();
  }
}

Module* ExternalModule::Make(std::shared_ptr<const ExternalModuleType> type, CFrame* frame,
                             const HostTable& table, int voiceIndex) {
  const int highest = table.rack->parameters.highestParameterIndex;
  auto* module = new ExternalModule(std::move(type), frame, table, voiceIndex);
  if (module->Start()) return module;
  module->UnregisterControls();
  module->forget();
  table.rack->parameters.highestParameterIndex = highest;
  return nullptr;
}

ExternalModule::ExternalModule(std::shared_ptr<const ExternalModuleType> type, CFrame* frame,
                               const HostTable& table, int voiceIndex)
    : Module(PanelRect(*type), frame, nullptr, table, voiceIndex),
      type_(std::move(type)),
      processSample_(type_->functions.process_sample),
      jacks_(type_->points.size()),
      lampLevels_(type_->lamps.size()) {
  MakePanel();
  monoSelectable = !type_->Has(HALVERON_FIXED_VOICES);
  oversamplingSelectable = !type_->Has(HALVERON_FIXED_RATE);
  if (type_->Has(HALVERON_BANDLIMIT_MODES)) bandlimitMode = 0;
  if (!type_->Has(HALVERON_CLIPS)) clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  panel_ = {sizeof panel_, reinterpret_cast<const HalveronJack*>(jacks_.data()), knobs_.data(),
            lampLevels_.data()};
}

bool ExternalModule::Start() {
  const HalveronModule& functions = type_->functions;
  try {
    instance_ = functions.create(&ExternalHost(), ContextOf(*this), &panel_, voice);
  } catch (...) {
    // Against the rules of the interface, but no reason for the host to end.
    instance_ = nullptr;
  }
  if (!instance_) return false;
  SetSampleRate(sampleRate);
  TellOptions();
  for (CControl* control : controls_) ValueChanged(control);
  if (functions.block_start) RegisterForBlockStart();
  if (functions.midi_events) RegisterForEvents();
  if (functions.mouse_moved) RegisterForMouseMoved();
  return true;
}

ExternalModule::~ExternalModule() {
  // Lamps that somebody still holds read their own value again.
  for (CMovieBitmap* lamp : lamps_) lamp->BindValue(nullptr);
  if (instance_) type_->functions.destroy(instance_);
}

void ExternalModule::MakePanel() {
  AddLeftScrews(&screws_[0], &screws_[1], nullptr);
  AddRightScrews(&screws_[2], &screws_[3], nullptr);
  knobs_.reserve(type_->controls.size());
  for (const ExternalControl& control : type_->controls) MakeControl(control);
  for (std::size_t i = 0; i < type_->displays.size(); ++i) MakeDisplay(i);
  for (std::size_t i = 0; i < type_->lamps.size(); ++i) MakeLamp(i);
  for (std::size_t i = 0; i < type_->points.size(); ++i) MakePoint(i);
}

void ExternalModule::MakeControl(const ExternalControl& description) {
  const HalveronControl& table = description.table;
  const char* role = description.role.c_str();
  const int tag = (table.flags & HALVERON_NO_PARAMETER) != 0 ? TAG_UNASSIGNED : TAG_AUTOMATIC;
  Knob knob;
  CControl* made = nullptr;
  switch (table.kind) {
    case HALVERON_KNOB:
      AddModuleKnob(knob, role, table.x, table.y, KnobBitmap(table.look), table.initial, tag);
      break;
    case HALVERON_STEPPED_KNOB:
      AddSteppedKnob(knob, role, table.x, table.y, SteppedKnobBitmap(table.steps), table.initial,
                     tag);
      break;
    case HALVERON_SWITCH:
      made = AddVerticalSwitch(
          role, table.x, table.y,
          table.steps == 3 ? SharedBitmap::kVerticalTripleSwitch : SharedBitmap::kVerticalSwitch,
          table.initial, tag);
      break;
    case HALVERON_PUSH_BUTTON:
      made = AddKickButton(role, table.x, table.y, ButtonBitmap(table.look), tag);
      break;
    case HALVERON_TOGGLE:
      made = AddOnOffButton(role, table.x, table.y, SharedBitmap::kLetterOnOff, table.initial, tag);
      break;
    case HALVERON_SLIDER:
      made = AddSlider(role, table.x, table.y, table.width, table.height,
                       table.width > table.height ? kHorizontal : kVertical, table.initial, tag);
      break;
    case HALVERON_MENU:
      made = AddOptionMenu(role, table.x, table.y, table.width, table.height,
                           description.entryTexts, static_cast<int>(table.initial));
      break;
    default:
      made = AddSpecialDigitEx(role, table.x, table.y, SharedBitmap::kRedDigits, table.steps,
                               static_cast<int>(table.least), static_cast<int>(table.most));
      made->setValue(table.initial);
      made->setDefaultValue(table.initial);
      break;
  }
  const bool isKnob = made == nullptr;
  if (isKnob) made = &knob.View();
  knobs_.push_back(isKnob ? reinterpret_cast<HalveronKnob*>(knob.operator->()) : nullptr);
  if (description.hasCaption) made->caption = description.caption.c_str();
  controls_.push_back(made);
}

void ExternalModule::MakePoint(std::size_t index) {
  const ExternalPoint& description = type_->points[index];
  const HalveronPoint& table = description.table;
  const char* role = description.role.c_str();
  Input input;
  Output output;
  Either either;
  PatchPoint* point = nullptr;
  const bool isInput = table.direction == HALVERON_INPUT;
  if (table.direction == HALVERON_EITHER) {
    AddPatchPoint(either, role, table.x, table.y);
    point = either;
  } else if (table.is_midi && isInput) {
    AddMidiPatchPoint(input, role, table.x, table.y);
    point = input;
  } else if (table.is_midi) {
    AddMidiPatchPoint(output, role, table.x, table.y);
    point = output;
  } else if (isInput) {
    AddPatchPoint(input, role, table.x, table.y);
    point = input;
  } else {
    AddPatchPoint(output, role, table.x, table.y);
    point = output;
  }
  // The library's view of the point takes the place of the handle that made it.
  point->AttachHandle(&jacks_[index]);
  if (description.hasCaption) point->caption = description.caption.c_str();
}

void ExternalModule::ShowPlannedPlaces(bool show) {
  for (std::size_t i = 0; i < jacks_.size(); ++i) {
    const PatchPoint& point = *Points()[i];
    const SignalRef& present = point.type == kOutputPoint ? point.out : point.in;
    jacks_[i].cell = show ? point.plannedCell : present.Address();
  }
}

void ExternalModule::MakeLamp(std::size_t index) {
  const ExternalLamp& description = type_->lamps[index];
  const HalveronLamp& table = description.table;
  Lamp lamp;
  AddLamp(lamp, description.role.c_str(), table.x, table.y,
          table.look == HALVERON_BLUE_LAMP ? SharedBitmap::kBlueLamp : SharedBitmap::kRedLamp);
  if (description.hasCaption) lamp.View().caption = description.caption.c_str();
  lamp.View().BindValue(&lampLevels_[index]);
  lamps_.push_back(&lamp.View());
}

void ExternalModule::MakeDisplay(std::size_t index) {
  const ExternalDisplay& description = type_->displays[index];
  const HalveronDisplay& table = description.table;
  const CPoint size(ScaleToPixels(static_cast<double>(table.width)),
                    ScaleToPixels(static_cast<double>(table.height)));
  const CPoint corner(
      ScaleToPixels(static_cast<double>(table.x) - static_cast<double>(table.width) / 2),
      ScaleToPixels(static_cast<double>(table.y) - static_cast<double>(table.height) / 2));
  auto* view = new ExternalDisplayView(CRect::FromSize(corner, size.x, size.y), *this,
                                       static_cast<std::uint32_t>(index));
  view->role = description.role.c_str();
  view->setTag(TAG_NONE);
  addView(view);
}

Module::RunFunction ExternalModule::GetRunFunction() const {
  return [](Module* const* modules, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      const auto* module = static_cast<const ExternalModule*>(modules[i]);
      module->processSample_(module->instance_);
    }
  };
}

VoiceGroupMaker ExternalModule::GetVoiceGroupMaker(VectorUnit unit) const {
  if (!type_->voices.create_voices) return nullptr;
  switch (unit) {
    case VectorUnit::kSse2:
    case VectorUnit::kAvx2Four:
      return &MakeExternalVoices<4>;
    case VectorUnit::kAvx2:
    case VectorUnit::kAvx512Eight:
      return &MakeExternalVoices<8>;
    case VectorUnit::kAvx512:
      return &MakeExternalVoices<16>;
    case VectorUnit::kNone:
      break;
  }
  return nullptr;
}

void ExternalModule::ProcessEvents(VstEvents* events) {
  constexpr int kMostAtOnce = 64;
  HalveronMidiEvent list[kMostAtOnce];
  std::uint32_t count = 0;
  for (int i = 0; i < events->numEvents; ++i) {
    const VstEvent* event = EventAt(*events, i);
    HalveronMidiEvent& entry = list[count];
    if (event->type == kVstMidiType) {
      const auto* midi = reinterpret_cast<const VstMidiEvent*>(event);
      const auto* bytes = reinterpret_cast<const std::uint8_t*>(midi->midiData);
      constexpr int kSlotByte = 3;
      entry = {midi->deltaFrames, static_cast<std::uint32_t>(midi::MessageLength(bytes[0])), bytes,
               bytes[kSlotByte]};
    } else if (event->type == kVstSysExType) {
      const auto* dump = reinterpret_cast<const VstMidiSysexEvent*>(event);
      entry = {dump->deltaFrames, static_cast<std::uint32_t>(std::max(dump->dumpBytes, 0)),
               reinterpret_cast<const std::uint8_t*>(dump->sysexDump), 0};
    } else {
      continue;
    }
    if (++count < kMostAtOnce) continue;
    type_->functions.midi_events(instance_, list, std::exchange(count, 0));
  }
  if (count > 0) type_->functions.midi_events(instance_, list, count);
}

void ExternalModule::BlockStart(int frames) { type_->functions.block_start(instance_, frames); }

void ExternalModule::TellRates() {
  if (instance_ && type_->functions.set_rate) {
    type_->functions.set_rate(instance_, sampleRate, dawSampleRate);
  }
}

void ExternalModule::TellOptions() {
  if (instance_ && type_->functions.options_changed) {
    type_->functions.options_changed(instance_, clipLevel, bandlimitMode);
  }
}

void ExternalModule::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  TellRates();
}

void ExternalModule::SetDAWSampleRate(float rate) {
  Module::SetDAWSampleRate(rate);
  TellRates();
}

bool ExternalModule::SetBandlimitMode(int mode) {
  Module::SetBandlimitMode(mode);
  TellOptions();
  return true;
}

void ExternalModule::SetClipLevel(float level) {
  Module::SetClipLevel(level);
  TellOptions();
}

int ExternalModule::PointIndex(const PatchPoint* point) const {
  const auto points = Points();
  return static_cast<int>(std::find(points.begin(), points.end(), point) - points.begin());
}

void ExternalModule::CableConnected(PatchPoint* point) {
  if (!instance_ || !type_->functions.cable_connected) return;
  type_->functions.cable_connected(instance_, static_cast<std::uint32_t>(PointIndex(point)));
}

void ExternalModule::CableDisconnected(PatchPoint* point) {
  if (!instance_ || !type_->functions.cable_disconnected) return;
  type_->functions.cable_disconnected(instance_, static_cast<std::uint32_t>(PointIndex(point)));
}

void ExternalModule::ValueChanged(CControl* control) {
  if (!instance_ || !type_->functions.value_changed) return;
  const auto found = std::find(controls_.begin(), controls_.end(), control);
  if (found == controls_.end()) return;
  type_->functions.value_changed(instance_, static_cast<std::uint32_t>(found - controls_.begin()),
                                 control->getValue());
}

void ExternalModule::VoiceCountChanged(int voices) {
  if (type_->functions.voice_count_changed) {
    type_->functions.voice_count_changed(instance_, voices);
  }
}

void ExternalModule::ModuleCreated(int voices) {
  if (type_->functions.module_created) type_->functions.module_created(instance_, voices);
}

void ExternalModule::ModuleRemoved() {
  if (!type_->functions.module_removed) return;
  // The old plan still plays the module.
  const ProcessingSection section(*this);
  type_->functions.module_removed(instance_);
}

int ExternalModule::OnMouseMoved(CPoint* where, int*) {
  const CView* rack = getParentView();
  const CView* field = rack ? rack->getParentView() : nullptr;
  if (!field || field->getWidth() <= 0 || field->getHeight() <= 0) return kMouseEventNotHandled;
  CPoint point = *where;
  frameToLocal(point);
  point = point - getViewSize().getTopLeft();
  type_->functions.mouse_moved(instance_, static_cast<float>(point.x / field->getWidth()),
                               static_cast<float>(point.y / field->getHeight()));
  return kMouseEventNotHandled;
}

std::uint32_t ExternalModule::DataSize() const {
  if (!instance_ || !type_->functions.data_size) return 0;
  return std::min(type_->functions.data_size(instance_), kMostDataBytes);
}

int ExternalModule::GetPresetSize() {
  return GetControlValuesSize() + static_cast<int>(DataSize());
}

void ExternalModule::SavePreset(void* buffer, int size) {
  const int controls = GetControlValuesSize();
  if (size < controls) return;
  SaveControlValues(static_cast<float*>(buffer));
  const auto rest = static_cast<std::uint32_t>(size - controls);
  if (rest == 0 || !type_->functions.save_data) return;
  auto* data = static_cast<std::byte*>(buffer) + controls;
  std::fill_n(data, rest, std::byte{0});
  // No more than the module has now: the size may be that of a moment ago.
  type_->functions.save_data(instance_, data, std::min(rest, DataSize()));
}

void ExternalModule::LoadPreset(const void* buffer, int size, int version) {
  Module::LoadPreset(buffer, size, version);
  const int controls = GetControlValuesSize();
  if (size <= controls || !type_->functions.load_data) return;
  type_->functions.load_data(instance_, static_cast<const std::byte*>(buffer) + controls,
                             static_cast<std::uint32_t>(size - controls), version);
}

void ExternalModule::drawBackgroundRect(CDrawContext* context, const CRect& updateRect) {
  if (!type_->panel->Draw(*context, *this, *type_)) {
    Module::drawBackgroundRect(context, updateRect);
  }
}

}  // namespace halveron
