#include "framework/module_controls.h"

#include <algorithm>

#include "framework/knob_store.h"
#include "framework/module.h"
#include "framework/rack_model.h"
#include "gui/draw_context.h"
#include "gui/frame.h"

namespace halveron {

ModuleKnob::ModuleKnob(const CRect& rect, CControlListener* listener, int tag, int frames,
                       CBitmap* bitmap, KnobStore* store)
    : CAnimKnob(rect, listener, tag, frames, bitmap), store_(store), cell_(store_->Take()) {
  BindValue(&cell_->value);
  setZoomFactor(5.0f);
}

ModuleKnob::~ModuleKnob() {
  BindValue(nullptr);
  store_->GiveBack(cell_);
}

void ModuleKnob::setValue(float newValue) {
  cell_->value = newValue;
  if (stepped) SnapToStep();
  CountMove();
  store_->NoteMove();
}

void ModuleKnob::bounceValue() {
  CAnimKnob::bounceValue();
  CountMove();
  store_->NoteMove();
}

int ModuleKnob::GetStepIndex() const { return StepOf(cell_->value); }

int ModuleKnob::StepOf(float value) const {
  const int last = subPixmaps - 1;
  // Written so that a NaN counts as 0.
  const float share = value > 0.0f ? std::min(value, 1.0f) : 0.0f;
  return static_cast<int>(inverseBitmap ? (1.0f - share) * last : last * share);
}

float ModuleKnob::pointerShare() const {
  if (!stepped || subPixmaps < 2) return CAnimKnob::pointerShare();
  const float share = static_cast<float>(StepOf(oldValue)) / static_cast<float>(subPixmaps - 1);
  return inverseBitmap ? 1.0f - share : share;
}

int ModuleKnob::SnapToStep() {
  const int index = GetStepIndex();
  cell_->stepped_target =
      static_cast<float>(index) / static_cast<float>(std::max(subPixmaps - 1, 1));
  CountMove();
  store_->NoteMove();
  return index;
}

void ModuleKnob::SetAtOnce(float newValue) {
  setValue(newValue);
  cell_->smoothed_value = stepped ? cell_->stepped_target : cell_->value;
  CountMove();
  store_->NoteMove();
}

void ModuleKnob::TakeValue(float newValue) {
  cell_->value = newValue;
  CountMove();
  store_->NoteMove();
}

float ModuleKnob::BaseValue() const {
  if (hostOffset == 0.0f) return getValue();
  if (getValue() == modulatedValue_) return modulatedBase_;
  return std::clamp(getValue() - hostOffset, 0.0f, 1.0f);
}

void ModuleKnob::SetModulated(float base, float offset) {
  modulatedBase_ = base;
  modulatedValue_ = std::clamp(base + offset, 0.0f, 1.0f);
  hostOffset = modulatedValue_ - base;
  setValue(modulatedValue_);
}

float BaseValueOf(const CControl& control) {
  const auto* knob = dynamic_cast<const ModuleKnob*>(&control);
  return knob ? knob->BaseValue() : control.getValue();
}

void ModuleKnob::SetSmoothing(float delay, float sampleRate) {
  if (delay >= 0.0f) smoothDelay = delay;
  cell_->smooth_step = 1000.0f / (smoothDelay * sampleRate);
  store_->NoteMove();
}

CMouseEventResult ModuleKnob::onMouseDown(CPoint& where, const CButtonState& buttons) {
  if (buttons.isRightButton()) {
    if (auto* module = dynamic_cast<Module*>(getParentView())) {
      return module->hostTable.ModuleKnobMouseDown(module->editor, this, &where, &buttons);
    }
  }
  return CAnimKnob::onMouseDown(where, buttons);
}

bool ModuleKnob::onWheel(const CPoint& where, float distance, const CButtonState& buttons) {
  if (!stepped || subPixmaps < 2) return CAnimKnob::onWheel(where, distance, buttons);
  const int last = subPixmaps - 1;
  const int turn = distance > 0.0f ? 1 : -1;
  const int index = std::clamp(GetStepIndex() + (inverseBitmap ? -turn : turn), 0, last);
  beginEdit();
  // A little above the step's edge: the index is cut, and a quotient may fall short of it.
  const float share = (static_cast<float>(index) + 0.001f) / static_cast<float>(last);
  changeValue(inverseBitmap ? 1.0f - share : share);
  endEdit();
  return true;
}

float ModuleKnobEx::dragPixels(const CButtonState& buttons) const {
  if (fineByDefault) return kFineDragPixels * zoomFactor * (buttons.isShiftSet() ? 4.0f : 1.0f);
  return kFineDragPixels * (buttons.isShiftSet() ? zoomFactor : 1.0f);
}

float ModuleKnobEx::radialValue(const CPoint& where) {
  const float target = valueFromPoint(where);
  const float jump = target - radialStart;
  if (jump > getRange() * 0.5f) return getMax();
  if (jump < getRange() * -0.5f) return getMin();
  radialStart = target;
  return target;
}

void ModuleKnobEx::invalid() {
  if (redrawOnChange || !isEditing()) {
    ModuleKnob::invalid();
  } else {
    setDirty();
  }
}

void CKickButtonEx::setValue(float newValue) {
  CKickButton::setValue(newValue);
  const auto* module = dynamic_cast<const Module*>(getParentView());
  if (module && module->editor) module->editor->knobs->NoteMove();
}

CMouseEventResult CKickButtonEx::onMouseDown(CPoint& where, const CButtonState& buttons) {
  if (!buttons.isLeftButton()) return kMouseEventNotHandled;
  const CView* modalBefore = frame ? frame->getModalView() : nullptr;
  entryState_ = getValue();
  beginEdit();
  onMouseMoved(where, buttons);
  if (getValue() != 0.0f) valueChanged();
  // A dialog that this press opened gets the release.
  if (frame && frame->getModalView() != modalBefore) onMouseUp(where, buttons);
  return kMouseEventHandled;
}

CMouseEventResult CKickButtonEx::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  if (!buttons.isLeftButton() || !isEditing()) return kMouseEventNotHandled;
  const float toggled = entryState_ == 0.0f ? 1.0f : 0.0f;
  setValue(getViewSize().pointInside(where) ? toggled : entryState_);
  if (isDirty()) invalid();
  return kMouseEventHandled;
}

