#include "framework/patch_point.h"

#include <cstring>

#include "framework/module.h"
#include "framework/rack_model.h"

namespace halveron {

PatchPoint::PatchPoint(const CRect& rect, CControlListener* listener, RackModel* rack,
                       int pointType, int frames, CBitmap* bitmap)
    : CMovieBitmap(rect, listener, TAG_UNASSIGNED, frames, bitmap),
      type(pointType),
      voiceLink(this),
      editor(rack) {
  own_ = in.cell_ = &resting_[0];
  out.cell_ = &resting_[1];
}

void PatchPoint::AttachHandle(PointLink* handle) {
  handle_ = handle;
  MoveHandle();
  ShowCabled(IsCabled());
}

void PatchPoint::CountCable(int change) {
  cableCount += change;
  ShowCabled(IsCabled());
}

void PatchPoint::ShowCabled(bool isCabled) {
  if (handle_) handle_->isCabled = isCabled;
}

void PatchPoint::MoveHandle() const {
  if (handle_) handle_->cell = type == kOutputPoint ? out.cell_ : in.cell_;
}

void PatchPoint::PlaceIn(float* cell) {
  *cell = in;
  own_ = in.cell_ = cell;
  MoveHandle();
}

void PatchPoint::PlaceOut(float* cell) {
  *cell = out;
  out.cell_ = cell;
  MoveHandle();
}

void PatchPoint::PlaceBoth(float* pair) {
  PlaceIn(pair);
  PlaceOut(pair + 1);
}

void PatchPoint::ReadAt(float* cell) {
  in.cell_ = cell;
  MoveHandle();
}

void PatchPoint::ReadOwn() {
  if (in.cell_ == own_) return;
  *own_ = in;
  in.cell_ = own_;
  MoveHandle();
}

Module* PatchPoint::Owner() const { return static_cast<Module*>(getParentView()); }

bool PatchPoint::IsOnMonoSide() const { return Owner()->mono || poly; }

int PatchPoint::notify(CBaseObject* sender, const char* message) {
  if (std::strcmp(message, kCableDropMessage) != 0) return CMovieBitmap::notify(sender, message);
  return Owner()->hostTable.PatchPointNotify(editor, this, static_cast<PatchPoint*>(sender));
}

CMouseEventResult PatchPoint::onMouseDown(CPoint& where, const CButtonState& buttons) {
  return Owner()->hostTable.PatchPointMouseDown(editor, this, &where, &buttons);
}

CMouseEventResult PatchPoint::onMouseUp(CPoint& where, const CButtonState& buttons) {
  return Owner()->hostTable.PatchPointMouseUp(editor, this, &where, &buttons);
}

}  // namespace halveron
