#include "editor/syn_rack.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "editor/rack_hints.h"
#include "editor/signal_kind.h"
#include "framework/module.h"
#include "framework/panel_metrics.h"
#include "framework/rack_model.h"
#include "gui/draw_context.h"
#include "gui/frame.h"
#include "gui/theme.h"

namespace halveron {

namespace {

constexpr int kLayerPending = 0;
constexpr int kLayerStands = -1;

// Rows where the skin has no image for them.
constexpr CColor kPlainRow{38, 39, 43};
constexpr CColor kPlainRail{58, 60, 66};
constexpr int kRailHeight = 6;  // panel units

// The outline of the place where a dragged module will land.
constexpr int kOutlineWidth = 2;  // panel units
constexpr int kOutlineAlpha = 48;
constexpr CColor kSelectedOutline{110, 170, 240};

}  // namespace

SynRack::SynRack(RackModel& rack, const WindowImages& images, const RackGeometry& geometry)
    : CViewContainer(CRect(0, 0, geometry.rackWidth, geometry.RackHeight()), nullptr),
      rack_(rack),
      images_(images),
      geometry_(geometry),
      cables_(images) {
  ResizeLayers();
}

SynRack::~SynRack() = default;

void SynRack::setViewSize(const CRect& rect, bool invalidate) {
  const CPoint moved = rect.getTopLeft() - viewSize.getTopLeft();
  const bool isScroll =
      rect.getWidth() == getWidth() && rect.getHeight() == getHeight() && moved.x == 0;
  if (isScroll) {
    panels_.Shift(moved.y);
  } else {
    panels_.InvalidateAll();
  }
  cables_.MoveTo(rect.getTopLeft());
  CViewContainer::setViewSize(rect, invalidate);
}

void SynRack::drawBackgroundRect(CDrawContext* context, const CRect& updateRect) {
  const int height = geometry_.rowHeight;
  const int first = std::max(static_cast<int>(updateRect.top) / height, 0);
  for (int row = first; row < geometry_.rows && row * height < updateRect.bottom; ++row) {
    const CRect place(0, row * height, getWidth(), (row + 1) * height);
    CBitmap& image = *images_.rows[static_cast<std::size_t>(row) % WindowImages::kRowImages];
    // The layer of the panels has to be opaque, also where an image is not.
    context->setFillColor(kPlainRow);
    context->fillRect(place);
    if (image.isLoaded()) {
      image.draw(*context, place);
      continue;
    }
    const CCoord rail = ScaleToPixels(kRailHeight);
    context->setFillColor(kPlainRail);
    context->fillRect({place.left, place.top, place.right, place.top + rail});
    context->fillRect({place.left, place.bottom - rail, place.right, place.bottom});
  }
  if (ShowsHints()) DrawHints(*context);
}

bool SynRack::ShowsHints() const { return rack_.ModuleCount() == 0; }

void SynRack::DrawHints(CDrawContext& context) const {
  // Within the first row, for the rails between rows are too bright for a pale text.
  DrawRackHints(context, {0, 0, getWidth(), static_cast<CCoord>(geometry_.rowHeight)});
}

void SynRack::HintsChanged() { panels_.InvalidateAll(); }

void SynRack::drawRect(CDrawContext* context, const CRect& updateRect) {
  const CRect area =
      CRect(panels_.Bounds()).bound(viewSize).bound(updateRect).bound(context->getClipRect());
  if (area.isEmpty()) return;
  setDirty(false);
  UpdatePanels(area);
  UpdateCables();
  panels_.ReplaceIn(*context, area);
  const DrawStateScope scope(*context);
  context->setClipRect(area);
  DrawOutlines(*context);
  cables_.Draw(*context, area);
  context->pushOffset(viewSize.getTopLeft());
  marks_.Draw(*context, CRect(area).offset(-viewSize.left, -viewSize.top));
  context->popOffset();
  DrawDraggedCable(*context, area);
}

void SynRack::UpdatePanels(const CRect& area) {
  // Views that changed and have not asked for a redraw yet are drawn as they are now.
  const CRect inRack = CRect(area).offset(-viewSize.left, -viewSize.top);
  for (CView* view : childViews) {
    if (!view->isVisible() || !view->getViewSize().rectOverlap(inRack) || !view->isDirty())
      continue;
    CViewContainer* module = view->asContainer();
    bool isFound = false;
    for (const CView* part : module->children()) {
      if (!part->isVisible() || !part->isDirty()) continue;
      isFound = true;
      OutdatePanels(
          CRect(part->getViewSize()).offset(view->getViewSize().getTopLeft()).bound(inRack));
    }
    if (!isFound) OutdatePanels(CRect(view->getViewSize()).bound(inRack));
  }
  panels_.Refresh(
      [this](CDrawContext& layer, const CRect& rect) { CViewContainer::drawRect(&layer, rect); });
}

void SynRack::UpdateCables() {
  const CFrame* root = getFrame();
  const std::uint64_t paint = root ? root->getPaintCount() : lastPaint_ + 1;
  const bool isNewPaint = paint != lastPaint_;
  lastPaint_ = paint;
  if (redrawFrames_ == kLayerStands || !(isNewPaint || cablesMayDiffer_)) return;
  cablesMayDiffer_ = false;
  std::vector<CableStrand> strands;
  strands.reserve(static_cast<std::size_t>(std::max(rack_.cables.visibleCableCount, 0)));
  for (const Cable* cable = rack_.cables.cableList.head; cable; cable = cable->next) {
    if (cable->voiceTag == 0) strands.push_back(StrandOf(*cable));
  }
  cables_.Update(strands);
  if (redrawFrames_ == kLayerPending) cables_.Settle();
  if (isNewPaint) --redrawFrames_;
}

void SynRack::DrawDraggedCable(CDrawContext& context, const CRect& area) const {
  if (!GetDraggedCableRect().offset(viewSize.getTopLeft()).rectOverlap(area)) return;
  const DrawStateScope scope(context);
  context.pushOffset(viewSize.getTopLeft());
  cables_.DrawStrand(context, DraggedStrand(), *images_.midiPlug);
}

void SynRack::DrawOutlines(CDrawContext& context) const {
  if (landing_.empty() && selected_.empty() && !frame_) return;
  const DrawStateScope scope(context);
  context.pushOffset(viewSize.getTopLeft());
  context.setLineWidth(ScaleToPixels(kOutlineWidth));
  const auto draw = [&](const CColor& colour, const CRect& place, CDrawStyle style) {
    CColor tint = colour;
    tint.alpha = kOutlineAlpha;
    context.setFillColor(tint);
    context.setFrameColor(colour);
    context.drawRect(place, style);
  };
  for (const CRect& place : landing_) draw(theme::kAccent, place, kDrawFilledAndStroked);
  for (const Module* module : selected_) {
    draw(kSelectedOutline, module->getViewSize(), kDrawFilledAndStroked);
  }
  if (frame_) draw(kSelectedOutline, *frame_, kDrawFilledAndStroked);
}

void SynRack::ShowLanding(const std::vector<CRect>& places) {
  if (places == landing_) return;
  for (const CRect& place : landing_) Repaint(place);
  landing_ = places;
  for (const CRect& place : landing_) Repaint(place);
}

void SynRack::ShowSelected(std::vector<const Module*> modules) {
  selected_ = std::move(modules);
  CViewContainer::invalid();
}

void SynRack::ShowFrame(std::optional<CRect> frame) {
  if (frame == frame_) return;
  if (frame_) Repaint(*frame_);
  frame_ = frame;
  if (frame_) Repaint(*frame_);
}

void SynRack::OutdatePanels(const CRect& rect) {
  panels_.Invalidate(CRect(rect).offset(viewSize.getTopLeft()));
}

void SynRack::Repaint(const CRect& rect) { CViewContainer::invalidRect(rect); }

void SynRack::invalid() {
  panels_.InvalidateAll();
  CViewContainer::invalid();
}

void SynRack::invalidRect(const CRect& rect) {
  OutdatePanels(rect);
  Repaint(rect);
}

void SynRack::invalidateDirtyViews() {
  // Modules out of sight are not asked, so lamps that blink there cost nothing.
  if (dirty) return invalid();
  for (CView* view : childViews) {
    auto* module = static_cast<Module*>(view);
    if (module->isVisible() && IsInSight(*module)) module->invalidateDirtyViews();
  }
}

CMouseEventResult SynRack::onMouseDown(CPoint& where, const CButtonState& buttons) {
  // The release of an earlier press may have gone to a panel that opened meanwhile.
  if (std::exchange(isPressed_, false)) onFreeRelease();
  auto* jack = dynamic_cast<PatchPoint*>(getViewAt(where, true));
  if (jack && onJackPress && onJackPress(*jack, buttons)) {
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  const CMouseEventResult result = CViewContainer::onMouseDown(where, buttons);
  if (result != kMouseEventNotHandled) return result;
  if (buttons.isLeftButton() && buttons.isDoubleClick() && onDoubleClick) {
    onDoubleClick(toChildren(where));
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  if (buttons.isLeftButton() && onFreePress) {
    isPressed_ = true;
    onFreePress(toChildren(where), buttons);
    return kMouseEventHandled;
  }
  if (!buttons.isRightButton() || !onContextPress) return result;
  onContextPress();
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

CMouseEventResult SynRack::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  if (isPressed_ && !buttons.isLeftButton()) {
    // The release went to a menu.
    isPressed_ = false;
    onFreeRelease();
  }
  if (!isPressed_) return CViewContainer::onMouseMoved(where, buttons);
  onFreeDrag(toChildren(where));
  return kMouseEventHandled;
}

CMouseEventResult SynRack::onMouseUp(CPoint& where, const CButtonState& buttons) {
  if (!std::exchange(isPressed_, false)) return CViewContainer::onMouseUp(where, buttons);
  onFreeRelease();
  return kMouseEventHandled;
}

bool SynRack::onKeyDown(const CKeyEvent& event) { return onKey && onKey(event); }

void SynRack::RequestRedraw() {
  redrawFrames_ = kMovingPaints;
  cablesMayDiffer_ = true;
  // The layers know what of them is outdated; all of the rack is painted from them.
  CViewContainer::invalid();
}

void SynRack::ResizeLayers() {
  panels_.Resize(geometry_.rackWidth, geometry_.ViewHeight(), geometry_.pixelScale);
  cables_.Resize(geometry_.rackWidth, geometry_.ViewHeight(), geometry_.pixelScale);
  RequestRedraw();
}

void SynRack::SetCableStyle(const CableStyle& style) {
  cables_.SetStyle(style);
  RequestRedraw();
}

void SynRack::ShowSignalColours(bool on) {
  if (std::exchange(showsSignalColours_, on) != on) RequestRedraw();
}

void SynRack::LiftCables(std::vector<const Cable*> cables) {
  if (cables == cables_.Lifted()) return;
  cables_.Lift(std::move(cables));
  CViewContainer::invalid();
}

void SynRack::HideCables(bool hidden) {
  if (hidden == cables_.IsHidden()) return;
  cables_.Hide(hidden);
  CViewContainer::invalid();
}

void SynRack::FlashJack(const PatchPoint& jack) {
  if (!getFrame()) return;
  marks_.Flash(PlaceOf(jack), getFrame()->getTime());
  setWantsIdle(true);
}

void SynRack::onIdle() { setWantsIdle(marks_.StepFlash(getFrame()->getTime())); }

CRect SynRack::PlaceOf(const PatchPoint& jack) {
  return CRect(jack.getViewSize()).offset(jack.Owner()->getViewSize().getTopLeft());
}

std::vector<CRect> SynRack::FittingJacks() const {
  std::vector<CRect> places;
  for (const Module* module : rack_.modules[0]) {
    for (PatchPoint* point : module->Points()) {
      if (point->isVisible() && point != rack_.cables.dragOrigin &&
          rack_.cables.CanConnect(point)) {
        places.push_back(PlaceOf(*point));
      }
    }
  }
  return places;
}

CRect SynRack::VisiblePart() const {
  return CRect(0, -viewSize.top, geometry_.rackWidth, panels_.Bounds().bottom - viewSize.top);
}

bool SynRack::IsInSight(const Module& module) const {
  return module.getViewSize().rectOverlap(VisiblePart());
}

void SynRack::MoveModule(Module& module, const CPoint& corner) {
  if (module.getViewSize().getTopLeft() == corner) return;
  const CRect before = module.getViewSize();
  const CRect reachBefore = ReachOf(module);
  const CRect place = CRect(module.getViewSize()).moveTo(corner);
  module.setViewSize(place, false);
  module.setMouseableArea(place);
  OutdatePanels(place);
  OutdatePanels(before);
  redrawFrames_ = kMovingPaints;
  cablesMayDiffer_ = true;
  // As one rectangle: cables cross each other, and each rectangle is painted by itself.
  Repaint(ReachOf(module).unite(reachBefore));
}

void SynRack::RaiseModule(Module& module) {
  if (childViews.empty() || childViews.back() == &module) return;
  removeView(&module, false);
  addView(&module);
}

std::vector<CRect> SynRack::PlacesWithout(std::span<Module* const> modules) const {
  std::vector<CRect> places;
  for (const Module* other : rack_.modules[0]) {
    const bool isOther = std::find(modules.begin(), modules.end(), other) == modules.end();
    if (isOther) places.push_back(other->getViewSize());
  }
  return places;
}

std::vector<CRect> SynRack::PlacesWithout(const Module& module) const {
  Module* const one[] = {const_cast<Module*>(&module)};
  return PlacesWithout(one);
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

CableStrand SynRack::StrandOf(const Cable& cable) const {
  const int colour = showsSignalColours_ ? ColourOf(KindOf(cable)) : cable.colour;
  return {&cable, CableEnd(*cable.destination), CableEnd(*cable.origin), colour,
          cable.destination->twoState};
}

CableStrand SynRack::DraggedStrand() const {
  return {nullptr, CableEnd(*rack_.cables.dragOrigin), *draggedEnd_, rack_.cables.dragColour,
          rack_.cables.dragOrigin->twoState};
}

CRect SynRack::GetCableRect(const Cable& cable) const { return cables_.BoundsOf(StrandOf(cable)); }

CRect SynRack::GetDraggedCableRect() const {
  if (!draggedEnd_ || !rack_.cables.isDraggingCable) return {};
  return cables_.BoundsOf(DraggedStrand(), *images_.midiPlug);
}

void SynRack::InvalidateCable(const Cable& cable) {
  redrawFrames_ = kMovingPaints;
  cablesMayDiffer_ = true;
  Repaint(GetCableRect(cable));
}

CRect SynRack::ReachOf(const Module& module) const {
  CRect reach = module.getViewSize();
  for (const Cable* cable = rack_.cables.cableList.head; cable; cable = cable->next) {
    if (cable->voiceTag != 0) continue;
    if (cable->destination->Owner() == &module || cable->origin->Owner() == &module) {
      reach.unite(GetCableRect(*cable));
    }
  }
  return reach;
}

void SynRack::MoveDraggedCable(std::optional<CPoint> mouse) {
  if (!mouse && !draggedEnd_) return;
  redrawFrames_ = kMovingPaints;
  Repaint(draggedRect_);
  if (mouse.has_value() != draggedEnd_.has_value()) {
    marks_.ShowFitting(mouse ? FittingJacks() : std::vector<CRect>());
  }
  draggedEnd_ = mouse;
  draggedRect_ = GetDraggedCableRect();
  Repaint(draggedRect_);
  if (mouse) marks_.MoveEnd(*mouse);
}

}  // namespace halveron
