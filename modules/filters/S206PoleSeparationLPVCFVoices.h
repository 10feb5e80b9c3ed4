// S206 Pole Separation LP VCF with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/filters/S206PoleSeparationLPVCF.h"

namespace halveron {

template <class Unit>
class S206PoleSeparationLPVCFVoices final : public VoiceLanes<S206PoleSeparationLPVCF, Unit> {
  using Base = VoiceLanes<S206PoleSeparationLPVCF, Unit>;
  using Filter = S206PoleSeparationLPVCF;
  using Kernel = S206PoleSeparationLPVCFKernel<typename Base::Lanes>;
  using typename Base::Double;

 public:
  explicit S206PoleSeparationLPVCFVoices(std::span<Module* const> voices) : Base(voices) {
    const Filter& first = this->Voice(0);
    audio_ = this->RowOf(first.audio_);
    cutoffCv_ = this->RowOf(first.cutoffCv_);
    separationCv_ = this->RowOf(first.separationCv_);
    out_ = this->RowOf(first.out_);
  }

  static auto Alike(const Filter& voice) { return std::tuple(voice.inSeries_, voice.clipLevel); }
  static auto& KernelOf(Filter& voice) { return voice.kernel_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike) || !this->LoadKernels(kernels_, KernelOf)) return false;
    std::tie(inSeries_, clipLevel_) = Alike(this->Voice(0));
    this->LoadKnobs(knobs_, kKnobs);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    this->Smooth(knobs_);
    const auto& [level, cutoff, cutoffAmount, separationAmount, separation, resonance] = knobs_;
    for (int p = 0; p < this->Packs(); ++p) {
      const Double centre =
          dsp::ToDouble(this->Read(cutoffCv_, p)) * cutoffAmount.smoothed[p] + cutoff.smoothed[p];
      const Double apart =
          dsp::ToDouble(this->Read(separationCv_, p)) * separationAmount.smoothed[p] +
          separation.smoothed[p];
      const Double x = dsp::ToDouble(this->Read(audio_, p)) * level.smoothed[p];
      this->Write(out_, p,
                  dsp::ToFloat(kernels_[p].Step(x, centre, apart, resonance.smoothed[p], inSeries_,
                                                clipLevel_)));
    }
  }

  void Store() override {
    this->StoreKernels(kernels_, KernelOf);
    this->StoreKnobs(knobs_, kKnobs);
  }
  void ShowLamps() override {}

 private:
  static constexpr typename Base::template KnobList<6> kKnobs = {
      &Filter::level_,      &Filter::cutoff_,   &Filter::cutoffAmount_, &Filter::separationAmount_,
      &Filter::separation_, &Filter::resonance_};

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  typename Base::template PerPack<Kernel> kernels_;
  bool inSeries_ = false;
  float clipLevel_ = 0.0f;
  const float *audio_, *cutoffCv_, *separationCv_;
  float* out_;
};

}  // namespace halveron
