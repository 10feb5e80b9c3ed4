#include "gui/control.h"

#include "gui/draw_context.h"

namespace halveron {
namespace {

/// A value within a range; what is no number goes to the lower end.
float Bounded(float v, float low, float high) {
  if (v > high) return high;
  return v >= low ? v : low;
}

}  // namespace

CControl::CControl(const CRect& size, CControlListener* listener_, int tag_, CBitmap* bitmap)
    : CView(size), tag(tag_), listener(listener_) {
  background = bitmap;
}

void CControl::BindValue(float* cell) {
  float* target = cell ? cell : &ownValue;
  *target = *value;
  value = target;
}

float CControl::getValueNormalized() const {
  return vmax == vmin ? 0 : (*value - vmin) / (vmax - vmin);
}

void CControl::setValueNormalized(float share) {
  const float bounded = Bounded(share, 0, 1);
  setValue(bounded >= 1 ? vmax : vmin + bounded * (vmax - vmin));
}

void CControl::bounceValue() {
  const float bounded = Bounded(*value, vmin, vmax);
  if (bounded != *value) setValue(bounded);
}

void CControl::valueChanged() {
  if (listener) listener->valueChanged(this);
}

void CControl::beginEdit() {
  if (++editing == 1 && listener) listener->controlBeginEdit(this);
}

void CControl::endEdit() {
  if (editing > 0 && --editing == 0 && listener) listener->controlEndEdit(this);
}

bool CControl::checkDefaultValue(const CButtonState& buttons) {
  if (!buttons.isLeftButton() || !buttons.isControlSet()) return false;
  beginEdit();
  setValue(Bounded(defaultValue, vmin, vmax));
  valueChanged();
  if (isDirty()) invalid();
  endEdit();
  return true;
}

bool CControl::changeValue(float v) {
  const float bounded = Bounded(v, vmin, vmax);
  if (bounded == *value) return false;
  setValue(bounded);
  valueChanged();
  if (isDirty()) invalid();
  return true;
}

float CControl::shownShare() const {
  return vmax == vmin ? 0 : Bounded((oldValue - vmin) / (vmax - vmin), 0, 1);
}

void CControl::draw(CDrawContext* context) {
  oldValue = *value;
  setDirty(false);
  if (hasImage()) {
    drawImage(*context);
  } else {
    drawPlain(*context);
  }
}

void CControl::drawImage(CDrawContext& context) { background->draw(context, viewSize); }

void CControl::drawPlain(CDrawContext& context) {
  context.setLineWidth(1);
  context.setFrameColor(kGreyCColor);
  context.drawRect(viewSize, kDrawStroked);
}

}  // namespace halveron
