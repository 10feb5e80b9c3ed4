// How menus, dialogs and tooltips look: one dark palette and one set of measures for all of them.
#pragma once

#include "gui/font.h"
#include "gui/geometry.h"

namespace halveron {
class CDrawContext;
}

namespace halveron::theme {

inline constexpr CColor kPanel{38, 40, 44};
inline constexpr CColor kPanelEdge{14, 15, 17};
inline constexpr CColor kField{24, 25, 28};
inline constexpr CColor kFieldEdge{84, 88, 96};
inline constexpr CColor kText{232, 234, 238};
inline constexpr CColor kPaleText{150, 154, 162};
inline constexpr CColor kDisabledText{110, 114, 122};
inline constexpr CColor kSeparator{70, 73, 80};
inline constexpr CColor kHighlight{52, 104, 168};
inline constexpr CColor kHighlightText{255, 255, 255};
inline constexpr CColor kSelection{52, 104, 168, 180};
inline constexpr CColor kButton{62, 65, 72};
inline constexpr CColor kButtonHover{78, 82, 91};
inline constexpr CColor kButtonDown{46, 48, 54};
inline constexpr CColor kAccent{240, 150, 60};
/// Laid over the rest of the frame while a dialog is up.
inline constexpr CColor kShade{0, 0, 0, 120};

/// Pixels at scale 1.
inline constexpr CCoord kFontSize = 13;
inline constexpr CCoord kRowHeight = 22;
inline constexpr CCoord kPadding = 10;
inline constexpr CCoord kCornerRadius = 4;

/// The font of all of them at a scale; never below what can be read.
SharedPointer<CFontDesc> Font(double scale, int style = kNormalFace);
/// A measure at a scale, in whole pixels and at least 1.
CCoord Scaled(CCoord measure, double scale);
/// The panel that a menu, dialog or browser lies on. `scale` is that of its corners.
void DrawPanel(CDrawContext& context, const CRect& place, double scale,
               const CColor& edge = kPanelEdge);

}  // namespace halveron::theme
