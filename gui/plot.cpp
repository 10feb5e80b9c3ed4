#include "gui/plot.h"

#include <algorithm>
#include <cmath>

namespace halveron::plot {

CCoord YOf(const CRect& area, Range range, float value) {
  const float span = range.top - range.bottom;
  const float share = span != 0.0f ? (value - range.bottom) / span : 0.0f;
  const float within = share > 0.0f ? std::min(share, 1.0f) : 0.0f;  // also for what is no number
  return area.bottom - static_cast<CCoord>(within) * area.getHeight();
}

CCoord XOf(const CRect& area, const FrequencyAxis& axis, double hertz) {
  const double octaves = std::log2(axis.highest / axis.lowest);
  const double share = hertz > 0 && octaves > 0 ? std::log2(hertz / axis.lowest) / octaves : 0.0;
  return area.left + std::clamp(share, 0.0, 1.0) * area.getWidth();
}

std::vector<Extremes> Summarise(std::span<const float> signal, std::size_t columns) {
  std::vector<Extremes> result(signal.empty() ? 0 : columns);
  for (std::size_t c = 0; c < result.size(); ++c) {
    const std::size_t begin = c * signal.size() / columns;
    const std::size_t end = std::max((c + 1) * signal.size() / columns, begin + 1);
    const auto [low, high] =
        std::minmax_element(signal.begin() + static_cast<std::ptrdiff_t>(begin),
                            signal.begin() + static_cast<std::ptrdiff_t>(end));
    result[c] = {*low, *high};
  }
  return result;
}

void DrawGrid(CDrawContext& context, const CRect& area, int columns, int rows, CColor color) {
  std::vector<CPoint> lines;
  for (int c = 1; c < columns; ++c) {
    const CCoord x = std::floor(area.left + area.getWidth() * c / columns) + 0.5;
    lines.insert(lines.end(), {CPoint(x, area.top), CPoint(x, area.bottom)});
  }
  for (int r = 1; r < rows; ++r) {
    const CCoord y = std::floor(area.top + area.getHeight() * r / rows) + 0.5;
    lines.insert(lines.end(), {CPoint(area.left, y), CPoint(area.right, y)});
  }
  context.setFrameColor(color);
  context.setLineWidth(1);
  context.drawLines(lines);
}

void DrawWaveform(CDrawContext& context, const CRect& area, std::span<const Extremes> columns,
                  Range range, CColor color) {
  if (columns.empty()) return;
  constexpr CCoord kThinnest = 1;  // a flat stretch is a line
  const CCoord step = area.getWidth() / static_cast<CCoord>(columns.size());
  std::vector<CPoint> outline;
  outline.reserve(columns.size() * 4);
  const auto edge = [&](std::size_t column, CCoord y) {
    const CCoord x = area.left + static_cast<CCoord>(column) * step;
    outline.emplace_back(x, y);
    outline.emplace_back(x + step, y);
  };
  for (std::size_t c = 0; c < columns.size(); ++c) edge(c, YOf(area, range, columns[c].high));
  for (std::size_t c = columns.size(); c-- > 0;) {
    const CCoord low =
        std::max(YOf(area, range, columns[c].low), YOf(area, range, columns[c].high) + kThinnest);
    edge(c, low);
    std::swap(outline[outline.size() - 1], outline[outline.size() - 2]);  // from right to left
  }
  context.setFillColor(color);
  context.drawPolygon(outline, kDrawFilled);
}

void DrawTrace(CDrawContext& context, const CRect& area, std::span<const float> values, Range range,
               CColor color, CCoord width) {
  if (values.empty()) return;
  std::vector<CPoint> points;
  points.reserve(values.size() + 1);
  const CCoord step =
      values.size() > 1 ? area.getWidth() / static_cast<CCoord>(values.size() - 1) : 0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    points.emplace_back(area.left + static_cast<CCoord>(i) * step, YOf(area, range, values[i]));
  }
  if (values.size() == 1) points.emplace_back(area.right, points.front().y);
  context.setFrameColor(color);
  context.setLineWidth(width);
  context.drawPolyline(points);
}

void DrawSpectrum(CDrawContext& context, const CRect& area, std::span<const float> magnitudes,
                  double spacing, const FrequencyAxis& axis, Range range, CColor color) {
  std::vector<CPoint> line;
  for (std::size_t k = 1; k < magnitudes.size(); ++k) {
    const double hertz = static_cast<double>(k) * spacing;
    if (hertz < axis.lowest || hertz > axis.highest) continue;
    const CPoint point(XOf(area, axis, hertz), YOf(area, range, magnitudes[k]));
    if (!line.empty() && std::floor(point.x) == std::floor(line.back().x)) {
      line.back().y = std::min(line.back().y, point.y);
    } else {
      line.push_back(point);
    }
  }
  if (line.empty()) return;
  std::vector<CPoint> shape = line;
  shape.emplace_back(line.back().x, area.bottom);
  shape.emplace_back(line.front().x, area.bottom);
  CColor pale = color;
  pale.alpha = static_cast<decltype(pale.alpha)>(pale.alpha / 3);
  context.setFillColor(pale);
  context.drawPolygon(shape, kDrawFilled);
  context.setFrameColor(color);
  context.setLineWidth(1);
  context.drawPolyline(line);
}

}  // namespace halveron::plot
