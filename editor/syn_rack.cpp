#include "editor/syn_rack.h"

#include <algorithm>
#include <cmath>

#include "framework/module.h"
#include "framework/rack_model.h"
#include "gui/draw_context.h"

namespace halveron {

namespace {

constexpr int kLayerPending = 0;
constexpr int kLayerStands = -1;

// Rows where the skin has no image for them.
constexpr CColor kPlainRow{38, 39, 43};
constexpr CColor kPlainRail{58, 60, 66};
constexpr int kRailHeight = 6;  // panel units

CRect PlugRect(const CBitmap& image, const CPoint& at) {
  const CPoint size(image.getWidth(), image.getHeight());
  return CRect::FromSize(CPoint(std::floor(at.x - size.x / 2), std::floor(at.y - size.y / 2)),
                         size.x, size.y);
}

}  // namespace

SynRack::SynRack(RackModel& rack, const WindowImages& images, const RackGeometry& geometry)
    : CViewContainer(CRect(0, 0, geometry.rackWidth, geometry.RackHeight()), nullptr),
      rack_(rack),
      images_(images),
      geometry_(geometry) {
  ResizeCableLayer(static_cast<int>(geometry.ViewHeight()));
}

SynRack::~SynRack() = default;

void SynRack::drawBackgroundRect(CDrawContext* context, const CRect& updateRect) {
  const int height = geometry_.rowHeight;
  const int first = std::max(static_cast<int>(updateRect.top) / height, 0);
  for (int row = first; row < geometry_.rows && row * height < updateRect.bottom; ++row) {
    const CRect place(0, row * height, getWidth(), (row + 1) * height);
    CBitmap& image = *images_.rows[static_cast<std::size_t>(row) % WindowImages::kRowImages];
    if (image.isLoaded()) {
      image.draw(*context, place);
      continue;
    }
    const CCoord rail = ScaleToPixels(kRailHeight);
    context->setFillColor(kPlainRow);
    context->fillRect(place);
    context->setFillColor(kPlainRail);
    context->fillRect({place.left, place.top, place.right, place.top + rail});
    context->fillRect({place.left, place.bottom - rail, place.right, place.bottom});
  }
}

void SynRack::drawRect(CDrawContext* context, const CRect& updateRect) {
  CViewContainer::drawRect(context, updateRect);
  const CRect shown(0, 0, geometry_.rackWidth, layerHeight_);
  const CRect area = CRect(shown).bound(updateRect).bound(context->getClipRect());
  if (area.isEmpty()) return;
  const DrawStateScope scope(*context);
  context->setClipRect(area);
  if (redrawFrames_ > kLayerPending) {
    context->pushOffset(viewSize.getTopLeft());
    DrawCables(*context, CRect(area).offset(-viewSize.left, -viewSize.top));
    --redrawFrames_;
    return;
  }
  if (redrawFrames_ == kLayerPending) BuildCableLayer();
  if (cableLayer_) cableLayer_->copyFrom(*context, area, area.getTopLeft());
}

void SynRack::BuildCableLayer() {
  redrawFrames_ = kLayerStands;
  if (rack_.visibleCableCount == 0 && !draggedEnd_) {
    cableLayer_.reset();
    return;
  }
  if (!cableLayer_) {
    cableLayer_ = std::make_unique<COffscreenContext>(geometry_.rackWidth, layerHeight_);
  } else {
    cableLayer_->clearRect(CRect(0, 0, geometry_.rackWidth, layerHeight_));
  }
  const DrawStateScope scope(*cableLayer_);
  cableLayer_->pushOffset(viewSize.getTopLeft());
  DrawCables(*cableLayer_, VisiblePart());
}

void SynRack::DrawCables(CDrawContext& context, const CRect& area) const {
  for (const Cable* cable = rack_.cableList.head; cable; cable = cable->next) {
    if (cable->voiceTag != 0 || !GetCableRect(*cable).rectOverlap(area)) continue;
    const CPoint from = CableEnd(*cable->destination);
    const CPoint to = CableEnd(*cable->origin);
    if (cable->destination->twoState) {
      DrawPlug(context, *images_.connectedMidiPlug, from);
      DrawPlug(context, *images_.connectedMidiPlug, to);
    }
    painter_.Draw(context, from, to, cable->colour);
  }
  if (!draggedEnd_ || !rack_.isDraggingCable) return;
  const CPoint origin = CableEnd(*rack_.dragOrigin);
  if (rack_.dragOrigin->twoState) {
    DrawPlug(context, *images_.connectedMidiPlug, origin);
    DrawPlug(context, *images_.midiPlug, *draggedEnd_);
  }
  painter_.Draw(context, origin, *draggedEnd_, rack_.dragColour);
}

void SynRack::DrawPlug(CDrawContext& context, CBitmap& image, const CPoint& at) const {
  image.draw(context, PlugRect(image, at));
}

void SynRack::invalidateDirtyViews() {
  // Modules out of sight are not asked: lamps that blink up there cost nothing.
  if (dirty) return invalid();
  for (CView* view : childViews) {
    auto* module = static_cast<Module*>(view);
    if (module->isVisible() && IsInSight(*module)) module->invalidateDirtyViews();
  }
}

CMouseEventResult SynRack::onMouseDown(CPoint& where, const CButtonState& buttons) {
  const CMouseEventResult result = CViewContainer::onMouseDown(where, buttons);
  if (result != kMouseEventNotHandled || !buttons.isRightButton() || !onContextPress) return result;
  onContextPress();
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

bool SynRack::onKeyDown(const CKeyEvent& event) { return onKey && onKey(event); }

void SynRack::RequestRedraw() {
  redrawFrames_ = kMovingPaints;
  invalid();
}

void SynRack::Invalidate(const CRect& rect) {
  redrawFrames_ = kMovingPaints;
  invalidRect(rect);
}

void SynRack::ResizeCableLayer(int height) {
  layerHeight_ = height;
  cableLayer_.reset();
  RequestRedraw();
}

void SynRack::SetCableStyle(const CableStyle& style) {
  painter_ = CablePainter(style);
  RequestRedraw();
}

CRect SynRack::VisiblePart() const {
  return CRect(0, -viewSize.top, geometry_.rackWidth, layerHeight_ - viewSize.top);
}

bool SynRack::IsInSight(const Module& module) const {
  return module.getViewSize().rectOverlap(VisiblePart());
}

void SynRack::MoveModule(Module& module, const CPoint& corner) {
  if (module.getViewSize().getTopLeft() == corner) return;
  const CRect before = ReachOf(module);
  const CRect place = CRect(module.getViewSize()).moveTo(corner);
  module.setViewSize(place, false);
  module.setMouseableArea(place);
  // As one: cables cross each other, and what lies in several rectangles is painted as often.
  Invalidate(ReachOf(module).unite(before));
}

void SynRack::RaiseModule(Module& module) {
  if (childViews.empty() || childViews.back() == &module) return;
  removeView(&module, false);
  addView(&module);
}

std::vector<CRect> SynRack::PlacesWithout(const Module& module) const {
  std::vector<CRect> places;
  for (const Module* other : rack_.modules[0]) {
    if (other != &module) places.push_back(other->getViewSize());
  }
  return places;
}

void SynRack::MoveOthers(const Module& module, const std::vector<CRect>& places) {
  auto place = places.begin();
  for (Module* other : rack_.modules[0]) {
    if (other != &module) MoveModule(*other, (place++)->getTopLeft());
  }
}

CPoint SynRack::CableEnd(const PatchPoint& point) const {
  return point.getViewSize().getCenter() + CPoint(point.cableOffsetX, point.cableOffsetY) +
         point.Owner()->getViewSize().getTopLeft();
}

CRect SynRack::GetCableRect(const Cable& cable) const {
  const CPoint from = CableEnd(*cable.destination);
  const CPoint to = CableEnd(*cable.origin);
  CRect rect = painter_.BoundsOf(from, to);
  if (cable.destination->twoState) {
    rect.unite(PlugRect(*images_.connectedMidiPlug, from));
    rect.unite(PlugRect(*images_.connectedMidiPlug, to));
  }
  return rect;
}

CRect SynRack::GetDraggedCableRect() const {
  if (!draggedEnd_ || !rack_.isDraggingCable) return {};
  const CPoint origin = CableEnd(*rack_.dragOrigin);
  CRect rect = painter_.BoundsOf(origin, *draggedEnd_);
  if (rack_.dragOrigin->twoState) {
    rect.unite(PlugRect(*images_.connectedMidiPlug, origin));
    rect.unite(PlugRect(*images_.midiPlug, *draggedEnd_));
  }
  return rect;
}

void SynRack::InvalidateCable(const Cable& cable) { Invalidate(GetCableRect(cable)); }

CRect SynRack::ReachOf(const Module& module) const {
  CRect reach = module.getViewSize();
  for (const Cable* cable = rack_.cableList.head; cable; cable = cable->next) {
    if (cable->voiceTag != 0) continue;
    if (cable->destination->Owner() == &module || cable->origin->Owner() == &module) {
      reach.unite(GetCableRect(*cable));
    }
  }
  return reach;
}

void SynRack::MoveDraggedCable(std::optional<CPoint> mouse) {
  if (!mouse && !draggedEnd_) return;
  Invalidate(draggedRect_);
  draggedEnd_ = mouse;
  draggedRect_ = GetDraggedCableRect();
  Invalidate(draggedRect_);
}

}  // namespace halveron
