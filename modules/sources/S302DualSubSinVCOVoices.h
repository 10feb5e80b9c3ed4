// S302 Dual Sub/Sin VCO with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/sources/S302DualSubSinVCO.h"

namespace halveron {

template <class Unit>
class S302DualSubSinVCOVoices final : public VoiceLanes<S302DualSubSinVCO, Unit> {
  using Base = VoiceLanes<S302DualSubSinVCO, Unit>;
  using Kernel = S302DualSubSinVCOKernel<typename Base::Lanes>;

 public:
  explicit S302DualSubSinVCOVoices(std::span<Module* const> voices) : Base(voices) {
    const S302DualSubSinVCO& first = this->Voice(0);
    pitch_ = this->RowOf(first.pitch_);
    sine1_ = this->RowOf(first.sine1_);
    sine2_ = this->RowOf(first.sine2_);
  }

  static auto Alike(const S302DualSubSinVCO& voice) { return voice.hasSine2_; }
  static auto& KernelOf(S302DualSubSinVCO& voice) { return voice.kernel_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike) || !this->LoadKernels(kernels_, KernelOf)) return false;
    hasSine2_ = Alike(this->Voice(0));
    this->LoadKnob(spread_, SpreadOf);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    if (hasSine2_) spread_.Smooth(this->Packs());
    for (int p = 0; p < this->Packs(); ++p) {
      Kernel& kernel = kernels_[p];
      kernel.SetPitch(this->Read(pitch_, p), hasSine2_);
      this->Write(sine1_, p, kernel.First());
      if (hasSine2_) this->Write(sine2_, p, kernel.Second(spread_.smoothed[p]));
    }
  }

  void Store() override {
    this->StoreKernels(kernels_, KernelOf);
    this->StoreKnob(spread_, SpreadOf);
  }
  void ShowLamps() override {}

 private:
  static Knob& SpreadOf(S302DualSubSinVCO& voice) { return voice.spread_; }
  KnobRow<Unit> spread_;
  typename Base::template PerPack<Kernel> kernels_;
  bool hasSine2_ = false;
  const float* pitch_;
  float *sine1_, *sine2_;
};

}  // namespace halveron
