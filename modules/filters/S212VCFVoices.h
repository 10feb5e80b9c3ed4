// S212 VCF with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/filters/S212VCF.h"

namespace halveron {

template <class Unit>
class S212VCFVoices final : public VoiceLanes<S212VCF, Unit> {
  using Base = VoiceLanes<S212VCF, Unit>;
  using Kernel = S212VCFKernel<typename Base::Lanes>;

 public:
  explicit S212VCFVoices(std::span<Module* const> voices) : Base(voices) {
    const S212VCF& first = this->Voice(0);
    audio_ = this->RowOf(first.audio_);
    cutoffCv_ = this->RowOf(first.cutoffCv_);
    fm_ = this->RowOf(first.fm_);
    resonanceCv_ = this->RowOf(first.resonanceCv_);
    instabilityCv_ = this->RowOf(first.instabilityCv_);
    highPass_ = this->RowOf(first.highPass_);
    bandPass_ = this->RowOf(first.bandPass_);
    lowPass_ = this->RowOf(first.lowPass_);
    notch_ = this->RowOf(first.notch_);
  }

  static auto Alike(const S212VCF& voice) {
    return std::tuple(voice.fourPoles_, voice.hasHighPass_, voice.hasBandPass_, voice.hasLowPass_,
                      voice.hasNotch_);
  }
  static auto& KernelOf(S212VCF& voice) { return voice.kernel_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike) || !this->LoadKernels(kernels_, KernelOf)) return false;
    std::tie(fourPoles_, hasHighPass_, hasBandPass_, hasLowPass_, hasNotch_) =
        Alike(this->Voice(0));
    this->LoadKnobs(knobs_, kKnobs);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    this->Smooth(knobs_);
    const auto& [level, cutoff, fm, resonanceAmount, resonance, instability] = knobs_;
    for (int p = 0; p < this->Packs(); ++p) {
      Kernel& kernel = kernels_[p];
      kernel.Begin(
          {this->Read(audio_, p), this->Read(cutoffCv_, p), this->Read(fm_, p),
           this->Read(resonanceCv_, p), this->Read(instabilityCv_, p)},
          {level.smoothed[p], cutoff.smoothed[p], fm.smoothed[p], resonanceAmount.smoothed[p],
           resonance.smoothed[p], instability.smoothed[p], fourPoles_});
      if (hasHighPass_) this->Write(highPass_, p, dsp::ToFloat(kernel.HighPass()));
      if (hasBandPass_) this->Write(bandPass_, p, dsp::ToFloat(kernel.BandPass()));
      if (hasLowPass_) this->Write(lowPass_, p, dsp::ToFloat(kernel.LowPass()));
      if (hasNotch_) this->Write(notch_, p, dsp::ToFloat(kernel.Notch()));
      kernel.End();
    }
  }

  void Store() override {
    this->StoreKernels(kernels_, KernelOf);
    this->StoreKnobs(knobs_, kKnobs);
  }
  void ShowLamps() override {}

 private:
  static constexpr typename Base::template KnobList<6> kKnobs = {
      &S212VCF::inputLevel_,      &S212VCF::cutoff_,    &S212VCF::fmAmount_,
      &S212VCF::resonanceAmount_, &S212VCF::resonance_, &S212VCF::instability_};

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  typename Base::template PerPack<Kernel> kernels_;
  const float *audio_, *cutoffCv_, *fm_, *resonanceCv_, *instabilityCv_;
  float *highPass_, *bandPass_, *lowPass_, *notch_;
  bool fourPoles_, hasHighPass_, hasBandPass_, hasLowPass_, hasNotch_;
};

}  // namespace halveron
