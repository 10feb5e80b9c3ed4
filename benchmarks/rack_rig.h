// An engine under a host that plays, and the modules that benchmarks put round what they measure.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "engine/halveron.h"
#include "framework/module.h"

namespace halveron::benchmarks {

inline constexpr float kRate = 48000.0f;
inline constexpr int kBlock = 512;
inline constexpr std::uint32_t kSeed = 20240229;

/// Patch points and nothing to do: what is left of a module's cost when its sound is taken away.
class IdleModule : public Module {
 public:
  IdleModule(const HostTable& hostTable, std::size_t inputCount, std::size_t outputCount);
  const char* GetName() const override { return "Benchmark idle"; }

  std::vector<Input> inputs;
  std::vector<Output> outputs;
};

/// White noise of -1 to 1 from one output, and from the other MIDI notes, one going on or off each
/// kWordDistance samples. Both repeat after kPeriod samples, drawn when the module is made.
class NoiseModule final : public Module {
 public:
  explicit NoiseModule(const HostTable& hostTable);
  const char* GetName() const override { return "Benchmark noise"; }
  void ProcessSample() override;

  Output noise;
  Output midi;
  bool isSilent = false;  ///< 0 from both outputs

 private:
  static constexpr std::size_t kPeriod = 4096;
  static constexpr std::size_t kWordDistance = 64;

  std::array<float, kPeriod> noiseSamples_;
  std::array<float, kPeriod> midiSamples_{};
  std::size_t position_ = 0;
};

/// Whatever is drawn at random, in modules made here too, is the same in every run. Rigs of
/// different `layout` numbers put what is added to them at different places in memory.
class RackRig {
 public:
  explicit RackRig(int blockSize = kBlock, std::size_t layout = 0);
  ~RackRig();
  RackRig(const RackRig&) = delete;
  RackRig& operator=(const RackRig&) = delete;

  SynEditor& Rack() { return *engine_.Editor(); }

  /// A module by display name. Throws if it cannot be made.
  Module& Add(const char* name);
  /// Takes over a module that was made with the rack's host table; the type stays known.
  template <class M>
  M& Adopt(M* module) {
    Rack().AdoptModule(module);
    return *module;
  }
  /// All inputs of a module on a noise module, all its outputs on an idle one. Answers the former.
  NoiseModule& Surround(Module& module);

  /// A note of the host on channel 1 that begins with the next block and does not end.
  void HoldNote(int note, int velocity);

  /// In hertz; kRate to begin with.
  void SetRate(float rate);

  void RunBlock() { RunBlock(blockSize_); }
  /// `frames` at most the block size.
  void RunBlock(int frames);
  /// Runs until `seconds` of sound have gone by.
  void WarmUp(double seconds);
  /// Largest magnitude on the host's outputs in the last block.
  float Peak() const;
  /// The last block of a host output.
  const float* Output(int channel) const { return outputs_[static_cast<std::size_t>(channel)]; }

 private:
  static std::intptr_t Answer(AEffect* effect, std::int32_t opcode, std::int32_t index,
                              std::intptr_t value, void* ptr, float opt);

  std::vector<char> spacer_;
  Halveron engine_;
  VstTimeInfo time_{};
  int blockSize_;
  float rate_ = kRate;
  std::vector<float> inputSamples_;
  std::vector<float> outputSamples_;
  std::array<float*, kDawInputs> inputs_{};
  std::array<float*, kDawOutputs> outputs_{};
};

}  // namespace halveron::benchmarks
