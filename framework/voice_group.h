// All voices of one module in one call.
#pragma once

#include <memory>
#include <span>

namespace halveron {

class Module;

namespace dsp {
struct Sse2;
struct Avx2;
struct Avx512;
}  // namespace dsp

/// Vector instructions that a build holds code for; each can do what those before it can.
enum class VectorUnit : int { kNone, kSse2, kAvx2, kAvx512 };

/// The widest that this machine has.
VectorUnit WidestVectorUnit();

/// Runs the instances of a module, from voice 0 up, side by side in the lanes of vectors, with the
/// same bits as their ProcessSample.
///
/// Between blocks all state is in the modules, where everyone else finds it; a group takes it up
/// when a block begins and puts it back when the block ends. Audio thread, inside the processing
/// lock.
class VoiceGroup {
 public:
  virtual ~VoiceGroup() = default;

  /// Takes up what the modules hold. False, with nothing changed, if the voices differ in what
  /// must be alike for one call: then each runs by itself.
  virtual bool Load() = 0;
  /// One sample of all voices.
  virtual void Run() = 0;
  /// Puts the state back into the modules.
  virtual void Store() = 0;
};

/// `voices` are instances of the maker's class, their signals laid in rows.
using VoiceGroupMaker = std::unique_ptr<VoiceGroup> (*)(std::span<Module* const> voices);

/// Defined once for each unit, in a file that is compiled for it.
template <class M, class Unit>
std::unique_ptr<VoiceGroup> MakeVoiceGroup(std::span<Module* const> voices);

/// The maker of a class whose voices run in vectors.
template <class M>
VoiceGroupMaker VoiceGroupMakerOf(VectorUnit unit) {
  switch (unit) {
    case VectorUnit::kSse2:
      return &MakeVoiceGroup<M, dsp::Sse2>;
    case VectorUnit::kAvx2:
      return &MakeVoiceGroup<M, dsp::Avx2>;
    case VectorUnit::kAvx512:
      return &MakeVoiceGroup<M, dsp::Avx512>;
    case VectorUnit::kNone:
      break;
  }
  return nullptr;
}

}  // namespace halveron
