// S101 Mixer with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/mixers/S101Mixer.h"

namespace halveron {

template <class Unit>
class S101MixerVoices final : public VoiceLanes<S101Mixer, Unit> {
  using Base = VoiceLanes<S101Mixer, Unit>;
  using typename Base::Double;

 public:
  explicit S101MixerVoices(std::span<Module* const> voices) : Base(voices) {
    const S101Mixer& first = this->Voice(0);
    for (int i = 0; i < 4; ++i) ins_[i] = this->RowOf(first.ins_[i]);
    out_ = this->RowOf(first.out_);
  }

  static auto Alike(const S101Mixer& voice) { return voice.squareLaw_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike)) return false;
    squareLaw_ = this->Voice(0).squareLaw_;
    for (int i = 0; i < 4; ++i) this->LoadKnob(levels_[i], LevelOf(i));
    this->LoadKnob(master_, MasterOf);
    return true;
  }

  [[gnu::flatten]] void Run() override {
    this->Smooth(levels_);
    master_.Smooth(this->Packs());
    for (int p = 0; p < this->Packs(); ++p) {
      std::array<Double, 4> in, level;
      for (int i = 0; i < 4; ++i) {
        in[i] = dsp::ToDouble(this->Read(ins_[i], p));
        level[i] = levels_[i].smoothed[p];
      }
      const Double sum = S101Mixer::Sum(in, level, squareLaw_);
      this->Write(out_, p, dsp::ToFloat(sum * master_.smoothed[p]));
    }
  }

  void Store() override {
    for (int i = 0; i < 4; ++i) this->StoreKnob(levels_[i], LevelOf(i));
    this->StoreKnob(master_, MasterOf);
  }
  void ShowLamps() override {}

 private:
  static auto LevelOf(int i) {
    return [i](S101Mixer& voice) -> Knob& { return voice.levels_[static_cast<std::size_t>(i)]; };
  }
  static Knob& MasterOf(S101Mixer& voice) { return voice.master_; }

  std::array<KnobRow<Unit>, 4> levels_;
  KnobRow<Unit> master_;
  std::array<const float*, 4> ins_;
  float* out_;
  bool squareLaw_ = false;
};

}  // namespace halveron
