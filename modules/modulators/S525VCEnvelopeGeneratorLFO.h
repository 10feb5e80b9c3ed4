// S525 VC Envelope Generator/LFO: an envelope with every time and the sustain under voltage, curves
// to choose, and ways to run by itself.
#pragma once

#include "framework/module.h"
#include "framework/moving_knobs.h"
#include "modules/modulators/S525VCEnvelopeGeneratorLFOKernel.h"

namespace halveron {

class S525VCEnvelopeGeneratorLFO final : public BuiltInModule<S525VCEnvelopeGeneratorLFO> {
 public:
  static constexpr char kName[] = "S525 VC Envelope Generator/LFO";
  static constexpr char kPanel[] = "S525VCEnvelopeGeneratorLFO.png";
  static constexpr int kColumns = 23;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S525VCEnvelopeGeneratorLFO(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

 private:
  template <class Unit>
  friend class S525VCEnvelopeGeneratorLFOVoices;
  using Kernel = S525VCEnvelopeGeneratorLFOKernel<>;

  static constexpr int kKnobCount = 12;

  void AddKnobs();
  void AddSwitches();
  void AddPatchPoints();
  bool SetMode(const CControl* control);
  void SetRange(const CControl* control);
  void ShowLamps();

  Knob attack_, decay_, sustain_, release_;
  Knob attackAmount_, decayAmount_, sustainAmount_, releaseAmount_;
  Knob attackShape_, decayShape_, releaseShape_, restart_;
  CVerticalSwitch* attackRange_ = nullptr;
  CVerticalSwitch* decayRange_ = nullptr;
  CVerticalSwitch* releaseRange_ = nullptr;
  CVerticalSwitch* fastRestart_ = nullptr;
  CVerticalSwitch* cycle_ = nullptr;
  CVerticalSwitch* gateRepeat_ = nullptr;
  Lamp attackLamp_, decayLamp_, sustainLamp_, releaseLamp_;
  Input attackCv_, decayCv_, sustainCv_, releaseCv_, gate_, retrigger_;
  Output decayStage_, sustainStage_, releaseStage_, end_, out_;

  MovingKnobs<kKnobCount> movingKnobs_;
  Kernel kernel_;
};

}  // namespace halveron
