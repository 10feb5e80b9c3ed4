#include "platform/desktop_size.h"

#include <X11/Xlib.h>

#include <cstdlib>

namespace halveron::platform {

namespace {

DesktopSize Ask() {
  DesktopSize size;
  Display* display = XOpenDisplay(nullptr);
  if (!display) return size;
  size.width = DisplayWidth(display, DefaultScreen(display));
  size.height = DisplayHeight(display, DefaultScreen(display));
  // Several monitors side by side are one screen; the first is about as wide as a usual one.
  constexpr int kWidest = 3;  // times the height
  if (size.width > kWidest * size.height) size.width = size.height * 2;
  constexpr double kUsualDots = 96;
  constexpr double kMostScale = 4;
  if (const char* dots = XGetDefault(display, "Xft", "dpi")) {
    const double scale = std::atof(dots) / kUsualDots;
    if (scale > 0 && scale <= kMostScale) size.fontScale = scale;
  }
  XCloseDisplay(display);
  return size;
}

}  // namespace

const DesktopSize& GetDesktopSize() {
  static const DesktopSize size = Ask();
  return size;
}

}  // namespace halveron::platform
