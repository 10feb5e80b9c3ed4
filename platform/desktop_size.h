// What a first window's size is chosen by.
#pragma once

namespace halveron::platform {

struct DesktopSize {
  int width = 0;  ///< of the first monitor in pixels; 0 without a display
  int height = 0;
  double fontScale = 0;  ///< of the desktop's fonts against 96 dots per inch; 0 if it says none
};

/// Asks the display once per process.
const DesktopSize& GetDesktopSize();

}  // namespace halveron::platform
