#include "skins/shared_images.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "framework/panel_metrics.h"
#include "framework/shared_bitmaps.h"

namespace halveron::skins {

namespace {

using std::numbers::pi;

/// A frame of a strip to draw into: x and y from 0 to width and height, in panel units, whatever
/// the pixels; the canvas is scaled and moved.
struct Frame {
  Canvas& canvas;
  const Theme& theme;
  double width;
  double height;
  int index;
  int count;

  double Share() const { return count > 1 ? static_cast<double>(index) / (count - 1) : 0; }
};

using FramePainter = void (*)(Frame& frame);

Canvas PaintStrip(const Theme& theme, const SharedBitmapInfo& info, FramePainter paint) {
  const int width = static_cast<int>(ScaleToPixels(info.frameWidth));
  // Each frame begins on a whole pixel.
  const double scale = CanvasScale::Present();
  const double height = std::round(ScaleToPixels(info.frameHeight) * scale) / scale;
  Canvas canvas(width, height * info.frames);
  for (int i = 0; i < info.frames; ++i) {
    cairo_save(canvas.Cairo());
    canvas.Rect(CRect(0, i * height, width, (i + 1) * height));
    cairo_clip(canvas.Cairo());
    cairo_translate(canvas.Cairo(), 0, i * height);
    cairo_scale(canvas.Cairo(), static_cast<double>(width) / info.frameWidth,
                height / info.frameHeight);
    Frame frame{canvas,
                theme,
                static_cast<double>(info.frameWidth),
                static_cast<double>(info.frameHeight),
                i,
                info.frames};
    paint(frame);
    cairo_restore(canvas.Cairo());
  }
  return canvas;
}

/// The pointer's angle, clockwise from 3 o'clock.
double KnobAngle(const Frame& frame) { return pi * 0.75 + frame.Share() * pi * 1.5; }

CPoint OnCircle(double x, double y, double radius, double angle) {
  return {x + radius * std::cos(angle), y + radius * std::sin(angle)};
}

/// A disc with flutes that turn with the knob.
std::vector<CPoint> FlutedDisc(double x, double y, double radius, double depth, int flutes,
                               double angle) {
  std::vector<CPoint> points;
  const int steps = flutes * 8;
  for (int i = 0; i < steps; ++i) {
    const double turn = 2 * pi * i / steps;
    const double wave = std::cos(turn * flutes);
    points.push_back(OnCircle(x, y, radius - depth * (wave > 0 ? 0 : wave * wave), angle + turn));
  }
  return points;
}

void PaintPointer(Frame& frame, double from, double to, double width, const Color& color) {
  const double x = frame.width / 2;
  const double y = frame.height / 2;
  const CPoint inner = OnCircle(x, y, from, KnobAngle(frame));
  const CPoint outer = OnCircle(x, y, to, KnobAngle(frame));
  cairo_set_line_cap(frame.canvas.Cairo(), CAIRO_LINE_CAP_ROUND);
  frame.canvas.Line(inner.x, inner.y, outer.x, outer.y);
  frame.canvas.Stroke(color, width);
}

/// A knob with a skirt and a fluted grip, for what is turned most.
void PaintMainKnob(Frame& frame) {
  const KnobColors& colors = frame.theme.mainKnob;
  Canvas& canvas = frame.canvas;
  const double x = frame.width / 2;
  const double y = frame.height / 2;
  const double r = frame.width / 2 - 1.0;
  canvas.SoftDisc(x + 0.3, y + r * 0.10 + 0.4, r + 0.6, frame.theme.knobShadow);
  canvas.Circle(x, y - 0.2, r - 0.6);
  canvas.FillVertical(y - r, y + r, {{0, colors.light.Lighter(0.10)}, {1, colors.dark}});
  canvas.Stroke(colors.rim, 0.7);
  const double grip = r * 0.76;
  canvas.Polygon(
      FlutedDisc(x, y - 0.3, grip, r * 0.075, frame.width > 36 ? 16 : 12, KnobAngle(frame)));
  canvas.FillVertical(
      y - grip, y + grip,
      {{0, colors.light.Lighter(0.06)}, {0.5, colors.dark.Lighter(0.07)}, {1, colors.dark}});
  canvas.Stroke(colors.rim.Faded(0.85), 0.6);
  canvas.Circle(x, y - 0.3, r * 0.58);
  canvas.FillDiagonal({x - r * 0.5, y - r * 0.6}, {x + r * 0.4, y + r * 0.6},
                      {{0, colors.light.Lighter(0.22)},
                       {0.6, colors.dark.Lighter(0.12)},
                       {1, colors.dark.Lighter(0.04)}});
  PaintPointer(frame, r * 0.30, r * 0.86, std::max(1.5, r * 0.125), colors.pointer);
}

/// A plain small knob with a line.
void PaintSmallKnob(Frame& frame, const KnobColors& colors) {
  Canvas& canvas = frame.canvas;
  const double x = frame.width / 2;
  const double y = frame.height / 2;
  const double r = frame.width / 2 - 1.2;
  canvas.SoftDisc(x + 0.2, y + r * 0.10 + 0.4, r + 0.9, frame.theme.knobShadow);
  canvas.Polygon(FlutedDisc(x, y - 0.2, r - 0.3, r * 0.06, 14, KnobAngle(frame)));
  canvas.FillVertical(y - r, y + r, {{0, colors.light.Lighter(0.05)}, {1, colors.dark}});
  canvas.Stroke(colors.rim, 0.6);
  canvas.Circle(x, y - 0.3, r * 0.68);
  canvas.FillDiagonal({x - r * 0.5, y - r * 0.6}, {x + r * 0.4, y + r * 0.6},
                      {{0, colors.light.Lighter(0.28)}, {1, colors.dark.Lighter(0.10)}});
  canvas.Stroke(colors.rim.Faded(0.35), 0.4);
  PaintPointer(frame, r * 0.10, r * 0.82, std::max(1.4, r * 0.16), colors.pointer);
}

void PaintGrayKnob(Frame& frame) { PaintSmallKnob(frame, frame.theme.grayKnob); }
void PaintBlackKnob(Frame& frame) { PaintSmallKnob(frame, frame.theme.blackKnob); }
void PaintRedKnob(Frame& frame) { PaintSmallKnob(frame, frame.theme.redKnob); }

/// Positions of a fine strip: the same knob in a lighter make, so that it is not taken for one with
/// coarse steps.
void PaintFineKnob(Frame& frame) {
  KnobColors colors = frame.theme.grayKnob;
  colors.light = colors.light.Lighter(0.15);
  colors.dark = colors.dark.Lighter(0.15);
  PaintSmallKnob(frame, colors);
}

void PaintVerticalSwitch(Frame& frame) {
  Canvas& canvas = frame.canvas;
  const double x = frame.width / 2;
  const double slot = 7.2;
  const CRect rect(x - slot / 2, 1, x + slot / 2, frame.height - 1);
  canvas.RoundRect(rect, 3.2);
  canvas.FillHorizontal(
      rect.left, rect.right,
      {{0, Color::Of(0x08090A)}, {0.5, Color::Of(0x26282B)}, {1, Color::Of(0x101113)}});
  canvas.Stroke(Color::Of(0x000000, 0.55), 0.8);
  const double travel = frame.height - 12.4;
  const double y = 6.2 + travel * frame.Share();
  const Color& lever = frame.theme.switchLever;
  const CRect cap(x - 5.4, y - 4.3, x + 5.4, y + 4.3);
  canvas.SoftDisc(x, y + 1.2, 6.8, frame.theme.knobShadow);
  canvas.RoundRect(cap, 2.0);
  canvas.FillVertical(cap.top, cap.bottom,
                      {{0, lever.Lighter(0.45)},
                       {0.45, lever},
                       {0.55, lever.Darker(0.22)},
                       {1, lever.Darker(0.32)}});
  canvas.Stroke(Color::Of(0x000000, 0.55), 0.6);
  canvas.Line(cap.left + 1.6, y, cap.right - 1.6, y);
  canvas.Stroke(Color::Of(0x1A1B1D, 0.9), 1.1);
}

void PaintScrew(Frame& frame) {
  Canvas& canvas = frame.canvas;
  const double x = frame.width / 2;
  const double y = frame.height / 2;
  const double r = frame.width / 2 - 1.1;
  canvas.SoftDisc(x, y + 0.6, r + 1.0, Color::Of(0x000000, 0.45));
  canvas.Circle(x, y, r);
  canvas.FillDiagonal(
      {x - r, y - r}, {x + r, y + r},
      {{0, Color::Of(0xF2F2F0)}, {0.5, Color::Of(0xA9ABAD)}, {1, Color::Of(0x74777A)}});
  canvas.Stroke(Color::Of(0x2E3033, 0.8), 0.5);
  const double angle = pi * frame.index / frame.count + 0.3;
  for (const double turn : {0.0, pi / 2}) {
    const CPoint from = OnCircle(x, y, r * 0.66, angle + turn);
    const CPoint to = OnCircle(x, y, r * 0.66, angle + turn + pi);
    canvas.Line(from.x, from.y, to.x, to.y);
    canvas.Stroke(Color::Of(0x33363A), 1.1);
  }
}

void PaintLampAt(Canvas& canvas, double x, double y, double level, const Color& dark,
                 const Color& lit, const Color& core) {
  canvas.Circle(x, y, 4.0);
  canvas.FillDiagonal({x - 4, y - 4}, {x + 4, y + 4},
                      {{0, Color::Of(0x5B5E63)}, {1, Color::Of(0xC9CBCE)}});
  canvas.Circle(x, y, 3.2);
  canvas.Fill(Color::Of(0x0B0C0D));
  const Color lens = dark.Towards(lit, level);
  canvas.Circle(x, y, 2.8);
  canvas.FillRadial({x - 0.3, y - 0.4}, 3.2,
                    {{0, lens.Towards(core, level * 0.9).Lighter(0.12)},
                     {0.55, lens},
                     {1, lens.Darker(0.35 - 0.2 * level)}});
  if (level > 0) canvas.SoftDisc(x, y, 4.5, lit.Faded(0.55 * level));
  canvas.Circle(x - 0.9, y - 1.1, 0.75);
  canvas.Fill(Color::Of(0xFFFFFF, 0.45 + 0.3 * level));
}

void PaintLamp(Frame& frame, const Color& dark, const Color& lit, const Color& core) {
  PaintLampAt(frame.canvas, frame.width / 2, frame.height / 2, frame.Share(), dark, lit, core);
}

void PaintBlueLamp(Frame& frame) {
  PaintLamp(frame, Color::Of(0x16283F), Color::Of(0x2F9BFF), Color::Of(0xD8F0FF));
}
void PaintRedLamp(Frame& frame) {
  PaintLamp(frame, Color::Of(0x40120F), Color::Of(0xFF3B26), Color::Of(0xFFE0CF));
}

void PaintRoundButton(Frame& frame, const Color& cap) {
  Canvas& canvas = frame.canvas;
  const double x = frame.width / 2;
  const double y = frame.height / 2;
  const bool pressed = frame.index == 1;
  const double r = frame.width / 2 - 1.4;
  if (!pressed) canvas.SoftDisc(x, y + 1.0, r + 1.2, frame.theme.knobShadow);
  canvas.Circle(x, y, r);
  canvas.FillVertical(y - r, y + r, {{0, Color::Of(0x8C8F93)}, {1, Color::Of(0x3A3C40)}});
  canvas.Stroke(Color::Of(0x111214, 0.8), 0.5);
  const double inner = pressed ? r - 1.5 : r - 1.1;
  canvas.Circle(x, y, inner);
  canvas.FillVertical(y - inner, y + inner,
                      {{0, pressed ? cap.Darker(0.35) : cap.Lighter(0.30)},
                       {1, pressed ? cap.Darker(0.05) : cap.Darker(0.25)}});
  canvas.Stroke(Color::Of(0x000000, 0.35), 0.5);
}

void PaintRedButton(Frame& frame) { PaintRoundButton(frame, Color::Of(0xC9352B)); }
void PaintBlackButton(Frame& frame) { PaintRoundButton(frame, Color::Of(0x33363B)); }
void PaintWhiteButton(Frame& frame) { PaintRoundButton(frame, Color::Of(0xECEBE6)); }

/// The cap of a lettered or signed button; returns how far the sign sinks with it.
double PaintSquareButton(Frame& frame) {
  Canvas& canvas = frame.canvas;
  const bool pressed = frame.index == 1;
  // Down is also what a button that is on looks like, so it glows.
  const Color cap = frame.theme.buttonCap.Towards(frame.theme.digits, pressed ? 0.42 : 0);
  const CRect well(0.8, 0.8, frame.width - 0.8, frame.height - 0.8);
  canvas.RoundRect(well, 2.4);
  canvas.Fill(Color::Of(0x17181A, 0.9));
  const double sink = pressed ? 0.7 : 0;
  const CRect top(well.left + 0.7, well.top + 0.6 + sink, well.right - 0.7,
                  well.bottom - (pressed ? 0.5 : 1.3));
  canvas.RoundRect(top, 1.9);
  canvas.FillVertical(top.top, top.bottom,
                      {{0, pressed ? cap.Darker(0.18) : cap.Lighter(0.35)},
                       {0.2, cap},
                       {1, cap.Darker(pressed ? 0.08 : 0.20)}});
  return sink;
}

void PaintText(Frame& frame, const std::string& text, double size, double sink) {
  const Type type{size, true};
  const CRect ink = Measure(text, type).ink;
  frame.canvas.CentredText(text, frame.width / 2,
                           frame.height / 2 - (ink.top + ink.bottom) / 2 - 0.3 + sink, type,
                           frame.theme.buttonSign);
}

template <char kLetter>
void PaintLetterButton(Frame& frame) {
  PaintText(frame, std::string(1, kLetter), 9.5, PaintSquareButton(frame));
}

void PaintBlankButton(Frame& frame) { PaintSquareButton(frame); }

void PaintOnOffButton(Frame& frame) {
  const double sink = PaintSquareButton(frame);
  const double x = frame.width / 2;
  const double y = frame.height / 2 + sink;
  cairo_t* cairo = frame.canvas.Cairo();
  cairo_new_path(cairo);
  cairo_arc(cairo, x, y, 3.0, -pi / 2 + 0.7, pi * 1.5 - 0.7);
  frame.canvas.Stroke(frame.theme.buttonSign, 1.2);
  frame.canvas.Line(x, y - 3.8, x, y - 0.4);
  frame.canvas.Stroke(frame.theme.buttonSign, 1.2);
}

/// Signs are polygons in a square of 10 by 10 around the middle of the button.
void PaintSign(Frame& frame, const std::vector<std::vector<CPoint>>& shapes, double sink,
               const Color& color) {
  const double unit = frame.width / 18.0;
  for (const auto& shape : shapes) {
    std::vector<CPoint> points;
    for (const CPoint& point : shape) {
      points.emplace_back(frame.width / 2 + (point.x - 5) * unit,
                          frame.height / 2 + (point.y - 5) * unit + sink);
    }
    frame.canvas.Polygon(points);
    frame.canvas.Fill(color);
  }
}

using Shapes = std::vector<std::vector<CPoint>>;

std::vector<CPoint> Box(double left, double top, double right, double bottom) {
  return {{left, top}, {right, top}, {right, bottom}, {left, bottom}};
}

std::vector<CPoint> Disc(double x, double y, double radius) {
  std::vector<CPoint> points;
  for (int i = 0; i < 32; ++i) points.push_back(OnCircle(x, y, radius, 2 * pi * i / 32));
  return points;
}

Shapes SignOf(SharedBitmap bitmap) {
  const std::vector<CPoint> right{{1, 0}, {9.5, 5}, {1, 10}};
  const std::vector<CPoint> left{{9, 0}, {0.5, 5}, {9, 10}};
  switch (bitmap) {
    case SharedBitmap::kUpButton:
      return {{{0.5, 8}, {5, 1.5}, {9.5, 8}}};
    case SharedBitmap::kDownButton:
    case SharedBitmap::kSmallDown:
      return {{{0.5, 2}, {9.5, 2}, {5, 8.5}}};
    case SharedBitmap::kPlus:
      return {Box(4, 0.5, 6, 9.5), Box(0.5, 4, 9.5, 6)};
    case SharedBitmap::kMinus:
      return {Box(0.5, 4, 9.5, 6)};
    case SharedBitmap::kPlay:
      return {right};
    case SharedBitmap::kPause:
      return {Box(1, 0.5, 4, 9.5), Box(6, 0.5, 9, 9.5)};
    case SharedBitmap::kStop:
      return {Box(1, 1, 9, 9)};
    case SharedBitmap::kRecord:
      return {Disc(5, 5, 4.4)};
    case SharedBitmap::kEject:
      return {{{0.5, 6}, {5, 0.5}, {9.5, 6}}, Box(0.5, 7.4, 9.5, 9.4)};
    case SharedBitmap::kNext:
    case SharedBitmap::kSmallNext:
      return {{{0, 0.5}, {6.5, 5}, {0, 9.5}}, Box(7, 0.5, 9.4, 9.5)};
    case SharedBitmap::kPrevious:
    case SharedBitmap::kSmallPrevious:
      return {{{10, 0.5}, {3.5, 5}, {10, 9.5}}, Box(0.6, 0.5, 3, 9.5)};
    case SharedBitmap::kSmallRepeat:
      return {Box(0, 4, 1.8, 9.5),
              Box(0, 7.7, 9, 9.5),
              Box(7.8, 5, 9.6, 9.5),
              Box(0, 2, 6, 3.8),
              {{5.4, 0}, {9.6, 2.9}, {5.4, 5.8}}};
    case SharedBitmap::kSmallSave:
      return {{{3.4, 0}, {6.6, 0}, {6.6, 3.6}, {9, 3.6}, {5, 7.4}, {1, 3.6}, {3.4, 3.6}},
              Box(0.5, 8.4, 9.5, 10)};
    case SharedBitmap::kSmallDeletePrevious:
      return {left};
    case SharedBitmap::kSmallDeleteNext:
      return {right};
    default:
      return {};
  }
}

template <SharedBitmap kBitmap>
void PaintSignButton(Frame& frame) {
  const double sink = PaintSquareButton(frame);
  const bool record = kBitmap == SharedBitmap::kRecord;
  PaintSign(frame, SignOf(kBitmap), sink, record ? Color::Of(0xD0342A) : frame.theme.buttonSign);
}

/// A triangle crossed out: delete what is on that side.
template <SharedBitmap kBitmap>
void PaintDeleteButton(Frame& frame) {
  const double sink = PaintSquareButton(frame);
  PaintSign(frame, SignOf(kBitmap), sink, frame.theme.buttonSign);
  const double x = frame.width / 2;
  const double y = frame.height / 2 + sink;
  frame.canvas.Line(x - 4, y + 4, x + 4, y - 4);
  frame.canvas.Stroke(Color::Of(0xD0342A), 1.3);
}

void PaintInfoButton(Frame& frame) { PaintText(frame, "i", 9.5, PaintSquareButton(frame)); }
void PaintQuestionButton(Frame& frame) { PaintText(frame, "?", 9.5, PaintSquareButton(frame)); }

/// Which of the seven segments are lit: bit 0 the top, then clockwise, bit 6 the middle.
/// The panel's recess shows between them, and displays fill them with the skin's digit colour.
void PaintSegments(Frame& frame, unsigned lit) {
  Canvas& canvas = frame.canvas;
  const double left = 1.9;
  const double right = frame.width - 1.9;
  const double top = 2.2;
  const double bottom = frame.height - 2.2;
  const double middle = frame.height / 2;
  const double slant = 0.5;
  const auto at = [&](double x, double y) {
    return CPoint(x + slant * (middle - y) / (bottom - middle), y);
  };
  const std::array<std::array<CPoint, 2>, 7> ends{{{at(left, top), at(right, top)},
                                                   {at(right, top), at(right, middle)},
                                                   {at(right, middle), at(right, bottom)},
                                                   {at(left, bottom), at(right, bottom)},
                                                   {at(left, middle), at(left, bottom)},
                                                   {at(left, top), at(left, middle)},
                                                   {at(left, middle), at(right, middle)}}};
  cairo_set_line_cap(canvas.Cairo(), CAIRO_LINE_CAP_BUTT);
  for (std::size_t i = 0; i < ends.size(); ++i) {
    // A little short at both ends, so that segments stay apart.
    const CPoint from = ends[i][0];
    const CPoint to = ends[i][1];
    const double dx = (to.x - from.x) * 0.09;
    const double dy = (to.y - from.y) * 0.09;
    canvas.Line(from.x + dx, from.y + dy, to.x - dx, to.y - dy);
    canvas.Stroke((lit >> i & 1) ? frame.theme.digits : frame.theme.digits.Faded(0.10), 1.45);
  }
}

void PaintDigit(Frame& frame) {
  constexpr std::array<unsigned, 10> kSegments = {0x3F, 0x06, 0x5B, 0x4F, 0x66,
                                                  0x6D, 0x7D, 0x07, 0x7F, 0x6F};
  PaintSegments(frame, kSegments[static_cast<std::size_t>(frame.index) % kSegments.size()]);
}

void PaintBlankDigit(Frame& frame) { PaintSegments(frame, 0); }

void PaintPlusMinus(Frame& frame) {
  PaintSegments(frame, 0x40);
  if (frame.index != 0) return;
  frame.canvas.Line(frame.width / 2, 4.0, frame.width / 2, frame.height - 4.0);
  frame.canvas.Stroke(frame.theme.digits, 1.45);
}

void PaintScrollHandle(Frame& frame) {
  Canvas& canvas = frame.canvas;
  const Color& cap = frame.theme.buttonCap;
  const CRect rect(1, 1, frame.width - 1, frame.height - 1);
  const bool upright = frame.height > frame.width;
  canvas.RoundRect(rect, 3);
  canvas.FillDiagonal({0, 0}, upright ? CPoint(frame.width, 0) : CPoint(0, frame.height),
                      {{0, cap.Lighter(0.3)}, {0.5, cap}, {1, cap.Darker(0.25)}});
  canvas.Stroke(Color::Of(0x000000, 0.6), 0.7);
  for (int i = -1; i <= 1; ++i) {
    const double x = frame.width / 2 + (upright ? 0 : i * 2.4);
    const double y = frame.height / 2 + (upright ? i * 2.4 : 0);
    canvas.Line(x - (upright ? 2.8 : 0), y - (upright ? 0 : 2.8), x + (upright ? 2.8 : 0),
                y + (upright ? 0 : 2.8));
    canvas.Stroke(frame.theme.buttonSign.Faded(0.7), 0.9);
  }
}

/// A socket in a hexagonal nut; the eight makes differ in how far the nut is turned and in its
/// tint.
void PaintJack(Canvas& canvas, const Theme& theme, int make) {
  const double c = kPatchPointSize / 2.0;
  canvas.SoftDisc(c, c + 1.2, 12.2, Color::Of(0x000000, 0.42));
  const Color nut = theme.jackNut.Towards(make % 2 ? Color::Of(0xD8CBB0) : Color::Of(0xC3CCD6),
                                          0.05 * (make % 4));
  std::vector<CPoint> hexagon;
  const double turned = make * (pi / 3) / kPatchPointBitmapCount;
  for (int i = 0; i < 6; ++i) hexagon.push_back(OnCircle(c, c, 11.4, turned + i * pi / 3));
  canvas.Polygon(hexagon);
  canvas.FillDiagonal({3, 2}, {22, 23},
                      {{0, nut.Lighter(0.55)}, {0.45, nut}, {1, nut.Darker(0.42)}});
  canvas.Stroke(Color::Of(0x3A3B3D, 0.75), 0.6);
  canvas.Circle(c, c, 9.3);
  canvas.FillDiagonal({4, 4}, {21, 21},
                      {{0, nut.Darker(0.30)}, {0.5, nut.Lighter(0.12)}, {1, nut.Lighter(0.60)}});
  canvas.Circle(c, c, 8.3);
  canvas.FillDiagonal({5, 4}, {20, 21},
                      {{0, nut.Lighter(0.62)}, {0.5, nut.Darker(0.06)}, {1, nut.Darker(0.38)}});
  canvas.Circle(c, c, 6.3);
  canvas.FillVertical(c - 6.3, c + 6.3, {{0, Color::Of(0x050506)}, {1, Color::Of(0x2B2D30)}});
  canvas.Circle(c, c, 4.9);
  canvas.FillVertical(c - 4.9, c + 4.9, {{0, Color::Of(0x000000)}, {1, Color::Of(0x0E0F10)}});
  cairo_new_path(canvas.Cairo());
  cairo_arc(canvas.Cairo(), c, c, 5.6, 0.5, 2.1);
  canvas.Stroke(Color::Of(0xFFFFFF, 0.22), 0.8);
}

void PaintMidiSocket(Canvas& canvas, bool plugged) {
  const double c = kPatchPointSize / 2.0;
  canvas.SoftDisc(c, c + 1.2, 12.2, Color::Of(0x000000, 0.42));
  canvas.Circle(c, c, 11.0);
  canvas.FillDiagonal(
      {3, 2}, {22, 23},
      {{0, Color::Of(0xE6E7E8)}, {0.5, Color::Of(0x9C9FA3)}, {1, Color::Of(0x55585C)}});
  canvas.Stroke(Color::Of(0x2A2B2D, 0.8), 0.6);
  canvas.Circle(c, c, 9.2);
  canvas.FillVertical(c - 9, c + 9, {{0, Color::Of(0x0A0B0C)}, {1, Color::Of(0x34373B)}});
  if (plugged) {
    canvas.Circle(c, c, 8.2);
    canvas.FillDiagonal({5, 4}, {20, 21}, {{0, Color::Of(0x5A5E64)}, {1, Color::Of(0x121315)}});
    canvas.Circle(c, c, 4.4);
    canvas.FillDiagonal({9, 8}, {17, 18}, {{0, Color::Of(0x2B2D31)}, {1, Color::Of(0x0A0A0B)}});
    return;
  }
  for (int i = 0; i < 5; ++i) {
    const CPoint pin = OnCircle(c, c, 5.4, pi + i * pi / 4);
    canvas.Circle(pin.x, pin.y + 1.2, 1.25);
    canvas.Fill(Color::Of(0xC9CBCE));
    canvas.Circle(pin.x, pin.y + 1.2, 0.6);
    canvas.Fill(Color::Of(0x08090A));
  }
  canvas.RoundRect(CRect(c - 1.7, c + 5.6, c + 1.7, c + 9.0), 0.8);
  canvas.Fill(Color::Of(0x000000));
}

void PaintMidiPatchPoint(Frame& frame) { PaintMidiSocket(frame.canvas, frame.index == 1); }

/// The plug at the end of a MIDI cable, seen from behind.
void PaintMidiPlug(Canvas& canvas, bool connected) {
  const double c = kPatchPointSize / 2.0;
  if (!connected) canvas.SoftDisc(c + 1.5, c + 2.0, 11.5, Color::Of(0x000000, 0.5));
  canvas.Circle(c, c, 8.6);
  canvas.FillDiagonal({5, 4}, {20, 21}, {{0, Color::Of(0x6A6E75)}, {1, Color::Of(0x141517)}});
  canvas.Stroke(Color::Of(0x000000, 0.8), 0.7);
  for (int i = 0; i < 12; ++i) {
    const CPoint from = OnCircle(c, c, 6.6, i * pi / 6);
    const CPoint to = OnCircle(c, c, 8.2, i * pi / 6);
    canvas.Line(from.x, from.y, to.x, to.y);
    canvas.Stroke(Color::Of(0x000000, 0.45), 0.8);
  }
  canvas.Circle(c, c, 4.6);
  canvas.FillDiagonal({9, 8}, {17, 18}, {{0, Color::Of(0x303338)}, {1, Color::Of(0x0A0A0B)}});
}

/// One image of the size of a jack.
Canvas PaintJackSized(const std::function<void(Canvas&)>& paint) {
  const int size = static_cast<int>(ScaleToPixels(kPatchPointSize));
  Canvas canvas(size, size);
  cairo_scale(canvas.Cairo(), static_cast<double>(size) / kPatchPointSize,
              static_cast<double>(size) / kPatchPointSize);
  paint(canvas);
  return canvas;
}

/// In the order of SharedBitmap.
constexpr std::array<FramePainter, kSharedBitmapCount> kPainters{
    PaintMainKnob,
    PaintVerticalSwitch,
    PaintVerticalSwitch,
    PaintScrew,
    PaintMidiPatchPoint,
    PaintBlueLamp,
    PaintRedLamp,
    PaintMainKnob,
    PaintGrayKnob,
    PaintGrayKnob,
    PaintGrayKnob,
    PaintGrayKnob,
    PaintGrayKnob,
    PaintFineKnob,
    PaintBlackKnob,
    PaintRedKnob,
    PaintRedButton,
    PaintBlackButton,
    PaintWhiteButton,
    PaintSignButton<SharedBitmap::kUpButton>,
    PaintSignButton<SharedBitmap::kDownButton>,
    PaintDigit,
    PaintPlusMinus,
    PaintBlankDigit,
    PaintSignButton<SharedBitmap::kPlay>,
    PaintSignButton<SharedBitmap::kPause>,
    PaintSignButton<SharedBitmap::kStop>,
    PaintSignButton<SharedBitmap::kRecord>,
    PaintSignButton<SharedBitmap::kEject>,
    PaintSignButton<SharedBitmap::kNext>,
    PaintSignButton<SharedBitmap::kPrevious>,
    PaintSignButton<SharedBitmap::kSmallRepeat>,
    PaintSignButton<SharedBitmap::kSmallDown>,
    PaintSignButton<SharedBitmap::kSmallSave>,
    PaintSignButton<SharedBitmap::kSmallNext>,
    PaintSignButton<SharedBitmap::kSmallPrevious>,
    PaintInfoButton,
    PaintDeleteButton<SharedBitmap::kSmallDeletePrevious>,
    PaintDeleteButton<SharedBitmap::kSmallDeleteNext>,
    PaintQuestionButton,
    PaintSignButton<SharedBitmap::kPlus>,
    PaintSignButton<SharedBitmap::kMinus>,
    PaintLetterButton<'A'>,
    PaintLetterButton<'H'>,
    PaintLetterButton<'V'>,
    PaintLetterButton<'C'>,
    PaintLetterButton<'P'>,
    PaintLetterButton<'R'>,
    PaintLetterButton<'L'>,
    PaintOnOffButton,
    PaintBlankButton,
    PaintScrollHandle,
    PaintScrollHandle,
};

/// An arrow up or down behind a letter.
template <bool kUp>
void PaintEndButton(Frame& frame) {
  const double sink = PaintSquareButton(frame);
  const Type type{8.5, true};
  frame.canvas.CentredText("E", frame.width / 2 - 2.2, frame.height / 2 + 2.8 + sink, type,
                           frame.theme.buttonSign);
  const double x = frame.width / 2 + 3.0;
  const double y = frame.height / 2 + sink;
  const double tip = kUp ? -2.6 : 2.6;
  frame.canvas.Polygon({{x, y + tip}, {x - 2.2, y - tip * 0.6}, {x + 2.2, y - tip * 0.6}});
  frame.canvas.Fill(frame.theme.buttonSign);
}

void PaintNoteButton(Frame& frame) {
  const double sink = PaintSquareButton(frame);
  const double x = frame.width / 2;
  const double y = frame.height / 2 + sink;
  frame.canvas.Circle(x - 1.6, y + 2.6, 1.9);
  frame.canvas.Fill(frame.theme.buttonSign);
  frame.canvas.Line(x, y + 2.6, x, y - 3.8);
  frame.canvas.Stroke(frame.theme.buttonSign, 1.0);
  frame.canvas.Line(x, y - 3.4, x + 2.6, y - 1.4);
  frame.canvas.Stroke(frame.theme.buttonSign, 1.3);
}

void PaintExclamationButton(Frame& frame) { PaintText(frame, "!", 9.5, PaintSquareButton(frame)); }

/// Rod and loop, and between them a field that closes in from frame to frame.
void PaintTheremin(Frame& frame) {
  Canvas& canvas = frame.canvas;
  canvas.RoundRect(CRect(0.5, 0.5, frame.width - 0.5, frame.height - 0.5), 3);
  canvas.Fill(frame.theme.window);
  const Color metal = Color::Of(0xC9CBCE);
  canvas.RoundRect(CRect(14, frame.height - 12, frame.width - 14, frame.height - 5), 2);
  canvas.Fill(Color::Of(0x7A4B2A));
  canvas.Line(frame.width - 20, frame.height - 12, frame.width - 20, 8);
  canvas.Stroke(metal, 1.6);
  canvas.Circle(13, frame.height - 16, 5);
  canvas.Stroke(metal, 1.6);
  for (int ring = 1; ring <= 4; ++ring) {
    const double radius = 3.5 * ring * (1.6 - 0.9 * frame.Share());
    cairo_new_path(canvas.Cairo());
    cairo_arc(canvas.Cairo(), frame.width - 20, 16, radius, pi * 0.75, pi * 1.25);
    canvas.Stroke(frame.theme.digits.Faded((0.15 + 0.75 * frame.Share()) / ring * 1.6), 1.3);
  }
}

/// What single modules show beside the shared images, in the same terms.
struct ModuleImage {
  SharedBitmapInfo info;
  FramePainter paint;
};

constexpr std::array kModuleImages{
    ModuleImage{{"theremin.png", 72, 60, 16}, PaintTheremin},
    ModuleImage{{"bb_E.png", 14, 14, 2}, PaintLetterButton<'E'>},
    ModuleImage{{"bb_E_up.png", 14, 14, 2}, PaintEndButton<true>},
    ModuleImage{{"bb_E_down.png", 14, 14, 2}, PaintEndButton<false>},
    ModuleImage{{"bb_O.png", 14, 14, 2}, PaintLetterButton<'O'>},
    ModuleImage{{"bb_S.png", 14, 14, 2}, PaintLetterButton<'S'>},
    ModuleImage{{"bb_T.png", 14, 14, 2}, PaintLetterButton<'T'>},
    ModuleImage{{"bb_Note.png", 14, 14, 2}, PaintNoteButton},
    ModuleImage{{"bb_exal.png", 14, 14, 2}, PaintExclamationButton},
    ModuleImage{{"bb_rec.png", 14, 14, 2}, PaintSignButton<SharedBitmap::kRecord>},
    ModuleImage{{"digits_ar.png", 9, 14, 10}, PaintDigit},
    ModuleImage{{"led_red2.png", 9, 9, 16}, PaintRedLamp},
};

}  // namespace

void PaintUnlitLamp(Canvas& canvas, const CRect& rect) {
  const double nominal = InfoOf(SharedBitmap::kRedLamp).frameWidth;
  cairo_save(canvas.Cairo());
  cairo_translate(canvas.Cairo(), rect.left, rect.top);
  cairo_scale(canvas.Cairo(), rect.getWidth() / nominal, rect.getHeight() / nominal);
  const Color lens = Color::Of(0x33302E);
  PaintLampAt(canvas, nominal / 2, nominal / 2, 0, lens, lens, lens);
  cairo_restore(canvas.Cairo());
}

std::vector<ImageJob> SharedImages(const Theme& theme) {
  std::vector<ImageJob> jobs;
  for (std::size_t i = 0; i < kPainters.size(); ++i) {
    const SharedBitmapInfo& info = InfoOf(static_cast<SharedBitmap>(i));
    const FramePainter paint = kPainters[i];
    jobs.push_back({info.file, [&theme, &info, paint] { return PaintStrip(theme, info, paint); }});
  }
  for (const ModuleImage& image : kModuleImages) {
    jobs.push_back(
        {image.info.file, [&theme, &image] { return PaintStrip(theme, image.info, image.paint); }});
  }
  const auto addJackSized = [&](const std::string& file, std::function<void(Canvas&)> paint) {
    jobs.push_back({file, [paint = std::move(paint)] { return PaintJackSized(paint); }});
  };
  for (int make = 0; make < kPatchPointBitmapCount; ++make) {
    addJackSized("patchpoint" + std::to_string(make + 1) + ".png",
                 [&theme, make](Canvas& canvas) { PaintJack(canvas, theme, make); });
  }
  addJackSized("MIDIplug.png", [](Canvas& canvas) { PaintMidiPlug(canvas, false); });
  addJackSized("MIDIplugcon.png", [](Canvas& canvas) { PaintMidiPlug(canvas, true); });
  return jobs;
}

}  // namespace halveron::skins
