#pragma once

#include <cstdint>

namespace halveron {

/// A coordinate in pixels; x grows to the right, y downward.
using CCoord = double;

struct CPoint {
  CCoord x = 0;
  CCoord y = 0;

  constexpr CPoint() = default;
  constexpr CPoint(CCoord x_, CCoord y_) : x(x_), y(y_) {}
  constexpr CPoint& offset(CCoord dx, CCoord dy) {
    x += dx;
    y += dy;
    return *this;
  }
  constexpr CPoint operator+(const CPoint& p) const { return {x + p.x, y + p.y}; }
  constexpr CPoint operator-(const CPoint& p) const { return {x - p.x, y - p.y}; }
  constexpr bool operator==(const CPoint&) const = default;
};

/// A rectangle from its left and top edges, included, to its right and bottom edges, excluded.
struct CRect {
  CCoord left = 0;
  CCoord top = 0;
  CCoord right = 0;
  CCoord bottom = 0;

  constexpr CRect() = default;
  constexpr CRect(CCoord l, CCoord t, CCoord r, CCoord b) : left(l), top(t), right(r), bottom(b) {}
  /// The rectangle of a size, with its top left corner at `origin`.
  static constexpr CRect FromSize(const CPoint& origin, CCoord width, CCoord height) {
    return {origin.x, origin.y, origin.x + width, origin.y + height};
  }

  constexpr CCoord getWidth() const { return right - left; }
  constexpr CCoord getHeight() const { return bottom - top; }
  constexpr void setWidth(CCoord width) { right = left + width; }
  constexpr void setHeight(CCoord height) { bottom = top + height; }
  constexpr CPoint getTopLeft() const { return {left, top}; }
  constexpr CPoint getBottomRight() const { return {right, bottom}; }
  constexpr CPoint getCenter() const { return {(left + right) * 0.5, (top + bottom) * 0.5}; }
  /// True if it covers nothing; so is an edge on the wrong side of its opposite.
  constexpr bool isEmpty() const { return !(right > left && bottom > top); }

  constexpr CRect& offset(CCoord dx, CCoord dy) {
    left += dx;
    right += dx;
    top += dy;
    bottom += dy;
    return *this;
  }
  constexpr CRect& offset(const CPoint& d) { return offset(d.x, d.y); }
  /// Moves the top left corner, keeping the size.
  constexpr CRect& moveTo(CCoord x, CCoord y) { return offset(x - left, y - top); }
  constexpr CRect& moveTo(const CPoint& p) { return moveTo(p.x, p.y); }
  /// Draws each edge in; negative amounts push it out.
  constexpr CRect& inset(CCoord dx, CCoord dy) {
    left += dx;
    right -= dx;
    top += dy;
    bottom -= dy;
    return *this;
  }
  /// Cuts to what is inside `other` as well; all edges 0 if nothing does.
  constexpr CRect& bound(const CRect& other) {
    left = Greater(left, other.left);
    top = Greater(top, other.top);
    right = Lesser(right, other.right);
    bottom = Lesser(bottom, other.bottom);
    if (isEmpty()) *this = CRect();
    return *this;
  }
  /// Grows to hold `other` as well; an empty rectangle adds nothing.
  constexpr CRect& unite(const CRect& other) {
    if (other.isEmpty()) return *this;
    if (isEmpty()) return *this = other;
    left = Lesser(left, other.left);
    top = Lesser(top, other.top);
    right = Greater(right, other.right);
    bottom = Greater(bottom, other.bottom);
    return *this;
  }
  constexpr bool pointInside(const CPoint& p) const {
    return p.x >= left && p.x < right && p.y >= top && p.y < bottom;
  }
  /// True if the two share some area.
  constexpr bool rectOverlap(const CRect& other) const {
    return !CRect(*this).bound(other).isEmpty();
  }
  constexpr bool operator==(const CRect&) const = default;

 private:
  // As std::min and std::max; <algorithm> is too much for a header that everything includes.
  static constexpr CCoord Lesser(CCoord a, CCoord b) { return b < a ? b : a; }
  static constexpr CCoord Greater(CCoord a, CCoord b) { return a < b ? b : a; }
};

/// A colour without premultiplied alpha.
struct CColor {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;
  std::uint8_t alpha = 255;

  constexpr CColor() = default;
  constexpr CColor(int r, int g, int b, int a = 255)
      : red(static_cast<std::uint8_t>(r)),
        green(static_cast<std::uint8_t>(g)),
        blue(static_cast<std::uint8_t>(b)),
        alpha(static_cast<std::uint8_t>(a)) {}
  constexpr bool operator==(const CColor&) const = default;
};

inline constexpr CColor kTransparentCColor{255, 255, 255, 0};
inline constexpr CColor kBlackCColor{0, 0, 0};
inline constexpr CColor kWhiteCColor{255, 255, 255};
inline constexpr CColor kGreyCColor{127, 127, 127};
inline constexpr CColor kRedCColor{255, 0, 0};
inline constexpr CColor kGreenCColor{0, 255, 0};
inline constexpr CColor kBlueCColor{0, 0, 255};
inline constexpr CColor kYellowCColor{255, 255, 0};

}  // namespace halveron
