#include "framework/module.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "dsp/random.h"
#include "dsp/shaping.h"
#include "framework/byte_io.h"
#include "framework/control_description.h"
#include "framework/display_view.h"
#include "framework/manual_page.h"
#include "framework/module_timer.h"
#include "framework/rack_model.h"
#include "framework/text_label.h"
#include "framework/text_log_view.h"
#include "gui/option_menu.h"
#include "gui/slider.h"
#include "gui/text_edit.h"
#include "platform/library_path.h"

namespace halveron {

namespace {

constexpr int kScrewDistance = 9;  // panel units from the corner

PatchPoint* AsPatchPoint(CView* view) { return dynamic_cast<PatchPoint*>(view); }

/// The child as a control that is saved, or null.
CControl* AsTaggedControl(CView* view) {
  auto* control = dynamic_cast<CControl*>(view);
  return control && control->getTag() != TAG_NONE ? control : nullptr;
}

/// A control of a size in pixels, its centre at panel units x and y.
CRect CentredOn(float x, float y, const CPoint& size) {
  const double left = dsp::RoundHalfDown(x * uiScale - size.x * 0.5);
  const double top = dsp::RoundHalfDown(y * uiScale - size.y * 0.5);
  return CRect::FromSize(CPoint(left, top), size.x, size.y);
}

}  // namespace

Module::Module(const CRect& rect, CFrame* frame, CBitmap* panelBitmap, const HostTable& table,
               int voiceIndex)
    : ModuleWrapper(rect, frame, panelBitmap), hostTable(table), voice(voiceIndex) {
  editor = hostTable.rack;
  engine = hostTable.GetEngine(editor);
  blockSize = hostTable.GetBlockSize(editor);
  dawSampleRate = hostTable.GetSampleRate(editor);
  sampleRate = static_cast<float>(hostTable.GetOversamplingSteps(editor)) * dawSampleRate;
  halfSampleRate = sampleRate * 0.5f;
  sampleRate60 = sampleRate * 60.0f;
}

Module::~Module() = default;

const char* Module::GetInfoURL() {
  if (std::strcmp(GetVendorName(), kBuiltInVendor) != 0) return nullptr;
  if (infoUrl_.empty()) infoUrl_ = platform::FileUrl(InstalledManualPage(GetName()));
  return infoUrl_.c_str();
}

void Module::SetSampleRate(float rate) {
  sampleRate = rate;
  halfSampleRate = rate * 0.5f;
  sampleRate60 = rate * 60.0f;
  SetKnobSmoothing(-1.0f);
}

void Module::SetKnobSmoothing(float delay) {
  forEach([&](CView* view) {
    if (auto* knob = dynamic_cast<ModuleKnob*>(view)) knob->SetSmoothing(delay, sampleRate);
  });
}

bool Module::SetBandlimitMode(int mode) {
  bandlimitMode = mode;
  return true;
}

void Module::InitPatchPoints(float value) {
  for (PatchPoint* point : points_) {
    point->in = value;
    point->out = value;
  }
}

int Module::OnMouseMoved(CPoint*, int*) { return kMouseEventNotHandled; }

void Module::SendToDAW(const float* values, int first, int last) {
  hostTable.SendToDAWValues(editor, values, first, last);
}

void Module::SendToDAW(PatchPoint** points, int first) {
  hostTable.SendToDAWPoints(editor, points, first);
}

void Module::SendStereoToDAW(float left, float right) {
  hostTable.SendStereoToDAW(editor, left, right);
}

void Module::ReceiveFromDAW(float* values, int first, int last) {
  hostTable.ReceiveFromDAWValues(editor, values, first, last);
}

void Module::ReceiveFromDAW(PatchPoint** points, int first) {
  hostTable.ReceiveFromDAWPoints(editor, points, first);
}

void Module::ReceiveStereoFromDAW(float* left, float* right) {
  hostTable.ReceiveStereoFromDAW(editor, left, right);
}

bool Module::RegisterTag(CControl* control, int tag) {
  return hostTable.RegisterTag(editor, control, tag);
}

bool Module::UnregisterTag(CControl* control) { return hostTable.UnregisterTag(editor, control); }

void Module::UnregisterControls() {
  forEach([&](CView* view) {
    if (auto* control = dynamic_cast<CControl*>(view)) UnregisterTag(control);
  });
}

void Module::CountControls() {
  nbControls_ = nbPatchPoints_ = 0;
  forEach([&](CView* view) {
    if (AsPatchPoint(view)) {
      ++nbControls_;
      ++nbPatchPoints_;
    } else if (AsTaggedControl(view)) {
      ++nbControls_;
    }
  });
}

void Module::NumberPatchPoints(int* next) {
  forEach([&](CView* view) {
    if (PatchPoint* point = AsPatchPoint(view)) {
      point->patchIndex = *next;
      point->setTag(*next);
      ++*next;
    }
  });
}

void Module::CollectPatchPoints(PatchPoint** points, int* index, int limit) {
  // A point that exists per voice on a single module is represented by voice 0's copy, so that a
  // cable saved there is found again from a clone.
  Module* main = voice > 0 && polyPatchPoints_ > 0 ? GetVoiceModule(0) : nullptr;
  const auto own = children();
  for (std::size_t i = 0; i < own.size() && limit > 0; ++i) {
    PatchPoint* point = AsPatchPoint(own[i]);
    if (!point) continue;
    if (main && point->poly) point = AsPatchPoint(main->getView(static_cast<int>(i)));
    points[(*index)++] = point;
    --limit;
  }
}

int Module::GetControlValuesSize() {
  if (nbControls_ < 0) CountControls();
  return nbControls_ * static_cast<int>(sizeof(float));
}

void Module::SaveControlValues(float* buffer) {
  forEach([&](CView* view) {
    if (const CControl* control = AsTaggedControl(view)) *buffer++ = BaseValueOf(*control);
  });
}

void Module::LoadControlValues(const float* buffer, unsigned size) {
  ByteReader reader(buffer, size);
  const PatchEdit edit(*editor);
  editor->parameters.MarkMirrorOutdated();
  for (CView* view : children()) {
    CControl* control = AsTaggedControl(view);
    if (!control) continue;
    float value = 0.0f;
    if (!reader.Read(value)) break;
    if (!std::isfinite(value)) continue;  // never saved by a control: keep the value
    // A push that was under way when the preset was saved is over.
    const bool isMomentary = dynamic_cast<CKickButton*>(control) != nullptr;
    control->setValue(isMomentary ? control->getMin() : value);
    if (auto* knob = dynamic_cast<ModuleKnob*>(control)) {
      knob->hostOffset = 0.0f;
      knob->SetAtOnce(knob->getValue());
    } else if (PatchPoint* point = AsPatchPoint(control); point && point->twoState) {
      point->setValue(point->cableCount == 0 ? 0.0f : 1.0f);
    }
    ValueChanged(control);
  }
  for (HeldLamp* lamp : heldLamps_) lamp->HoldLight();
}

void Module::SavePatchPointIndices(int* buffer) {
  forEach([&](CView* view) {
    if (CControl* control = AsTaggedControl(view)) *buffer++ = control->getTag();
  });
}

void Module::LoadPatchPointIndices(const int* buffer, unsigned size) {
  ByteReader reader(buffer, size);
  for (CView* view : children()) {
    CControl* control = AsTaggedControl(view);
    if (!control) continue;
    int stored = 0;
    if (!reader.Read(stored)) return;
    if (PatchPoint* point = AsPatchPoint(control)) {
      point->setTag(stored);
    } else if (stored >= 0 && stored < kParameterCount) {
      const int old = control->getTag();
      if (RegisterTag(control, stored)) hostTable.ChangeTag(editor, control, old, stored);
    }
  }
}

void Module::SavePreset(void* buffer, int) { SaveControlValues(static_cast<float*>(buffer)); }

void Module::LoadPreset(const void* buffer, int size, int) {
  LoadControlValues(static_cast<const float*>(buffer), static_cast<unsigned>(std::max(size, 0)));
}

void Module::EnterProcessingCriticalSection() { hostTable.EnterProcessingCriticalSection(editor); }

void Module::LeaveProcessingCriticalSection() { hostTable.LeaveProcessingCriticalSection(editor); }

void Module::SetPatchPointPoly(PatchPoint* point, bool poly) {
  if (point->poly == poly) return;
  point->poly = poly;
  polyPatchPoints_ += poly ? 1 : -1;
}

Module* Module::GetVoiceModule(int voiceIndex) {
  return hostTable.GetVoiceModule(editor, this, voiceIndex);
}

void Module::enteredFrame(CFrame* root) {
  ModuleWrapper::enteredFrame(root);
  for (ModuleTimer* timer : timers_) timer->EnterFrame(root);
}

void Module::leavingFrame(CFrame* root) {
  for (ModuleTimer* timer : timers_) timer->LeaveFrame();
  ModuleWrapper::leavingFrame(root);
}

CMouseEventResult Module::onMouseDown(CPoint& where, const CButtonState& buttons) {
  // A press drops a module that is being dragged; its controls do not get it.
  if (place.isDragged) return hostTable.ModuleMouseDown(editor, this, &where, &buttons);
  const CMouseEventResult taken = ModuleWrapper::onMouseDown(where, buttons);
  if (taken == kMouseEventHandled || taken == kMouseDownEventHandledButDontNeedMovedOrUpEvents) {
    return taken;
  }
  return hostTable.ModuleMouseDown(editor, this, &where, &buttons);
}

CMouseEventResult Module::onMouseUp(CPoint& where, const CButtonState& buttons) {
  if (getMouseDownView()) return ModuleWrapper::onMouseUp(where, buttons);
  return hostTable.ModuleMouseUp(editor, this, &where, &buttons);
}

CMouseEventResult Module::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  if (!place.isDragged) return ModuleWrapper::onMouseMoved(where, buttons);
  return hostTable.ModuleMouseMoved(editor, this, &where, &buttons);
}

