// The screen of the signal analysers: traces over time, one signal over another, or spectra.
#pragma once

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "framework/display_view.h"
#include "gui/plot.h"
#include "modules/other/signal_capture.h"
#include "modules/other/signal_measures.h"

namespace halveron {

/// What the panel of an analyser is set to.
struct AnalyzerSettings {
  static constexpr int kMostInputs = 4;

  enum class View { kTraces, kXY, kSpectrum };

  View view = View::kTraces;
  double seconds = 0.02;                   ///< across the screen
  std::array<float, kMostInputs> scale{};  ///< value at the upper edge
  std::array<bool, kMostInputs> shown{};
  int source = 0;  ///< input that triggers
  float level = 0.0f;
  bool rising = true;
  float rate = 48000.0f;  ///< hertz
};

/// Draws what is in a capture, at the window's rate. A press or a drag sets the cursor, and Control
/// takes it away; its line is read out above the traces.
class AnalyzerScreen : public DisplayView {
 public:
  using Ask = std::function<AnalyzerSettings()>;

  AnalyzerScreen(const CRect& size, CControlListener* shownTo, const SignalCapture& capture,
                 Ask ask);

  HALVERON_TYPE_OF(AnalyzerScreen, DisplayView)

  CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
  CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;

  /// Shares of the screen, 0..1, from the left and the upper edge.
  void SetCursor(std::optional<CPoint> shares);
  /// Reads the capture and measures it as the next drawing shows it: one line, then that of the
  /// cursor if there is one.
  std::string ReadOut();

  static constexpr double kLowestHertz = 20.0, kHighestHertz = 20000.0;
  static constexpr int kColumns = 10;
  /// Share of the screen that lies before the trigger.
  static constexpr double kBeforeTrigger = 0.125;

 private:
  void Take();
  void TakeTraces();
  void TakeSpectra();
  void Paint(CDrawContext& context, const CRect& area);
  void PaintTraces(CDrawContext& context, const CRect& area) const;
  void PaintXY(CDrawContext& context, const CRect& area) const;
  void PaintSpectra(CDrawContext& context, const CRect& area) const;
  void PaintCursor(CDrawContext& context, const CRect& area) const;
  void PaintText(CDrawContext& context, const CRect& area) const;

  std::string Headline() const;
  std::string CursorLine() const;
  std::string TraceCursor() const;
  std::string SpectrumCursor() const;
  std::span<const float> SourceSignal() const;

  const SignalCapture& capture_;
  Ask ask_;
  std::optional<CPoint> cursor_;
  bool isDragging_ = false;
  std::uint64_t shownPosition_ = 0;

  // Of the last Take.
  AnalyzerSettings settings_;
  std::vector<std::vector<float>> signals_;
  std::size_t inputs_ = 0;
  std::size_t across_ = 0;  ///< samples across the screen
  double start_ = 0.0;      ///< place of the left edge in the signals, in samples
  bool triggered_ = false;
  SpectrumAnalysis analysis_;
  std::array<std::vector<float>, AnalyzerSettings::kMostInputs> spectra_;
};

}  // namespace halveron
