// S525 VC Envelope Generator/LFO with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/modulators/S525VCEnvelopeGeneratorLFO.h"

namespace halveron {

template <class Unit>
class S525VCEnvelopeGeneratorLFOVoices final : public VoiceLanes<S525VCEnvelopeGeneratorLFO, Unit> {
  using Envelope = S525VCEnvelopeGeneratorLFO;
  using Base = VoiceLanes<Envelope, Unit>;
  using Kernel = S525VCEnvelopeGeneratorLFOKernel<typename Base::Lanes>;

 public:
  explicit S525VCEnvelopeGeneratorLFOVoices(std::span<Module* const> voices) : Base(voices) {
    const Envelope& first = this->Voice(0);
    attackCv_ = this->RowOf(first.attackCv_);
    decayCv_ = this->RowOf(first.decayCv_);
    sustainCv_ = this->RowOf(first.sustainCv_);
    releaseCv_ = this->RowOf(first.releaseCv_);
    gate_ = this->RowOf(first.gate_);
    retrigger_ = this->RowOf(first.retrigger_);
    decayStage_ = this->RowOf(first.decayStage_);
    sustainStage_ = this->RowOf(first.sustainStage_);
    releaseStage_ = this->RowOf(first.releaseStage_);
    end_ = this->RowOf(first.end_);
    out_ = this->RowOf(first.out_);
  }

  static auto& KernelOf(Envelope& voice) { return voice.kernel_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->LoadKernels(kernels_, KernelOf)) return false;
    this->LoadKnobs(knobs_, kKnobs);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    this->Smooth(knobs_);
    const auto& [attack, decay, sustain, release, attackAmount, decayAmount, sustainAmount,
                 releaseAmount, attackShape, decayShape, releaseShape, restart] = knobs_;
    for (int p = 0; p < this->Packs(); ++p) {
      Kernel& kernel = kernels_[p];
      kernel.Step({{attack.smoothed[p], attackAmount.smoothed[p], this->Read(attackCv_, p)},
                   {decay.smoothed[p], decayAmount.smoothed[p], this->Read(decayCv_, p)},
                   {sustain.smoothed[p], sustainAmount.smoothed[p], this->Read(sustainCv_, p)},
                   {release.smoothed[p], releaseAmount.smoothed[p], this->Read(releaseCv_, p)},
                   attackShape.smoothed[p],
                   decayShape.smoothed[p],
                   releaseShape.smoothed[p],
                   restart.smoothed[p],
                   this->Read(gate_, p),
                   this->Read(retrigger_, p)});
      this->Write(out_, p, kernel.out);
      this->Write(decayStage_, p, kernel.decayStage);
      this->Write(sustainStage_, p, kernel.sustainStage);
      this->Write(releaseStage_, p, kernel.releaseStage);
      this->Write(end_, p, kernel.end);
    }
  }

  void Store() override {
    this->StoreKernels(kernels_, KernelOf);
    this->StoreKnobs(knobs_, kKnobs);
  }

  /// Lamps are seen no faster than blocks go by.
  void ShowLamps() override {
    for (int i = 0; i < this->Count(); ++i) {
      const Kernel& kernel = kernels_[i / Base::kLanes];
      const int lane = i % Base::kLanes;
      Envelope& voice = this->Voice(i);
      voice.kernel_.attackLamp = dsp::Lane(kernel.attackLamp, lane);
      voice.kernel_.decayStage = dsp::Lane(kernel.decayStage, lane);
      voice.kernel_.sustainStage = dsp::Lane(kernel.sustainStage, lane);
      voice.kernel_.releaseLamp = dsp::Lane(kernel.releaseLamp, lane);
      voice.ShowLamps();
    }
  }

 private:
  static constexpr typename Base::template KnobList<12> kKnobs = {
      &Envelope::attack_,        &Envelope::decay_,         &Envelope::sustain_,
      &Envelope::release_,       &Envelope::attackAmount_,  &Envelope::decayAmount_,
      &Envelope::sustainAmount_, &Envelope::releaseAmount_, &Envelope::attackShape_,
      &Envelope::decayShape_,    &Envelope::releaseShape_,  &Envelope::restart_};

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  typename Base::template PerPack<Kernel> kernels_;
  const float *attackCv_, *decayCv_, *sustainCv_, *releaseCv_, *gate_, *retrigger_;
  float *decayStage_, *sustainStage_, *releaseStage_, *end_, *out_;
};

}  // namespace halveron
