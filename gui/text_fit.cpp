#include "gui/text_fit.h"

#include <algorithm>
#include <cstddef>

#include "gui/param_display.h"

namespace halveron {
namespace {

constexpr const char* kEllipsis = "\u2026";
/// Of what remains of a text that is shortened in its middle, the share before the ellipsis.
constexpr double kHeadShare = 0.35;

/// The text with an ellipsis in place of all but about `kept` bytes, cut between characters.
std::string Shortened(std::string_view text, std::size_t kept, Ellipsis where) {
  const double share = where == Ellipsis::kAtEnd ? 1 : kHeadShare;
  const auto isInside = [&](std::size_t at) {
    return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
  };
  auto head = static_cast<std::size_t>(static_cast<double>(kept) * share);
  std::size_t tail = text.size() - (kept - head);
  while (head > 0 && isInside(head)) --head;
  while (isInside(tail)) ++tail;
  return std::string(text.substr(0, head)).append(kEllipsis).append(text.substr(tail));
}

std::string WrapLine(const CFontDesc& font, std::string_view line, CCoord width) {
  if (font.measure(line).x <= width) return std::string(line);
  std::string result;
  std::string present;
  for (std::size_t at = 0; at < line.size();) {
    // A word with the blanks before it.
    const std::size_t word = std::min(line.find_first_not_of(' ', at), line.size());
    const std::size_t end = std::min(line.find(' ', word), line.size());
    const std::string_view piece = line.substr(at, end - at);
    if (!present.empty() && font.measure(present + std::string(piece)).x > width) {
      result.append(present).append("\n");
      present.clear();
    }
    present += present.empty() && !result.empty() ? line.substr(word, end - word) : piece;
    present = FitText(font, present, width, Ellipsis::kInMiddle);
    at = end;
  }
  return result + present;
}

}  // namespace

std::string FitText(const CFontDesc& font, std::string_view text, CCoord width, Ellipsis where) {
  if (text.empty() || font.measure(text).x <= width) return std::string(text);
  std::size_t fits = 0;
  std::size_t tooLong = text.size();
  while (fits + 1 < tooLong) {
    const std::size_t kept = (fits + tooLong) / 2;
    (font.measure(Shortened(text, kept, where)).x <= width ? fits : tooLong) = kept;
  }
  return Shortened(text, fits, where);
}

void ShowFitted(CTextLabel& label, std::string_view line, CCoord margin) {
  const CCoord width = label.getWidth() - 2 * margin;
  label.setText(FitText(*label.getFont(), line, width, Ellipsis::kAtEnd).c_str());
}

std::string WrapText(const CFontDesc& font, std::string_view text, CCoord width) {
  std::string result;
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    if (at > 0) result += '\n';
    result += WrapLine(font, text.substr(at, end - at), width);
    at = end + 1;
  }
  return result;
}

}  // namespace halveron
