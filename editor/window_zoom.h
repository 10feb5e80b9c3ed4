// The size of a rack's window: its zoom, and what of a size goes into zoom and what into rows.
#pragma once

#include "editor/rack_geometry.h"

namespace halveron {

class RackWindow;
class SynEditor;

/// Sizes here are pixels of the screen, as hosts and window managers have them.
///
/// The zoom is a property of the window and not of the process: the views keep their units, of
/// which the window shows more or fewer, so that instances with windows of different sizes do not
/// know of each other. The width of a window decides its zoom, its height the rows that it shows.
class WindowZoom {
 public:
  static constexpr int kLeastPercent = 50;
  static constexpr int kMostPercent = 300;

  WindowZoom(SynEditor& editor, RackWindow& window) : editor_(editor), window_(window) {}
  ~WindowZoom() { Keep(); }
  WindowZoom(const WindowZoom&) = delete;
  WindowZoom& operator=(const WindowZoom&) = delete;

  /// Pixels per unit of a window that opens: by the options, or else what fits the screen.
  static double FirstScale(const SynEditor& editor, const RackGeometry& geometry);
  /// The nearest size that a window can have.
  static CPoint Nearest(const CPoint& pixels, const RackGeometry& geometry);

  /// Against the size of the skin that was chosen.
  int Percent() const;
  /// Takes a zoom within the bounds and asks for a window that shows the same rows. One that stays
  /// as it is gets margins, and shows more or fewer rows.
  void SetPercent(int percent);
  /// To the next zoom of a table, larger or smaller.
  void Step(int direction);
  /// The zoom that fits the screen, which holds also for later starts on other screens.
  void Reset();
  /// The chosen size of the skin, or the zoom of the options, is another one now.
  void Follow();

  CPoint LeastSize() const;
  /// The window has that size now.
  void TakeSize(const CPoint& pixels);
  /// Asks for a size, as by the corner of the window.
  void Ask(const CPoint& pixels);
  /// Part of the idle call: what the border was dragged to is kept once it rests.
  void Idle();

 private:
  void Keep();
  void SetScale(double scale);
  /// Lays the window out in a size under a zoom.
  void FitInto(const CPoint& pixels, double scale);
  double Scale() const;

  SynEditor& editor_;
  RackWindow& window_;
  double askedAt_ = -1e9;  // by the frame's clock, as all times here
  double draggedAt_ = 0;
  // Whether what the border was dragged to is in the options.
  bool isZoomKept_ = true;
  bool isHeightKept_ = true;
};

}  // namespace halveron
