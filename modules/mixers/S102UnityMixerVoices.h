// S102 Unity Mixer with a voice in each lane.
#pragma once

#include "framework/voice_lanes.h"
#include "modules/mixers/S102UnityMixer.h"

namespace halveron {

template <class Unit>
class S102UnityMixerVoices final : public VoiceLanes<S102UnityMixer, Unit> {
  using Base = VoiceLanes<S102UnityMixer, Unit>;

 public:
  explicit S102UnityMixerVoices(std::span<Module* const> voices) : Base(voices) {
    const S102UnityMixer& first = this->Voice(0);
    for (std::size_t i = 0; i < ins_.size(); ++i) ins_[i] = this->RowOf(first.ins_[i]);
    out_ = this->RowOf(first.out_);
  }

  bool Stays() const override { return true; }
  bool Load() override { return true; }
  [[gnu::flatten]] void Run() override {
    for (int p = 0; p < this->Packs(); ++p) {
      this->Write(out_, p,
                  S102UnityMixer::Sum(this->Read(ins_[0], p), this->Read(ins_[1], p),
                                      this->Read(ins_[2], p), this->Read(ins_[3], p)));
    }
  }
  void Store() override {}
  void ShowLamps() override {}

 private:
  std::array<const float*, 4> ins_;
  float* out_;
};

}  // namespace halveron
