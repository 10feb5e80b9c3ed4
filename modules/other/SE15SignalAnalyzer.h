// SE15 Signal Analyzer: an oscilloscope and a spectrum of two inputs.
#pragma once

#include "modules/other/signal_analyzer.h"

namespace halveron {

class SE15SignalAnalyzer final : public SignalAnalyzer<SE15SignalAnalyzer, 2> {
 public:
  static constexpr char kName[] = "SE15 Signal Analyzer";
  static constexpr char kPanel[] = "SE15SignalAnalyzer.png";
  static constexpr int kColumns = 24;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  using SignalAnalyzer::SignalAnalyzer;
};

}  // namespace halveron
