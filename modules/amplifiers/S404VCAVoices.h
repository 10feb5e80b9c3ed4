// S404 VCA with a voice in each lane.
#pragma once

#include "dsp/shaping.h"
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

  bool Load() override {
    const auto choices = [](const S404VCA& voice) {
      return std::tuple(voice.law_, voice.clipLevel);
    };
    if (!this->AreAlike(choices)) return false;
    std::tie(law_, clipLevel_) = choices(this->Voice(0));
    this->LoadKnobs(knobs_, kKnobs);
    isAnyLampLit_ = true;
    return true;
  }

  [[gnu::flatten]] void Run() override {
    this->Smooth(knobs_);
    TickLamps();
    const auto& [level1, level2, cvAmount, baseGain] = knobs_;
    for (int p = 0; p < this->Packs(); ++p) {
      const Float gain = Kernel::Gain(law_, baseGain.smoothed[p], cvAmount.smoothed[p],
                                      dsp::ToDouble(this->Read(cv_, p)));
      const auto isOpen = gain > 0.0f;
      Float mix = 0.0f, out1 = 0.0f, out2 = 0.0f;
      if (dsp::Any(isOpen)) {
        out1 = Limit(p, isOpen, Kernel::Amplify(this->Read(in1_, p), level1.smoothed[p], gain));
        out2 = Limit(p, isOpen, Kernel::Amplify(this->Read(in2_, p), level2.smoothed[p], gain));
        mix = dsp::Select(isOpen, Kernel::Mix(out1, out2, this->Read(crossfade_, p)), 0.0f);
      }
      this->Write(out1_, p, out1);
      this->Write(out2_, p, out2);
      this->Write(mix_, p, mix);
    }
  }

  void Store() override { this->StoreKnobs(knobs_, kKnobs); }

 private:
  static constexpr typename Base::template KnobList<4> kKnobs = {
      &S404VCA::level1_, &S404VCA::level2_, &S404VCA::cvAmount_, &S404VCA::baseGain_};

  void TickLamps() {
    if (!isAnyLampLit_) return;
    isAnyLampLit_ = false;
    for (int i = 0; i < this->Count(); ++i) {
      this->Voice(i).clip_.Tick();
      isAnyLampLit_ |= this->Voice(i).clip_.IsHeld();
    }
  }

  /// A channel within the clip level; 0 where the amplifier is shut.
  template <class Mask>
  Float Limit(int pack, Mask isOpen, const Float& x) {
    const Float level = clipLevel_;
    const auto isOver = dsp::And(isOpen, dsp::Or(x > level, x < -level));
    if (!dsp::Any(isOver)) return dsp::Select(isOpen, x, 0.0f);
    dsp::ForEachLane(isOver, [&](int lane) {
      if (!this->HasVoice(pack, lane)) return;
      this->Voice(pack * Base::kLanes + lane).clip_.Light();
      isAnyLampLit_ = true;
    });
    return dsp::Select(isOpen, dsp::LimitSymmetric(x, level), 0.0f);
  }

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  int law_ = 0;
  float clipLevel_ = 0.0f;
  bool isAnyLampLit_ = false;
  const float *in1_, *in2_, *cv_, *crossfade_;
  float *mix_, *out1_, *out2_;
};

}  // namespace halveron
