// S500 ADSR with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/modulators/S500ADSR.h"

namespace halveron {

template <class Unit>
class S500ADSRVoices final : public VoiceLanes<S500ADSR, Unit> {
  using Base = VoiceLanes<S500ADSR, Unit>;
  using Kernel = S500ADSRKernel<typename Base::Lanes>;
  using typename Base::Double;
  using typename Base::Float;

 public:
  explicit S500ADSRVoices(std::span<Module* const> voices) : Base(voices) {
    const S500ADSR& first = this->Voice(0);
    timeCv_ = this->RowOf(first.timeCv_);
    gate_ = this->RowOf(first.gate_);
    retrigger_ = this->RowOf(first.retrigger_);
    sustainFlag_ = this->RowOf(first.sustainFlag_);
    envelope_ = this->RowOf(first.envelope_);
  }

  static auto& KernelOf(S500ADSR& voice) { return voice.kernel_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->LoadKernels(kernels_, KernelOf)) return false;
    this->LoadKnobs(knobs_, kKnobs);
    TakeCourses();
    anyPressed_ = false;
    for (int i = 0; i < this->Packs() * Base::kLanes; ++i) {
      const bool isPressed = this->Voice(i).IsGatePressed();
      dsp::Lane(pressed_[i / Base::kLanes], i % Base::kLanes) = isPressed ? 1.0f : 0.0f;
      anyPressed_ |= isPressed;
    }
    return true;
  }

  [[gnu::flatten]] void Run() override {
    if (this->Smooth(knobs_)) TakeCourses();
    const auto& timeAmount = knobs_[0];
    for (int p = 0; p < this->Packs(); ++p) {
      Kernel& kernel = kernels_[p];
      const Double speed = dsp::ToDouble(this->Read(timeCv_, p)) * timeAmount.smoothed[p] + 1.0;
      Float gate = this->Read(gate_, p);
      if (anyPressed_) gate = dsp::Select(pressed_[p] > 0.0f, S500ADSR::kPressedGate, gate);
      kernel.StepAlong(courses_[p], speed, gate, this->Read(retrigger_, p));
      this->Write(sustainFlag_, p, kernel.sustainFlag);
      this->Write(envelope_, p, kernel.envelope);
    }
  }

  void Store() override {
    this->StoreKernels(kernels_, KernelOf);
    this->StoreKnobs(knobs_, kKnobs);
  }
  void ShowLamps() override {}

 private:
  void TakeCourses() {
    const auto& [timeAmount, attack, decay, sustain, release] = knobs_;
    for (int p = 0; p < this->Packs(); ++p) {
      courses_[p] = kernels_[p].CourseOf(
          {attack.smoothed[p], decay.smoothed[p], sustain.smoothed[p], release.smoothed[p]});
    }
  }

  static constexpr typename Base::template KnobList<5> kKnobs = {
      &S500ADSR::timeAmount_, &S500ADSR::attack_, &S500ADSR::decay_, &S500ADSR::sustain_,
      &S500ADSR::release_};

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  typename Base::template PerPack<Kernel> kernels_;
  typename Base::template PerPack<typename Kernel::Course> courses_;
  typename Base::template PerPack<Float> pressed_;
  bool anyPressed_ = false;
  const float *timeCv_, *gate_, *retrigger_;
  float *sustainFlag_, *envelope_;
};

}  // namespace halveron
