// S202 HP/Low Shelf VCF with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/filters/S202HPLSVCF.h"

namespace halveron {

template <class Unit>
class S202HPLSVCFVoices final : public VoiceLanes<S202HPLSVCF, Unit> {
  using Base = VoiceLanes<S202HPLSVCF, Unit>;
  using Kernel = S202HPLSVCFKernel<typename Base::Lanes>;
  using typename Base::Double;

 public:
  explicit S202HPLSVCFVoices(std::span<Module* const> voices) : Base(voices) {
    const S202HPLSVCF& first = this->Voice(0);
    audio_ = this->RowOf(first.audio_);
    cutoffCv_ = this->RowOf(first.cutoffCv_);
    attenuatedCutoffCv_ = this->RowOf(first.attenuatedCutoffCv_);
    shelfCv_ = this->RowOf(first.shelfCv_);
    out_ = this->RowOf(first.out_);
  }

  static auto Alike(const S202HPLSVCF& voice) {
    return std::tuple(voice.lowShelf_, voice.clipLevel);
  }
  static auto& KernelOf(S202HPLSVCF& voice) { return voice.kernel_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike) || !this->LoadKernels(kernels_, KernelOf)) return false;
    std::tie(lowShelf_, clipLevel_) = Alike(this->Voice(0));
    this->LoadKnobs(knobs_, kKnobs);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    auto& [level, cutoff, cutoffAmount, resonance, shelf] = knobs_;
    for (KnobRow<Unit>* knob : {&level, &cutoff, &cutoffAmount, &resonance}) {
      knob->Smooth(this->Packs());
    }
    if (lowShelf_) shelf.Smooth(this->Packs());
    for (int p = 0; p < this->Packs(); ++p) {
      const auto voltage = [&](const float* row) { return dsp::ToDouble(this->Read(row, p)); };
      const Double cut = voltage(attenuatedCutoffCv_) * cutoffAmount.smoothed[p] +
                         voltage(cutoffCv_) + cutoff.smoothed[p];
      Kernel& kernel = kernels_[p];
      const Double out = lowShelf_ ? kernel.LowShelf(voltage(audio_), level.smoothed[p], cut,
                                                     voltage(shelfCv_) + shelf.smoothed[p],
                                                     resonance.smoothed[p], clipLevel_)
                                   : kernel.HighPass(voltage(audio_), level.smoothed[p], cut,
                                                     resonance.smoothed[p], clipLevel_);
      this->Write(out_, p, dsp::ToFloat(out));
    }
  }

  void Store() override {
    this->StoreKernels(kernels_, KernelOf);
    this->StoreKnobs(knobs_, kKnobs);
  }
  void ShowLamps() override {}

 private:
  static constexpr typename Base::template KnobList<5> kKnobs = {
      &S202HPLSVCF::inputLevel_, &S202HPLSVCF::cutoff_, &S202HPLSVCF::cutoffAmount_,
      &S202HPLSVCF::resonance_, &S202HPLSVCF::shelfLevel_};

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  typename Base::template PerPack<Kernel> kernels_;
  bool lowShelf_ = false;
  float clipLevel_ = 0.0f;
  const float *audio_, *cutoffCv_, *attenuatedCutoffCv_, *shelfCv_;
  float* out_;
};

}  // namespace halveron
