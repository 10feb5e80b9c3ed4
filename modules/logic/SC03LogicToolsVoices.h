// SC03 Logic Tools with an instance in each lane.
#pragma once

#include <array>
#include <tuple>

#include "dsp/edge.h"
#include "framework/voice_lanes.h"
#include "modules/logic/SC03LogicTools.h"

namespace halveron {

template <class Unit>
class SC03LogicToolsVoices final : public VoiceLanes<SC03LogicTools, Unit> {
  using Base = VoiceLanes<SC03LogicTools, Unit>;
  using typename Base::Float;

 public:
  explicit SC03LogicToolsVoices(std::span<Module* const> voices) : Base(voices) {
    const SC03LogicTools& first = this->Voice(0);
    for (std::size_t i = 0; i < kInputs; ++i) {
      ins_[i] = this->RowOf(first.ins_[i]);
      inverted_[i] = this->RowOf(first.inverted_[i]);
    }
    for (std::size_t i = 0; i < kOperations; ++i) outs_[i] = this->RowOf(first.outs_[i]);
  }

  static auto Alike(const SC03LogicTools& voice) {
    return std::tuple(voice.ins_[0].IsCabled(), voice.ins_[1].IsCabled(), voice.ins_[2].IsCabled());
  }

  bool Stays() const override { return true; }
  bool Load() override {
    if (!this->AreAlike(Alike)) return false;
    std::tie(areCabled_[0], areCabled_[1], areCabled_[2]) = Alike(this->Voice(0));
    return true;
  }

  [[gnu::flatten]] void Run() override {
    for (int p = 0; p < this->Packs(); ++p) {
      const auto a = IsHigh(0, p), b = IsHigh(1, p), c = IsHigh(2, p);
      const auto always = Float(0.0f) == Float(0.0f);
      const auto any = dsp::Or(a, b, c);
      const auto all = dsp::And(areCabled_[0] ? a : always, areCabled_[1] ? b : always,
                                areCabled_[2] ? c : always);
      const auto parity = Differ(Differ(a, b), c);
      Put(inverted_[0], p, !a);
      Put(inverted_[1], p, !b);
      Put(inverted_[2], p, !c);
      Put(outs_[SC03LogicTools::kAnd], p, all);
      Put(outs_[SC03LogicTools::kNand], p, !all);
      Put(outs_[SC03LogicTools::kOr], p, any);
      Put(outs_[SC03LogicTools::kNor], p, !any);
      Put(outs_[SC03LogicTools::kXor], p, parity);
      Put(outs_[SC03LogicTools::kXnor], p, !parity);
    }
  }

  void Store() override {}

  /// Lamps are seen no faster than blocks go by.
  void ShowLamps() override {
    for (int i = 0; i < this->Count(); ++i) {
      SC03LogicTools& voice = this->Voice(i);
      for (std::size_t k = 0; k < kInputs; ++k) voice.invertedLamps_[k].Set(inverted_[k][i]);
      for (std::size_t k = 0; k < kOperations; ++k) voice.lamps_[k].Set(outs_[k][i]);
    }
  }

 private:
  static constexpr std::size_t kInputs = SC03LogicTools::kInputs;
  static constexpr std::size_t kOperations = SC03LogicTools::kOperations;

  auto IsHigh(std::size_t input, int p) const {
    return this->Read(ins_[input], p) >= dsp::kGateThreshold;
  }
  template <class Mask>
  static Mask Differ(const Mask& a, const Mask& b) {
    return dsp::Or(dsp::And(a, !b), dsp::And(!a, b));
  }
  template <class Mask>
  void Put(float* row, int p, const Mask& level) const {
    this->Write(row, p, dsp::Select(level, Float(1.0f), 0.0f));
  }

  std::array<bool, kInputs> areCabled_{};
  std::array<const float*, kInputs> ins_;
  std::array<float*, kInputs> inverted_;
  std::array<float*, kOperations> outs_;
};

}  // namespace halveron
