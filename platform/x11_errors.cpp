#include <X11/Xlib.h>
// The header for extensions of Xlib, whose macros are not to reach other headers.
#include <X11/Xlibint.h>
#undef min
#undef max

#include "platform/x11_window.h"

namespace halveron::platform {

void IgnoreErrors(void* display) {
  constexpr int kCodes = 256;
  for (int code = 1; code < kCodes; ++code) {
    XESetWireToError(static_cast<Display*>(display), code,
                     [](Display*, XErrorEvent*, xError*) -> Bool { return False; });
  }
}

}  // namespace halveron::platform
