// SE16 Wide Signal Analyzer: an oscilloscope and a spectrum of four inputs.
#pragma once

#include "modules/other/signal_analyzer.h"

namespace halveron {

class SE16WideSignalAnalyzer final : public SignalAnalyzer<SE16WideSignalAnalyzer, 4> {
 public:
  static constexpr char kName[] = "SE16 Wide Signal Analyzer";
  static constexpr char kPanel[] = "SE16WideSignalAnalyzer.png";
  static constexpr int kColumns = 42;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  using SignalAnalyzer::SignalAnalyzer;
};

}  // namespace halveron
