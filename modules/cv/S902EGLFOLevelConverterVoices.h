// S902 EG/LFO Level Converter with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/cv/S902EGLFOLevelConverter.h"

namespace halveron {

template <class Unit>
class S902EGLFOLevelConverterVoices final : public VoiceLanes<S902EGLFOLevelConverter, Unit> {
  using Base = VoiceLanes<S902EGLFOLevelConverter, Unit>;
  using typename Base::Float;

 public:
  explicit S902EGLFOLevelConverterVoices(std::span<Module* const> voices) : Base(voices) {
    half_ = this->RowOf(this->Voice(0).half_);
  }

  static auto Alike(const S902EGLFOLevelConverter& voice) { return voice.bipolarIn_; }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike)) return false;
    bipolarIn_ = Alike(this->Voice(0));
    return true;
  }

  [[gnu::flatten]] void Run() override {
    for (int p = 0; p < this->Packs(); ++p) {
      if (bipolarIn_) {
        const Float half = S902EGLFOLevelConverter::HalfOfBipolar(
            GatherPoint(p, &S902EGLFOLevelConverter::bipolar_));
        this->Write(half_, p, half);
        Scatter(p, &S902EGLFOLevelConverter::unipolar_, half + 0.5f);
      } else {
        const Float half = S902EGLFOLevelConverter::HalfOfUnipolar(
            GatherPoint(p, &S902EGLFOLevelConverter::unipolar_));
        this->Write(half_, p, half);
        Scatter(p, &S902EGLFOLevelConverter::bipolar_, half * 2.0f);
      }
    }
  }

  void Store() override {}
  void ShowLamps() override {}

 private:
  using Point = Either S902EGLFOLevelConverter::*;

  // An either-way point keeps its two cells together, so that those of the voices lie apart.
  Float GatherPoint(int pack, Point point) const {
    Float x = 0.0f;
    for (int lane = 0; lane < Base::kLanes; ++lane) {
      dsp::Lane(x, lane) = (this->Voice(pack * Base::kLanes + lane).*point)->in;
    }
    return x;
  }
  void Scatter(int pack, Point point, Float x) const {
    for (int lane = 0; lane < Base::kLanes && this->HasVoice(pack, lane); ++lane) {
      (this->Voice(pack * Base::kLanes + lane).*point)->out = dsp::Lane(x, lane);
    }
  }

  float* half_;
  bool bipolarIn_ = false;
};

}  // namespace halveron
