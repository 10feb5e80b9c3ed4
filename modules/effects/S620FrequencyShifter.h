// S620 Frequency Shifter: moves all frequencies of a signal by the same number of hertz.
#pragma once

#include "framework/clip_lamp.h"
#include "framework/module.h"
#include "modules/effects/S620FrequencyShifterKernel.h"

namespace halveron {

class S620FrequencyShifter final : public BuiltInModule<S620FrequencyShifter> {
 public:
  static constexpr char kName[] = "S620 Frequency Shifter";
  static constexpr char kPanel[] = "S620FrequencyShifter.png";
  static constexpr int kColumns = 12;
  static constexpr int kVersion = 1001;
  static constexpr bool kPolyphonic = false;

  S620FrequencyShifter(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;
  /// Version 1000 limited at the common clip level.
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  using Complex = S620FrequencyShifterKernel::Complex;
  /// Which of the two analytic filters run.
  enum class Mode { kBoth, kAfterOnly, kBeforeOnly };

  void FollowFrequency();
  /// What is added to the input.
  double Feedback() const;
  void ChooseFilters();

  Knob frequency_, frequencyCvAmount_, feedback_, mix_, mixCvAmount_;
  CVerticalSwitch *law_, *modeSwitch_;
  ClipLamp clip_;
  Input audio_, audioQ_, frequencyCv_, feedbackCv_, mixCv_, return_;
  Output up_, down_, send_;

  bool isWide_ = true;
  Mode mode_ = Mode::kBoth;
  bool hasQ_ = false, hasFeedbackCv_ = false, hasReturn_ = false, downWanted_ = false;
  double frequencyCache_ = -10000.0;
  S620FrequencyShifterKernel kernel_;
  S620FrequencyShifterKernel::StepFunction step_ =
      S620FrequencyShifterKernel::StepOf(S620FrequencyShifterKernel::BestUnit());
};

}  // namespace halveron
