// The cables of the rack: those at rest as a picture, those that move drawn on top of it.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "editor/cable_painter.h"
#include "editor/rack_layer.h"
#include "editor/window_images.h"

namespace halveron {

struct Cable;

/// One cable to draw. Coordinates are the rack's.
struct CableStrand {
  const Cable* cable = nullptr;  ///< identity only; never dereferenced
  CPoint from;
  CPoint to;
  int colour = 0;
  bool isMidi = false;  ///< has a plug at each end

  bool operator==(const CableStrand&) const = default;
};

/// Compares the cables of each Update with those of the last one and redraws only what differs. A
/// cable whose ends move leaves the picture and is drawn again in each paint until Settle, so that
/// a dragged module does not cause the resting ones to be computed again.
class CableLayer {
 public:
  explicit CableLayer(const WindowImages& images) : images_(images) {}

  void SetStyle(const CableStyle& style);
  /// Takes the size of what shows of the rack, and its pixels per unit.
  void Resize(CCoord width, CCoord height, double pixelScale);
  /// Where the rack's top left corner is in the view through which it shows.
  void MoveTo(const CPoint& corner);

  /// Takes all visible cables, the lowest first.
  void Update(const std::vector<CableStrand>& present);
  /// Nothing moves any more: all cables join the picture.
  void Settle();
  /// Draws a part, given in the coordinates of the view.
  void Draw(CDrawContext& context, const CRect& area);

  /// Draws these cables above all others, opaque, and the others pale; none for all as usual.
  void Lift(std::vector<const Cable*> cables) { lifted_ = std::move(cables); }
  const std::vector<const Cable*>& Lifted() const { return lifted_; }
  /// Draws lifted cables only.
  void Hide(bool hidden) { isHidden_ = hidden; }
  bool IsHidden() const { return isHidden_; }

  void DrawStrand(CDrawContext& context, const CableStrand& strand, CBitmap& plugAtEnd) const {
    DrawStrand(context, strand, plugAtEnd, painter_);
  }
  /// What a cable may touch, with its shadow and plugs.
  CRect BoundsOf(const CableStrand& strand, const CBitmap& plugAtEnd) const;
  CRect BoundsOf(const CableStrand& strand) const {
    return BoundsOf(strand, *images_.connectedMidiPlug);
  }

  /// Strands drawn into the picture so far, as often as each was drawn.
  std::size_t DrawnStrands() const { return drawnStrands_; }

 private:
  struct Shown {
    CableStrand strand;
    bool moves = false;
    bool isNew = false;
  };

  void DrawStrand(CDrawContext& context, const CableStrand& strand, CBitmap& plugAtEnd,
                  const CablePainter& painter) const;
  bool IsLifted(const Shown& shown) const;
  void DrawUnlifted(CDrawContext& context, const CRect& area);
  void Match(const std::vector<CableStrand>& present);
  void Refresh();
  void Outdate(const CableStrand& strand);
  CRect InView(const CRect& rect) const { return CRect(rect).offset(corner_); }

  const WindowImages& images_;
  CablePainter painter_{CableStyle()};
  CablePainter liftedPainter_{CableStyle()};
  RackLayer layer_;
  CPoint corner_;
  std::vector<Shown> shown_;
  std::vector<const Cable*> lifted_;
  bool isHidden_ = false;
  std::size_t drawnStrands_ = 0;
};

}  // namespace halveron
