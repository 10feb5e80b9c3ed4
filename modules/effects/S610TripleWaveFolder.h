// S610 Aliasing Triple Wave Folder: three folding stages in series.
#pragma once

#include <array>

#include "dsp/follower.h"
#include "framework/module.h"

namespace halveron {

/// Each stage folds its input, in units of a reference r, at -1 and 1 as often as it takes:
///   y = r * (F(d x / r + s) - F(s)) / min(d, 1),
/// with F the triangle of slope 1 through 0, d = 2^level and s the shift, both of -2 to 2. Below
/// the first fold a stage passes its input, and silence stays silent.
class S610TripleWaveFolder final : public BuiltInModule<S610TripleWaveFolder> {
 public:
  static constexpr char kName[] = "S610 Aliasing Triple Wave Folder";
  static constexpr char kPanel[] = "S610TripleWaveFolder.png";
  static constexpr int kColumns = 12;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;
  static constexpr int kStages = 3;

  S610TripleWaveFolder(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;

  /// The triangle between -1 and 1 with slope 1 at 0.
  static double Fold(double x);
  /// One stage; level and shift of -2 to 2, the reference above 0.
  static double Stage(double x, double level, double shift, double reference);

 private:
  enum class Reference { kFixed, kEnvelope, kVoltage };
  struct StageControls {
    Knob level, shift;
    CVerticalSwitch* referenceSwitch = nullptr;
    Input referenceCv;
    Reference reference = Reference::kFixed;
  };
  double ReferenceOf(const StageControls& stage, double envelope) const;

  std::array<StageControls, kStages> stages_;
  Knob speed_;
  Input in_;
  Output out_;
  dsp::EnvelopeFollower<> follower_;
};

}  // namespace halveron