CMouseEventResult CKickButtonEx::onMouseUp(CPoint&, const CButtonState&) {
  if (!isEditing()) return kMouseEventNotHandled;
  setValue(0.0f);
  valueChanged();
  if (isDirty()) invalid();
  endEdit();
  return kMouseEventHandled;
}

bool CMovieBitmapEx::isDirty() const {
  if (dirty) return true;
  if (auto* module = dynamic_cast<Module*>(getParentView())) {
    if (!module->hostTable.LampMayRedraw(module->editor, this)) return false;
  }
  const float change = getValue() - oldValue;
  return change > 0.05f || change < -0.05f;
}

void CMovieBitmapEx::drawImage(CDrawContext& context) {
  const float level = std::min(oldValue, 1.0f);
  if (!(level > 0.0f)) return;
  const int frame = static_cast<int>(static_cast<float>(subPixmaps - 1) * level + 0.5f);
  drawFrame(context, background.get(), viewSize, frame);
}

std::array<int, CSpecialDigitEx::kMaxDigits> CSpecialDigitEx::Places() const {
  std::array<int, kMaxDigits> places{};
  // From the number of places, not from the maximum: a display that counts to 16 has tens.
  int divisor = 1;
  for (int place = 1; place < digits; ++place) divisor *= 10;
  const int shown = static_cast<int>(std::clamp(getValue(), getMin(), getMax()));
  int rest = std::clamp(shown, 0, 10 * divisor - 1);
  bool leading = true;
  for (int place = 0; place < digits; ++place) {
    const int digit = rest / divisor;
    rest %= divisor;
    divisor = std::max(divisor / 10, 1);
    leading = leading && digit == 0 && place < digits - 1;
    places[static_cast<std::size_t>(place)] = leading ? kBlank : digit;
  }
  return places;
}

void CSpecialDigitEx::drawImage(CDrawContext& context) {
  const std::array<int, kMaxDigits> places = Places();
  for (int place = 0; place < digits; ++place) {
    const int digit = places[static_cast<std::size_t>(place)];
    if (digit == kBlank && blank_ && blank_->load()) {
      blank_->fillThrough(context, placeRect(place), {}, fontColor);
    } else {
      drawDigit(context, place, std::max(digit, 0));
    }
  }
}

}  // namespace halveron
