// S310 VCO with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/sources/S310VCO.h"

namespace halveron {

template <class Unit>
class S310VCOVoices final : public VoiceLanes<S310VCO, Unit> {
  using Base = VoiceLanes<S310VCO, Unit>;
  using Kernel = S310VCOKernel<typename Base::Lanes>;

 public:
  explicit S310VCOVoices(std::span<Module* const> voices) : Base(voices) {
    const S310VCO& first = this->Voice(0);
    pitch_ = this->RowOf(first.pitchIn_);
    fm_ = this->RowOf(first.fmIn_);
    pwm_ = this->RowOf(first.pwmIn_);
    shape_ = this->RowOf(first.shapeIn_);
    octaveStep_ = this->RowOf(first.octaveStepIn_);
    sync_ = this->RowOf(first.syncIn_);
    saw_ = this->RowOf(first.saw_);
    triangle_ = this->RowOf(first.triangle_);
    round_ = this->RowOf(first.round_);
    pulse_ = this->RowOf(first.pulse_);
  }

  static auto Alike(const S310VCO& voice) {
    return std::tuple(voice.cables_.pwm, voice.cables_.sync, voice.cables_.saw,
                      voice.cables_.triangle, voice.cables_.round, voice.cables_.pulse,
                      voice.kernel_.sawBlep.Stride());
  }
  static auto& KernelOf(S310VCO& voice) { return voice.kernel_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike) || !this->LoadKernels(kernels_, KernelOf)) return false;
    const S310VCO& first = this->Voice(0);
    cables_ = {first.cables_.pwm,      first.cables_.sync,  first.cables_.saw,
               first.cables_.triangle, first.cables_.round, first.cables_.pulse};
    LoadRings(first.kernel_.sawBlep.Stride());
    LoadOutputs();
    this->LoadKnobs(knobs_, kKnobs);
    this->LoadKnob(octave_, OctaveOf, true);
    this->HoldIdleLanes(octave_, kBelowAll);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    this->Smooth(knobs_);
    octave_.Smooth(this->Packs());
    const auto& [fineTune, fmAmount, pulseWidth, shape] = knobs_;
    for (int p = 0; p < this->Packs(); ++p) {
      kernels_[p].Step({fineTune.smoothed[p], octave_.smoothed[p], fmAmount.smoothed[p],
                        pulseWidth.smoothed[p], shape.smoothed[p]},
                       {this->Read(pitch_, p), this->Read(fm_, p), this->Read(pwm_, p),
                        this->Read(shape_, p), this->Read(octaveStep_, p), this->Read(sync_, p)},
                       cables_, outputs_[p]);
      const typename Kernel::Outputs& out = outputs_[p];
      this->Write(saw_, p, out.saw);
      this->Write(triangle_, p, out.triangle);
      this->Write(round_, p, out.round);
      this->Write(pulse_, p, out.pulse);
    }
  }

  void Store() override {
    this->StoreKernels(kernels_, KernelOf);
    for (int i = 0; i < this->Count(); ++i) {
      S310VCO& voice = this->Voice(i);
      const int pack = i / Base::kLanes, lane = i % Base::kLanes;
      if (cables_.saw) kernels_[pack].sawBlep.StoreLane(lane, voice.kernel_.sawBlep);
      if (IsPulseHeard()) kernels_[pack].pulseBlep.StoreLane(lane, voice.kernel_.pulseBlep);
      const typename Kernel::Outputs& out = outputs_[pack];
      voice.outputs_ = {dsp::Lane(out.saw, lane), dsp::Lane(out.triangle, lane),
                        dsp::Lane(out.round, lane), dsp::Lane(out.pulse, lane)};
    }
    this->StoreKnobs(knobs_, kKnobs);
    this->StoreKnob(octave_, OctaveOf);
  }
  void ShowLamps() override {}

 private:
  static constexpr typename Base::template KnobList<4> kKnobs = {
      &S310VCO::fineTune_, &S310VCO::fmAmount_, &S310VCO::pulseWidth_, &S310VCO::shape_};

  static Knob& OctaveOf(S310VCO& voice) { return voice.octave_; }
  bool IsPulseHeard() const { return cables_.pulse || cables_.triangle || cables_.round; }

  void LoadRings(int stride) {
    for (int p = 0; p < this->Packs(); ++p) {
      Kernel& kernel = kernels_[p];
      if (kernel.sawBlep.Stride() != stride) kernel.SetStride(stride);
      for (int lane = 0; lane < Base::kLanes; ++lane) {
        const auto& voice = this->Voice(p * Base::kLanes + lane).kernel_;
        if (cables_.saw) kernel.sawBlep.LoadLane(lane, voice.sawBlep);
        if (IsPulseHeard()) kernel.pulseBlep.LoadLane(lane, voice.pulseBlep);
      }
    }
  }

  void LoadOutputs() {
    for (int i = 0; i < this->Packs() * Base::kLanes; ++i) {
      const auto& voice = this->Voice(i).outputs_;
      typename Kernel::Outputs& out = outputs_[i / Base::kLanes];
      const int lane = i % Base::kLanes;
      dsp::Lane(out.saw, lane) = voice.saw;
      dsp::Lane(out.triangle, lane) = voice.triangle;
      dsp::Lane(out.round, lane) = voice.round;
      dsp::Lane(out.pulse, lane) = voice.pulse;
    }
  }

  /// So low that lanes without a voice never jump: a jump costs as much as a heard one.
  static constexpr float kBelowAll = -100.0f;

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  KnobRow<Unit> octave_;
  typename Base::template PerPack<Kernel> kernels_;
  typename Base::template PerPack<typename Kernel::Outputs> outputs_;
  typename Kernel::Cables cables_;
  const float *pitch_, *fm_, *pwm_, *shape_, *octaveStep_, *sync_;
  float *saw_, *triangle_, *round_, *pulse_;
};

}  // namespace halveron
