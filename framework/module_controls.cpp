#include "framework/module_controls.h"

#include <algorithm>

#include "framework/module.h"

namespace halveron {

ModuleKnob::ModuleKnob(const CRect& rect, CControlListener* listener, int tag, int frames,
                       CBitmap* bitmap, std::shared_ptr<KnobStore> store)
    : CAnimKnob(rect, listener, tag, frames, bitmap),
      store_(std::move(store)),
      cell_(store_->Take()) {
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
}

int ModuleKnob::GetStepIndex() const {
  const int last = subPixmaps - 1;
  // Written so that a value that is no number counts as 0.
  const float share = cell_->value > 0.0f ? std::min(cell_->value, 1.0f) : 0.0f;
  return static_cast<int>(inverseBitmap ? (1.0f - share) * last : last * share);
}

int ModuleKnob::SnapToStep() {
  const int index = GetStepIndex();
  cell_->stepped_target =
      static_cast<float>(index) / static_cast<float>(std::max(subPixmaps - 1, 1));
  return index;
}

void ModuleKnob::SetAtOnce(float newValue) {
  setValue(newValue);
  cell_->smoothed_value = stepped ? cell_->stepped_target : cell_->value;
}

void ModuleKnob::SetSmoothing(float delay, float sampleRate) {
  if (delay >= 0.0f) smoothDelay = delay;
  cell_->smooth_step = 1000.0f / (smoothDelay * sampleRate);
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

CMouseEventResult CKickButtonEx::onMouseDown(CPoint& where, const CButtonState& buttons) {
  if (!buttons.isLeftButton()) return kMouseEventNotHandled;
  entryState_ = getValue();
  beginEdit();
  onMouseMoved(where, buttons);
  if (getValue() != 0.0f) valueChanged();
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
  int rest = static_cast<int>(std::clamp(getValue(), getMin(), getMax()));
  int divisor = static_cast<int>(getMax() + 1.0f) / 10;
  bool leading = true;
  for (int place = 0; place < digits; ++place) {
    const int digit = divisor > 0 ? rest / divisor : rest;
    if (divisor > 0) rest %= divisor;
    divisor /= 10;
    leading = leading && digit == 0 && place < digits - 1;
    places[static_cast<std::size_t>(place)] = leading ? kBlank : digit;
  }
  return places;
}

void CSpecialDigitEx::drawImage(CDrawContext& context) {
  const std::array<int, kMaxDigits> places = Places();
  for (int place = 0; place < digits; ++place) {
    const int digit = places[static_cast<std::size_t>(place)];
    if (digit == kBlank && blank_) {
      blank_->draw(context, placeRect(place));
    } else {
      drawDigit(context, place, std::max(digit, 0));
    }
  }
}

std::unique_lock<platform::RecursiveLock> CTextLabelEx::Guard() const {
  return threadSafe ? std::unique_lock(lock_)
                    : std::unique_lock<platform::RecursiveLock>(lock_, std::defer_lock);
}

void CTextLabelEx::setText(const char* text) {
  const std::string copy = text ? text : "";
  SetOwnedText(copy, copy.size());
}

void CTextLabelEx::FreeText() {
  const auto guard = Guard();
  text_ = std::string();
  capacity_ = 0;
  lineStarts_.clear();
  topLine_ = 0;
}

void CTextLabelEx::SetOwnedText(const std::string& text, std::size_t capacity) {
  const auto guard = Guard();
  text_ = text;
  capacity_ = std::max(capacity, text.size());
  text_.reserve(capacity_);
  topLine_ = 0;
  if (!lineStarts_.empty()) {
    lineStarts_.clear();
    StartLines();
  }
  setDirty();
}

bool CTextLabelEx::AppendText(const std::string& text, bool grow) {
  const auto guard = Guard();
  const std::size_t oldLength = text_.size();
  const std::size_t length = oldLength + text.size();
  if (length > capacity_) {
    if (length <= maxChars) {
      capacity_ = std::min(std::max(capacity_ * 2, length), maxChars);
    } else if (grow) {
      capacity_ = length;
    } else {
      return false;
    }
    text_.reserve(capacity_);
  }
  text_ += text;
  if (!lineStarts_.empty()) BuildLines(oldLength);
  setDirty();
  return true;
}

void CTextLabelEx::StartLines() {
  const auto guard = Guard();
  lineStarts_.reserve(20);
  lineStarts_.assign(1, 0);
  BuildLines(0);
}

void CTextLabelEx::BuildLines(std::size_t from) {
  const auto guard = Guard();
  if (lineStarts_.empty()) lineStarts_.push_back(0);
  constexpr std::size_t kNoBlank = std::string::npos;
  // A line that was open at `from` may have to be wrapped at a blank before it.
  while (lineStarts_.size() > 1 && lineStarts_.back() > from) lineStarts_.pop_back();
  std::size_t lastBlank = kNoBlank;
  for (std::size_t i = lineStarts_.back(); i < text_.size(); ++i) {
    if (text_[i] == ' ') lastBlank = i;
    const std::size_t column = i - lineStarts_.back() + 1;
    if (text_[i] != '\n' && column > wrapColumns && lastBlank != kNoBlank &&
        lastBlank > lineStarts_.back()) {
      text_[lastBlank] = '\n';
      i = lastBlank;
    }
    if (text_[i] != '\n') continue;
    std::size_t next = i + 1;
    if (next < text_.size() && text_[next] == '\r') ++next;
    lineStarts_.push_back(next);
    i = next - 1;
    lastBlank = kNoBlank;
  }
}

void CTextLabelEx::ScrollToLine(int line) {
  const auto guard = Guard();
  topLine_ = std::clamp(line, 0, std::max(GetLineCount() - 1, 0));
  setDirty();
}

int CTextLabelEx::GetLineCount() const {
  const auto guard = Guard();
  return static_cast<int>(lineStarts_.size());
}

std::string CTextLabelEx::Text() const {
  const auto guard = Guard();
  return text_;
}

std::string CTextLabelEx::VisibleText() const {
  const auto guard = Guard();
  if (visibleLines_ <= 0 || lineStarts_.empty()) return text_;
  const auto top = static_cast<std::size_t>(topLine_);
  const std::size_t end = top + static_cast<std::size_t>(visibleLines_);
  const std::size_t start = lineStarts_[top];
  const std::size_t stop = end < lineStarts_.size() ? lineStarts_[end] : text_.size();
  return text_.substr(start, stop - start);
}

void CTextLabelEx::drawPlain(CDrawContext& context) {
  drawBack(context);
  drawText(context, VisibleText());
}

}  // namespace halveron
