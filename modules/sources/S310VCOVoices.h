// S310 VCO with a voice in each lane.
#pragma once

#include "framework/lane_choice.h"
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
    const bool isModulated = voice.kernel_.syncModulationOn && voice.cables_.sync;
    return std::tuple(voice.cables_.pwm, isModulated, voice.kernel_.sawBlep.Stride());
  }
  static auto& KernelOf(S310VCO& voice) { return voice.kernel_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike) || !this->LoadKernels(kernels_, KernelOf)) return false;
    LoadCables();
    LoadRings(this->Voice(0).kernel_.sawBlep.Stride());
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
                       cables_[p], outputs_[p]);
      const typename Kernel::Outputs& out = outputs_[p];
      sawLanes_.Write(saw_, p, out.saw);
      triangleLanes_.Write(triangle_, p, out.triangle);
      roundLanes_.Write(round_, p, out.round);
      pulseLanes_.Write(pulse_, p, out.pulse);
    }
  }

  void Store() override {
    const auto store = [this](auto&& partOf, auto&& needs) {
      this->StoreParts(kernels_, KernelOf, partOf,
                       [&](const S310VCO& voice) { return needs(voice.cables_); });
    };
    store([](auto& kernel) { return kernel.CommonState(kernel); },
          [](const auto&) { return true; });
    store([](auto& kernel) { return kernel.SawState(kernel); }, NeedsSaw);
    store([](auto& kernel) { return kernel.PulseState(kernel); }, NeedsPulse);
    store([](auto& kernel) { return kernel.TriangleState(kernel); }, NeedsTriangle);
    store([](auto& kernel) { return kernel.RoundState(kernel); }, NeedsRound);
    for (int i = 0; i < this->Count(); ++i) StoreWaves(i);
    this->StoreKnobs(knobs_, kKnobs);
    this->StoreKnob(octave_, OctaveOf);
  }
  void ShowLamps() override {}

 private:
  static constexpr typename Base::template KnobList<4> kKnobs = {
      &S310VCO::fineTune_, &S310VCO::fmAmount_, &S310VCO::pulseWidth_, &S310VCO::shape_};

  using VoiceCables = S310VCOKernel<>::Cables;

  static Knob& OctaveOf(S310VCO& voice) { return voice.octave_; }
  static bool NeedsSaw(const VoiceCables& cables) { return cables.saw; }
  static bool NeedsPulse(const VoiceCables& cables) { return cables.NeedsPulse(); }
  static bool NeedsTriangle(const VoiceCables& cables) { return cables.NeedsTriangle(); }
  static bool NeedsRound(const VoiceCables& cables) { return cables.round; }

  /// A pack makes the waves that one of its voices needs.
  void LoadCables() {
    const auto choose = [this](LaneChoice<Unit>& lanes, auto&& needs) {
      lanes.Load(this->Packs(), [&](int i) { return needs(this->Voice(i).cables_); });
    };
    choose(sawLanes_, NeedsSaw);
    choose(pulseLanes_, NeedsPulse);
    choose(triangleLanes_, NeedsTriangle);
    choose(roundLanes_, NeedsRound);
    const VoiceCables& first = this->Voice(0).cables_;
    for (int p = 0; p < this->Packs(); ++p) {
      cables_[p] = {first.pwm,
                    first.sync,
                    sawLanes_.HasAny(p),
                    triangleLanes_.HasAny(p),
                    roundLanes_.HasAny(p),
                    pulseLanes_.HasAny(p)};
      for (int lane = 0; lane < Base::kLanes; ++lane) {
        const VoiceCables& cables = this->Voice(p * Base::kLanes + lane).cables_;
        if (!cables.saw) dsp::Lane(kernels_[p].sawPhase, lane) = kNeverJumps;
        if (!cables.NeedsPulse()) dsp::Lane(kernels_[p].pulsePhase, lane) = kNeverJumps;
      }
    }
  }

  void LoadRings(int stride) {
    for (int p = 0; p < this->Packs(); ++p) {
      Kernel& kernel = kernels_[p];
      if (kernel.sawBlep.Stride() != stride) kernel.SetStride(stride);
      for (int lane = 0; lane < Base::kLanes; ++lane) {
        const S310VCO& voice = this->Voice(p * Base::kLanes + lane);
        if (voice.cables_.saw) kernel.sawBlep.LoadLane(lane, voice.kernel_.sawBlep);
        if (voice.cables_.NeedsPulse()) kernel.pulseBlep.LoadLane(lane, voice.kernel_.pulseBlep);
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

  void StoreWaves(int i) {
    S310VCO& voice = this->Voice(i);
    const int pack = i / Base::kLanes, lane = i % Base::kLanes;
    const Kernel& kernel = kernels_[pack];
    const typename Kernel::Outputs& out = outputs_[pack];
    if (voice.cables_.saw) {
      kernel.sawBlep.StoreLane(lane, voice.kernel_.sawBlep);
      voice.outputs_.saw = dsp::Lane(out.saw, lane);
    }
    if (voice.cables_.NeedsPulse()) {
      kernel.pulseBlep.StoreLane(lane, voice.kernel_.pulseBlep);
      voice.outputs_.pulse = dsp::Lane(out.pulse, lane);
    }
    if (voice.cables_.NeedsTriangle()) voice.outputs_.triangle = dsp::Lane(out.triangle, lane);
    if (voice.cables_.round) voice.outputs_.round = dsp::Lane(out.round, lane);
  }

  /// So low that lanes without a voice never jump: a jump costs as much as a heard one.
  static constexpr float kBelowAll = -100.0f;
  /// The phase of a wave in lanes that do not need it, for the same reason.
  static constexpr float kNeverJumps = -1e9f;

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  KnobRow<Unit> octave_;
  typename Base::template PerPack<Kernel> kernels_;
  typename Base::template PerPack<typename Kernel::Outputs> outputs_;
  std::array<typename Kernel::Cables, Base::kPacks> cables_;
  LaneChoice<Unit> sawLanes_, triangleLanes_, roundLanes_, pulseLanes_;
  const float *pitch_, *fm_, *pwm_, *shape_, *octaveStep_, *sync_;
  float *saw_, *triangle_, *round_, *pulse_;
};

}  // namespace halveron
