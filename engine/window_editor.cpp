#include "engine/window_editor.h"

#include <optional>

#include "editor/rack_window.h"
#include "editor/syn_editor.h"

namespace halveron {

namespace {

CVirtualKey VirtualKeyOf(unsigned char key) {
  switch (key) {
    case VKEY_BACK:
      return kKeyBack;
    case VKEY_TAB:
      return kKeyTab;
    case VKEY_RETURN:
    case VKEY_ENTER:
      return kKeyReturn;
    case VKEY_ESCAPE:
      return kKeyEscape;
    case VKEY_SPACE:
      return kKeySpace;
    case VKEY_END:
      return kKeyEnd;
    case VKEY_HOME:
      return kKeyHome;
    case VKEY_LEFT:
      return kKeyLeft;
    case VKEY_UP:
      return kKeyUp;
    case VKEY_RIGHT:
      return kKeyRight;
    case VKEY_DOWN:
      return kKeyDown;
    case VKEY_PAGEUP:
      return kKeyPageUp;
    case VKEY_PAGEDOWN:
      return kKeyPageDown;
    case VKEY_INSERT:
      return kKeyInsert;
    case VKEY_DELETE:
      return kKeyDelete;
    default:
      return kKeyNone;
  }
}

CKeyEvent EventOf(const VstKeyCode& key) {
  int modifiers = 0;
  if (key.modifier & MODIFIER_SHIFT) modifiers |= kShift;
  if (key.modifier & MODIFIER_ALTERNATE) modifiers |= kAlt;
  if (key.modifier & (MODIFIER_CONTROL | MODIFIER_COMMAND)) modifiers |= kControl;
  const bool hasCharacter = key.virt == 0 && key.character > 0;
  return {hasCharacter ? static_cast<char32_t>(key.character) : 0, VirtualKeyOf(key.virt),
          CButtonState(modifiers)};
}

}  // namespace

bool WindowEditor::getRect(ERect** rect) {
  const CRect size = rack_.WindowRect();
  rect_ = {0, 0, static_cast<std::int16_t>(size.bottom), static_cast<std::int16_t>(size.right)};
  *rect = &rect_;
  return true;
}

bool WindowEditor::open(void* parent) { return rack_.OpenWindow(parent); }

void WindowEditor::close() { rack_.CloseWindow(); }

void WindowEditor::idle() { rack_.Idle(); }

int WindowEditor::eventDescriptor() {
  CFrame* frame = rack_.Frame();
  return frame ? frame->getEventDescriptor() : -1;
}

bool WindowEditor::onKeyDown(const VstKeyCode& key) {
  CFrame* frame = rack_.Frame();
  return frame && frame->onKeyDown(EventOf(key));
}

bool WindowEditor::onKeyUp(const VstKeyCode& key) {
  CFrame* frame = rack_.Frame();
  return frame && frame->onKeyUp(EventOf(key));
}

}  // namespace halveron
