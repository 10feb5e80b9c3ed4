// S516 R-S&H with a voice in each lane.
#pragma once

#include <algorithm>

#include "framework/voice_lanes.h"
#include "modules/modulators/S516RSH.h"

namespace halveron {

template <class Unit>
class S516RSHVoices final : public VoiceLanes<S516RSH, Unit> {
  using Base = VoiceLanes<S516RSH, Unit>;
  using Kernel = S516RSHKernel<typename Base::Lanes>;
  using typename Base::Double;

 public:
  explicit S516RSHVoices(std::span<Module* const> voices) : Base(voices) {
    const S516RSH& first = this->Voice(0);
    clock_ = this->RowOf(first.clock_);
    rateCv_ = this->RowOf(first.rateCv_);
    signal_ = this->RowOf(first.signal_);
    smooth_ = this->RowOf(first.smooth_);
    trinary_ = this->RowOf(first.trinary_);
    sampled_ = this->RowOf(first.sampled_);
    highest_ = this->RowOf(first.highest_);
    lowest_ = this->RowOf(first.lowest_);
    for (int p = 0; p < this->Packs(); ++p) {
      kernels_[p].voices = std::min(this->Count() - p * Base::kLanes, Base::kLanes);
    }
  }

  static auto Alike(const S516RSH& voice) { return voice.clocked_; }
  static auto& KernelOf(S516RSH& voice) { return voice.kernel_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike) || !this->LoadKernels(kernels_, KernelOf)) return false;
    clocked_ = Alike(this->Voice(0));
    this->LoadKnobs(knobs_, kKnobs);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    if (!clocked_) this->Smooth(knobs_);
    const auto& [rate, rateAmount] = knobs_;
    for (int p = 0; p < this->Packs(); ++p) {
      Kernel& kernel = kernels_[p];
      if (clocked_) {
        samples_[p] |=
            dsp::LaneBits(kernel.StepClocked(this->Read(clock_, p), this->Read(signal_, p)));
      } else {
        const Double sum =
            dsp::ToDouble(this->Read(rateCv_, p)) * rateAmount.smoothed[p] + rate.smoothed[p];
        samples_[p] |= dsp::LaneBits(kernel.StepFree(sum, this->Read(signal_, p)));
      }
      this->Write(smooth_, p, kernel.smooth);
      this->Write(trinary_, p, kernel.trinary);
      this->Write(sampled_, p, kernel.sampled);
      this->Write(highest_, p, kernel.highest);
      this->Write(lowest_, p, kernel.lowest);
    }
  }

  void Store() override {
    this->StoreKernels(kernels_, KernelOf);
    this->StoreKnobs(knobs_, kKnobs);
  }

  /// Lamps are seen no faster than blocks go by.
  void ShowLamps() override {
    for (int i = 0; i < this->Count(); ++i) {
      if ((samples_[i / Base::kLanes] >> i % Base::kLanes & 1u) == 0) continue;
      S516RSH& voice = this->Voice(i);
      voice.kernel_.sampled = dsp::Lane(kernels_[i / Base::kLanes].sampled, i % Base::kLanes);
      voice.ShowSample();
    }
    samples_ = {};
  }

 private:
  static constexpr typename Base::template KnobList<2> kKnobs = {&S516RSH::rate_,
                                                                 &S516RSH::rateAmount_};

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  typename Base::template PerPack<Kernel> kernels_;
  typename Base::template PerPack<unsigned> samples_{};  // lanes that have taken one in this block
  bool clocked_ = false;
  const float *clock_, *rateCv_, *signal_;
  float *smooth_, *trinary_, *sampled_, *highest_, *lowest_;
};

}  // namespace halveron
