// S914 Tunable Quantizer: a voltage rounded to the notes of a scale.
#pragma once

#include <array>

#include "dsp/edge.h"
#include "framework/module.h"
#include "modules/cv/S914TunableQuantizerKernel.h"

namespace halveron {

class S914TunableQuantizer final : public BuiltInModule<S914TunableQuantizer> {
 public:
  static constexpr char kName[] = "S914 Tunable Quantizer";
  static constexpr char kPanel[] = "S914TunableQuantizer.png";
  static constexpr int kColumns = 10;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S914TunableQuantizer(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;
  void LoadControlValues(const float* buffer, unsigned size) override;

 private:
  static constexpr int kNotes = S914TunableQuantizerKernel::kNotes;

  void FollowScale(COnOffButton* changed);

  Knob amount_;
  std::array<COnOffButton*, kNotes> notes_;
  Input pitch_, transpose_, sample_;
  Output trigger_, pitchOut_;
  S914TunableQuantizerKernel kernel_;
  S914TunableQuantizerKernel::Scale scale_{};  ///< of the kernel
  dsp::EdgeDetector<> edges_;
  bool hasSample_ = false;
  bool isLoading_ = false;
};

}  // namespace halveron
