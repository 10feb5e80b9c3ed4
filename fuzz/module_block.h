// Any bytes as the preset data of one module.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "engine/halveron.h"
#include "framework/module.h"
#include "fuzz/claim.h"

namespace halveron::fuzzing {

/// A module in an engine without a host, which one input leaves to the next.
class ModuleBlockBench {
 public:
  /// `name` as in the catalogue.
  explicit ModuleBlockBench(const char* name) {
    engine_.open();
    module_ = engine_.Editor()->AddModule(name, kBuiltInVendor);
    Claim(module_ != nullptr, "the module can be made");
    module_->alwaysOn = true;
    engine_.Editor()->UpdateActiveState(module_, false);
    engine_.setSampleRate(48000.0f);
    engine_.setBlockSize(kFrames);
    engine_.resume();
  }
  ~ModuleBlockBench() { engine_.close(); }
  ModuleBlockBench(const ModuleBlockBench&) = delete;
  ModuleBlockBench& operator=(const ModuleBlockBench&) = delete;

  /// Any bytes can be loaded; what the module then saves makes the module that saved it; and it
  /// plays on.
  void Try(std::span<const std::uint8_t> bytes) {
    Load(bytes);
    const std::vector<std::uint8_t> saved = Save();
    Load(saved);
    Claim(Save() == saved, "saved data are loaded as they were");
    Play();
  }

 private:
  static constexpr int kFrames = 256;

  void Load(std::span<const std::uint8_t> bytes) {
    // Floats are read in place, as a preset's are.
    std::vector<float> aligned(bytes.size() / sizeof(float) + 1);
    std::memcpy(aligned.data(), bytes.data(), bytes.size());
    module_->LoadPreset(aligned.data(), static_cast<int>(bytes.size()), module_->GetVersion());
  }
  std::vector<std::uint8_t> Save() {
    const auto size = static_cast<std::size_t>(module_->GetPresetSize());
    std::vector<float> aligned(size / sizeof(float) + 1);
    module_->SavePreset(aligned.data(), static_cast<int>(size));
    std::vector<std::uint8_t> saved(size);
    std::memcpy(saved.data(), aligned.data(), size);
    return saved;
  }
  void Play() {
    engine_.processReplacing(inputs_.data(), outputs_.data(), kFrames);
    for (const PatchPoint* point : module_->Points()) {
      Claim(point->type != kOutputPoint || point->twoState || std::isfinite(point->out),
            "what sounds is finite");
    }
  }

  Halveron engine_{nullptr, HostKind::kVst2};
  Module* module_ = nullptr;
  std::array<float, kFrames> silence_{};
  std::array<float, kFrames> sound_{};
  std::array<float*, kDawInputs> inputs_ = Channels<kDawInputs>(silence_.data());
  std::array<float*, kDawOutputs> outputs_ = Channels<kDawOutputs>(sound_.data());

  template <std::size_t kCount>
  static std::array<float*, kCount> Channels(float* channel) {
    std::array<float*, kCount> channels;
    channels.fill(channel);
    return channels;
  }
};

}  // namespace halveron::fuzzing
