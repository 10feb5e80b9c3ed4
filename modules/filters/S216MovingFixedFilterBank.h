// S216 Moving Fixed Filter Bank: twelve band-passes, with levels that a control signal moves
// through.
#pragma once

#include <array>

#include "framework/clip_lamp.h"
#include "framework/module.h"
#include "framework/moving_knobs.h"
#include "modules/filters/S216MovingFixedFilterBankKernel.h"

namespace halveron {

class S216MovingFixedFilterBank final : public BuiltInModule<S216MovingFixedFilterBank> {
 public:
  static constexpr char kName[] = "S216 Moving Fixed Filter Bank";
  static constexpr char kPanel[] = "S216MovingFixedFilterBank.png";
  static constexpr int kColumns = 31;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S216MovingFixedFilterBank(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  /// Makes a control line of six seconds, silent.
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

 private:
  using Kernel = S216MovingFixedFilterBankKernel;
  static constexpr std::size_t kBands = Kernel::kBands;

  void AddBands();
  void AddBankControls();
  void AddInputs();
  void SetBands();
  void ReadCables();

  std::array<Knob, kBands> levels_;
  Knob depth_, mix_, delay_, firstFrequency_, spacing_, order_;
  std::array<COnOffButton*, kBands> bandOff_{};
  CVerticalSwitch* clocked_ = nullptr;
  ClipLamp clip_;
  Input in_, in5_, in9_, control_;
  std::array<Output, kBands> bands_;
  Output left_, right_;

  MovingKnobs<Kernel::kBands + 3> movingKnobs_;
  bool has_in2_ = false, has_in3_ = false;
  Kernel kernel_;
  Kernel::Inputs inputs_{};
  Kernel::Outputs outputs_;
};

}  // namespace halveron
