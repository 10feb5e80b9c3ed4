// A mouse and a keyboard for frames without a window.
#pragma once

#include <string_view>

#include "gui/frame.h"

namespace halveron {

inline void Press(CFrame& frame, CPoint where, int buttons = kLButton) {
  frame.onMouseDown(where, CButtonState(buttons));
}

inline void Move(CFrame& frame, CPoint where, int buttons = 0) {
  frame.onMouseMoved(where, CButtonState(buttons));
}

inline void Release(CFrame& frame, CPoint where, int buttons = kLButton) {
  frame.onMouseUp(where, CButtonState(buttons));
}

inline void Click(CFrame& frame, CPoint where, int buttons = kLButton) {
  Move(frame, where);
  Press(frame, where, buttons);
  Release(frame, where, buttons);
}

inline bool TypeKey(CFrame& frame, CVirtualKey key, int modifiers = 0) {
  return frame.onKeyDown({0, key, CButtonState(modifiers)});
}

inline void TypeText(CFrame& frame, std::string_view ascii, int modifiers = 0) {
  for (const char letter : ascii) {
    frame.onKeyDown({static_cast<char32_t>(letter), kKeyNone, CButtonState(modifiers)});
  }
}

}  // namespace halveron
