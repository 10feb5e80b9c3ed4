// SE10 Dual Volt Meter: two signals in numbers, as volts or as pitches.
#pragma once

#include <array>
#include <string>

#include "framework/module.h"
#include "framework/triple_buffer.h"
#include "modules/other/SE10DualVoltMeterKernel.h"

namespace halveron {

/// Each display shows the present value, and the greatest, mean and least one of the last 10 ms to
/// 10 s, which stands beside it where there is room: in volts, where 1.0 is 10 V, or with the unit
/// switch over as note and cents, where 0 is C4.
class SE10DualVoltMeter final : public BuiltInModule<SE10DualVoltMeter> {
 public:
  static constexpr char kName[] = "SE10 Dual Volt Meter";
  static constexpr char kPanel[] = "SE10DualVoltMeter.png";
  static constexpr int kColumns = 10;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  using Reading = SE10DualVoltMeterKernel::Reading;

  SE10DualVoltMeter(CFrame* frame, const HostTable& table, int voiceIndex);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

  /// What a display says, a line each: value, greatest, mean, least.
  static std::array<std::string, 4> Lines(const Reading& reading, bool asPitch);

 private:
  static constexpr int kMeters = 2;

  void FollowTime();
  void Draw(int meter, CDrawContext& context, const CRect& area, const Reading& reading) const;

  Knob time_;
  CKickButtonEx* reset_ = nullptr;
  std::array<CVerticalSwitch*, kMeters> units_{};
  std::array<DisplayView*, kMeters> displays_{};
  std::array<Input, kMeters> ins_;

  std::array<SE10DualVoltMeterKernel, kMeters> kernels_;
  std::array<TripleBuffer<Reading>, kMeters> feeds_;
  int untilShown_ = 0;  // samples
};

}  // namespace halveron
