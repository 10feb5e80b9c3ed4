// Rings around jacks: those on which a dragged cable may be dropped, and one that flashes.
#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "gui/geometry.h"

namespace halveron {

class CDrawContext;

/// Coordinates are the rack's. Knows rectangles only, so that jacks may go at any time.
class JackMarks {
 public:
  static constexpr double kFlashSeconds = 1.5;

  /// `repaint` is called with what has to be painted again.
  explicit JackMarks(std::function<void(const CRect&)> repaint) : repaint_(std::move(repaint)) {}

  void ShowFitting(std::vector<CRect> jacks);
  const std::vector<CRect>& Fitting() const { return fitting_; }
  /// Where the dragged cable's end is: a fitting jack there is filled.
  void MoveEnd(const CPoint& end);

  void Flash(const CRect& jack, double now);
  /// Goes on with the flash; false once it is over. Times are in seconds of one clock.
  bool StepFlash(double now);

  void Draw(CDrawContext& context, const CRect& area) const;

 private:
  CRect RingOf(const CRect& jack) const;
  void DrawRing(CDrawContext& context, const CRect& jack, double strength, bool isFilled) const;

  std::function<void(const CRect&)> repaint_;
  std::vector<CRect> fitting_;
  CRect hot_;       // the fitting jack under the cable's end; empty for none
  CRect flashing_;  // empty for none
  double flashBegan_ = 0.0;
  double flashStrength_ = 0.0;
};

}  // namespace halveron
