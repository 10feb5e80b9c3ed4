// S904 VC Attenuator/Inverter: a signal scaled by a knob and a voltage, and its negative.
#pragma once

#include "dsp/lanes.h"
#include "framework/module.h"

namespace halveron {

class S904VCAtnInv final : public BuiltInModule<S904VCAtnInv> {
 public:
  static constexpr char kName[] = "S904 VC Attenuator/Inverter";
  static constexpr char kPanel[] = "S904VCAtnInv.png";
  static constexpr int kColumns = 7;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S904VCAtnInv(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

  template <class Double>
  static auto Attenuate(Double signal, Double amount) {
    return dsp::ToFloat(signal * amount);
  }
  /// Shut while the control is not above 0.
  template <class Double, class Float>
  static Float Attenuate(Double signal, Double amount, Float control) {
    return dsp::Select(control > 0.0f, dsp::ToFloat(signal * amount * dsp::ToDouble(control)),
                       Float(0.0f));
  }

 private:
  template <class Unit>
  friend class S904VCAtnInvVoices;

  Knob amount_;
  Input control_, signal_;
  Output out_, inverted_;
  bool hasControl_ = false;
};

}  // namespace halveron
