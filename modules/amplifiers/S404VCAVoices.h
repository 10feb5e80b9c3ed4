// S404 VCA with a voice in each lane.
#pragma once

#include "framework/clip_lamp_row.h"
#include "framework/voice_lanes.h"
#include "modules/amplifiers/S404VCA.h"

namespace halveron {

template <class Unit>
class S404VCAVoices final : public VoiceLanes<S404VCA, Unit> {
  using Base = VoiceLanes<S404VCA, Unit>;
  using Kernel = S404VCAKernel<typename Base::Lanes>;
  using typename Base::Float;

 public:
  explicit S404VCAVoices(std::span<Module* const> voices) : Base(voices) {
    const S404VCA& first = this->Voice(0);
    in1_ = this->RowOf(first.in1_);
    in2_ = this->RowOf(first.in2_);
    cv_ = this->RowOf(first.cv_);
    crossfade_ = this->RowOf(first.crossfade_);
    mix_ = this->RowOf(first.mix_);
    out1_ = this->RowOf(first.out1_);
    out2_ = this->RowOf(first.out2_);
  }

  static auto Alike(const S404VCA& voice) { return std::tuple(voice.law_, voice.clipLevel); }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike)) return false;
    law_ = this->Voice(0).law_;
    clip_.Load(this->Count(), this->Voice(0).clipLevel,
               [this](int i) -> ClipLamp& { return this->Voice(i).clip_; });
    this->LoadKnobs(knobs_, kKnobs);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    this->Smooth(knobs_);
    clip_.Tick();
    const auto& [level1, level2, cvAmount, baseGain] = knobs_;
    for (int p = 0; p < this->Packs(); ++p) {
      const Float gain = Kernel::Gain(law_, baseGain.smoothed[p], cvAmount.smoothed[p],
                                      dsp::ToDouble(this->Read(cv_, p)));
      const auto isOpen = gain > 0.0f;
      Float mix = 0.0f, out1 = 0.0f, out2 = 0.0f;
      if (dsp::Any(isOpen)) {
        out1 =
            clip_.Limit(p, isOpen, Kernel::Amplify(this->Read(in1_, p), level1.smoothed[p], gain));
        out2 =
            clip_.Limit(p, isOpen, Kernel::Amplify(this->Read(in2_, p), level2.smoothed[p], gain));
        mix = dsp::Select(isOpen, Kernel::Mix(out1, out2, this->Read(crossfade_, p)), 0.0f);
      }
      this->Write(out1_, p, out1);
      this->Write(out2_, p, out2);
      this->Write(mix_, p, mix);
    }
  }

  void Store() override { this->StoreKnobs(knobs_, kKnobs); }
  void ShowLamps() override {}

 private:
  static constexpr typename Base::template KnobList<4> kKnobs = {
      &S404VCA::level1_, &S404VCA::level2_, &S404VCA::cvAmount_, &S404VCA::baseGain_};

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  int law_ = 0;
  ClipLampRow<Unit> clip_;
  const float *in1_, *in2_, *cv_, *crossfade_;
  float *mix_, *out1_, *out2_;
};

}  // namespace halveron
