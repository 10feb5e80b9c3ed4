// S401 Multi db VCA/Attenuator with a voice in each lane.
#pragma once

#include "framework/clip_lamp_row.h"
#include "framework/voice_lanes.h"
#include "modules/amplifiers/S401VCAAtn.h"

namespace halveron {

template <class Unit>
class S401VCAAtnVoices final : public VoiceLanes<S401VCAAtn, Unit> {
  using Base = VoiceLanes<S401VCAAtn, Unit>;
  using typename Base::Float;

 public:
  explicit S401VCAAtnVoices(std::span<Module* const> voices) : Base(voices) {
    const S401VCAAtn& first = this->Voice(0);
    in1_ = this->RowOf(first.in1_);
    cv_ = this->RowOf(first.cv_);
    in2_ = this->RowOf(first.in2_);
    out1_ = this->RowOf(first.out1_);
    out2_ = this->RowOf(first.out2_);
  }

  static auto Alike(const S401VCAAtn& voice) { return voice.clipLevel; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike)) return false;
    const float level = this->Voice(0).clipLevel;
    clip1_.Load(
        this->Count(), level, [this](int i) -> auto& { return this->Voice(i).clip1_; });
    clip2_.Load(
        this->Count(), level, [this](int i) -> auto& { return this->Voice(i).clip2_; });
    for (int i = 0; i < this->Packs() * Base::kLanes; ++i) {
      dsp::Lane(gain_[i / Base::kLanes], i % Base::kLanes) = this->Voice(i).gain_;
    }
    return true;
  }

  [[gnu::flatten]] void Run() override {
    clip1_.Tick();
    clip2_.Tick();
    for (int p = 0; p < this->Packs(); ++p) {
      const Float cv = this->Read(cv_, p);
      const auto isOpen = cv > 0.0f;
      this->Write(out1_, p, clip1_.Limit(p, isOpen, this->Read(in1_, p) * gain_[p] * cv));
      this->Write(out2_, p, clip2_.Limit(p, isOpen, this->Read(in2_, p) * gain_[p] * cv));
    }
  }

  void Store() override {}
  void ShowLamps() override {}

 private:
  ClipLampRow<Unit> clip1_, clip2_;
  typename Base::template PerPack<Float> gain_;
  const float *in1_, *cv_, *in2_;
  float *out1_, *out2_;
};

}  // namespace halveron
