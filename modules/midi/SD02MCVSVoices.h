// SD02 MIDI-CV/Sync with an instance in each lane.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

#include "framework/voice_lanes.h"
#include "modules/midi/SD02MCVS.h"

namespace halveron {

/// What vectors do here is to find the instances that have anything to do. Each of these takes its
/// sample by itself; the samples of the others are counted, and made up for when it matters.
template <class Unit>
class SD02MCVSVoices final : public VoiceLanes<SD02MCVS, Unit> {
  using Base = VoiceLanes<SD02MCVS, Unit>;
  using Words = typename Base::Lanes::Int;

 public:
  explicit SD02MCVSVoices(std::span<Module* const> voices)
      : Base(voices), midiIn_(this->RowOf(this->Voice(0).midiIn_)) {}

  bool Load() override {
    now_ = 0;
    nextChange_ = kNever;
    busy_ = 0;
    restsFrom_.fill(0);
    for (int i = 0; i < this->Count(); ++i) {
      const SD02MCVS& voice = this->Voice(i);
      if (voice.IsAtRest() && voice.clock_->out == voice.kernel_.clock) {
        Settle(i);
      } else {
        busy_ |= 1u << i;
      }
    }
    return true;
  }

  [[gnu::flatten]] void Run() override {
    const unsigned called = Called();
    if ((busy_ | called) != 0 || now_ == nextChange_) [[unlikely]]
      Step(called);
    ++now_;
  }

  void Store() override {
    // A note that starts may end the vectors within Step: who does not wait there has its sample.
    for (int i = 0; i < this->Count(); ++i) {
      const bool isDone = isStepping_ && (waiting_ >> i & 1u) == 0;
      CatchUp(i, isDone ? now_ + 1 : now_);
    }
  }
  void ShowLamps() override {}

 private:
  static constexpr std::int64_t kNever = INT64_MAX;

  /// The instances that get a word.
  unsigned Called() const {
    unsigned called = 0;
    for (int p = 0; p < this->Packs(); ++p) {
      // As numbers, some words would be equal to none.
      const auto words = Words::Load(reinterpret_cast<const std::int32_t*>(midiIn_) + p * kLanes);
      called |= dsp::LaneBits(words != 0) << p * kLanes;
    }
    return called & ((1u << this->Count()) - 1);
  }

  [[gnu::noinline]] void Step(unsigned called) {
    unsigned active = busy_ | called;
    if (now_ == nextChange_) {
      active = (1u << this->Count()) - 1;
      nextChange_ = kNever;
    }
    isStepping_ = true;
    for (waiting_ = active; waiting_ != 0; waiting_ &= waiting_ - 1) {
      const int i = std::countr_zero(waiting_);
      CatchUp(i, now_);
      SD02MCVS& voice = this->Voice(i);
      voice.SD02MCVS::ProcessSample();
      restsFrom_[i] = now_ + 1;
      if (voice.IsAtRest()) {
        busy_ &= ~(1u << i);
        Settle(i);
      } else {
        busy_ |= 1u << i;
      }
    }
    isStepping_ = false;
  }

  /// Takes the samples before `now` since the instance came to rest.
  void CatchUp(int i, std::int64_t now) {
    if ((busy_ >> i & 1u) == 0) {
      this->Voice(i).kernel_.RestFor(now - restsFrom_[i]);
    }
    restsFrom_[i] = now;
  }
  void Settle(int i) {
    nextChange_ = std::min(nextChange_, restsFrom_[i] + this->Voice(i).kernel_.RestsUntilChange());
  }

  static constexpr int kLanes = Base::kLanes;

  const float* midiIn_;
  std::int64_t now_ = 0;         // samples since Load
  std::int64_t nextChange_ = 0;  // when the clock of one at rest may end
  unsigned busy_ = 0;            // a bit for each instance that is not at rest
  unsigned waiting_ = 0;         // a bit for each whose present sample is to come or under way
  bool isStepping_ = false;
  std::array<std::int64_t, kMaxVoices> restsFrom_{};
};

}  // namespace halveron
