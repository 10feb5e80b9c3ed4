// S606 VC Ring Modulator with a voice in each lane.
#pragma once

#include <utility>

#include "framework/clip_lamp_row.h"
#include "framework/voice_lanes.h"
#include "modules/effects/S606VCRingMod.h"

namespace halveron {

template <class Unit>
class S606VCRingModVoices final : public VoiceLanes<S606VCRingMod, Unit> {
  using Base = VoiceLanes<S606VCRingMod, Unit>;
  using typename Base::Float;

 public:
  explicit S606VCRingModVoices(std::span<Module* const> voices) : Base(voices) {
    const S606VCRingMod& first = this->Voice(0);
    x_ = this->RowOf(first.x_);
    xCv_ = this->RowOf(first.xCv_);
    y_ = this->RowOf(first.y_);
    yCv_ = this->RowOf(first.yCv_);
    product_ = this->RowOf(first.product_);
    productAndX_ = this->RowOf(first.productAndX_);
  }

  static auto Alike(const S606VCRingMod& voice) {
    return std::pair(voice.clipLevel, voice.productAndX_.IsCabled());
  }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike)) return false;
    hasSum_ = this->Voice(0).productAndX_.IsCabled();
    clip_.Load(this->Count(), this->Voice(0).clipLevel,
               [&](int i) -> ClipLamp& { return this->Voice(i).clip_; });
    this->LoadKnobs(knobs_, kKnobs);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    this->Smooth(knobs_);
    clip_.Tick();
    const auto& [amountX, amountXCv, amountY, amountYCv] = knobs_;
    for (int p = 0; p < this->Packs(); ++p) {
      const Float x = this->Read(x_, p);
      const Float a = dsp::ToFloat(dsp::ToDouble(this->Read(xCv_, p)) * amountXCv.smoothed[p] +
                                   amountX.smoothed[p]);
      const Float b = dsp::ToFloat(dsp::ToDouble(this->Read(yCv_, p)) * amountYCv.smoothed[p] +
                                   amountY.smoothed[p]);
      const Float out = S606VCRingMod::Product(x, this->Read(y_, p), a, b);
      this->Write(product_, p, clip_.Limit(p, out));
      if (hasSum_) this->Write(productAndX_, p, clip_.Limit(p, out + x));
    }
  }

  void Store() override { this->StoreKnobs(knobs_, kKnobs); }
  void ShowLamps() override {}

 private:
  static constexpr typename Base::template KnobList<4> kKnobs = {
      &S606VCRingMod::amountX_, &S606VCRingMod::amountXCv_, &S606VCRingMod::amountY_,
      &S606VCRingMod::amountYCv_};

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  ClipLampRow<Unit> clip_;
  bool hasSum_ = false;
  const float *x_, *xCv_, *y_, *yCv_;
  float *product_, *productAndX_;
};

}  // namespace halveron
