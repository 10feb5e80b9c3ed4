// S304 VCO with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/sources/S304VCO.h"

namespace halveron {

template <class Unit>
class S304VCOVoices final : public VoiceLanes<S304VCO, Unit> {
  using Base = VoiceLanes<S304VCO, Unit>;
  using Kernel = S304VCOKernel<typename Base::Lanes>;

 public:
  explicit S304VCOVoices(std::span<Module* const> voices) : Base(voices) {
    const S304VCO& first = this->Voice(0);
    pitch_ = this->RowOf(first.pitch_);
    fm_ = this->RowOf(first.fm_);
    pitchOut_ = this->RowOf(first.pitchOut_);
    saw_ = this->RowOf(first.saw_);
    pulse_ = this->RowOf(first.pulse_);
  }

  static auto Alike(const S304VCO& voice) { return voice.hasPulse_; }
  static auto& KernelOf(S304VCO& voice) { return voice.kernel_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike) || !this->LoadKernels(kernels_, KernelOf)) return false;
    hasPulse_ = Alike(this->Voice(0));
    this->LoadKnobs(knobs_, kKnobs);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    auto& [frequency, fmAmount, detune] = knobs_;
    frequency.Smooth(this->Packs());
    fmAmount.Smooth(this->Packs());
    if (detune.isMoving) MoveDetune(detune);
    for (int p = 0; p < this->Packs(); ++p) {
      Kernel& kernel = kernels_[p];
      kernel.Advance(frequency.smoothed[p], fmAmount.smoothed[p], detune.smoothed[p],
                     this->Read(pitch_, p), this->Read(fm_, p));
      this->Write(pitchOut_, p, kernel.pitchOut);
      this->Write(saw_, p, kernel.Saw());
      if (hasPulse_) this->Write(pulse_, p, kernel.Pulse());
    }
  }

  void Store() override {
    this->StoreKernels(kernels_, KernelOf);
    this->StoreKnobs(knobs_, kKnobs);
  }
  void ShowLamps() override {}

 private:
  static constexpr typename Base::template KnobList<3> kKnobs = {
      &S304VCO::frequency_, &S304VCO::fmAmount_, &S304VCO::detune_};

  /// A smoothing step of Detune, and what follows where it had not arrived.
  void MoveDetune(KnobRow<Unit>& detune) {
    detune.isMoving = false;
    for (int p = 0; p < this->Packs(); ++p) {
      const auto moved = !dsp::SmoothToward(detune.smoothed[p], detune.target[p], detune.step[p]);
      if (!dsp::Any(moved)) continue;
      detune.isMoving = true;
      kernels_[p].SetDetune(moved, detune.smoothed[p], this->Read(pitch_, p));
    }
  }

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  typename Base::template PerPack<Kernel> kernels_;
  bool hasPulse_ = false;
  const float *pitch_, *fm_;
  float *pitchOut_, *saw_, *pulse_;
};

}  // namespace halveron
