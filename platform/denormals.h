// Floating-point control for the audio thread.
#pragma once

#include <immintrin.h>

namespace halveron::platform {

/// While alive, the calling thread flushes denormal results to zero, reads denormal operands as
/// zero and has all floating-point exceptions masked. Afterwards the former control word stands
/// again, its six sticky exception flags cleared.
class DenormalsOff {
 public:
  DenormalsOff() : kept_(_mm_getcsr()) { _mm_setcsr(kFlushAndMask); }
  ~DenormalsOff() { _mm_setcsr(kept_ & ~kStickyFlags); }
  DenormalsOff(const DenormalsOff&) = delete;
  DenormalsOff& operator=(const DenormalsOff&) = delete;

 private:
  static constexpr unsigned kFlushAndMask = 0x9FC0;
  static constexpr unsigned kStickyFlags = 0x3F;
  unsigned kept_;
};

}  // namespace halveron::platform
