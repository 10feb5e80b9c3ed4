#include "skins/panel_painter.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "framework/panel_metrics.h"
#include "skins/shared_images.h"

namespace halveron::skins {

namespace {

// Knobs turn from 7:30 to 4:30 o'clock.
constexpr double kFirstAngle = std::numbers::pi * 0.75;
constexpr double kTurn = std::numbers::pi * 1.5;
constexpr int kScaleMarks = 11;  // of a knob without steps

class PanelPainter {
 public:
  PanelPainter(const PanelPlan& plan, const Theme& theme)
      : plan_(plan),
        theme_(theme),
        accent_(theme.accents[static_cast<std::size_t>(plan.category)]),
        u_(static_cast<double>(uiScale)),
        line_(std::max(1.0, std::round(u_))),
        canvas_(plan.width, plan.height) {}

  Canvas Paint() {
    PaintBase();
    PaintHead();
    for (const double rule : plan_.rules) {
      canvas_.Line(7 * u_, rule, plan_.width - 7 * u_, rule);
      canvas_.Stroke(theme_.rule, line_);
    }
    PaintPlates();
    for (const Part& part : plan_.parts) PaintAround(part);
    for (const Label& label : plan_.captions) {
      Write(label, label.onPlate ? theme_.plateText : theme_.text);
    }
    PaintEdges();
    return std::move(canvas_);
  }

 private:
  void PaintBase();
  void PaintHead();
  void PaintPlates();
  void PlatePath(double outset);
  void PaintAround(const Part& part);
  void PaintScale(const Part& part);
  void PaintEdges();
  void Write(const Label& label, const Color& color) {
    canvas_.Text(label.text, label.x, label.baseline, label.type, color);
  }

  const PanelPlan& plan_;
  const Theme& theme_;
  const Color accent_;
  const double u_;
  const double line_;
  Canvas canvas_;
};

void PanelPainter::PaintBase() {
  const double bottom = plan_.height;
  canvas_.Rect(CRect(0, 0, plan_.width, bottom));
  canvas_.FillVertical(0, bottom,
                       {{0, theme_.panelTop}, {0.35, theme_.panelTop}, {1, theme_.panelBottom}});
}

void PanelPainter::PaintHead() {
  const CRect& head = plan_.head;
  canvas_.Rect(head);
  canvas_.FillVertical(head.top, head.bottom,
                       {{0, accent_.Lighter(0.10)}, {0.15, accent_}, {1, accent_.Darker(0.08)}});
  canvas_.Rect(CRect(0, head.bottom - line_, plan_.width, head.bottom));
  canvas_.Fill(accent_.Darker(0.35));
  canvas_.Rect(CRect(0, head.bottom, plan_.width, head.bottom + line_));
  canvas_.Fill(theme_.panelTop.Lighter(0.25));
  for (std::size_t i = 0; i < plan_.heads.size(); ++i) {
    Write(plan_.heads[i], i == 0 ? theme_.headText.Faded(0.78) : theme_.headText);
  }
  // The same colour once more at the foot, to recognise a panel by when cables hide the head.
  canvas_.Rect(CRect(18 * u_, plan_.height - 5 * u_, plan_.width - 18 * u_,
                     plan_.height - 5 * u_ + std::max(1.0, 1.6 * u_)));
  canvas_.Fill(accent_);
}

/// All plates as one shape with round corners, or an outset more than it.
void PanelPainter::PlatePath(double outset) {
  const double radius = 4.5 * u_;
  cairo_t* cairo = canvas_.Cairo();
  cairo_new_path(cairo);
  for (const CRect& plate : plan_.plates) {
    const CRect inner = Grown(plate, -radius);
    cairo_rectangle(cairo, inner.left, inner.top, std::max(0.1, inner.getWidth()),
                    std::max(0.1, inner.getHeight()));
  }
  cairo_set_line_join(cairo, CAIRO_LINE_JOIN_ROUND);
  cairo_set_line_width(cairo, 2 * (radius + outset));
}

void PanelPainter::PaintPlates() {
  if (plan_.plates.empty()) return;
  cairo_t* cairo = canvas_.Cairo();
  const auto paint = [&](double outset, const Color& color) {
    // By way of a group, so that where plates overlap nothing shows.
    cairo_push_group(cairo);
    PlatePath(outset);
    canvas_.Fill({color.red, color.green, color.blue, 1});
    cairo_stroke(cairo);
    cairo_pop_group_to_source(cairo);
    cairo_paint_with_alpha(cairo, color.alpha);
  };
  paint(line_, theme_.plateEdge);
  paint(0, theme_.plate);
}

void PanelPainter::PaintScale(const Part& part) {
  const CPoint centre = part.rect.getCenter();
  const double radius = part.rect.getWidth() / 2;
  const int marks = part.steps > 1 ? part.steps : kScaleMarks;
  const double inner = radius + 0.5 * u_;
  for (int i = 0; i < marks; ++i) {
    const bool isMain = part.steps > 1 || i == 0 || i == marks - 1 || i == marks / 2;
    const double outer = radius + (isMain ? 3.2 : 2.3) * u_;
    const double angle = kFirstAngle + kTurn * i / (marks - 1);
    canvas_.Line(centre.x + inner * std::cos(angle), centre.y + inner * std::sin(angle),
                 centre.x + outer * std::cos(angle), centre.y + outer * std::sin(angle));
    canvas_.Stroke(isMain ? theme_.scale : theme_.scale.Faded(0.55), std::max(0.8, 0.9 * u_));
  }
}

void PanelPainter::PaintAround(const Part& part) {
  switch (part.kind) {
    case PartKind::kKnob:
    case PartKind::kSteppedKnob:
      PaintScale(part);
      break;
    case PartKind::kWindow:
      canvas_.RoundRect(Grown(part.rect, kWindowFrame * u_), 2.5 * u_);
      canvas_.Fill(theme_.window);
      canvas_.Stroke(theme_.window.Darker(0.5), line_);
      break;
    case PartKind::kEither: {
      const CPoint centre = part.rect.getCenter();
      canvas_.Circle(centre.x, centre.y, part.rect.getWidth() / 2 + 1.2 * u_);
      canvas_.Stroke(theme_.plate, 1.6 * u_);
      break;
    }
    case PartKind::kInput:
    case PartKind::kOutput:
    case PartKind::kSwitch:
    case PartKind::kButton:
    case PartKind::kText:
      break;
    case PartKind::kLamp:
      PaintUnlitLamp(canvas_, part.rect);
      break;
  }
}

void PanelPainter::PaintEdges() {
  const double w = plan_.width;
  const double h = plan_.height;
  canvas_.Rect(CRect(0, 0, line_, h));
  canvas_.Fill(theme_.panelEdgeLight);
  canvas_.Rect(CRect(0, 0, w, line_));
  canvas_.Fill(theme_.panelEdgeLight);
  canvas_.Rect(CRect(w - line_, 0, w, h));
  canvas_.Fill(theme_.panelEdgeDark);
  canvas_.Rect(CRect(0, h - line_, w, h));
  canvas_.Fill(theme_.panelEdgeDark);
}

}  // namespace

Canvas PaintPanel(const PanelPlan& plan, const Theme& theme) {
  return PanelPainter(plan, theme).Paint();
}

}  // namespace halveron::skins
