// S905 Slew Limiter with an instance in each lane.
#pragma once

#include "dsp/slew.h"
#include "framework/voice_lanes.h"
#include "modules/cv/S905SlewLim.h"

namespace halveron {

template <class Unit>
class S905SlewLimVoices final : public VoiceLanes<S905SlewLim, Unit> {
  using Base = VoiceLanes<S905SlewLim, Unit>;
  using typename Base::Double;
  using typename Base::Float;

 public:
  explicit S905SlewLimVoices(std::span<Module* const> voices) : Base(voices) {
    const S905SlewLim& first = this->Voice(0);
    in1_ = this->RowOf(first.in1_);
    in2_ = this->RowOf(first.in2_);
    out1_ = this->RowOf(first.out1_);
    out2_ = this->RowOf(first.out2_);
  }

  static auto Alike(const S905SlewLim& voice) { return voice.linear_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike)) return false;
    linear_ = Alike(this->Voice(0));
    for (int i = 0; i < this->Packs() * Base::kLanes; ++i) {
      const S905SlewLim& voice = this->Voice(i);
      const int pack = i / Base::kLanes, lane = i % Base::kLanes;
      dsp::Lane(speed_[pack], lane) = linear_ ? voice.step_ : voice.samples_;
      dsp::Lane(level1_[pack], lane) = voice.level1_;
      dsp::Lane(level2_[pack], lane) = voice.level2_;
    }
    return true;
  }

  [[gnu::flatten]] void Run() override {
    for (int p = 0; p < this->Packs(); ++p) {
      this->Write(out1_, p, Follow(level1_[p], this->Read(in1_, p), speed_[p]));
      this->Write(out2_, p, Follow(level2_[p], this->Read(in2_, p), speed_[p]));
    }
  }

  void Store() override {
    for (int i = 0; i < this->Count(); ++i) {
      const int pack = i / Base::kLanes, lane = i % Base::kLanes;
      this->Voice(i).level1_ = dsp::Lane(level1_[pack], lane);
      this->Voice(i).level2_ = dsp::Lane(level2_[pack], lane);
    }
  }
  void ShowLamps() override {}

 private:
  Float Follow(Double& level, const Float& in, const Double& speed) const {
    const Double x = dsp::ToDouble(in);
    const Double next =
        linear_ ? dsp::SlewLinear(level, x, speed) : dsp::SlewExponential(level, x, speed);
    level = dsp::Select(dsp::IsFinite(level), next, x);
    return dsp::ToFloat(level);
  }

  typename Base::template PerPack<Double> speed_, level1_, level2_;
  bool linear_ = false;
  const float *in1_, *in2_;
  float *out1_, *out2_;
};

}  // namespace halveron
