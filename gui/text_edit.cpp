#include "gui/text_edit.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "gui/frame.h"
#include "gui/text_search.h"
#include "gui/theme.h"

namespace halveron {
namespace {

constexpr double kBlinkPeriod = 1.0;
constexpr CCoord kLeastInset = 3;

}  // namespace

CTextEdit::CTextEdit(const CRect& size, CControlListener* listener_, int tag_, const char* text,
                     CBitmap* bitmap, int style_)
    : CTextLabel(size, text, bitmap, style_) {
  listener = listener_;
  tag = tag_;
  horiAlign = kLeftText;
  caret = anchor = labelText.size();
}

void CTextEdit::setText(const char* text) {
  std::string next = text ? text : "";
  if (next.size() > maxLength) next.resize(PreviousCharacter(next, maxLength + 1));
  CTextLabel::setText(next.c_str());
  caret = anchor = labelText.size();
  setDirty();
}

void CTextEdit::setMaxLength(std::size_t bytes) {
  maxLength = bytes;
  if (labelText.size() > maxLength) setText(std::string(labelText).c_str());
}

void CTextEdit::setPlaceholder(const char* text) {
  placeholder = text ? text : "";
  setDirty();
}

void CTextEdit::setSelection(std::size_t from, std::size_t to) {
  anchor = std::min(from, labelText.size());
  caret = std::min(to, labelText.size());
  showCaret();
}

bool CTextEdit::hasFocus() const { return frame && frame->getFocusView() == this; }

void CTextEdit::insertText(std::string_view text) {
  std::string line;
  for (const char byte : text) {
    const auto code = static_cast<unsigned char>(byte);
    if (byte == '\n' || byte == '\t') {
      line += ' ';
    } else if (code >= ' ' && code != 0x7F) {
      line += byte;
    }
  }
  const std::size_t from = std::min(caret, anchor);
  const std::size_t count = std::max(caret, anchor) - from;
  const std::size_t room = maxLength - (labelText.size() - count);
  if (line.size() > room) line.resize(PreviousCharacter(line, room + 1));
  labelText.replace(from, count, line);
  caret = anchor = from + line.size();
  afterEdit();
}

void CTextEdit::eraseSelectionOr(std::size_t from, std::size_t to) {
  if (caret == anchor) {
    anchor = from;
    caret = to;
  }
  if (caret != anchor) insertText("");
}

void CTextEdit::afterEdit() {
  showCaret();
  if (onTextChanged) onTextChanged(this);
}

void CTextEdit::showCaret() {
  caretVisible = true;
  if (frame) caretShownSince = frame->getTime();
  const CRect area = textArea();
  const CCoord x = xOf(caret);
  // What is scrolled out comes back as far as there is text to show.
  const CCoord most = std::max(0.0, xOf(labelText.size()) + 1 - area.getWidth());
  scrolled = std::clamp(scrolled, std::max(0.0, x + 1 - area.getWidth()), std::max(x, 0.0));
  scrolled = std::min(scrolled, most);
  setDirty();
}

void CTextEdit::moveCaret(std::size_t to, bool select) {
  caret = to;
  if (!select) anchor = to;
  showCaret();
}

std::size_t CTextEdit::previousWord(std::size_t at) const {
  while (at > 0 && labelText[at - 1] == ' ') --at;
  while (at > 0 && labelText[at - 1] != ' ') --at;
  return at;
}

std::size_t CTextEdit::nextWord(std::size_t at) const {
  while (at < labelText.size() && labelText[at] != ' ') ++at;
  while (at < labelText.size() && labelText[at] == ' ') ++at;
  return at;
}

CRect CTextEdit::textArea() const {
  CRect area = viewSize;
  area.inset(std::max(textInset.x, kLeastInset), textInset.y);
  area.right = std::max(area.right, area.left + 1);
  return area;
}

CCoord CTextEdit::xOf(std::size_t position) const {
  return font->measure(std::string_view(labelText).substr(0, position)).x;
}

std::size_t CTextEdit::positionAt(CCoord x) const {
  const CCoord wanted = x - textArea().left + scrolled;
  std::size_t at = 0;
  CCoord here = 0;
  while (at < labelText.size()) {
    const std::size_t after = NextCharacter(labelText, at);
    const CCoord there = xOf(after);
    if (wanted < (here + there) * 0.5) break;
    at = after;
    here = there;
  }
  return at;
}

CMouseEventResult CTextEdit::onMouseDown(CPoint& where, const CButtonState& buttons) {
  if (!buttons.isLeftButton()) return kMouseEventNotHandled;
  const bool hadFocus = hasFocus();
  if (frame) frame->setFocusView(this);
  if (buttons.isDoubleClick()) {
    const std::size_t at = positionAt(where.x);
    const std::size_t begin = at < labelText.size() && labelText[at] != ' ' ? nextWord(at) : at;
    setSelection(previousWord(begin), begin);
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  moveCaret(positionAt(where.x), buttons.isShiftSet() && hadFocus);
  return kMouseEventHandled;
}

CMouseEventResult CTextEdit::onMouseMoved(CPoint& where, const CButtonState& buttons) {
  if (!buttons.isLeftButton() || !hasFocus()) return kMouseEventNotHandled;
  moveCaret(positionAt(where.x), true);
  return kMouseEventHandled;
}

CMouseEventResult CTextEdit::onMouseUp(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  return kMouseEventHandled;
}

CMouseEventResult CTextEdit::onMouseEntered(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  if (frame) frame->setCursor(kCursorText);
  return kMouseEventHandled;
}

CMouseEventResult CTextEdit::onMouseExited(CPoint& /*where*/, const CButtonState& /*buttons*/) {
  if (frame) frame->setCursor(kCursorDefault);
  return kMouseEventHandled;
}

void CTextEdit::copySelection() const {
  if (caret == anchor || !frame) return;
  const std::size_t from = std::min(caret, anchor);
  frame->setClipboardText(std::string_view(labelText).substr(from, std::max(caret, anchor) - from));
}

void CTextEdit::paste() {
  if (!frame) return;
  // The text may come later, when the field may have gone.
  frame->getClipboardText([self = SharedPointer<CTextEdit>(this)](const std::string& text) {
    if (self->hasFocus()) self->insertText(text);
  });
}

bool CTextEdit::onShortcut(char32_t letter) {
  switch (letter) {
    case 'a':
      selectAll();
      return true;
    case 'c':
      copySelection();
      return true;
    case 'x':
      copySelection();
      if (caret != anchor) insertText("");
      return true;
    case 'v':
      paste();
      return true;
    default:
      return false;
  }
}

bool CTextEdit::onKeyDown(const CKeyEvent& event) {
  const bool shift = event.modifiers.isShiftSet();
  const bool words = event.modifiers.isControlSet();
  const std::size_t low = std::min(caret, anchor);
  const std::size_t high = std::max(caret, anchor);
  const bool collapses = low != high && !shift && !words;
  switch (event.key) {
    case kKeyLeft:
      moveCaret(collapses ? low
                : words   ? previousWord(caret)
                          : PreviousCharacter(labelText, caret),
                shift);
      return true;
    case kKeyRight:
      moveCaret(collapses ? high
                : words   ? nextWord(caret)
                          : NextCharacter(labelText, caret),
                shift);
      return true;
    case kKeyHome:
      moveCaret(0, shift);
      return true;
    case kKeyEnd:
      moveCaret(labelText.size(), shift);
      return true;
    case kKeyBack:
      eraseSelectionOr(words ? previousWord(caret) : PreviousCharacter(labelText, caret), caret);
      return true;
    case kKeyDelete:
      eraseSelectionOr(caret, words ? nextWord(caret) : NextCharacter(labelText, caret));
      return true;
    case kKeyReturn:
      commit();
      if (onReturn) onReturn(this);
      return onReturn != nullptr;
    case kKeyEscape:
      if (labelText != textAtFocus) {
        setText(std::string(textAtFocus).c_str());
        if (onTextChanged) onTextChanged(this);
      }
      // The parent of the field may be removed by this, too.
      return false;
    default:
      break;
  }
  if (event.character == 0) return false;
  if (words) return onShortcut(event.character);
  if (event.modifiers.isAltSet()) return false;
  std::string typed;
  AppendCodePoint(typed, event.character);
  insertText(typed);
  return true;
}

void CTextEdit::commit() {
  if (labelText == textAtFocus) return;
  textAtFocus = labelText;
  valueChanged();
}

void CTextEdit::takeFocus() {
  textAtFocus = labelText;
  setWantsIdle(true);
  showCaret();
}

void CTextEdit::looseFocus() {
  setWantsIdle(false);
  caretVisible = false;
  anchor = caret;
  setDirty();
  commit();
}

void CTextEdit::leavingFrame(CFrame* root) {
  // A view that is removed gets no mouse exit.
  if (root->getMouseOverView() == this) root->setCursor(kCursorDefault);
  CTextLabel::leavingFrame(root);
}

void CTextEdit::onIdle() {
  const double shown = std::fmod(frame->getTime() - caretShownSince, kBlinkPeriod);
  const bool visibleNow = shown < kBlinkPeriod * 0.5;
  if (visibleNow == caretVisible) return;
  caretVisible = visibleNow;
  setDirty();
}

void CTextEdit::drawPlain(CDrawContext& context) {
  drawBack(context);
  const CRect area = textArea();
  const DrawStateScope scope(context);
  context.setClipRect(area);
  context.setFont(font);
  if (labelText.empty() && !placeholder.empty()) {
    context.setFontColor(theme::kDisabledText);
    context.drawString(placeholder, area, kLeftText);
  }
  const CCoord height = std::min(font->measure("Ag").y, area.getHeight());
  const CCoord top = std::round(area.getCenter().y - height * 0.5);
  const CCoord origin = area.left - scrolled;
  if (caret != anchor) {
    context.setFillColor(theme::kSelection);
    context.fillRect({origin + xOf(std::min(caret, anchor)), top,
                      origin + xOf(std::max(caret, anchor)), top + height});
  }
  // As wide as the text, so that nothing of it is cut but by the clip.
  context.setFontColor(fontColor);
  context.drawString(labelText, {origin, area.top, origin + xOf(labelText.size()) + 1, area.bottom},
                     kLeftText);
  if (hasFocus() && caretVisible) {
    context.setFillColor(fontColor);
    const CCoord x = std::round(origin + xOf(caret));
    context.fillRect({x, top, x + 1, top + height});
  }
}

}  // namespace halveron
