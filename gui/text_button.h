// A push button with a text on it.
#pragma once

#include <functional>
#include <string>

#include "gui/control.h"
#include "gui/font.h"

namespace halveron {

/// Acts when the left button is released over it, or on Return or Space while it has the focus:
/// the value goes to 1, the listener and `onPressed` are called, and it goes back to 0.
class CTextButton : public CControl {
 public:
  CTextButton(const CRect& size, CControlListener* listener, int tag, const char* title);

  void setTitle(const char* text);
  const char* getTitle() const { return title.c_str(); }
  /// Null brings the default font; the button keeps its own reference.
  void setFont(CFontDesc* font);
  /// A button that is off is pale and takes no press.
  void setEnabled(bool on);
  bool isEnabled() const { return enabled; }
  /// The button that Return presses looks different.
  void setProminent(bool on);
  /// Does what a press does.
  void press();

  std::function<void()> onPressed;

  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseEntered(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseExited(CPoint& where, const CButtonState& buttons) override;
  bool onKeyDown(const CKeyEvent& event) override;
  void takeFocus() override { setDirty(); }
  void looseFocus() override { setDirty(); }

  HALVERON_TYPE_OF(CTextButton, CControl)

 protected:
  void drawPlain(CDrawContext& context) override;

 private:
  void setLooks(bool& flag, bool on);

  std::string title;
  SharedPointer<CFontDesc> font;
  bool enabled = true;
  bool prominent = false;
  bool hovered = false;
  bool down = false;
};

}  // namespace halveron
