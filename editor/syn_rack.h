// The rack as a view: rows, modules on them, and the cables above all.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "editor/cable_layer.h"
#include "editor/jack_marks.h"
#include "editor/rack_geometry.h"
#include "editor/rack_layer.h"
#include "editor/window_images.h"
#include "framework/cable.h"
#include "gui/view_container.h"

namespace halveron {

class Module;
class PatchPoint;
class RackModel;

/// A child of the view through which it shows, moved up there to scroll; the coordinates of
/// its layers are that view's.
///
/// A paint copies two layers: the panels, redrawn where a view asked for it, and the cables at
/// rest, of which a quiet rack computes none. Only cables that move are drawn in each paint, for
/// kMovingPaints paints after the last move; the next paint draws them into their layer. Scrolling
/// shifts both layers.
class SynRack final : public CViewContainer {
 public:
  static constexpr int kMovingPaints = 20;

  SynRack(RackModel& rack, const WindowImages& images, const RackGeometry& geometry);
  ~SynRack() override;

  HALVERON_TYPE_OF(SynRack, CViewContainer)

  void setViewSize(const CRect& rect, bool invalidate = true) override;
  void drawRect(CDrawContext* context, const CRect& updateRect) override;
  void drawBackgroundRect(CDrawContext* context, const CRect& updateRect) override;
  void invalid() override;
  void invalidRect(const CRect& rect) override;
  void invalidateDirtyViews() override;
  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
  bool onKeyDown(const CKeyEvent& event) override;
  void onIdle() override;

  /// Called for a press on a jack before the jack gets it; true if that is all there is to do.
  std::function<bool(PatchPoint&, const CButtonState&)> onJackPress;
  /// A left press where no module is, moves until its release, and that; points of the rack.
  std::function<void(const CPoint&, const CButtonState&)> onFreePress;
  std::function<void(const CPoint&)> onFreeDrag;
  std::function<void()> onFreeRelease;
  /// Called for a double click where no module is, at a point of the rack.
  std::function<void(const CPoint&)> onDoubleClick;
  /// Called for a right press where no module is.
  std::function<void()> onContextPress;
  /// Called for a key while the rack has the focus; true if it was used.
  std::function<bool(const CKeyEvent&)> onKey;

  /// Something may have moved: cables are compared with what is shown from the next paint on.
  void RequestRedraw();
  /// Paints until what moved counts as being at rest: 0 at the paint that puts it into the layer,
  /// -1 from then on.
  int RedrawFrames() const { return redrawFrames_; }
  /// Takes the size of what shows of the rack, and its pixels per unit.
  void ResizeLayers();
  void SetCableStyle(const CableStyle& style);
  /// Cables have the colours of the kinds of their signals, or their own.
  void ShowSignalColours(bool on);
  /// The cables that are drawn above all others, with these pale; none for all as usual.
  void LiftCables(std::vector<const Cable*> cables);
  /// Cables are not drawn, except lifted ones and the one that is dragged.
  void HideCables(bool hidden);
  /// Leads the eye to a jack.
  void FlashJack(const PatchPoint& jack);
  const JackMarks& Marks() const { return marks_; }
  const CableLayer& Cables() const { return cables_; }

  /// What shows of the rack, in its own coordinates.
  CRect VisiblePart() const;
  bool IsInSight(const Module& module) const;

  /// Moves a module, in the rack's own coordinates, with its cables.
  void MoveModule(Module& module, const CPoint& corner);
  /// Puts a module above all others.
  void RaiseModule(Module& module);
  /// The places of all modules but these.
  std::vector<CRect> PlacesWithout(std::span<Module* const> modules) const;
  std::vector<CRect> PlacesWithout(const Module& module) const;
  /// Moves those others to places in the same order.
  void MoveOthers(const Module& module, const std::vector<CRect>& places);
  /// Outlines the places where the dragged modules will land, the one that the mouse holds first;
  /// none removes the outlines.
  void ShowLanding(const std::vector<CRect>& places);
  std::optional<CRect> Landing() const {
    return landing_.empty() ? std::nullopt : std::optional(landing_.front());
  }
  /// Outlines the modules that are selected.
  void ShowSelected(std::vector<const Module*> modules);
  /// The frame that selects modules while it is drawn; nothing removes it.
  void ShowFrame(std::optional<CRect> frame);

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
  /// What a module and its cables cover.
  CRect ReachOf(const Module& module) const;
  CableStrand StrandOf(const Cable& cable) const;
  CableStrand DraggedStrand() const;
  /// The jacks in which the dragged cable fits.
  std::vector<CRect> FittingJacks() const;
  static CRect PlaceOf(const PatchPoint& jack);
  void UpdateCables();
  void UpdatePanels(const CRect& area);
  void DrawDraggedCable(CDrawContext& context, const CRect& area) const;
  /// Draws landing places, selected modules and the frame.
  void DrawOutlines(CDrawContext& context) const;
  void OutdatePanels(const CRect& rect);
  /// Has a part painted again from the layers, which stay as they are.
  void Repaint(const CRect& rect);

  RackModel& rack_;
  const WindowImages& images_;
  const RackGeometry& geometry_;
  RackLayer panels_;
  CableLayer cables_;
  int redrawFrames_ = kMovingPaints;
  bool cablesMayDiffer_ = true;
  bool showsSignalColours_ = false;
  std::uint64_t lastPaint_ = 0;
  std::vector<CRect> landing_;
  std::vector<const Module*> selected_;
  std::optional<CRect> frame_;
  bool isPressed_ = false;  // on free rack
  std::optional<CPoint> draggedEnd_;
  CRect draggedRect_;  // what the dragged cable covered when it was moved last
  JackMarks marks_{[this](const CRect& rect) { Repaint(rect); }};
};

}  // namespace halveron
