// S110 Dual VC Panner with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/mixers/S110DPan.h"

namespace halveron {

template <class Unit>
class S110DPanVoices final : public VoiceLanes<S110DPan, Unit> {
  using Base = VoiceLanes<S110DPan, Unit>;
  using typename Base::Float;

 public:
  explicit S110DPanVoices(std::span<Module* const> voices) : Base(voices) {
    const S110DPan& first = this->Voice(0);
    in1_ = this->RowOf(first.in1_);
    in2_ = this->RowOf(first.in2_);
    panCv1_ = this->RowOf(first.panCv1_);
    panCv2_ = this->RowOf(first.panCv2_);
    outA_ = this->RowOf(first.outA_);
    outB_ = this->RowOf(first.outB_);
  }

  bool Stays() const override { return true; }
  bool Load() override {
    this->LoadKnobs(knobs_, kKnobs);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    this->Smooth(knobs_);
    const auto& [pan1, pan2, amount1, amount2] = knobs_;
    for (int p = 0; p < this->Packs(); ++p) {
      a_[p] = dsp::ToFloat(dsp::ToDouble(this->Read(panCv1_, p)) * amount1.smoothed[p] +
                           pan1.smoothed[p]);
      b_[p] = dsp::ToFloat(dsp::ToDouble(this->Read(panCv2_, p)) * amount2.smoothed[p] +
                           pan2.smoothed[p]);
      const Float in1 = this->Read(in1_, p), in2 = this->Read(in2_, p);
      this->Write(outA_, p, S110DPan::OutA(in1, in2, a_[p], b_[p]));
      this->Write(outB_, p, S110DPan::OutB(in1, in2, a_[p], b_[p]));
    }
  }

  void Store() override { this->StoreKnobs(knobs_, kKnobs); }

  /// Lamps are seen no faster than blocks go by.
  void ShowLamps() override {
    for (int i = 0; i < this->Count(); ++i) {
      const int pack = i / Base::kLanes, lane = i % Base::kLanes;
      this->Voice(i).ShowGains(dsp::Lane(a_[pack], lane), dsp::Lane(b_[pack], lane));
    }
  }

 private:
  static constexpr typename Base::template KnobList<4> kKnobs = {
      &S110DPan::pan1_, &S110DPan::pan2_, &S110DPan::amount1_, &S110DPan::amount2_};

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  typename Base::template PerPack<Float> a_{}, b_{};  // stored even if no sample has run
  const float *in1_, *in2_, *panCv1_, *panCv2_;
  float *outA_, *outB_;
};

}  // namespace halveron
