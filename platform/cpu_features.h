// What the processor can do, asked once at run time.
#pragma once

namespace halveron::platform {

/// True where the four-wide dot product of SSE4.1 may be used.
bool HasSse41();
/// True where 256-bit integer and floating-point vectors may be used, if the system supports them,
/// too.
bool HasAvx2();
/// The same for 512-bit vectors (F, DQ, BW, VL).
bool HasAvx512();

}  // namespace halveron::platform
