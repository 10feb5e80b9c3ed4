// Fitting text into a width.
#pragma once

#include <string>
#include <string_view>

#include "gui/font.h"

namespace halveron {

class CTextLabel;

/// Where an ellipsis stands for what was left out.
enum class Ellipsis { kAtEnd, kInMiddle };

/// A text of one line that is at most `width` pixels wide in a font: itself, or shortened with an
/// ellipsis. A path keeps its file name if the ellipsis is in the middle.
std::string FitText(const CFontDesc& font, std::string_view text, CCoord width, Ellipsis where);

/// Shows a line on a label, with an ellipsis where it does not end within the label's `margin`.
void ShowFitted(CTextLabel& label, std::string_view line, CCoord margin = 0);

/// A text with line feeds put in at blanks, so that no line is wider than `width` pixels. A word
/// that is too wide by itself, such as a path, is shortened in its middle.
std::string WrapText(const CFontDesc& font, std::string_view text, CCoord width);

}  // namespace halveron
