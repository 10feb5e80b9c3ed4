// S213 Morphing VCF with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/filters/S213MorphingVCF.h"

namespace halveron {

template <class Unit>
class S213MorphingVCFVoices final : public VoiceLanes<S213MorphingVCF, Unit> {
  using Base = VoiceLanes<S213MorphingVCF, Unit>;
  using Filter = S213MorphingVCF;
  using Kernel = S213MorphingVCFKernel<typename Base::Lanes>;
  using typename Base::Double;

 public:
  explicit S213MorphingVCFVoices(std::span<Module* const> voices) : Base(voices) {
    const Filter& first = this->Voice(0);
    in_ = this->RowOf(first.in_);
    in2_ = this->RowOf(first.in2_);
    cutoffCv_ = this->RowOf(first.cutoffCv_);
    attenuatedCutoffCv_ = this->RowOf(first.attenuatedCutoffCv_);
    resonanceCv_ = this->RowOf(first.resonanceCv_);
    morphCv_ = this->RowOf(first.morphCv_);
    driveCv_ = this->RowOf(first.driveCv_);
    out_ = this->RowOf(first.out_);
  }

  static auto Alike(const Filter& voice) { return voice.hasIn2_; }
  static auto& KernelOf(Filter& voice) { return voice.kernel_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike) || !this->LoadKernels(kernels_, KernelOf)) return false;
    forHigh_ = Alike(this->Voice(0)) ? in2_ : in_;
    this->LoadKnobs(knobs_, kKnobs);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    this->Smooth(knobs_);
    const auto& [level, cutoff, cutoffAmount, resonanceAmount, resonance, morph, morphAmount, drive,
                 driveAmount] = knobs_;
    for (int p = 0; p < this->Packs(); ++p) {
      const auto voltage = [&](const float* row) { return dsp::ToDouble(this->Read(row, p)); };
      const Double out = kernels_[p].Step(
          voltage(in_), voltage(forHigh_),
          {level.smoothed[p],
           voltage(attenuatedCutoffCv_) * cutoffAmount.smoothed[p] + voltage(cutoffCv_) +
               cutoff.smoothed[p],
           voltage(resonanceCv_) * resonanceAmount.smoothed[p] + resonance.smoothed[p],
           voltage(morphCv_) * morphAmount.smoothed[p] + morph.smoothed[p],
           voltage(driveCv_) * driveAmount.smoothed[p] + drive.smoothed[p]});
      this->Write(out_, p, dsp::ToFloat(out));
    }
  }

  void Store() override {
    this->StoreKernels(kernels_, KernelOf);
    this->StoreKnobs(knobs_, kKnobs);
  }
  void ShowLamps() override {}

 private:
  static constexpr typename Base::template KnobList<9> kKnobs = {
      &Filter::level_,           &Filter::cutoff_,    &Filter::cutoffAmount_,
      &Filter::resonanceAmount_, &Filter::resonance_, &Filter::morph_,
      &Filter::morphAmount_,     &Filter::drive_,     &Filter::driveAmount_};

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  typename Base::template PerPack<Kernel> kernels_;
  const float *in_, *in2_, *cutoffCv_, *attenuatedCutoffCv_, *resonanceCv_, *morphCv_, *driveCv_;
  const float* forHigh_;
  float* out_;
};

}  // namespace halveron