std::string Module::tooltipAt(const CPoint& where) {
  const auto* control = dynamic_cast<const CControl*>(getViewAt(where, true));
  return control ? DescribeControl(*control) : ModuleWrapper::tooltipAt(where);
}

CRect Module::PlaceControl(float x, float y, SharedBitmap bitmap) const {
  return CentredOn(x, y, FrameSizeOf(bitmap));
}

template <class Control>
Control* Module::AdoptControl(Control* control, const char* role, float initial, int tag) {
  control->role = role;
  control->setValue(initial);
  control->setDefaultValue(initial);
  if (tag == TAG_AUTOMATIC) tag = GetFreeTag();
  control->setTag(tag < kParameterCount ? TAG_UNASSIGNED : tag);
  RegisterTag(control, tag);
  addView(control);
  return control;
}

PatchPoint* Module::MakePatchPoint(int type, bool twoState, const char* role, float x, float y) {
  CBitmap* bitmap = nullptr;
  CRect rect;
  if (twoState) {
    bitmap = BitmapOf(SharedBitmap::kMidiPatchPoint);
    rect = PlaceControl(x, y, SharedBitmap::kMidiPatchPoint);
  } else {
    // Jacks are picked at random, so that those of a panel differ.
    const auto pick = static_cast<std::size_t>(dsp::NextRandom() * kPatchPointBitmapCount) %
                      kPatchPointBitmapCount;
    bitmap = patchPointBitmaps[pick];
    const bool drawn = bitmap && bitmap->isLoaded();
    const CPoint size =
        drawn ? CPoint(bitmap->getWidth(), bitmap->getHeight())
              : CPoint(ScaleToPixels(kPatchPointSize), ScaleToPixels(kPatchPointSize));
    rect = CentredOn(x, y, size);
  }
  auto* point = new PatchPoint(rect, editor, editor, type, twoState ? 2 : 1, bitmap);
  point->twoState = twoState;
  points_.push_back(point);
  return AdoptControl(point, role, 0.0f, TAG_UNASSIGNED);
}

