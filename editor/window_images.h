// The images of the window around the modules, from the skin that the process uses.
#pragma once

#include <array>
#include <string>

#include "editor/rack_geometry.h"
#include "gui/bitmap.h"

namespace halveron {

/// Images that a skin lacks have size 0 and draw nothing.
struct WindowImages {
  WindowImages(const std::string& path, const std::string& fallbackPath);

  using Image = SharedPointer<CBitmap>;
  static constexpr int kRowImages = 3;

  std::array<Image, kRowImages> rows;  ///< backgrounds of the rack's rows, in turn
  Image topBar;
  Image leftStrip;  ///< two rows high
  Image rightStrip;
  Image shortLeftStrip;  ///< one row high, for the last row of an odd number
  Image shortRightStrip;
  Image title;
  Image addRow;
  Image removeRow;
  Image moduleMenu;
  Image moduleMenuClicked;
  Image mainMenu;
  Image mainMenuClicked;
  Image presetPrevious;
  Image presetNext;
  Image presetFrame;
  Image presetScreen;
  Image presetStripes;
  Image midiPlug;           ///< at the loose end of a MIDI cable
  Image connectedMidiPlug;  ///< at its fixed ends

  /// The rack's place in the window by the sizes of these images; where they are missing, sizes
  /// that fit the panel metrics.
  RackGeometry Geometry(int rows, int viewableRows) const;
};

}  // namespace halveron
