// S201 VCF with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/filters/S201VCF.h"

namespace halveron {

template <class Unit>
class S201VCFVoices final : public VoiceLanes<S201VCF, Unit> {
  using Base = VoiceLanes<S201VCF, Unit>;
  using Kernel = S201VCFKernel<typename Base::Lanes>;
  using typename Base::Double;

 public:
  explicit S201VCFVoices(std::span<Module* const> voices) : Base(voices) {
    const S201VCF& first = this->Voice(0);
    audio_ = this->RowOf(first.audio_);
    cutoffCv_ = this->RowOf(first.cutoffCv_);
    attenuatedCutoffCv_ = this->RowOf(first.attenuatedCutoffCv_);
    resonanceCv_ = this->RowOf(first.resonanceCv_);
    lowPass_ = this->RowOf(first.lowPass_);
  }

  static auto Alike(const S201VCF& voice) { return voice.clipLevel; }
  static auto& KernelOf(S201VCF& voice) { return voice.kernel_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike) || !this->LoadKernels(kernels_, KernelOf)) return false;
    clipLevel_ = Alike(this->Voice(0));
    this->LoadKnobs(knobs_, kKnobs);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    this->Smooth(knobs_);
    const auto& [level, cutoff, cutoffAmount, resonanceAmount, resonance] = knobs_;
    for (int p = 0; p < this->Packs(); ++p) {
      const auto voltage = [&](const float* row) { return dsp::ToDouble(this->Read(row, p)); };
      const Double cut = voltage(attenuatedCutoffCv_) * cutoffAmount.smoothed[p] +
                         voltage(cutoffCv_) + cutoff.smoothed[p];
      const Double res =
          voltage(resonanceCv_) * resonanceAmount.smoothed[p] + resonance.smoothed[p];
      this->Write(
          lowPass_, p,
          dsp::ToFloat(kernels_[p].Step(voltage(audio_), level.smoothed[p], cut, res, clipLevel_)));
    }
  }

  void Store() override {
    this->StoreKernels(kernels_, KernelOf);
    this->StoreKnobs(knobs_, kKnobs);
  }
  void ShowLamps() override {}

 private:
  static constexpr typename Base::template KnobList<5> kKnobs = {
      &S201VCF::inputLevel_, &S201VCF::cutoff_, &S201VCF::cutoffAmount_, &S201VCF::resonanceAmount_,
      &S201VCF::resonance_};

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  typename Base::template PerPack<Kernel> kernels_;
  float clipLevel_ = 0.0f;
  const float *audio_, *cutoffCv_, *attenuatedCutoffCv_, *resonanceCv_;
  float* lowPass_;
};

}  // namespace halveron
