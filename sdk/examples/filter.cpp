// Example Filter: a resonant low-pass, polyphonic, four voices to a vector.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "halveron_module.hpp"

namespace {

// The arithmetic is written once, for a float and for four of them side by side. Both give the same
// bits, as the compiler is not allowed to contract or to reorder.

using Four = float __attribute__((vector_size(16)));
using FourInts = std::int32_t __attribute__((vector_size(16)));
constexpr int kLanes = 4;

std::int32_t ToInt(float x) { return static_cast<std::int32_t>(x); }
FourInts ToInt(Four x) { return __builtin_convertvector(x, FourInts); }
float ToFloat(std::int32_t x) { return static_cast<float>(x); }
Four ToFloat(FourInts x) { return __builtin_convertvector(x, Four); }
float FromBits(std::int32_t bits) { return __builtin_bit_cast(float, bits); }
Four FromBits(FourInts bits) { return reinterpret_cast<Four>(bits); }

template <class Float>
Float Clamp(Float x, float least, float most) {
  x = x > least ? x : Float{} + least;
  return x < most ? x : Float{} + most;
}

/// 2 to the power of x, within 0.01 %, for x from -30 to 30.
template <class Float>
Float PowerOfTwo(Float x) {
  const auto whole = ToInt(x + 64.0f) - 64;
  const Float rest = x - ToFloat(whole);
  const Float mantissa = 1.0f + rest * (0.6951786f + rest * (0.2276395f + rest * 0.0772169f));
  return mantissa * FromBits((whole + 127) << 23);
}

/// A state variable filter with trapezoidal integrators, after A. Simper, "Solving the continuous
/// SVF equations using trapezoidal integration and equivalent currents" (2013).
template <class Float>
struct Kernel {
  Float s1{};
  Float s2{};

  /// `pitch` in 0.1 per octave from 261.6 Hz; `warp` is pi over the sample rate.
  Float Step(Float in, Float pitch, Float resonance, float warp) {
    const Float frequency = 261.6256f * PowerOfTwo(Clamp(pitch * 10.0f, -6.0f, 6.0f));
    const Float angle = Clamp(frequency * warp, 0.0f, 1.4f);
    // The tangent, by its continued fraction.
    const Float square = angle * angle;
    const Float g = angle * (15.0f - square) / (15.0f - 6.0f * square);
    const Float damping = 2.0f - 1.96f * Clamp(resonance, 0.0f, 1.0f);
    const Float a = 1.0f / (1.0f + g * (g + damping));
    const Float v1 = a * (s1 + g * (in - s2));
    const Float v2 = s2 + g * v1;
    s1 = 2.0f * v1 - s1;
    s2 = 2.0f * v2 - s2;
    return v2;
  }
};

class FilterVoices;

class Filter final : public halveron_sdk::Module {
 public:
  static constexpr char kName[] = "Example Filter";
  static constexpr char kVendor[] = "Halveron Examples";
  static constexpr int kColumns = 6;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;
  using Voices = FilterVoices;

  explicit Filter(const halveron_sdk::Setup& setup) : Module(setup) {
    AddModuleKnob(cutoff_, "Cutoff", 36, 72, HALVERON_SMALL, 0.5f);
    AddModuleKnob(resonance_, "Resonance", 36, 122, HALVERON_SMALL, 0.0f);
    AddPatchPoint(in_, "In", 20, 176);
    AddPatchPoint(pitch_, "Pitch", 52, 176);
    AddPatchPoint(out_, "Out", 36, 252);
  }

  void SetSampleRate(float rate, float) { warp_ = 3.14159265f / rate; }

  void ProcessSample() {
    cutoff_->SmoothValue();
    resonance_->SmoothValue();
    const auto pitch = static_cast<float>(cutoff_->smoothed_value) - 0.5f + pitch_->in;
    out_->out = kernel_.Step(in_->in, pitch, static_cast<float>(resonance_->smoothed_value), warp_);
  }

 private:
  friend class FilterVoices;

  halveron_sdk::Knob cutoff_, resonance_;
  halveron_sdk::Input in_, pitch_;
  halveron_sdk::Output out_;
  Kernel<float> kernel_;
  float warp_ = 0;
};

/// All voices of a Filter: their states in lanes for the time of a block.
class FilterVoices {
 public:
  FilterVoices(std::span<Filter* const> voices, unsigned)
      : voices_(voices.begin(), voices.end()), packs_((voices.size() + kLanes - 1) / kLanes) {}

  bool Load() {
    for (std::size_t i = 0; i < voices_.size(); ++i) {
      packs_[i / kLanes].s1[i % kLanes] = voices_[i]->kernel_.s1;
      packs_[i / kLanes].s2[i % kLanes] = voices_[i]->kernel_.s2;
    }
    return true;
  }

  void Run() {
    // A knob stands where it stands for voice 0 unless the host modulates voices apart, so each
    // voice's own is smoothed.
    alignas(16) std::array<float, 16> cutoffs{}, resonances{};
    for (std::size_t i = 0; i < voices_.size(); ++i) {
      voices_[i]->cutoff_->SmoothValue();
      voices_[i]->resonance_->SmoothValue();
      cutoffs[i] = static_cast<float>(voices_[i]->cutoff_->smoothed_value);
      resonances[i] = static_cast<float>(voices_[i]->resonance_->smoothed_value);
    }
    const Filter& first = *voices_[0];
    for (std::size_t p = 0; p < packs_.size(); ++p) {
      const std::size_t at = p * kLanes;
      const Four pitch = Take(&cutoffs[at]) - 0.5f + Take(first.pitch_.Address() + at);
      const Four out =
          packs_[p].Step(Take(first.in_.Address() + at), pitch, Take(&resonances[at]), first.warp_);
      __builtin_memcpy(first.out_.Address() + at, &out, sizeof out);
    }
  }

  void Store() {
    for (std::size_t i = 0; i < voices_.size(); ++i) {
      voices_[i]->kernel_.s1 = packs_[i / kLanes].s1[i % kLanes];
      voices_[i]->kernel_.s2 = packs_[i / kLanes].s2[i % kLanes];
    }
  }

 private:
  static Four Take(const float* from) {
    Four values;
    __builtin_memcpy(&values, from, sizeof values);
    return values;
  }

  std::vector<Filter*> voices_;
  std::vector<Kernel<Four>> packs_;
};

}  // namespace

HALVERON_LIBRARY(Filter)
