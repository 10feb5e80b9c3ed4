// S321 FM/PM VCO: a sine carrier with through-zero linear and exponential frequency modulation,
// phase modulation, feedback and hard sync, and three waves that follow its phase.
#pragma once

#include "framework/module.h"
#include "framework/resting_knobs.h"
#include "modules/sources/S321FMPMVCOKernel.h"

namespace halveron {

/// Pitch 0 is middle C. Ratio multiplies the frequency by 1/2 or by 1 to 12; Fine tune bends it by
/// up to an octave either way, finely near the middle, so that every ratio can be reached.
///
/// The amounts of modulation are cubes of their knobs. At full amount the linear and the phase
/// input give an index of 16 for a modulator of amplitude 1 at the carrier's frequency, the
/// exponential input 1.0 for ten octaves, as the pitch input. The feedback knob and its input add
/// up to an index of -1 to 1; below 0 the wave leans the other way.
class S321FMPMVCO final : public BuiltInModule<S321FMPMVCO> {
 public:
  static constexpr char kName[] = "S321 FM/PM VCO";
  static constexpr char kPanel[] = "S321FMPMVCO.png";
  static constexpr int kColumns = 12;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  S321FMPMVCO(CFrame* frame, const HostTable& table, int voiceIndex);
  void ProcessSample() override;
  VoiceGroupMaker GetVoiceGroupMaker(VectorUnit unit) const override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;

  /// The control values, then the phase of the carrier in cycles, a float.
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

  /// Also makes the band-limited step.
  static void SetUpClass();

 private:
  template <class Unit>
  friend class S321FMPMVCOVoices;

  void ReadCables();

  RestingKnobs restingKnobs_;
  Knob octave_, fineTune_, ratio_, linearAmount_, exponentialAmount_, pmAmount_, feedback_;
  Input pitch_, linearFm_, exponentialFm_, pm_, feedbackCv_, sync_;
  Output sine_, triangle_, saw_, pulse_;

  S321FMPMVCOKernel<> kernel_;
  S321FMPMVCOKernel<>::Cables cables_;
  S321FMPMVCOKernel<>::Outputs outputs_;
};

}  // namespace halveron