void Module::AddPatchPoint(Input& handle, const char* role, float x, float y) {
  PatchPoint* point = MakePatchPoint(kInputPoint, false, role, x, y);
  handle.Bind(point);
}

void Module::AddPatchPoint(Output& handle, const char* role, float x, float y) {
  PatchPoint* point = MakePatchPoint(kOutputPoint, false, role, x, y);
  handle.Bind(point);
}

void Module::AddPatchPoint(Either& handle, const char* role, float x, float y) {
  PatchPoint* point = MakePatchPoint(kEitherPoint, false, role, x, y);
  handle.Bind(point);
}

void Module::AddMidiPatchPoint(Input& handle, const char* role, float x, float y) {
  PatchPoint* point = MakePatchPoint(kInputPoint, true, role, x, y);
  handle.Bind(point);
}

void Module::AddMidiPatchPoint(Output& handle, const char* role, float x, float y) {
  PatchPoint* point = MakePatchPoint(kOutputPoint, true, role, x, y);
  handle.Bind(point);
}

template <class KnobClass>
KnobClass* Module::MakeKnob(Knob& handle, const char* role, float x, float y, SharedBitmap bitmap,
                            float initial, bool stepped, int tag) {
  auto* knob = new KnobClass(PlaceControl(x, y, bitmap), editor, TAG_UNASSIGNED,
                             InfoOf(bitmap).frames, BitmapOf(bitmap), editor->knobs);
  knob->stepped = stepped;
  knob->moves = &knobMoves_;
  knob->SetSmoothing(kDefaultSmoothDelay, sampleRate);
  AdoptControl(knob, role, initial, tag);
  knob->SetAtOnce(initial);
  handle.Bind(knob);
  return knob;
}

