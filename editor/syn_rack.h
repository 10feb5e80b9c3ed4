// The rack as a view: rows, modules on them, and the cables above all.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "editor/cable_painter.h"
#include "editor/rack_geometry.h"
#include "editor/window_images.h"
#include "framework/cable.h"
#include "gui/view_container.h"

namespace halveron {

class COffscreenContext;
class Module;
class PatchPoint;
class RackModel;

/// Stands in the view through which it shows, and is moved up there to scroll; its coordinates and
/// those of the cable layer below are this view's.
///
/// Cables are drawn anew on each paint while something moves, and for kMovingPaints paints after
/// it. Then they are drawn once into a layer of their own, and from there on a paint copies its
/// part of that layer: a quiet rack computes no cable.
class SynRack final : public CViewContainer {
 public:
  static constexpr int kMovingPaints = 20;

  SynRack(RackModel& rack, const WindowImages& images, const RackGeometry& geometry);
  ~SynRack() override;

  HALVERON_TYPE_OF(SynRack, CViewContainer)

  void drawRect(CDrawContext* context, const CRect& updateRect) override;
  void drawBackgroundRect(CDrawContext* context, const CRect& updateRect) override;
  void invalidateDirtyViews() override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  bool onKeyDown(const CKeyEvent& event) override;

  /// A right press where no module stands.
  std::function<void()> onContextPress;
  /// A key while the rack has the focus; true if it was used.
  std::function<bool(const CKeyEvent&)> onKey;

  /// Something moved: cables are drawn anew from the next paint on.
  void RequestRedraw();
  /// Paints that still draw cables anew; 0 makes the layer at the next one, -1 says that it stands.
  int RedrawFrames() const { return redrawFrames_; }
  /// Takes the height in pixels of what shows of the rack.
  void ResizeCableLayer(int height);
  void SetCableStyle(const CableStyle& style);

  /// What shows of the rack, in its own coordinates.
  CRect VisiblePart() const;
  bool IsInSight(const Module& module) const;

  /// Moves a module, in the rack's own coordinates, with its cables.
  void MoveModule(Module& module, const CPoint& corner);
  /// Puts a module above all others.
  void RaiseModule(Module& module);
  /// The places of all modules but one.
  std::vector<CRect> PlacesWithout(const Module& module) const;
  /// Moves those others to places in the same order.
  void MoveOthers(const Module& module, const std::vector<CRect>& places);

  // Cables. Rectangles are in the rack's own coordinates.

  /// Where a cable ends on a point.
  CPoint CableEnd(const PatchPoint& point) const;
  CRect GetCableRect(const Cable& cable) const;
  /// Of the cable that is being dragged; empty without one.
  CRect GetDraggedCableRect() const;
  void InvalidateCable(const Cable& cable);
  /// The loose end of the cable that is being dragged; nothing ends the drag on screen.
  void MoveDraggedCable(std::optional<CPoint> mouse);

 private:
  /// What a module and its cables take.
  CRect ReachOf(const Module& module) const;
  void DrawCables(CDrawContext& context, const CRect& area) const;
  void DrawPlug(CDrawContext& context, CBitmap& image, const CPoint& at) const;
  void BuildCableLayer();
  void Invalidate(const CRect& rect);

  RackModel& rack_;
  const WindowImages& images_;
  const RackGeometry& geometry_;
  CablePainter painter_{CableStyle()};
  std::unique_ptr<COffscreenContext> cableLayer_;
  int layerHeight_ = 0;
  int redrawFrames_ = kMovingPaints;
  std::optional<CPoint> draggedEnd_;
  CRect draggedRect_;  // what the dragged cable took when it was moved last
};

}  // namespace halveron
