// Curves on displays: waveforms, traces and spectra, drawn into a rectangle.
#pragma once

#include <span>
#include <vector>

#include "gui/draw_context.h"

namespace halveron::plot {

/// The values at the lower and the upper edge of an area. Values beyond are drawn at the edge; what
/// is no number is drawn at the lower edge.
struct Range {
  float bottom = -1;
  float top = 1;
};

/// The least and the greatest value of a stretch of a signal.
struct Extremes {
  float low = 0;
  float high = 0;
};

/// A logarithmic axis of frequency in hertz, the lowest above 0 at the left edge.
struct FrequencyAxis {
  double lowest = 20;
  double highest = 20000;
};

CCoord YOf(const CRect& area, Range range, float value);
CCoord XOf(const CRect& area, const FrequencyAxis& axis, double hertz);

/// The extremes of `columns` stretches of equal length that a signal is divided into. A signal with
/// fewer samples than columns is repeated sample by sample.
std::vector<Extremes> Summarise(std::span<const float> signal, std::size_t columns);

/// Lines that divide the area into equal cells; none along its edges.
void DrawGrid(CDrawContext& context, const CRect& area, int columns, int rows, CColor color);
/// A filled shape between the extremes, which share the width of the area.
void DrawWaveform(CDrawContext& context, const CRect& area, std::span<const Extremes> columns,
                  Range range, CColor color);
/// A line through values that are equally far apart, the first at the left edge and the last at the
/// right.
void DrawTrace(CDrawContext& context, const CRect& area, std::span<const float> values, Range range,
               CColor color, CCoord width = 1);
/// The line over the magnitudes of a spectrum, filled below it paler: bin k lies at k * `spacing`
/// hertz. Bins that share a column of pixels show by the greatest. `magnitudes` in the unit of
/// `range`, such as decibels.
void DrawSpectrum(CDrawContext& context, const CRect& area, std::span<const float> magnitudes,
                  double spacing, const FrequencyAxis& axis, Range range, CColor color);

}  // namespace halveron::plot
