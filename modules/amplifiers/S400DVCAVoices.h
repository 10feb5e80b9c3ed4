// S400 Dual VCA with a voice in each lane.
#pragma once

#include "framework/clip_lamp_row.h"
#include "framework/voice_lanes.h"
#include "modules/amplifiers/S400DVCA.h"

namespace halveron {

template <class Unit>
class S400DVCAVoices final : public VoiceLanes<S400DVCA, Unit> {
  using Base = VoiceLanes<S400DVCA, Unit>;
  using typename Base::Float;

 public:
  explicit S400DVCAVoices(std::span<Module* const> voices) : Base(voices) {
    const S400DVCA& first = this->Voice(0);
    in1_ = this->RowOf(first.in1_);
    cv1_ = this->RowOf(first.cv1_);
    in2_ = this->RowOf(first.in2_);
    cv2_ = this->RowOf(first.cv2_);
    out1_ = this->RowOf(first.out1_);
    out2_ = this->RowOf(first.out2_);
  }

  static auto Alike(const S400DVCA& voice) { return std::tuple(voice.cv2Cabled_, voice.clipLevel); }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike)) return false;
    const auto [cv2Cabled, level] = Alike(this->Voice(0));
    cv2Cabled_ = cv2Cabled;
    clip1_.Load(
        this->Count(), level, [this](int i) -> auto& { return this->Voice(i).clip1_; });
    clip2_.Load(
        this->Count(), level, [this](int i) -> auto& { return this->Voice(i).clip2_; });
    return true;
  }

  [[gnu::flatten]] void Run() override {
    clip1_.Tick();
    clip2_.Tick();
    for (int p = 0; p < this->Packs(); ++p) {
      const Float cv1 = this->Read(cv1_, p);
      const Float cv2 = cv2Cabled_ ? this->Read(cv2_, p) : -cv1;
      this->Write(out1_, p, clip1_.Limit(p, cv1 > 0.0f, this->Read(in1_, p) * cv1 * 2.0f));
      this->Write(out2_, p, clip2_.Limit(p, cv2 > 0.0f, cv2 * this->Read(in2_, p) * 2.0f));
    }
  }

  void Store() override {}
  void ShowLamps() override {}

 private:
  ClipLampRow<Unit> clip1_, clip2_;
  bool cv2Cabled_ = false;
  const float *in1_, *cv1_, *in2_, *cv2_;
  float *out1_, *out2_;
};

}  // namespace halveron
