#include "modules/other/analyzer_screen.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "framework/panel_metrics.h"

namespace halveron {

namespace {

using View = AnalyzerSettings::View;

constexpr CColor kTraceColors[AnalyzerSettings::kMostInputs] = {
    {255, 166, 64}, {88, 196, 255}, {150, 230, 110}, {240, 124, 200}};
constexpr CColor kTextColor{206, 211, 216};
constexpr CColor kCursorColor{255, 255, 255, 150};
constexpr int kRows = 8;
constexpr plot::Range kDecibels{-108.0f, 12.0f};
constexpr double kSearchSeconds = 0.1;       // for a trigger, before what is shown
constexpr float kTriggerHysteresis = 0.02f;  // of the scale
constexpr std::size_t kFewestSamples = 16;
constexpr std::size_t kMostXYSamples = 4096;
constexpr double kPeakReach = 0.012;  // of the screen's width, on both sides of the cursor
constexpr double kTextSize = 9;       // panel units

template <class... Values>
std::string Format(const char* format, Values... values) {
  std::array<char, 128> text;
  std::snprintf(text.data(), text.size(), format, values...);
  return text.data();
}

std::string TimeText(double seconds) {
  return std::abs(seconds) < 1.0 ? Format("%.4g ms", seconds * 1e3) : Format("%.4g s", seconds);
}

std::string HertzText(double hertz) { return Format(hertz < 100.0 ? "%.2f Hz" : "%.1f Hz", hertz); }

const plot::FrequencyAxis kAxis{AnalyzerScreen::kLowestHertz, AnalyzerScreen::kHighestHertz};

}  // namespace

AnalyzerScreen::AnalyzerScreen(const CRect& size, CControlListener* shownTo,
                               const SignalCapture& capture, Ask ask)
    : DisplayView(size, shownTo), capture_(capture), ask_(std::move(ask)) {
  SetPainter([this](CDrawContext& context, const CRect& area) { Paint(context, area); });
  RedrawWhen([this] { return capture_.Position() != shownPosition_; });
}

CMouseEventResult AnalyzerScreen::onMouseDown(CPoint& where, const CButtonState& buttons) {
  if (!buttons.isLeftButton()) return kMouseEventNotHandled;
  if (buttons.isControlSet()) {
    SetCursor(std::nullopt);
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  isDragging_ = true;
  return onMouseMoved(where, buttons);
}

CMouseEventResult AnalyzerScreen::onMouseMoved(CPoint& where, const CButtonState&) {
  if (!isDragging_) return kMouseEventNotHandled;
  SetCursor(CPoint((where.x - viewSize.left) / viewSize.getWidth(),
                   (where.y - viewSize.top) / viewSize.getHeight()));
  return kMouseEventHandled;
}

CMouseEventResult AnalyzerScreen::onMouseUp(CPoint&, const CButtonState&) {
  if (!isDragging_) return kMouseEventNotHandled;
  isDragging_ = false;
  return kMouseEventHandled;
}

void AnalyzerScreen::SetCursor(std::optional<CPoint> shares) {
  cursor_ = shares;
  if (cursor_) {
    cursor_ = CPoint(std::clamp(cursor_->x, 0.0, 1.0), std::clamp(cursor_->y, 0.0, 1.0));
  }
  setDirty();
}

std::string AnalyzerScreen::ReadOut() {
  Take();
  std::string text = Headline();
  if (cursor_) text.append("\n").append(CursorLine());
  return text;
}

void AnalyzerScreen::Take() {
  settings_ = ask_();
  shownPosition_ = capture_.Position();
  if (settings_.view == View::kSpectrum) {
    TakeSpectra();
  } else {
    TakeTraces();
  }
}

std::span<const float> AnalyzerScreen::SourceSignal() const {
  return signals_[static_cast<std::size_t>(settings_.source)];
}

void AnalyzerScreen::TakeTraces() {
  constexpr std::size_t kMost = SignalCapture::kLength / 2;
  const double rate = settings_.rate;
  across_ = std::clamp(static_cast<std::size_t>(std::lround(settings_.seconds * rate)),
                       kFewestSamples, kMost);
  const auto search = static_cast<std::size_t>(rate * kSearchSeconds) + across_;
  // What was written over meanwhile is the oldest, and shows at most once.
  capture_.Read(std::min(across_ + search, kMost), signals_);
  inputs_ = signals_.size();
  for (auto& signal : signals_) {
    // At the beginning there is silence before the first sample.
    if (signal.size() < across_ + 2) signal.insert(signal.begin(), across_ + 2 - signal.size(), 0);
  }
  const auto size = static_cast<double>(SourceSignal().size());
  const double before = static_cast<double>(across_) * kBeforeTrigger;
  const double after = static_cast<double>(across_) - before;
  const float scale = settings_.scale[static_cast<std::size_t>(settings_.source)];
  const auto trigger = FindTrigger(SourceSignal(), settings_.level, settings_.rising,
                                   scale * kTriggerHysteresis, before, after);
  triggered_ = trigger.has_value();
  start_ = trigger ? *trigger - before : size - 1.0 - static_cast<double>(across_);
}

void AnalyzerScreen::TakeSpectra() {
  capture_.Read(SpectrumAnalysis::kSize, signals_);
  inputs_ = signals_.size();
  for (std::size_t i = 0; i < inputs_; ++i) {
    if (settings_.shown[i]) spectra_[i] = analysis_.Analyse(signals_[i]);
  }
}

void AnalyzerScreen::Paint(CDrawContext& context, const CRect& area) {
  Take();
  switch (settings_.view) {
    case View::kTraces:
      plot::DrawGrid(context, area, kColumns, kRows, kGridColor);
      PaintTraces(context, area);
      break;
    case View::kXY:
      plot::DrawGrid(context, area, kRows, kRows, kGridColor);
      PaintXY(context, area);
      break;
    case View::kSpectrum:
      PaintSpectra(context, area);
      break;
  }
  if (cursor_) PaintCursor(context, area);
  PaintText(context, area);
}

void AnalyzerScreen::PaintTraces(CDrawContext& context, const CRect& area) const {
  const auto first = static_cast<std::size_t>(std::max(start_, 0.0));
  const double share = std::max(start_, 0.0) - static_cast<double>(first);
  const auto columns = static_cast<std::size_t>(std::max(area.getWidth(), 1.0));
  for (std::size_t i = inputs_; i-- > 0;) {
    if (!settings_.shown[i]) continue;
    const plot::Range range{-settings_.scale[i], settings_.scale[i]};
    const std::span<const float> signal = signals_[i];
    const std::size_t count = std::min(across_ + 2, signal.size() - first);
    const std::span<const float> part = signal.subspan(first, count);
    if (across_ > 2 * columns) {
      const auto shown = part.first(std::min(across_, count));
      plot::DrawWaveform(context, area, plot::Summarise(shown, columns), range, kTraceColors[i]);
      continue;
    }
    const CCoord step = area.getWidth() / static_cast<CCoord>(across_);
    CRect place = area;
    place.left -= share * step;
    place.right = place.left + static_cast<CCoord>(count - 1) * step;
    plot::DrawTrace(context, place, part, range, kTraceColors[i], 1.5);
  }
  const auto source = static_cast<std::size_t>(settings_.source);
  const float scale = settings_.scale[source];
  const CCoord y = plot::YOf(area, {-scale, scale}, settings_.level);
  const std::array mark{CPoint(area.left, y - 4), CPoint(area.left + 6, y),
                        CPoint(area.left, y + 4)};
  context.setFillColor(kTraceColors[source]);
  context.drawPolygon(mark, kDrawFilled);
}

void AnalyzerScreen::PaintXY(CDrawContext& context, const CRect& area) const {
  for (std::size_t i = 0; i + 1 < inputs_; i += 2) {
    if (!settings_.shown[i] && !settings_.shown[i + 1]) continue;
    const std::vector<float>&x = signals_[i], &y = signals_[i + 1];
    const std::size_t count = std::min({across_, x.size(), kMostXYSamples});
    const float xScale = settings_.scale[i], yScale = settings_.scale[i + 1];
    std::vector<CPoint> points;
    points.reserve(count);
    for (std::size_t n = x.size() - count; n < x.size(); ++n) {
      const CRect turned(area.top, area.left, area.bottom, area.right);
      const CCoord across =
          turned.bottom - (plot::YOf(turned, {-xScale, xScale}, x[n]) - turned.top);
      points.emplace_back(across, plot::YOf(area, {-yScale, yScale}, y[n]));
    }
    context.setFrameColor(kTraceColors[i]);
    context.setLineWidth(1);
    context.drawPolyline(points);
  }
}

void AnalyzerScreen::PaintSpectra(CDrawContext& context, const CRect& area) const {
  context.setFrameColor(kGridColor);
  context.setLineWidth(1);
  for (const double hertz : {50.0, 100.0, 200.0, 500.0, 1e3, 2e3, 5e3, 1e4}) {
    const CCoord x = std::floor(plot::XOf(area, kAxis, hertz)) + 0.5;
    context.drawLine(CPoint(x, area.top), CPoint(x, area.bottom));
  }
  for (float level = kDecibels.bottom + 12; level < kDecibels.top; level += 12) {
    const CCoord y = std::floor(plot::YOf(area, kDecibels, level)) + 0.5;
    context.drawLine(CPoint(area.left, y), CPoint(area.right, y));
  }
  for (std::size_t i = inputs_; i-- > 0;) {
    if (!settings_.shown[i]) continue;
    plot::DrawSpectrum(context, area, spectra_[i],
                       SpectrumAnalysis::Spacing(static_cast<double>(settings_.rate)), kAxis,
                       kDecibels, kTraceColors[i]);
  }
}

void AnalyzerScreen::PaintCursor(CDrawContext& context, const CRect& area) const {
  const CCoord x = std::floor(area.left + cursor_->x * area.getWidth()) + 0.5;
  context.setFrameColor(kCursorColor);
  context.setLineWidth(1);
  context.drawLine(CPoint(x, area.top), CPoint(x, area.bottom));
  if (settings_.view != View::kXY) return;
  const CCoord y = std::floor(area.top + cursor_->y * area.getHeight()) + 0.5;
  context.drawLine(CPoint(area.left, y), CPoint(area.right, y));
}

void AnalyzerScreen::PaintText(CDrawContext& context, const CRect& area) const {
  const auto font =
      SharedPointer<CFontDesc>::Adopt(new CFontDesc(nullptr, ScaleToPixels(kTextSize)));
  context.setFont(font);
  const CCoord line = ScaleToPixels(kTextSize + 3);
  const auto write = [&](const std::string& text, CCoord top) {
    const CRect place(area.left + 3, top, area.right - 3, top + line);
    CRect back = place;
    back.right = std::min(place.left + context.getStringWidth(text) + 2, area.right);
    back.left = area.left;
    CColor veil = kScreenColor;
    veil.alpha = 190;
    context.setFillColor(veil);
    context.fillRect(back);
    context.setFontColor(kTextColor);
    context.drawString(text, place, kLeftText);
  };
  write(Headline(), area.top);
  if (cursor_) write(CursorLine(), area.bottom - line);
}

std::string AnalyzerScreen::Headline() const {
  if (settings_.view == View::kSpectrum)
    return Format("%.0f dB to %.0f dB, 0 dB = 10 V", static_cast<double>(kDecibels.bottom),
                  static_cast<double>(kDecibels.top));
  const double seconds = static_cast<double>(across_) / static_cast<double>(settings_.rate);
  std::string text = TimeText(seconds / kColumns) + "/div";
  if (settings_.view == View::kXY) return "X-Y, " + TimeText(seconds);
  const SignalLevels levels = LevelsOf(SourceSignal());
  text += Format("  %d: %.2f Vpp  %.1f dB", settings_.source + 1,
                 static_cast<double>(levels.high - levels.low) * kVoltsOfUnit,
                 DecibelsOf(levels.rms * std::sqrt(2.0)));
  if (const auto hertz = CrossingFrequency(SourceSignal(), static_cast<double>(settings_.rate))) {
    text += "  " + HertzText(*hertz) + "  " + NoteText(*hertz);
  }
  return text;
}

std::string AnalyzerScreen::CursorLine() const {
  switch (settings_.view) {
    case View::kTraces:
      return TraceCursor();
    case View::kSpectrum:
      return SpectrumCursor();
    case View::kXY:
      break;
  }
  const double x = (cursor_->x * 2.0 - 1.0) * static_cast<double>(settings_.scale[0]);
  const double y = (1.0 - cursor_->y * 2.0) * static_cast<double>(settings_.scale[1]);
  return Format("X %.3f V  Y %.3f V", x * kVoltsOfUnit, y * kVoltsOfUnit);
}

std::string AnalyzerScreen::TraceCursor() const {
  const double samples = cursor_->x * static_cast<double>(across_);
  const double offset = triggered_ ? static_cast<double>(across_) * kBeforeTrigger : 0.0;
  std::string text = TimeText((samples - offset) / static_cast<double>(settings_.rate));
  const auto at = static_cast<std::size_t>(std::max(start_ + samples, 0.0));
  const double share = std::max(start_ + samples, 0.0) - static_cast<double>(at);
  for (std::size_t i = 0; i < inputs_; ++i) {
    if (!settings_.shown[i]) continue;
    const std::vector<float>& signal = signals_[i];
    const double a = signal[std::min(at, signal.size() - 1)];
    const double b = signal[std::min(at + 1, signal.size() - 1)];
    text += Format("  %d: %.3f V", static_cast<int>(i) + 1, (a + (b - a) * share) * kVoltsOfUnit);
  }
  return text;
}

std::string AnalyzerScreen::SpectrumCursor() const {
  const double octaves = std::log2(kHighestHertz / kLowestHertz);
  const auto hertzAt = [&](double share) { return kLowestHertz * std::exp2(share * octaves); };
  const double spacing = SpectrumAnalysis::Spacing(static_cast<double>(settings_.rate));
  // The highest peak near the cursor names the frequency for all.
  std::optional<SpectrumPeak> highest;
  std::string levels;
  for (std::size_t i = 0; i < inputs_; ++i) {
    if (!settings_.shown[i]) continue;
    const SpectrumPeak peak = PeakWithin(spectra_[i], spacing, hertzAt(cursor_->x - kPeakReach),
                                         hertzAt(cursor_->x + kPeakReach));
    if (!highest || peak.decibels > highest->decibels) highest = peak;
    levels += Format("  %d: %.1f dB", static_cast<int>(i) + 1, peak.decibels);
  }
  const double hertz = highest ? highest->hertz : hertzAt(cursor_->x);
  return HertzText(hertz) + "  " + NoteText(hertz) + levels;
}

}  // namespace halveron
