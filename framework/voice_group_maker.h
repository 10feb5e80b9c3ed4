// How a module class offers to run all voices of a module in one call.
#pragma once

#include <span>

namespace halveron {

class Module;
struct OwnVoiceGroup;

namespace dsp {
struct Sse2;
struct Avx2Four;
struct Avx2;
struct Avx512Eight;
struct Avx512;
}  // namespace dsp

/// Vector instructions that a build holds code for; each can do what those before it can.
/// kAvx2Four takes as many lanes as kSse2 in half as many registers of doubles, and kAvx512Eight as
/// many as kAvx2; only groups have these two.
enum class VectorUnit : int { kNone, kSse2, kAvx2Four, kAvx2, kAvx512Eight, kAvx512 };

/// Makes a VoiceGroup (framework/voice_group.h). `voices` are instances of the maker's class, their
/// signals laid in rows.
using VoiceGroupMaker = OwnVoiceGroup (*)(std::span<Module* const> voices);

/// Defined once for each unit, in a file that is compiled for it.
template <class M, class Unit>
OwnVoiceGroup MakeVoiceGroup(std::span<Module* const> voices);

/// The maker of a class whose voices run in vectors.
template <class M>
VoiceGroupMaker VoiceGroupMakerOf(VectorUnit unit) {
  switch (unit) {
    case VectorUnit::kSse2:
      return &MakeVoiceGroup<M, dsp::Sse2>;
    case VectorUnit::kAvx2Four:
      return &MakeVoiceGroup<M, dsp::Avx2Four>;
    case VectorUnit::kAvx2:
      return &MakeVoiceGroup<M, dsp::Avx2>;
    case VectorUnit::kAvx512Eight:
      return &MakeVoiceGroup<M, dsp::Avx512Eight>;
    case VectorUnit::kAvx512:
      return &MakeVoiceGroup<M, dsp::Avx512>;
    case VectorUnit::kNone:
      break;
  }
  return nullptr;
}

}  // namespace halveron
