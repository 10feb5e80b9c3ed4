#include "engine/window_editor.h"

#include "editor/rack_window.h"
#include "editor/syn_editor.h"

namespace halveron {

namespace {

struct KeyPair {
  VstVirtualKey host;
  CVirtualKey own;
};

constexpr KeyPair kKeys[] = {
    {VKEY_BACK, kKeyBack},     {VKEY_TAB, kKeyTab},           {VKEY_RETURN, kKeyReturn},
    {VKEY_ENTER, kKeyReturn},  {VKEY_ESCAPE, kKeyEscape},     {VKEY_SPACE, kKeySpace},
    {VKEY_END, kKeyEnd},       {VKEY_HOME, kKeyHome},         {VKEY_LEFT, kKeyLeft},
    {VKEY_UP, kKeyUp},         {VKEY_RIGHT, kKeyRight},       {VKEY_DOWN, kKeyDown},
    {VKEY_PAGEUP, kKeyPageUp}, {VKEY_PAGEDOWN, kKeyPageDown}, {VKEY_INSERT, kKeyInsert},
    {VKEY_DELETE, kKeyDelete}};

CVirtualKey VirtualKeyOf(unsigned char key) {
  for (const KeyPair& pair : kKeys) {
    if (pair.host == key) return pair.own;
  }
  return kKeyNone;
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

void WindowEditor::setScale(double scale) { rack_.SetHostScale(scale); }

bool WindowEditor::nearestSize(int& width, int& height) const {
  const CPoint nearest = rack_.NearestWindowSize(CPoint(width, height));
  width = static_cast<int>(nearest.x);
  height = static_cast<int>(nearest.y);
  return true;
}

bool WindowEditor::setSize(int width, int height) {
  rack_.SetWindowSize(CPoint(width, height));
  return true;
}

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
