// The themes that the painter knows: colours, and the sizes in which each is drawn.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "editor/module_catalogue.h"

namespace halveron::skins {

/// Shares of 0 to 1, alpha not multiplied in.
struct Color {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;

  static constexpr Color Of(std::uint32_t rgb, double alpha = 1) {
    return {(rgb >> 16 & 255) / 255.0, (rgb >> 8 & 255) / 255.0, (rgb & 255) / 255.0, alpha};
  }
  constexpr Color Faded(double share) const { return {red, green, blue, alpha * share}; }
  /// `share` of the way to another colour.
  Color Towards(const Color& other, double share) const;
  Color Lighter(double share) const { return Towards({1, 1, 1, alpha}, share); }
  Color Darker(double share) const { return Towards({0, 0, 0, alpha}, share); }
};

/// How the body of a knob is made: its cap from the light to the dark side, rim and pointer.
struct KnobColors {
  Color light;
  Color dark;
  Color rim;
  Color pointer;
};

struct Theme {
  const char* name;

  // Panels
  Color panelTop;
  Color panelBottom;
  Color panelEdgeLight;  ///< left and upper edge
  Color panelEdgeDark;   ///< right and lower edge
  Color text;
  Color faintText;
  Color rule;    ///< thin lines between groups
  Color scale;   ///< marks around knobs
  Color window;  ///< recesses behind displays and text
  Color plate;   ///< under outputs
  Color plateEdge;
  Color plateText;
  Color headText;
  std::array<Color, kCategoryCount> accents;

  // Controls
  KnobColors mainKnob;
  KnobColors grayKnob;
  KnobColors blackKnob;
  KnobColors redKnob;
  Color knobShadow;
  Color jackNut;
  Color switchLever;
  Color buttonCap;
  Color buttonSign;

  // Rack
  Color rackBack;
  Color rail;
  Color cheek;       ///< side strips
  Color cheekGrain;  ///< lines in them
  Color bar;         ///< over the rack
  Color barText;
  Color screen;  ///< preset screen
  std::array<int, 4> screenText;
  Color digits;
};

std::span<const Theme> Themes();

/// One size of all skins: its folder, and the pixels of a row. Heights are such that a grid column
/// loses nothing when it is cut to whole pixels.
struct Size {
  const char* name;
  int rowHeight;
};

inline constexpr std::array<Size, 3> kSizes{{{"Small", 219}, {"Medium", 291}, {"Large", 437}}};

/// Grid columns of the rack.
inline constexpr int kRackColumns = 84;

}  // namespace halveron::skins
