// S605 RM/AM with a voice in each lane.
#pragma once

#include <utility>

#include "framework/clip_lamp_row.h"
#include "framework/voice_lanes.h"
#include "modules/effects/S605RMAM.h"

namespace halveron {

template <class Unit>
class S605RMAMVoices final : public VoiceLanes<S605RMAM, Unit> {
  using Base = VoiceLanes<S605RMAM, Unit>;
  using typename Base::Float;

 public:
  explicit S605RMAMVoices(std::span<Module* const> voices) : Base(voices) {
    const S605RMAM& first = this->Voice(0);
    x_ = this->RowOf(first.x_);
    y_ = this->RowOf(first.y_);
    ring_ = this->RowOf(first.ring_);
    amplitude_ = this->RowOf(first.amplitude_);
  }

  static auto Alike(const S605RMAM& voice) {
    return std::pair(voice.clipLevel, voice.amplitude_.IsCabled());
  }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike)) return false;
    hasAmplitude_ = this->Voice(0).amplitude_.IsCabled();
    clip_.Load(this->Count(), this->Voice(0).clipLevel,
               [&](int i) -> ClipLamp& { return this->Voice(i).clip_; });
    return true;
  }

  [[gnu::flatten]] void Run() override {
    clip_.Tick();
    for (int p = 0; p < this->Packs(); ++p) {
      const Float x = this->Read(x_, p);
      const Float ring = x * this->Read(y_, p);
      this->Write(ring_, p, clip_.Limit(p, ring));
      if (hasAmplitude_) this->Write(amplitude_, p, clip_.Limit(p, x + ring));
    }
  }

  void Store() override {}
  void ShowLamps() override {}

 private:
  ClipLampRow<Unit> clip_;
  bool hasAmplitude_ = false;
  const float *x_, *y_;
  float *ring_, *amplitude_;
};

}  // namespace halveron
