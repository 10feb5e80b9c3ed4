// S321 FM/PM VCO with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/sources/S321FMPMVCO.h"

namespace halveron {

template <class Unit>
class S321FMPMVCOVoices final : public VoiceLanes<S321FMPMVCO, Unit> {
  using Base = VoiceLanes<S321FMPMVCO, Unit>;
  using Kernel = S321FMPMVCOKernel<typename Base::Lanes>;

 public:
  explicit S321FMPMVCOVoices(std::span<Module* const> voices) : Base(voices) {
    const S321FMPMVCO& first = this->Voice(0);
    pitch_ = this->RowOf(first.pitch_);
    linearFm_ = this->RowOf(first.linearFm_);
    exponentialFm_ = this->RowOf(first.exponentialFm_);
    pm_ = this->RowOf(first.pm_);
    feedbackCv_ = this->RowOf(first.feedbackCv_);
    sync_ = this->RowOf(first.sync_);
    sine_ = this->RowOf(first.sine_);
    triangle_ = this->RowOf(first.triangle_);
    saw_ = this->RowOf(first.saw_);
    pulse_ = this->RowOf(first.pulse_);
    for (Kernel& kernel : kernels_) kernel.ForgetSteps();
  }

  static auto Alike(const S321FMPMVCO& voice) {
    const auto& c = voice.cables_;
    return std::tuple(c.sync, c.sine, c.triangle, c.saw, c.pulse);
  }
  static auto& KernelOf(S321FMPMVCO& voice) { return voice.kernel_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike) || !this->LoadKernels(kernels_, KernelOf)) return false;
    const auto& first = this->Voice(0).cables_;
    cables_ = {first.sync, first.sine, first.triangle, first.saw, first.pulse};
    for (int i = 0; i < this->Packs() * Base::kLanes; ++i) {
      const int pack = i / Base::kLanes, lane = i % Base::kLanes;
      Kernel& kernel = kernels_[pack];
      const auto& voice = this->Voice(i).kernel_;
      ForEachRing(kernel, voice,
                  [lane](auto& ring, const auto& single) { ring.LoadLane(lane, single); });
      MoveOutputs(outputs_[pack], this->Voice(i).outputs_,
                  [lane](auto& row, const float& single) { dsp::Lane(row, lane) = single; });
    }
    this->LoadKnobs(knobs_, kKnobs);
    this->LoadKnob(octave_, OctaveOf, true);
    this->HoldIdleLanes(octave_, kBelowAll);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    this->Smooth(knobs_);
    octave_.Smooth(this->Packs());
    const auto& [fineTune, linear, exponential, pm, feedback] = knobs_;
    for (int p = 0; p < this->Packs(); ++p) {
      typename Kernel::Outputs& out = outputs_[p];
      kernels_[p].Step(
          {octave_.smoothed[p], fineTune.smoothed[p], linear.smoothed[p], exponential.smoothed[p],
           pm.smoothed[p], feedback.smoothed[p]},
          {this->Read(pitch_, p), this->Read(linearFm_, p), this->Read(exponentialFm_, p),
           this->Read(pm_, p), this->Read(feedbackCv_, p), this->Read(sync_, p)},
          cables_, out);
      this->Write(sine_, p, out.sine);
      this->Write(triangle_, p, out.triangle);
      this->Write(saw_, p, out.saw);
      this->Write(pulse_, p, out.pulse);
    }
  }

  void Store() override {
    this->StoreKernels(kernels_, KernelOf);
    for (int i = 0; i < this->Count(); ++i) {
      const int pack = i / Base::kLanes, lane = i % Base::kLanes;
      S321FMPMVCO& voice = this->Voice(i);
      ForEachRing(kernels_[pack], voice.kernel_,
                  [lane](const auto& ring, auto& single) { ring.StoreLane(lane, single); });
      MoveOutputs(outputs_[pack], voice.outputs_,
                  [lane](const auto& row, float& single) { single = dsp::Lane(row, lane); });
    }
    this->StoreKnobs(knobs_, kKnobs);
    this->StoreKnob(octave_, OctaveOf);
  }
  void ShowLamps() override {}

 private:
  static constexpr typename Base::template KnobList<5> kKnobs = {
      &S321FMPMVCO::fineTune_, &S321FMPMVCO::linearAmount_, &S321FMPMVCO::exponentialAmount_,
      &S321FMPMVCO::pmAmount_, &S321FMPMVCO::feedback_};

  static Knob& OctaveOf(S321FMPMVCO& voice) { return voice.octave_; }
  /// The rings in which steps may be under way.
  template <class Packs, class Single, class F>
  void ForEachRing(Packs& packs, Single& single, F&& f) const {
    if (cables_.sync && cables_.sine) f(packs.sineBlep, single.sineBlep);
    if (cables_.sync && cables_.triangle) f(packs.triangleBlep, single.triangleBlep);
    if (cables_.saw) f(packs.sawBlep, single.sawBlep);
    if (cables_.pulse) f(packs.pulseBlep, single.pulseBlep);
  }
  template <class Packs, class Single, class F>
  static void MoveOutputs(Packs& packs, Single& single, F&& f) {
    f(packs.sine, single.sine);
    f(packs.triangle, single.triangle);
    f(packs.saw, single.saw);
    f(packs.pulse, single.pulse);
  }

  /// So low that lanes without a voice never jump: a jump costs as much as a heard one.
  static constexpr float kBelowAll = -100.0f;

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  KnobRow<Unit> octave_;
  typename Base::template PerPack<Kernel> kernels_;
  typename Base::template PerPack<typename Kernel::Outputs> outputs_;
  typename Kernel::Cables cables_;
  const float *pitch_, *linearFm_, *exponentialFm_, *pm_, *feedbackCv_, *sync_;
  float *sine_, *triangle_, *saw_, *pulse_;
};

}  // namespace halveron