void Module::AddModuleKnob(Knob& handle, const char* role, float x, float y, SharedBitmap bitmap,
                           float initial, int tag) {
  MakeKnob<ModuleKnob>(handle, role, x, y, bitmap, initial, false, tag);
}

void Module::AddSteppedKnob(Knob& handle, const char* role, float x, float y, SharedBitmap bitmap,
                            float initial, int tag) {
  MakeKnob<ModuleKnob>(handle, role, x, y, bitmap, initial, true, tag);
}

ModuleKnobEx* Module::AddModuleKnobEx(Knob& handle, const char* role, float x, float y,
                                      SharedBitmap bitmap, float initial, int tag) {
  return MakeKnob<ModuleKnobEx>(handle, role, x, y, bitmap, initial, false, tag);
}

CVerticalSwitch* Module::AddVerticalSwitch(const char* role, float x, float y, SharedBitmap bitmap,
                                           float initial, int tag) {
  auto* control = new CVerticalSwitch(PlaceControl(x, y, bitmap), editor, TAG_UNASSIGNED,
                                      InfoOf(bitmap).frames, BitmapOf(bitmap));
  return AdoptControl(control, role, initial, tag);
}

CHorizontalSwitch* Module::AddHorizontalSwitch(const char* role, float x, float y,
                                               SharedBitmap bitmap, float initial, int tag) {
  auto* control = new CHorizontalSwitch(PlaceControl(x, y, bitmap), editor, TAG_UNASSIGNED,
                                        InfoOf(bitmap).frames, BitmapOf(bitmap));
  return AdoptControl(control, role, initial, tag);
}

CKickButtonEx* Module::AddKickButton(const char* role, float x, float y, SharedBitmap bitmap,
                                     int tag) {
  auto* control = new CKickButtonEx(PlaceControl(x, y, bitmap), editor, TAG_UNASSIGNED,
                                    BitmapOf(bitmap), InfoOf(bitmap).frames);
  return AdoptControl(control, role, 0.0f, tag);
}

