// What the classes of a VoiceGroup are made of: knobs, signals and kernels with a voice in each
// lane.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <memory>
#include <span>
#include <tuple>
#include <type_traits>
#include <utility>

#include "dsp/pack.h"
#include "dsp/smoothing.h"
#include "framework/module.h"
#include "framework/voice_group.h"

namespace halveron {

template <class Unit>
inline constexpr int kMostPacks = kMaxVoices / dsp::kLanesOf<Unit>;

/// One knob of all voices. What a panel or a host sets during a block counts from the next one on,
/// before which all state is put back and taken up again (KnobStore::NoteMove).
template <class Unit>
struct KnobRow {
  using Float = dsp::Pack<float, Unit>;
  using Double = dsp::Pack<double, Unit>;

  std::array<Double, kMostPacks<Unit>> smoothed;
  std::array<Float, kMostPacks<Unit>> target;
  std::array<Float, kMostPacks<Unit>> step;
  bool isMoving = false;

  /// One smoothing step of all voices.
  void Smooth(int packs) {
    if (!isMoving) return;
    isMoving = false;
    for (int p = 0; p < packs; ++p) {
      isMoving |= !dsp::All(dsp::SmoothToward(smoothed[p], target[p], step[p]));
    }
  }
};

/// Mixes numbers, and tuples of them, into one.
template <class Unit>
class VoiceKey {
 public:
  template <class T>
  void Add(const T& value) {
    if constexpr (std::is_floating_point_v<T>) {
      Mix(std::bit_cast<std::uint64_t>(static_cast<double>(value)));
    } else if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>) {
      Mix(static_cast<std::uint64_t>(value));
    } else {
      std::apply([this](const auto&... each) { (this->Add(each), ...); }, value);
    }
  }
  std::uint64_t Value() const { return value_; }

 private:
  void Mix(std::uint64_t bits) {
    // One round of splitmix64's finaliser (Steele, Lea and Flood 2014).
    value_ = (value_ ^ bits) * 0xbf58476d1ce4e5b9u;
    value_ ^= value_ >> 29;
  }

  std::uint64_t value_ = 0x9e3779b97f4a7c15u;
};

/// Reads the keys of instances of M from what Voices, a VoiceLanes<M, Unit>, wants equal: what its
/// `Alike(voice)` gives, if it has one, and the Settings of its `KernelOf(voice)`, if it has one.
template <class Voices, class M, class Unit>
class KeyReader final : public VoiceGroup {
 public:
  bool Load() override { return false; }
  void Run() override {}
  void Store() override {}
  void ShowLamps() override {}
  std::uint64_t KeyOf(Module& module) const override {
    auto& voice = static_cast<M&>(module);
    VoiceKey<Unit> key;
    if constexpr (requires { Voices::Alike(voice); }) key.Add(Voices::Alike(voice));
    if constexpr (requires { Voices::KernelOf(voice); }) {
      auto& kernel = Voices::KernelOf(voice);
      key.Add(kernel.Settings(std::as_const(kernel)));
    }
    return key.Value();
  }
};

/// The instances of module class M in the lanes of a unit's registers. Lanes without a voice repeat
/// the last voice's state; nobody hears them.
template <class M, class Unit>
class VoiceLanes : public VoiceGroup {
 public:
  void Gather(std::span<const LineGather> lines) const override {
    for (const LineGather& line : lines) {
      for (int lane = 0; lane < line.count; lane += kLanes) {
        dsp::LoadEach<Unit>(line.from.data() + lane).Store(line.to + lane);
      }
    }
  }

 protected:
  using Lanes = dsp::VoicesOf<Unit>;
  using Float = typename Lanes::Float;
  using Double = typename Lanes::Double;
  static constexpr int kLanes = Lanes::kLanes;
  static constexpr int kPacks = kMostPacks<Unit>;
  template <class Kernel>
  using PerPack = std::array<Kernel, kPacks>;

  explicit VoiceLanes(std::span<Module* const> voices)
      : count_(static_cast<int>(voices.size())), packs_((count_ + kLanes - 1) / kLanes) {
    for (int i = 0; i < count_; ++i)
      voices_[i] = static_cast<M*>(voices[static_cast<std::size_t>(i)]);
  }

  int Count() const { return count_; }
  int Packs() const { return packs_; }
  /// Sets a knob where no voice is heard.
  void HoldIdleLanes(KnobRow<Unit>& knob, float value) const {
    for (int i = count_; i < packs_ * kLanes; ++i) {
      dsp::Lane(knob.target[i / kLanes], i % kLanes) = value;
      dsp::Lane(knob.smoothed[i / kLanes], i % kLanes) = value;
    }
  }
  M& Voice(int index) const { return *voices_[index < count_ ? index : count_ - 1]; }
  bool HasVoice(int pack, int lane) const { return pack * kLanes + lane < count_; }

