// S704 Dual Gate to Trigger Converter: a trigger of one sample for each rising edge.
#pragma once

#include <array>

#include "dsp/edge.h"
#include "framework/module.h"

namespace halveron {

class S704DualGatetoTrigger final : public BuiltInModule<S704DualGatetoTrigger> {
 public:
  static constexpr char kName[] = "S704 Dual Gate to Trigger Converter";
  static constexpr char kPanel[] = "S704DualGatetoTrigger.png";
  static constexpr int kColumns = 8;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S704DualGatetoTrigger(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;

 private:
  struct Lane {
    Input in;
    Output out;
    Lamp lamp;
    dsp::EdgeDetector<> edges;
  };
  std::array<Lane, 2> lanes_;
};

}  // namespace halveron
