// S906 Envelope Follower with an instance in each lane.
#pragma once

#include <array>

#include "framework/voice_lanes.h"
#include "modules/cv/S906EnvelopeFollower.h"

namespace halveron {

template <class Unit>
class S906EnvelopeFollowerVoices final : public VoiceLanes<S906EnvelopeFollower, Unit> {
  using Base = VoiceLanes<S906EnvelopeFollower, Unit>;
  using Follower = dsp::EnvelopeFollower<typename Base::Lanes>;
  using typename Base::Float;

 public:
  explicit S906EnvelopeFollowerVoices(std::span<Module* const> voices) : Base(voices) {
    const S906EnvelopeFollower& first = this->Voice(0);
    in_ = this->RowOf(first.in_);
    envelope_ = this->RowOf(first.envelope_);
    for (std::size_t gate = 0; gate < kGates; ++gate) {
      gates_[gate] = this->RowOf(first.gates_[gate]);
    }
  }

  bool Stays() const override { return true; }
  bool Load() override {
    for (int i = 0; i < this->Packs() * Base::kLanes; ++i) {
      const S906EnvelopeFollower& voice = this->Voice(i);
      const dsp::EnvelopeFollower<>& from = voice.follower_;
      Follower& to = followers_[i / Base::kLanes];
      const int lane = i % Base::kLanes;
      dsp::Lane(to.c1, lane) = from.c1;
      dsp::Lane(to.c2, lane) = from.c2;
      dsp::Lane(to.c3, lane) = from.c3;
      dsp::Lane(to.c4, lane) = from.c4;
      dsp::Lane(to.s1, lane) = from.s1;
      dsp::Lane(to.s2, lane) = from.s2;
      for (std::size_t gate = 0; gate < kGates; ++gate) {
        dsp::Lane(thresholds_[i / Base::kLanes][gate], lane) = voice.thresholds_[gate]->value;
      }
    }
    return true;
  }

  [[gnu::flatten]] void Run() override {
    for (int p = 0; p < this->Packs(); ++p) {
      Follower& follower = followers_[p];
      const Float envelope = dsp::ToFloat(follower.Step(this->Read(in_, p)));
      const auto isFinite = dsp::IsFinite(envelope);
      if (!dsp::All(isFinite)) {
        follower.s1 = dsp::Select(isFinite, follower.s1, 0.0);
        follower.s2 = dsp::Select(isFinite, follower.s2, 0.0);
      }
      this->Write(envelope_, p, envelope);
      for (std::size_t gate = 0; gate < kGates; ++gate) {
        this->Write(gates_[gate], p,
                    dsp::Select(envelope > thresholds_[p][gate], Float(1.0f), 0.0f));
      }
    }
  }

  void Store() override {
    for (int i = 0; i < this->Count(); ++i) {
      S906EnvelopeFollower& voice = this->Voice(i);
      const Follower& from = followers_[i / Base::kLanes];
      voice.follower_.s1 = dsp::Lane(from.s1, i % Base::kLanes);
      voice.follower_.s2 = dsp::Lane(from.s2, i % Base::kLanes);
    }
  }

  /// Lamps are seen no faster than blocks go by.
  void ShowLamps() override {
    for (int i = 0; i < this->Count(); ++i) {
      for (std::size_t gate = 0; gate < kGates; ++gate) {
        this->Voice(i).lamps_[gate].Set(gates_[gate][i]);
      }
    }
  }

 private:
  static constexpr std::size_t kGates = S906EnvelopeFollower::kGates;

  typename Base::template PerPack<Follower> followers_;
  typename Base::template PerPack<std::array<Float, kGates>> thresholds_;
  const float* in_;
  float* envelope_;
  std::array<float*, kGates> gates_;
};

}  // namespace halveron