  /// Where the signals of a point lie, those of voice 0 first.
  float* RowOf(const Input& ofFirstVoice) const { return ofFirstVoice.PlannedAddress(); }
  float* RowOf(const Output& ofFirstVoice) const { return ofFirstVoice.PlannedAddress(); }
  static Float Read(const float* row, int pack) { return Float::Load(row + pack * kLanes); }
  static void Write(float* row, int pack, const Float& value) { value.Store(row + pack * kLanes); }

  /// Whether f(voice) is the same for all voices.
  template <class F>
  bool AreAlike(F&& f) const {
    for (int i = 1; i < count_; ++i) {
      if (!(f(*voices_[i]) == f(*voices_[0]))) return false;
    }
    return true;
  }

  /// `knobOf` gives a voice's knob; a stepped one goes to its stepped target.
  template <class F>
  void LoadKnob(KnobRow<Unit>& row, F&& knobOf, bool stepped = false) const {
    row.isMoving = false;
    for (int i = 0; i < packs_ * kLanes; ++i) {
      const KnobCell& cell = *knobOf(Voice(i)).operator->();
      const int pack = i / kLanes;
      const int lane = i % kLanes;
      const float target = stepped ? cell.stepped_target : cell.value;
      dsp::Lane(row.smoothed[pack], lane) = cell.smoothed_value;
      dsp::Lane(row.target[pack], lane) = target;
      dsp::Lane(row.step[pack], lane) = cell.smooth_step;
      row.isMoving |= cell.smoothed_value != target;
    }
  }
  template <class F>
  void StoreKnob(const KnobRow<Unit>& row, F&& knobOf) const {
    for (int i = 0; i < count_; ++i) {
      knobOf(Voice(i))->smoothed_value = dsp::Lane(row.smoothed[i / kLanes], i % kLanes);
    }
  }

  /// Knobs that are plain members of the module.
  template <std::size_t N>
  using KnobList = std::array<Knob M::*, N>;
  template <std::size_t N>
  void LoadKnobs(std::array<KnobRow<Unit>, N>& rows, const KnobList<N>& knobs) const {
    for (std::size_t i = 0; i < N; ++i) {
      LoadKnob(rows[i], [&](M& voice) -> Knob& { return voice.*knobs[i]; });
    }
  }
  template <std::size_t N>
  void StoreKnobs(const std::array<KnobRow<Unit>, N>& rows, const KnobList<N>& knobs) const {
    for (std::size_t i = 0; i < N; ++i) {
      StoreKnob(rows[i], [&](M& voice) -> Knob& { return voice.*knobs[i]; });
    }
  }
  /// One smoothing step of each; false if all rested already.
  template <std::size_t N>
  bool Smooth(std::array<KnobRow<Unit>, N>& rows) const {
    bool isAnyMoving = false;
    for (const KnobRow<Unit>& row : rows) isAnyMoving |= row.isMoving;
    if (!isAnyMoving) return false;
    for (KnobRow<Unit>& row : rows) row.Smooth(packs_);
    return true;
  }

  /// A kernel ties its Settings, which must be equal, and its State, one per voice.
  template <class Kernel, class F>
  bool LoadKernels(PerPack<Kernel>& kernels, F&& kernelOf) const {
    const auto settingsOf = [&](M& voice) {
      return kernelOf(voice).Settings(std::as_const(kernelOf(voice)));
    };
    if (!AreAlike(settingsOf)) return false;
    for (int p = 0; p < packs_; ++p) {
      Kernel::Settings(kernels[p]) = settingsOf(Voice(0));
      const auto state = Kernel::State(kernels[p]);
      for (int lane = 0; lane < kLanes; ++lane) {
        auto& kernel = kernelOf(Voice(p * kLanes + lane));
        Exchange(state, kernel.State(kernel),
                 [&](auto& pack, auto& single) { dsp::Lane(pack, lane) = single; });
      }
    }
    return true;
  }
  template <class Kernel, class F>
  void StoreKernels(PerPack<Kernel>& kernels, F&& kernelOf) const {
    for (int i = 0; i < count_; ++i) {
      auto& kernel = kernelOf(Voice(i));
      Exchange(Kernel::State(kernels[i / kLanes]), kernel.State(kernel),
               [&](auto& pack, auto& single) { single = dsp::Lane(pack, i % kLanes); });
    }
  }

 private:
  template <class Packs, class Singles, class F>
  static void Exchange(const Packs& packs, const Singles& singles, F&& move) {
    [&]<std::size_t... i>(std::index_sequence<i...>) {
      (move(std::get<i>(packs), std::get<i>(singles)), ...);
    }
    (std::make_index_sequence<std::tuple_size_v<Packs>>{});
  }

  std::array<M*, kMaxVoices> voices_{};
  int count_;
  int packs_;
};

}  // namespace halveron
