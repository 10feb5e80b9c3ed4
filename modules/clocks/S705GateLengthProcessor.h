// S705 Gate Length Processor: gates of a length relative to their clock, or in seconds.
#pragma once

#include "framework/module.h"
#include "modules/clocks/S705GateLengthProcessorKernel.h"

namespace halveron {

class S705GateLengthProcessor final : public BuiltInModule<S705GateLengthProcessor> {
 public:
  static constexpr char kName[] = "S705 Gate Length Processor";
  static constexpr char kPanel[] = "S705GateLengthProcessor.png";
  static constexpr int kColumns = 6;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S705GateLengthProcessor(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

 private:
  Knob length_, amount_;
  CVerticalSwitch* mode_;
  Lamp lamp_;
  Input lengthCv_, gateIn_;
  Output gateOut_;
  bool isRelative_ = true;
  S705GateLengthProcessorKernel kernel_;
};

}  // namespace halveron
