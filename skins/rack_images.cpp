#include "skins/rack_images.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <sstream>

#include "framework/panel_metrics.h"

namespace halveron::skins {

namespace {

// Panel units.
constexpr int kSideWidth = 24;
constexpr int kBarHeight = 54;
constexpr int kRailHeight = 14;
constexpr CPoint kTitleSize{152, 34};
constexpr CPoint kMenuButtonSize{74, 28};
constexpr CPoint kRowButtonSize{30, 28};
constexpr CPoint kStepButtonSize{24, 28};
constexpr CPoint kFrameSize{316, 38};
constexpr CPoint kScreenSize{304, 28};
constexpr CPoint kAboutSize{440, 260};
constexpr int kPresetFontSize = 15;

double Unit() { return static_cast<double>(uiScale); }
int Pixels(double units) { return static_cast<int>(ScaleToPixels(units)); }
int RackWidth() { return kRackColumns * panelUnitWidth; }

/// The same row of numbers from 0 to 1 on every machine and run.
class Grain {
 public:
  explicit Grain(std::uint32_t seed) : state_(seed) {}
  double Next() {
    state_ = state_ * 1664525u + 1013904223u;
    return (state_ >> 8) / 16777216.0;
  }

 private:
  std::uint32_t state_;
};

/// A rail of the rack: a bar of metal with threaded holes, one a column.
void PaintRail(Canvas& canvas, const Theme& theme, double top, double height) {
  const double w = canvas.Width();
  canvas.Rect(CRect(0, top, w, top + height));
  canvas.FillVertical(top, top + height,
                      {{0, theme.rail.Lighter(0.25)},
                       {0.12, theme.rail},
                       {0.85, theme.rail.Darker(0.12)},
                       {1, theme.rail.Darker(0.45)}});
  const double radius = 2.3 * Unit();
  for (int column = 0; column < kRackColumns; ++column) {
    const double x = (column + 0.5) * panelUnitWidth;
    const double y = top + height * 0.5;
    canvas.Circle(x, y, radius);
    canvas.Fill(Color::Of(0x0A0A0B, 0.92));
    cairo_new_path(canvas.Cairo());
    cairo_arc(canvas.Cairo(), x, y, radius, 0.4, 2.7);
    canvas.Stroke(theme.rail.Lighter(0.5).Faded(0.6), std::max(0.7, 0.7 * Unit()));
  }
}

/// The empty rack behind the modules; the three differ in what shows of its inside.
Canvas PaintRow(const Theme& theme, int which) {
  Canvas canvas(RackWidth(), panelHeight);
  const double w = canvas.Width();
  const double h = canvas.Height();
  const double u = Unit();
  canvas.Rect(CRect(0, 0, w, h));
  canvas.FillVertical(0, h,
                      {{0, theme.rackBack.Darker(0.55)},
                       {0.12, theme.rackBack.Darker(0.15)},
                       {0.55, theme.rackBack.Lighter(0.03)},
                       {1, theme.rackBack.Darker(0.35)}});
  const double rail = kRailHeight * u;
  // Folds in the sheet at the back, and the strip that feeds the modules.
  const int folds = 3 + which;
  for (int i = 1; i < folds; ++i) {
    const double y = std::round(rail + (h - 2 * rail) * i / folds);
    canvas.Rect(CRect(0, y, w, y + std::max(1.0, u)));
    canvas.Fill(theme.rackBack.Darker(0.5));
    canvas.Rect(CRect(0, y + std::max(1.0, u), w, y + 2 * std::max(1.0, u)));
    canvas.Fill(theme.rackBack.Lighter(0.10));
  }
  const double strip = std::round(h * (0.5 + 0.06 * (which - 1)));
  canvas.Rect(CRect(0, strip - 5 * u, w, strip + 5 * u));
  canvas.FillVertical(strip - 5 * u, strip + 5 * u,
                      {{0, theme.rackBack.Lighter(0.14)}, {1, theme.rackBack.Lighter(0.05)}});
  for (int column = 1; column < kRackColumns; column += 4) {
    const double x = (column + 0.5) * panelUnitWidth;
    for (const double dx : {-4.0, -1.3, 1.3, 4.0}) {
      canvas.Rect(CRect(x + (dx - 0.7) * u, strip - 1.6 * u, x + (dx + 0.7) * u, strip + 1.6 * u));
      canvas.Fill(Color::Of(0xB99B55, 0.55));
    }
  }
  PaintRail(canvas, theme, 0, rail);
  PaintRail(canvas, theme, h - rail, rail);
  canvas.Rect(CRect(0, rail, w, rail + 7 * u));
  canvas.FillVertical(rail, rail + 7 * u,
                      {{0, Color::Of(0x000000, 0.5)}, {1, Color::Of(0x000000, 0)}});
  return canvas;
}

/// A cheek of the case, left or right, of any height.
Canvas PaintCheek(const Theme& theme, int height, bool left) {
  Canvas canvas(Pixels(kSideWidth), height);
  const double w = canvas.Width();
  const double h = canvas.Height();
  const double u = Unit();
  canvas.Rect(CRect(0, 0, w, h));
  canvas.FillHorizontal(0, w,
                        {{0, theme.cheek.Darker(left ? 0.28 : 0.40)},
                         {0.25, theme.cheek.Lighter(0.06)},
                         {0.7, theme.cheek},
                         {1, theme.cheek.Darker(left ? 0.40 : 0.28)}});
  // The grain runs along; it repeats with every two rows, as the strips do.
  Grain grain(left ? 7u : 11u);
  const double period = 2.0 * panelHeight;
  for (int i = 0; i < 26; ++i) {
    const double x = grain.Next() * w;
    const double sway = (0.4 + grain.Next() * 2.2) * u;
    const double turns = 1 + std::floor(grain.Next() * 2);
    const double phase = grain.Next() * 6.28;
    const double alpha = 0.06 + 0.20 * grain.Next();
    const double width = (0.4 + 0.9 * grain.Next()) * u;
    cairo_new_path(canvas.Cairo());
    for (double y = -4; y <= h + 4; y += 6) {
      cairo_line_to(canvas.Cairo(), x + sway * std::sin(phase + turns * 6.2831853 * y / period), y);
    }
    canvas.Stroke(theme.cheekGrain.Faded(alpha), width);
  }
  const double inner = left ? w - 1.6 * u : 0;
  canvas.Rect(CRect(inner, 0, inner + 1.6 * u, h));
  canvas.Fill(Color::Of(0x000000, 0.45));
  const double outer = left ? 0 : w - std::max(1.0, u);
  canvas.Rect(CRect(outer, 0, outer + std::max(1.0, u), h));
  canvas.Fill(theme.cheek.Lighter(0.25).Faded(0.6));
  return canvas;
}

Canvas PaintBar(const Theme& theme) {
  Canvas canvas(RackWidth() + 2 * Pixels(kSideWidth), Pixels(kBarHeight));
  const double w = canvas.Width();
  const double h = canvas.Height();
  const double line = std::max(1.0, std::round(Unit()));
  canvas.Rect(CRect(0, 0, w, h));
  canvas.FillVertical(0, h,
                      {{0, theme.bar.Lighter(0.22)},
                       {0.10, theme.bar.Lighter(0.05)},
                       {0.8, theme.bar.Darker(0.05)},
                       {1, theme.bar.Darker(0.16)}});
  canvas.Rect(CRect(0, 0, w, line));
  canvas.Fill(theme.panelEdgeLight);
  // A thread of all the categories' colours, in their order.
  const double thread = std::max(2.0, std::round(2.6 * Unit()));
  const double part = w / kCategoryCount;
  for (int i = 0; i < kCategoryCount; ++i) {
    canvas.Rect(
        CRect(std::round(i * part), h - thread - line, std::round((i + 1) * part), h - line));
    canvas.Fill(theme.accents[static_cast<std::size_t>(i)]);
  }
  canvas.Rect(CRect(0, h - line, w, h));
  canvas.Fill(Color::Of(0x000000, 0.75));
  return canvas;
}

/// The name, beside two curves that leave one jack and swing apart.
Canvas PaintTitle(const Theme& theme) {
  Canvas canvas(Pixels(kTitleSize.x), Pixels(kTitleSize.y));
  const double u = canvas.Height() / kTitleSize.y;
  cairo_scale(canvas.Cairo(), u, u);
  const double middle = kTitleSize.y / 2;
  cairo_set_line_cap(canvas.Cairo(), CAIRO_LINE_CAP_ROUND);
  const auto curve = [&](double swing, const Color& color) {
    cairo_new_path(canvas.Cairo());
    cairo_move_to(canvas.Cairo(), 8, middle);
    cairo_curve_to(canvas.Cairo(), 17, middle - swing, 21, middle + swing, 30, middle);
    canvas.Stroke(color, 3.0);
  };
  curve(17, theme.accents[static_cast<std::size_t>(Category::kOscillatorSource)]);
  curve(-17, theme.accents[static_cast<std::size_t>(Category::kFilter)]);
  for (const double x : {8.0, 30.0}) {
    canvas.Circle(x, middle, 4.2);
    canvas.Fill(theme.barText);
    canvas.Circle(x, middle, 1.8);
    canvas.Fill(theme.bar);
  }
  const Type type{20, true, 0.12};
  canvas.Text("HALVERON", 41, middle + CapHeight(type) * type.size / 2, type, theme.barText);
  return canvas;
}

/// A raised key of the bar; returns the rectangle of its cap, in panel units.
CRect PaintKey(Canvas& canvas, const Theme& theme, const CPoint& size, bool pressed) {
  cairo_scale(canvas.Cairo(), canvas.Width() / size.x, canvas.Height() / size.y);
  const CRect well(0.5, 0.5, size.x - 0.5, size.y - 0.5);
  canvas.RoundRect(well, 4.5);
  canvas.Fill(Color::Of(0x000000, 0.72));
  const double sink = pressed ? 1.0 : 0.0;
  const CRect cap(well.left + 1, well.top + 0.8 + sink, well.right - 1,
                  well.bottom - 2.2 + sink * 1.2);
  canvas.RoundRect(cap, 3.6);
  const Color& tone = theme.buttonCap;
  canvas.FillVertical(cap.top, cap.bottom,
                      {{0, pressed ? tone.Darker(0.15) : tone.Lighter(0.30)},
                       {0.12, tone},
                       {1, tone.Darker(pressed ? 0.10 : 0.16)}});
  return cap;
}

Canvas PaintMenuButton(const Theme& theme, const std::string& text, bool pressed) {
  Canvas canvas(Pixels(kMenuButtonSize.x), Pixels(kMenuButtonSize.y));
  const CRect cap = PaintKey(canvas, theme, kMenuButtonSize, pressed);
  const Type type{12.0, true, 0.05};
  const CPoint centre = cap.getCenter();
  canvas.CentredText(text, centre.x, centre.y + CapHeight(type) * type.size / 2, type,
                     theme.buttonSign);
  return canvas;
}

/// A row of the rack with a sign: one more, or one less.
Canvas PaintRowButton(const Theme& theme, bool add) {
  Canvas canvas(Pixels(kRowButtonSize.x), Pixels(kRowButtonSize.y));
  const CPoint centre = PaintKey(canvas, theme, kRowButtonSize, false).getCenter();
  const Color& sign = theme.buttonSign;
  for (const double y : {-6.0, -1.5}) {
    canvas.RoundRect(CRect(centre.x - 9, centre.y + y, centre.x + 2, centre.y + y + 3), 0.8);
    canvas.Fill(sign.Faded(0.55));
  }
  canvas.RoundRect(CRect(centre.x - 9, centre.y + 3, centre.x + 2, centre.y + 6), 0.8);
  if (add) {
    canvas.Fill(sign);
  } else {
    canvas.Stroke(sign, 0.8);
  }
  canvas.Line(centre.x + 4.5, centre.y + 4.5, centre.x + 10.5, centre.y + 4.5);
  canvas.Stroke(sign, 1.8);
  if (add) {
    canvas.Line(centre.x + 7.5, centre.y + 1.5, centre.x + 7.5, centre.y + 7.5);
    canvas.Stroke(sign, 1.8);
  }
  return canvas;
}

Canvas PaintStepButton(const Theme& theme, bool forward) {
  Canvas canvas(Pixels(kStepButtonSize.x), Pixels(kStepButtonSize.y));
  const CPoint centre = PaintKey(canvas, theme, kStepButtonSize, false).getCenter();
  const double tip = forward ? 4.5 : -4.5;
  canvas.Polygon({{centre.x + tip, centre.y},
                  {centre.x - tip * 0.8, centre.y - 5.6},
                  {centre.x - tip * 0.8, centre.y + 5.6}});
  canvas.Fill(theme.buttonSign);
  return canvas;
}

Canvas PaintPresetFrame(const Theme& theme) {
  Canvas canvas(Pixels(kFrameSize.x), Pixels(kFrameSize.y));
  cairo_scale(canvas.Cairo(), canvas.Width() / kFrameSize.x, canvas.Height() / kFrameSize.y);
  const CRect rect(0.5, 0.5, kFrameSize.x - 0.5, kFrameSize.y - 0.5);
  canvas.RoundRect(rect, 6);
  canvas.FillVertical(
      rect.top, rect.bottom,
      {{0, Color::Of(0x0B0C0D)}, {0.5, Color::Of(0x2C2F33)}, {1, Color::Of(0x4A4E54)}});
  canvas.Stroke(theme.bar.Darker(0.45), 1);
  return canvas;
}

Canvas PaintPresetScreen(const Theme& theme) {
  Canvas canvas(Pixels(kScreenSize.x), Pixels(kScreenSize.y));
  cairo_scale(canvas.Cairo(), canvas.Width() / kScreenSize.x, canvas.Height() / kScreenSize.y);
  const CRect rect(0, 0, kScreenSize.x, kScreenSize.y);
  canvas.RoundRect(rect, 3.5);
  canvas.FillVertical(
      rect.top, rect.bottom,
      {{0, theme.screen.Darker(0.45)}, {0.4, theme.screen}, {1, theme.screen.Lighter(0.08)}});
  // A mark that shows that the screen opens a list.
  const double x = kScreenSize.x - 13;
  const double y = kScreenSize.y / 2;
  canvas.Polygon({{x - 4, y - 2}, {x + 4, y - 2}, {x, y + 3}});
  canvas.Fill(Color{theme.screenText[0] / 255.0, theme.screenText[1] / 255.0,
                    theme.screenText[2] / 255.0, 0.55});
  return canvas;
}

/// Fine lines and a reflection over the text of the screen.
Canvas PaintPresetStripes(const Theme&) {
  Canvas canvas(Pixels(kScreenSize.x), Pixels(kScreenSize.y));
  const double w = canvas.Width();
  const double h = canvas.Height();
  const double step = std::max(2.0, std::round(2 * Unit()));
  for (double y = step; y < h; y += step) {
    canvas.Rect(CRect(0, y, w, y + 1));
    canvas.Fill(Color::Of(0x000000, 0.10));
  }
  canvas.Polygon({{0, 0}, {w, 0}, {w, h * 0.30}, {0, h * 0.46}});
  canvas.FillVertical(0, h * 0.46,
                      {{0, Color::Of(0xFFFFFF, 0.12)}, {1, Color::Of(0xFFFFFF, 0.03)}});
  return canvas;
}

/// Behind the words on the program itself: cables in the dark.
Canvas PaintAbout(const Theme& theme) {
  Canvas canvas(Pixels(kAboutSize.x), Pixels(kAboutSize.y));
  cairo_scale(canvas.Cairo(), canvas.Width() / kAboutSize.x, canvas.Height() / kAboutSize.y);
  canvas.Rect(CRect(0, 0, kAboutSize.x, kAboutSize.y));
  canvas.FillVertical(0, kAboutSize.y, {{0, Color::Of(0x2A2E34)}, {1, Color::Of(0x16181B)}});
  cairo_set_line_cap(canvas.Cairo(), CAIRO_LINE_CAP_ROUND);
  for (int i = 0; i < 5; ++i) {
    const Color color = theme.accents[static_cast<std::size_t>(i * 3 % kCategoryCount)];
    cairo_new_path(canvas.Cairo());
    const double x = 30 + 26.0 * i;
    cairo_move_to(canvas.Cairo(), x, 10 + 9.0 * i);
    cairo_curve_to(canvas.Cairo(), x + 60, 170 + 14.0 * i, kAboutSize.x - 140 + 12.0 * i,
                   190 - 9.0 * i, kAboutSize.x - 150 + 28.0 * i, 22 + 11.0 * (4 - i));
    canvas.Stroke(color.Darker(0.45).Faded(0.30), 6);
    canvas.Stroke(color.Faded(0.18), 3);
  }
  return canvas;
}

}  // namespace

std::vector<ImageJob> RackImages(const Theme& theme) {
  const int row = panelHeight;
  std::vector<ImageJob> jobs{
      {"topbar.png", [&theme] { return PaintBar(theme); }},
      {"sidebar_L.png", [&theme, row] { return PaintCheek(theme, 2 * row, true); }},
      {"sidebar_R.png", [&theme, row] { return PaintCheek(theme, 2 * row, false); }},
      {"sidebar_s_L.png", [&theme, row] { return PaintCheek(theme, row, true); }},
      {"sidebar_s_R.png", [&theme, row] { return PaintCheek(theme, row, false); }},
      {"about_back.png", [&theme] { return PaintAbout(theme); }},
      {"title.png", [&theme] { return PaintTitle(theme); }},
      {"add_row.png", [&theme] { return PaintRowButton(theme, true); }},
      {"rem_row.png", [&theme] { return PaintRowButton(theme, false); }},
      {"preset_L.png", [&theme] { return PaintStepButton(theme, false); }},
      {"preset_R.png", [&theme] { return PaintStepButton(theme, true); }},
      {"preset_frame.png", [&theme] { return PaintPresetFrame(theme); }},
      {"preset_screen.png", [&theme] { return PaintPresetScreen(theme); }},
      {"preset_stripes.png", [&theme] { return PaintPresetStripes(theme); }}};
  const char* const rows[] = {"1st_row.png", "2nd_row.png", "3rd_row.png"};
  for (int i = 0; i < 3; ++i) {
    jobs.push_back({rows[i], [&theme, i] { return PaintRow(theme, i); }});
  }
  for (const bool pressed : {false, true}) {
    const std::string end = pressed ? "_clicked.png" : ".png";
    jobs.push_back({"modulemenu" + end,
                    [&theme, pressed] { return PaintMenuButton(theme, "MODULES", pressed); }});
    jobs.push_back(
        {"main_menu" + end, [&theme, pressed] { return PaintMenuButton(theme, "MENU", pressed); }});
  }
  return jobs;
}

std::string SkinConfigText(const Theme& theme, const std::string& fontFile) {
  std::ostringstream text;
  const auto channel = [](double share) { return static_cast<int>(std::lround(share * 255)); };
  text << "[XY_Alter]\n"
       << "\n[Preset Menu]\n"
       << "font_size = " << kPresetFontSize << "\n";
  if (!fontFile.empty()) text << "font = " << fontFile << "\nfont_style = 1\n";
  text << "font_red = " << theme.screenText[0] << "\n"
       << "font_green = " << theme.screenText[1] << "\n"
       << "font_blue = " << theme.screenText[2] << "\n"
       << "font_alpha = " << theme.screenText[3] << "\n"
       << "font_shadow_alpha = 160\n"
       << "\n[Other]\n"
       << "digit_red = " << channel(theme.digits.red) << "\n"
       << "digit_green = " << channel(theme.digits.green) << "\n"
       << "digit_blue = " << channel(theme.digits.blue) << "\n"
       << "digit_alpha = 255\n";
  return text.str();
}

}  // namespace halveron::skins