COnOffButton* Module::AddOnOffButton(const char* role, float x, float y, SharedBitmap bitmap,
                                     float initial, int tag) {
  auto* control =
      new COnOffButton(PlaceControl(x, y, bitmap), editor, TAG_UNASSIGNED, BitmapOf(bitmap));
  return AdoptControl(control, role, initial, tag);
}

namespace {

template <class Digit>
Digit* MakeDigit(CRect place, CControlListener* listener, SharedBitmap bitmap, int digits,
                 int minimum, int maximum) {
  const double extra = place.getWidth() * (digits - 1);
  place = CRect(place.left - extra / 2, place.top, place.right + extra / 2, place.bottom);
  auto* control =
      new Digit(place, listener, TAG_UNASSIGNED, digits, InfoOf(bitmap).frames, BitmapOf(bitmap));
  control->setFontColor(digitColor);
  control->setMin(static_cast<float>(minimum));
  control->setMax(static_cast<float>(maximum));
  return control;
}

}  // namespace

CSpecialDigit* Module::AddSpecialDigit(const char* role, float x, float y, SharedBitmap bitmap,
                                       int digits, int minimum, int maximum, int tag) {
  auto* control = MakeDigit<CSpecialDigit>(PlaceControl(x, y, bitmap), editor, bitmap, digits,
                                           minimum, maximum);
  return AdoptControl(control, role, static_cast<float>(minimum), tag);
}

CSpecialDigitEx* Module::AddSpecialDigitEx(const char* role, float x, float y, SharedBitmap bitmap,
                                           int digits, int minimum, int maximum, int tag) {
  auto* control = MakeDigit<CSpecialDigitEx>(PlaceControl(x, y, bitmap), editor, bitmap, digits,
                                             minimum, maximum);
  control->SetBlankBitmap(BitmapOf(SharedBitmap::kBlankDigit));
  return AdoptControl(control, role, static_cast<float>(minimum), tag);
}

void Module::AddLamp(Lamp& handle, const char* role, float x, float y, SharedBitmap bitmap) {
  auto* lamp = new CMovieBitmapEx(PlaceControl(x, y, bitmap), editor, TAG_UNASSIGNED,
                                  InfoOf(bitmap).frames, BitmapOf(bitmap));
  handle.Bind(AdoptControl(lamp, role, 0.0f, TAG_UNASSIGNED));
}

void Module::AddLamp(HeldLamp& handle, const char* role, float x, float y, SharedBitmap bitmap) {
  AddLamp(static_cast<Lamp&>(handle), role, x, y, bitmap);
  heldLamps_.push_back(&handle);
}

CMovieBitmap* Module::AddMovieBitmap(const char* role, float x, float y, SharedBitmap bitmap,
                                     bool centred) {
  CRect place = PlaceControl(x, y, bitmap);
  if (!centred) place.moveTo(ScaleToPixels(x), ScaleToPixels(y));
  auto* control =
      new CMovieBitmap(place, editor, TAG_UNASSIGNED, InfoOf(bitmap).frames, BitmapOf(bitmap));
  return AdoptControl(control, role, 0.0f, TAG_UNASSIGNED);
}

namespace {

CRect ScaledArea(const CRect& area) {
  return CRect(ScaleToPixels(area.left), ScaleToPixels(area.top), ScaleToPixels(area.right),
               ScaleToPixels(area.bottom));
}

}  // namespace

CTextLabel* Module::AddTextLabel(const char* role, const CRect& area) {
  return AdoptControl(new CTextLabel(ScaledArea(area)), role, 0.0f, TAG_UNASSIGNED);
}

CTextLabelEx* Module::AddTextLabelEx(const char* role, const CRect& area) {
  return AdoptControl(new CTextLabelEx(ScaledArea(area)), role, 0.0f, TAG_UNASSIGNED);
}

