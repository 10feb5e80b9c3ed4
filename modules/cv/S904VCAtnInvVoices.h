// S904 VC Attenuator/Inverter with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/cv/S904VCAtnInv.h"

namespace halveron {

template <class Unit>
class S904VCAtnInvVoices final : public VoiceLanes<S904VCAtnInv, Unit> {
  using Base = VoiceLanes<S904VCAtnInv, Unit>;
  using typename Base::Double;
  using typename Base::Float;

 public:
  explicit S904VCAtnInvVoices(std::span<Module* const> voices) : Base(voices) {
    const S904VCAtnInv& first = this->Voice(0);
    control_ = this->RowOf(first.control_);
    signal_ = this->RowOf(first.signal_);
    out_ = this->RowOf(first.out_);
    inverted_ = this->RowOf(first.inverted_);
  }

  static auto Alike(const S904VCAtnInv& voice) { return voice.hasControl_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike)) return false;
    hasControl_ = Alike(this->Voice(0));
    this->LoadKnobs(knobs_, kKnobs);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    this->Smooth(knobs_);
    for (int p = 0; p < this->Packs(); ++p) {
      const Double signal = dsp::ToDouble(this->Read(signal_, p));
      const Double amount = knobs_[0].smoothed[p];
      const Float out = hasControl_
                            ? S904VCAtnInv::Attenuate(signal, amount, this->Read(control_, p))
                            : S904VCAtnInv::Attenuate(signal, amount);
      this->Write(out_, p, out);
      this->Write(inverted_, p, -out);
    }
  }

  void Store() override { this->StoreKnobs(knobs_, kKnobs); }
  void ShowLamps() override {}

 private:
  static constexpr typename Base::template KnobList<1> kKnobs = {&S904VCAtnInv::amount_};

  std::array<KnobRow<Unit>, kKnobs.size()> knobs_;
  const float *control_, *signal_;
  float *out_, *inverted_;
  bool hasControl_ = false;
};

}  // namespace halveron
