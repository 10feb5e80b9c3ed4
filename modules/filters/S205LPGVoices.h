// S205 Low Pass Gate with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/filters/S205LPG.h"

namespace halveron {

template <class Unit>
class S205LPGVoices final : public VoiceLanes<S205LPG, Unit> {
  using Base = VoiceLanes<S205LPG, Unit>;
  using Kernel = S205LPGKernel<typename Base::Lanes>;
  using typename Base::Double;

 public:
  explicit S205LPGVoices(std::span<Module* const> voices) : Base(voices) {
    const S205LPG& first = this->Voice(0);
    audio_ = this->RowOf(first.audio_);
    cutoffCv_ = this->RowOf(first.cutoffCv_);
    attenuatedCutoffCv_ = this->RowOf(first.attenuatedCutoffCv_);
    resonanceCv_ = this->RowOf(first.resonanceCv_);
    out_ = this->RowOf(first.out_);
  }

  static auto Alike(const S205LPG& voice) { return voice.mode_; }
  static auto& KernelOf(S205LPG& voice) { return voice.kernel_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike) || !this->LoadKernels(kernels_, KernelOf)) return false;
    mode_ = Alike(this->Voice(0));
    this->LoadKnobs(knobs_, kKnobs);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    this->Smooth(knobs_);
    const auto& [level, cutoff, cutoffAmount, resonanceBase, resonance] = knobs_;
    for (int p = 0; p < this->Packs(); ++p) {
      const Double sum =
          dsp::ToDouble(this->Read(attenuatedCutoffCv_, p)) * cutoffAmount.smoothed[p] +
          dsp::ToDouble(this->Read(cutoffCv_, p)) + cutoff.smoothed[p];
      this->Write(
          out_, p,
          kernels_[p].Step(mode_, {this->Read(audio_, p), this->Read(resonanceCv_, p), sum},
                           {level.smoothed[p], resonanceBase.smoothed[p], resonance.smoothed[p]}));
    }
  }

  void Store() override {
    this->StoreKernels(kernels_, KernelOf);
    this->StoreKnobs(knobs_, kKnobs);
  }
  void ShowLamps() override {}

 private:
  static constexpr typename Base::template KnobList<5> kKnobs = {
      &S205LPG::level_, &S205LPG::cutoff_, &S205LPG::cutoffAmount_, &S205LPG::resonanceBase_,
      &S205LPG::resonance_};

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  typename Base::template PerPack<Kernel> kernels_;
  int mode_ = 0;
  const float *audio_, *cutoffCv_, *attenuatedCutoffCv_, *resonanceCv_;
  float* out_;
};

}  // namespace halveron
