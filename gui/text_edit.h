// A line of text that the user can change.
#pragma once

#include <functional>

#include "gui/param_display.h"

namespace halveron {

/// One line of UTF-8 with a caret and a selection. It takes the keys while it is the frame's focus
/// view, which a press makes it.
///
/// The listener is called for a changed text when Return is pressed or the focus goes; Escape
/// brings back the text that stood when the focus came. Positions are in bytes, between characters.
class CTextEdit : public CTextLabel {
 public:
  CTextEdit(const CRect& size, CControlListener* listener = nullptr, int tag = 0,
            const char* text = nullptr, CBitmap* background = nullptr, int style = kNoStyle);

  /// Puts the caret at the end. A text that is too long is cut between two characters.
  void setText(const char* text) override;
  /// Most bytes that the text may have, without the terminating zero; 255 initially.
  void setMaxLength(std::size_t bytes);
  std::size_t getMaxLength() const { return maxLength; }
  /// Shown, paler, while there is no text.
  void setPlaceholder(const char* text);
  void setSelection(std::size_t from, std::size_t to);
  void selectAll() { setSelection(0, labelText.size()); }
  /// The selection goes from the anchor to the caret, in either direction.
  std::size_t getCaret() const { return caret; }
  std::size_t getAnchor() const { return anchor; }
  /// Replaces the selection, leaving the caret behind what was put in. Line feeds become blanks,
  /// other control characters go.
  void insertText(std::string_view text);

  /// Called after each change by the user, before the listener's turn comes.
  std::function<void(CTextEdit*)> onTextChanged;
  /// Called for Return, after the listener. Without it Return gives the key on to the parent.
  std::function<void(CTextEdit*)> onReturn;

  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseEntered(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseExited(CPoint& where, const CButtonState& buttons) override;
  bool onKeyDown(const CKeyEvent& event) override;
  void takeFocus() override;
  void looseFocus() override;
  void onIdle() override;
  void leavingFrame(CFrame* root) override;

  HALVERON_TYPE_OF(CTextEdit, CTextLabel)

 protected:
  void drawPlain(CDrawContext& context) override;

 private:
  bool hasFocus() const;
  void moveCaret(std::size_t to, bool select);
  void eraseSelectionOr(std::size_t from, std::size_t to);
  void afterEdit();
  void commit();
  void paste();
  void copySelection() const;
  bool onShortcut(char32_t letter);
  std::size_t previousWord(std::size_t at) const;
  std::size_t nextWord(std::size_t at) const;
  std::size_t positionAt(CCoord x) const;
  CCoord xOf(std::size_t position) const;
  CRect textArea() const;
  void showCaret();

  std::string placeholder;
  std::string textAtFocus;
  std::size_t maxLength = 255;
  std::size_t caret = 0;
  std::size_t anchor = 0;
  CCoord scrolled = 0;
  double caretShownSince = 0;
  bool caretVisible = false;
};

}  // namespace halveron
