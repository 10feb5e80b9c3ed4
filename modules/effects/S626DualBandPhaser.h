// S626 Dual Band Phaser: two chains of all-pass stages in series or side by side.
#pragma once

#include "framework/clip_lamp.h"
#include "framework/module.h"
#include "framework/moving_knobs.h"
#include "modules/effects/S626DualBandPhaserKernel.h"

namespace halveron {

class S626DualBandPhaser final : public BuiltInModule<S626DualBandPhaser> {
 public:
  static constexpr char kName[] = "S626 Dual Band Phaser";
  static constexpr char kPanel[] = "S626DualBandPhaser.png";
  static constexpr int kColumns = 22;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S626DualBandPhaser(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

  /// The control values, then the phases of both LFOs as doubles.
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  struct Band {
    explicit Band(PhaserSpacing& itsSpacing) : spacing(itsSpacing) {}

    PhaserSpacing& spacing;
    Knob centre, depth, rate, stages;
    Input cv;
    PhaserLfo lfo;
  };

  void SetStages(Band& band);
  void SetRatio();
  void FollowSpread();
  void AdvanceLfos();
  double Damping() const;
  /// The gain at a band's centre, swept by its LFO and voltage.
  double CentreGain(const Band& band) const;
  /// What moves the main stages of both bands, -1..1.
  double BandOffset() const;

  PhaserBank bank_;
  PhaserStep step_ = PhaserStepOf(BestPhaserUnit());
  Band a_{bank_.spacingA}, b_{bank_.spacingB};
  Knob spread_, spreadCvAmount_, resonance_, resonanceCvAmount_, offset_, routing_, mix_;
  MovingKnobs<13> moving_;
  CVerticalSwitch *link_, *preChainSwitch_;
  CKickButtonEx* invert_;
  ClipLamp clip_;
  Input in1_, in2_, spreadCv_, resonanceCv_, offsetCv_, routingCv_;
  Output out1_, out2_;

  double gMax_ = 0.0, lfoMax_ = 0.0;
  bool lfoLinked_ = true, preChain_ = true;
  bool hasIn2_ = false, hasOffsetCv_ = false, hasRoutingCv_ = false;
  double ratio_ = 1.0;  // of LFO B to LFO A
  double spreadCache_ = -1000.0;
  double resonanceFloor_ = 0.75;
};

}  // namespace halveron
