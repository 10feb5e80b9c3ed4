// The frame of the rack's window: where events come in and its clocks run.
#pragma once

#include "editor/syn_timer.h"
#include "gui/frame.h"

namespace halveron {

class RackWindow;

/// Hands events to its views and passes to the window what it needs of them.
class SynFrame final : public CFrame {
 public:
  /// In a host the keyboard is the host's, and what the rack uses of it has to be claimed; all keys
  /// of the standalone are handed in.
  SynFrame(const CRect& size, RackWindow& window, bool isInHost);

  HALVERON_TYPE_OF(SynFrame, CFrame)

  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
  bool onWheel(const CPoint& where, float distance, const CButtonState& buttons) override;
  bool onKeyDown(const CKeyEvent& event) override;
  bool onDragMove(const CPoint& where) override;
  bool onDrop(std::span<const std::string> files, const CPoint& where) override;
  void onWindowResized(const CPoint& pixels) override;
  void onIdle() override;
  bool onKeyUp(const CKeyEvent& event) override;
  void onKeyboardLost() override;
  bool wantsKeyboard() const override;
  int notify(CBaseObject* sender, const char* message) override;

  // While the mouse rests, these keep a cable or a module moving that scrolls the rack.
  SynTimer mouseRepeat;
  SynTimer dragRepeat;
  /// Turns the preset screen from the name to the author and back.
  SynTimer presetDisplay;

 private:
  RackWindow& window_;
  bool isInHost_;
  double lastScrollTime_ = -1e9;  // of the wheel, by the frame's clock
  CPoint lastScrollPoint_;
};

}  // namespace halveron
