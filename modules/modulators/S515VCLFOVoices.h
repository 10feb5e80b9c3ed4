// S515 VCLFO with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/modulators/S515VCLFO.h"

namespace halveron {

template <class Unit>
class S515VCLFOVoices final : public VoiceLanes<S515VCLFO, Unit> {
  using Base = VoiceLanes<S515VCLFO, Unit>;
  using Kernel = S515VCLFOKernel<typename Base::Lanes>;
  using typename Base::Double;
  using typename Base::Float;

 public:
  explicit S515VCLFOVoices(std::span<Module* const> voices) : Base(voices) {
    const S515VCLFO& first = this->Voice(0);
    clock_ = this->RowOf(first.clock_);
    rateCv_ = this->RowOf(first.rateCv_);
    stepsCv_ = this->RowOf(first.stepsCv_);
    reset_ = this->RowOf(first.reset_);
    bipolar_ = this->RowOf(first.bipolar_);
    unipolar_ = this->RowOf(first.unipolar_);
  }

  static auto Alike(const S515VCLFO& voice) {
    return std::tuple(voice.clocked_, voice.stepsCabled_);
  }
  static auto& KernelOf(S515VCLFO& voice) { return voice.kernel_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike) || !this->LoadKernels(kernels_, KernelOf)) return false;
    std::tie(clocked_, stepsCabled_) = Alike(this->Voice(0));
    this->LoadKnobs(knobs_, kKnobs);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    auto& [rate, rateAmount, steps, startPhase] = knobs_;
    steps.Smooth(this->Packs());
    if (!clocked_) {
      rate.Smooth(this->Packs());
      rateAmount.Smooth(this->Packs());
    }
    for (int p = 0; p < this->Packs(); ++p) {
      Kernel& kernel = kernels_[p];
      kernel.clock.Step(this->Read(clock_, p));
      const Float rateCv = this->Read(rateCv_, p);
      const Double i = clocked_
                           ? kernel.ClockedIncrement(rate.target[p], rateCv, rateAmount.target[p])
                           : kernel.FreeIncrement(rate.smoothed[p], rateCv, rateAmount.smoothed[p]);
      kernel.FollowReset(this->Read(reset_, p), startPhase.target[p], i);
      Double step = steps.smoothed[p];
      if (stepsCabled_) step = dsp::ToDouble(this->Read(stepsCv_, p)) * step;
      const Double v = Kernel::Quantise(kernel.Advance(i), step);
      this->Write(bipolar_, p, dsp::ToFloat(v));
      this->Write(unipolar_, p, dsp::ToFloat((v + 1.0) * 0.5));
    }
  }

  void Store() override {
    this->StoreKernels(kernels_, KernelOf);
    this->StoreKnobs(knobs_, kKnobs);
  }

  /// Lamps are seen no faster than blocks go by.
  void ShowLamps() override {
    for (int i = 0; i < this->Count(); ++i) this->Voice(i).activity_.Set(unipolar_[i]);
  }

 private:
  static constexpr typename Base::template KnobList<4> kKnobs = {
      &S515VCLFO::rate_, &S515VCLFO::rateAmount_, &S515VCLFO::steps_, &S515VCLFO::phase_};

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  typename Base::template PerPack<Kernel> kernels_;
  bool clocked_ = false, stepsCabled_ = false;
  const float *clock_, *rateCv_, *stepsCv_, *reset_;
  float *bipolar_, *unipolar_;
};

}  // namespace halveron
