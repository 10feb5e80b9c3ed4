// S903 Dual Offset Generator with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/cv/S903DOffsetGen.h"

namespace halveron {

template <class Unit>
class S903DOffsetGenVoices final : public VoiceLanes<S903DOffsetGen, Unit> {
  using Base = VoiceLanes<S903DOffsetGen, Unit>;

 public:
  explicit S903DOffsetGenVoices(std::span<Module* const> voices) : Base(voices) {
    const S903DOffsetGen& first = this->Voice(0);
    ins_ = {this->RowOf(first.in1_), this->RowOf(first.in2_)};
    outs_ = {this->RowOf(first.out1_), this->RowOf(first.out2_)};
  }

  bool Stays() const override { return true; }
  bool Load() override {
    this->LoadKnobs(knobs_, kKnobs);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    this->Smooth(knobs_);
    for (int p = 0; p < this->Packs(); ++p) {
      for (std::size_t i = 0; i < knobs_.size(); ++i) {
        this->Write(outs_[i], p,
                    dsp::ToFloat(S903DOffsetGen::Shift(dsp::ToDouble(this->Read(ins_[i], p)),
                                                       knobs_[i].smoothed[p])));
      }
    }
  }

  void Store() override { this->StoreKnobs(knobs_, kKnobs); }
  void ShowLamps() override {}

 private:
  static constexpr typename Base::template KnobList<2> kKnobs = {&S903DOffsetGen::offset1_,
                                                                 &S903DOffsetGen::offset2_};

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  std::array<const float*, 2> ins_;
  std::array<float*, 2> outs_;
};

}  // namespace halveron
