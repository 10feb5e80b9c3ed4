// S212 VCF with a voice in each lane.
#pragma once

#include "framework/lane_choice.h"
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

  static auto Alike(const S212VCF& voice) { return voice.fourPoles_; }
  static auto& KernelOf(S212VCF& voice) { return voice.kernel_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike) || !this->LoadKernels(kernels_, KernelOf)) return false;
    fourPoles_ = Alike(this->Voice(0));
    highPassLanes_.Load(this->Packs(), [this](int i) { return this->Voice(i).hasHighPass_; });
    bandPassLanes_.Load(this->Packs(), [this](int i) { return this->Voice(i).hasBandPass_; });
    lowPassLanes_.Load(this->Packs(), [this](int i) { return this->Voice(i).hasLowPass_; });
    notchLanes_.Load(this->Packs(), [this](int i) { return this->Voice(i).hasNotch_; });
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
      if (highPassLanes_.HasAny(p)) {
        highPassLanes_.Write(highPass_, p, dsp::ToFloat(kernel.HighPass()));
      }
      if (bandPassLanes_.HasAny(p)) {
        bandPassLanes_.Write(bandPass_, p, dsp::ToFloat(kernel.BandPass()));
      }
      if (lowPassLanes_.HasAny(p)) lowPassLanes_.Write(lowPass_, p, dsp::ToFloat(kernel.LowPass()));
      if (notchLanes_.HasAny(p)) notchLanes_.Write(notch_, p, dsp::ToFloat(kernel.Notch()));
      kernel.End();
    }
  }

  void Store() override {
    this->StoreParts(
        kernels_, KernelOf, [](auto& kernel) { return kernel.CommonState(kernel); },
        [](const S212VCF&) { return true; });
    StoreChain(
        [](auto& kernel) -> auto& { return kernel.highPass; }, &S212VCF::hasHighPass_);
    StoreChain(
        [](auto& kernel) -> auto& { return kernel.bandPass; }, &S212VCF::hasBandPass_);
    StoreChain(
        [](auto& kernel) -> auto& { return kernel.lowPass; }, &S212VCF::hasLowPass_);
    StoreChain(
        [](auto& kernel) -> auto& { return kernel.notch; }, &S212VCF::hasNotch_);
    this->StoreKnobs(knobs_, kKnobs);
  }
  void ShowLamps() override {}

 private:
  static constexpr typename Base::template KnobList<6> kKnobs = {
      &S212VCF::inputLevel_,      &S212VCF::cutoff_,    &S212VCF::fmAmount_,
      &S212VCF::resonanceAmount_, &S212VCF::resonance_, &S212VCF::instability_};

  /// Of the instances that run it by themselves, too.
  template <class F>
  void StoreChain(F&& chainOf, bool S212VCF::*has) {
    this->StoreParts(
        kernels_, KernelOf,
        [&](auto& kernel) {
          return std::remove_cvref_t<decltype(kernel)>::ChainState(chainOf(kernel));
        },
        [has](const S212VCF& voice) { return voice.*has; });
  }

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  typename Base::template PerPack<Kernel> kernels_;
  const float *audio_, *cutoffCv_, *fm_, *resonanceCv_, *instabilityCv_;
  float *highPass_, *bandPass_, *lowPass_, *notch_;
  bool fourPoles_;
  LaneChoice<Unit> highPassLanes_, bandPassLanes_, lowPassLanes_, notchLanes_;
};

}  // namespace halveron
