// What the processor can do, asked once at run time.
#pragma once

namespace halveron::platform {

/// True where the four-wide dot product of SSE4.1 may be used.
bool HasSse41();

}  // namespace halveron::platform
