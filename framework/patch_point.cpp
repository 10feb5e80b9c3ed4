#include "framework/patch_point.h"

#include <cstring>

#include "framework/module.h"
#include "framework/rack_model.h"

namespace halveron {

namespace {

// An either-way point works on both cells, so they lie side by side; of a fixed point only one
// counts, and the idle one is kept out of the way of those that the loop touches.
constexpr std::size_t kCellsPerPoint = 2;

}  // namespace

PatchPoint::PatchPoint(const CRect& rect, CControlListener* listener, RackModel* rack,
                       int pointType, int frames, CBitmap* bitmap,
                       std::shared_ptr<SignalStore> store)
    : CMovieBitmap(rect, listener, TAG_UNASSIGNED, frames, bitmap),
      type(pointType),
      voiceLink(this),
      editor(rack),
      store_(std::move(store)) {
  if (type == kEitherPoint) {
    in.cell_ = store_->TakeSignals(kCellsPerPoint);
    out.cell_ = in.cell_ + 1;
  } else {
    (type == kInputPoint ? in : out).cell_ = store_->TakeSignals(1);
    (type == kInputPoint ? out : in).cell_ = &idleCell_;
  }
}

PatchPoint::~PatchPoint() {
  if (type == kEitherPoint) {
    store_->GiveBackSignals(in.cell_, kCellsPerPoint);
  } else {
    store_->GiveBackSignals(type == kInputPoint ? in.cell_ : out.cell_, 1);
  }
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
