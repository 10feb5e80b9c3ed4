// S921 Quad Mixing Polarizer with an instance in each lane.
#pragma once

#include <array>
#include <tuple>

#include "framework/voice_lanes.h"
#include "modules/cv/S921QuadMixingPolarizer.h"

namespace halveron {

template <class Unit>
class S921QuadMixingPolarizerVoices final : public VoiceLanes<S921QuadMixingPolarizer, Unit> {
  using Base = VoiceLanes<S921QuadMixingPolarizer, Unit>;
  using typename Base::Double;
  using typename Base::Float;

 public:
  explicit S921QuadMixingPolarizerVoices(std::span<Module* const> voices) : Base(voices) {
    const S921QuadMixingPolarizer& first = this->Voice(0);
    for (std::size_t i = 0; i < kSignals; ++i) {
      ins_[i] = this->RowOf(first.ins_[i]);
      outs_[i] = this->RowOf(first.outs_[i]);
      sums_[i] = this->RowOf(first.sums_[i]);
    }
    mix1_ = this->RowOf(first.mix1_);
    mix2_ = this->RowOf(first.mix2_);
    mixAll_ = this->RowOf(first.mixAll_);
    sumAll_ = this->RowOf(first.sumAll_);
  }

  static auto Alike(const S921QuadMixingPolarizer& voice) {
    return std::tuple(voice.areSeparate_[0], voice.areSeparate_[1], voice.mixes_);
  }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike)) return false;
    std::tie(areSeparate_[0], areSeparate_[1], mixes_) = Alike(this->Voice(0));
    for (std::size_t i = 0; i < kSignals; ++i) this->LoadKnob(levels_[i], LevelOf(i));
    return true;
  }

  [[gnu::flatten]] void Run() override {
    this->Smooth(levels_);
    for (int p = 0; p < this->Packs(); ++p) {
      RunPair(0, p);
      RunPair(2, p);
      if (!mixes_) continue;
      const Float mix1 = this->Read(outs_[0], p) + this->Read(outs_[1], p);
      const Float mix2 = this->Read(outs_[2], p) + this->Read(outs_[3], p);
      this->Write(mix1_, p, mix1);
      this->Write(mix2_, p, mix2);
      this->Write(mixAll_, p, mix1 + mix2);
      this->Write(sumAll_, p,
                  this->Read(sums_[0], p) + this->Read(sums_[1], p) + this->Read(sums_[2], p) +
                      this->Read(sums_[3], p));
    }
  }

  void Store() override {
    for (std::size_t i = 0; i < kSignals; ++i) this->StoreKnob(levels_[i], LevelOf(i));
  }
  void ShowLamps() override {}

 private:
  static constexpr std::size_t kSignals = S921QuadMixingPolarizer::kLanes;

  static auto LevelOf(std::size_t i) {
    return [i](S921QuadMixingPolarizer& voice) -> Knob& { return voice.levels_[i]; };
  }

  void RunPair(std::size_t first, int p) {
    const std::size_t second = first + 1;
    const Double p1 = levels_[first].smoothed[p] * 2.0 - 1.0;
    const Double p2 = levels_[second].smoothed[p] * 2.0 - 1.0;
    Double out2 = p2 * dsp::ToDouble(this->Read(ins_[second], p));
    if (areSeparate_[first / 2]) {
      const Double out1 = p1 * dsp::ToDouble(this->Read(ins_[first], p));
      this->Write(outs_[first], p, dsp::ToFloat(out1));
      this->Write(sums_[first], p, dsp::ToFloat(p1 + out1));
    } else {
      out2 = p1 + out2;
    }
    this->Write(outs_[second], p, dsp::ToFloat(out2));
    this->Write(sums_[second], p, dsp::ToFloat(p2 + out2));
  }

  std::array<KnobRow<Unit>, kSignals> levels_;
  std::array<bool, kSignals / 2> areSeparate_{};
  bool mixes_ = false;
  std::array<const float*, kSignals> ins_;
  std::array<float*, kSignals> outs_, sums_;
  float *mix1_, *mix2_, *mixAll_, *sumAll_;
};

}  // namespace halveron
