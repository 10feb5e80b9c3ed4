// S913 Pitch Transpose with an instance in each lane.
#pragma once

#include <array>

#include "framework/voice_lanes.h"
#include "modules/cv/S913PitchTranspose.h"

namespace halveron {

template <class Unit>
class S913PitchTransposeVoices final : public VoiceLanes<S913PitchTranspose, Unit> {
  using Base = VoiceLanes<S913PitchTranspose, Unit>;
  using typename Base::Float;

 public:
  explicit S913PitchTransposeVoices(std::span<Module* const> voices) : Base(voices) {
    const S913PitchTranspose& first = this->Voice(0);
    for (std::size_t i = 0; i < kPitches; ++i) {
      ins_[i] = this->RowOf(first.ins_[i]);
      outs_[i] = this->RowOf(first.outs_[i]);
    }
  }

  bool Stays() const override { return true; }
  bool Load() override {
    for (int i = 0; i < this->Packs() * Base::kLanes; ++i) {
      for (std::size_t pitch = 0; pitch < kPitches; ++pitch) {
        dsp::Lane(offsets_[i / Base::kLanes][pitch], i % Base::kLanes) =
            this->Voice(i).offsets_[pitch];
      }
    }
    return true;
  }

  [[gnu::flatten]] void Run() override {
    for (int p = 0; p < this->Packs(); ++p) {
      for (std::size_t i = 0; i < kPitches; ++i) {
        this->Write(outs_[i], p, this->Read(ins_[i], p) + offsets_[p][i]);
      }
    }
  }

  void Store() override {}
  void ShowLamps() override {}

 private:
  static constexpr std::size_t kPitches = S913PitchTranspose::kLanes;

  typename Base::template PerPack<std::array<Float, kPitches>> offsets_;
  std::array<const float*, kPitches> ins_;
  std::array<float*, kPitches> outs_;
};

}  // namespace halveron