namespace {

constexpr float kFieldFontShare = 0.62f;  // of a field's height

/// A field that shows a text, as high as a line of it.
template <class Field>
Field* SetUpField(Field* field) {
  const auto font = SharedPointer<CFontDesc>::Adopt(
      new CFontDesc(nullptr, field->getHeight() * static_cast<CCoord>(kFieldFontShare)));
  field->setFont(font);
  field->setFontColor(digitColor);
  field->setBackColor(DisplayView::kScreenColor);
  field->setHoriAlign(kLeftText);
  field->setTextInset(CPoint(ScaleToPixels(4), 0));
  return field;
}

/// An area of panel units, its centre at x and y.
CRect SizedOn(float x, float y, float width, float height) {
  return CentredOn(x, y, CPoint(ScaleToPixels(width), ScaleToPixels(height)));
}

}  // namespace

CSlider* Module::AddSlider(const char* role, float x, float y, float width, float height,
                           CSliderStyle style, float initial, int tag) {
  auto* slider = new CSlider(SizedOn(x, y, width, height), editor, TAG_UNASSIGNED, style);
  return AdoptControl(slider, role, initial, tag);
}

COptionMenu* Module::AddOptionMenu(const char* role, float x, float y, float width, float height,
                                   std::span<const char* const> entries, int initial, int tag) {
  auto* menu = SetUpField(new COptionMenu(SizedOn(x, y, width, height), editor, TAG_UNASSIGNED));
  for (const char* entry : entries) menu->addEntry(entry);
  menu->setMax(static_cast<float>(entries.size()) - 1.0f);
  return AdoptControl(menu, role, static_cast<float>(initial), tag);
}

CTextEdit* Module::AddTextEdit(const char* role, float x, float y, float width, float height,
                               const char* text) {
  auto* field =
      SetUpField(new CTextEdit(SizedOn(x, y, width, height), editor, TAG_UNASSIGNED, text));
  return AdoptControl(field, role, 0.0f, TAG_NONE);
}

DisplayView* Module::AddDisplay(const char* role, float x, float y, float width, float height) {
  return AdoptControl(new DisplayView(SizedOn(x, y, width, height), editor), role, 0.0f, TAG_NONE);
}

TextLogView* Module::AddTextLog(TextLog& log, float x, float y, float width, float height,
                                const char* fontFamily, float fontSize) {
  auto* view = new TextLogView(SizedOn(x, y, width, height), nullptr, log, fontFamily,
                               ScaleToPixels(static_cast<double>(fontSize)));
  addView(view);
  return view;
}

void Module::AddScrew(CMovieBitmap** screw, CControlListener* listener, bool left, bool top) {
  const CPoint size = FrameSizeOf(SharedBitmap::kScrew);
  const double distance = ScaleToPixels(kScrewDistance);
  const double centreX = left ? distance : getViewSize().getWidth() - distance;
  const double centreY = top ? distance : getViewSize().getHeight() - distance;
  const CRect place =
      CRect::FromSize(CPoint(centreX - size.x / 2, centreY - size.y / 2), size.x, size.y);
  *screw = new CMovieBitmap(place, listener, TAG_NONE, InfoOf(SharedBitmap::kScrew).frames,
                            BitmapOf(SharedBitmap::kScrew));
  const int angle = static_cast<int>(dsp::NextRandom() * 10.0);
  (*screw)->setValue(static_cast<float>(angle) * (1.0f / 9.0f));
  (*screw)->setMouseEnabled(false);
  addView(*screw);
}

void Module::AddLeftScrews(CMovieBitmap** top, CMovieBitmap** bottom, CControlListener* listener) {
  AddScrew(top, listener, true, true);
  AddScrew(bottom, listener, true, false);
}

void Module::AddRightScrews(CMovieBitmap** top, CMovieBitmap** bottom, CControlListener* listener) {
  AddScrew(top, listener, false, true);
  AddScrew(bottom, listener, false, false);
}

}  // namespace halveron
