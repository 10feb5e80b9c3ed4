// S116 VC Cross Fader with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/mixers/S116VCCrossFader.h"

namespace halveron {

template <class Unit>
class S116VCCrossFaderVoices final : public VoiceLanes<S116VCCrossFader, Unit> {
  using Base = VoiceLanes<S116VCCrossFader, Unit>;
  using typename Base::Float;

 public:
  explicit S116VCCrossFaderVoices(std::span<Module* const> voices) : Base(voices) {
    const S116VCCrossFader& first = this->Voice(0);
    inA_ = this->RowOf(first.inA_);
    inB_ = this->RowOf(first.inB_);
    inC_ = this->RowOf(first.inC_);
    cv_ = this->RowOf(first.cv_);
    threeWay_ = this->RowOf(first.threeWay_);
    twoWay_ = this->RowOf(first.twoWay_);
  }

  bool Stays() const override { return true; }
  bool Load() override {
    this->LoadKnobs(knobs_, kKnobs);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    this->Smooth(knobs_);
    const auto& [position, amount] = knobs_;
    for (int p = 0; p < this->Packs(); ++p) {
      const Float x = dsp::LimitUnit(dsp::ToFloat(
          dsp::ToDouble(this->Read(cv_, p)) * amount.smoothed[p] + position.smoothed[p]));
      const Float a = this->Read(inA_, p), c = this->Read(inC_, p);
      this->Write(twoWay_, p, S116VCCrossFader::TwoWay(a, c, x));
      this->Write(threeWay_, p, S116VCCrossFader::ThreeWay(a, this->Read(inB_, p), c, x));
    }
  }

  void Store() override { this->StoreKnobs(knobs_, kKnobs); }
  void ShowLamps() override {}

 private:
  static constexpr typename Base::template KnobList<2> kKnobs = {&S116VCCrossFader::position_,
                                                                 &S116VCCrossFader::amount_};

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  const float *inA_, *inB_, *inC_, *cv_;
  float *threeWay_, *twoWay_;
};

}  // namespace halveron
