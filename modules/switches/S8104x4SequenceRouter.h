// S810 4x4 Sequence Router: a matrix of crosspoints that steps through up to 100 patterns.
#pragma once

#include <array>

#include "dsp/edge.h"
#include "framework/module.h"
#include "modules/switches/route_patterns.h"

namespace halveron {

class S8104x4SequenceRouter final : public BuiltInModule<S8104x4SequenceRouter> {
 public:
  static constexpr char kName[] = "S810 4x4 Sequence Router";
  static constexpr char kPanel[] = "S8104x4SequenceRouter.png";
  static constexpr int kColumns = 16;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S8104x4SequenceRouter(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void ValueChanged(CControl* control) override;

  /// The control values, then the last and the present step and all patterns, 32-bit integers.
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  static constexpr int kSize = RoutePatterns::kSize;

  void StepClocked();
  /// The shown step for the present voltage.
  int StepToShow() const;
  /// Shows a step on the digits and the crosspoint buttons.
  void Show(int step);
  void Route();

  Knob amount_;
  std::array<COnOffButton*, kSize * kSize> crosspoints_;
  CSpecialDigitEx* digits_;
  CKickButtonEx *up_, *down_, *insert_, *remove_;
  Input clock_, reset_, stepCv_;
  std::array<Either, kSize> rows_, columns_;

  dsp::EdgeDetector<> clockEdges_, resetEdges_;
  RoutePatterns patterns_;
  int playStep_ = 0;
  int shownStep_ = 0;
  bool isLoading_ = false;
};

}  // namespace halveron
