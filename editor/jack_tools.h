// What the mouse does with a jack besides plugging and pulling cables.
#pragma once

#include "gui/view.h"

namespace halveron {

struct Cable;
class PatchPoint;
class RackWindow;
class SynEditor;

/// Hovering a jack lifts its cables; the right button opens its menu; a press with Control on an
/// input takes a copy of its cable.
class JackTools {
 public:
  JackTools(SynEditor& editor, RackWindow& window) : editor_(editor), window_(window) {}

  /// The mouse may have come to another jack, or a jack's cables may have changed.
  void FollowMouse();
  /// True if the press is used and the jack should not get it.
  bool Press(PatchPoint& jack, const CButtonState& buttons);
  /// Scrolls to the jack and has it flash.
  void Show(const PatchPoint& jack);

 private:
  void BeginCopy(PatchPoint& jack);

  SynEditor& editor_;
  RackWindow& window_;
};

/// Gives a cable, with the records of its further voices, one of the colours that users choose.
void RecolourCable(SynEditor& editor, Cable& cable, int colour);

}  // namespace halveron
