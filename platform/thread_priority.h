// Threads that must not compete with the audio thread.
#pragma once

namespace halveron::platform {

/// Puts the calling thread one step below the priority of ordinary threads, out of any real-time
/// class that it inherited. Does nothing where the system refuses.
void LowerThreadPriority();

}  // namespace halveron::platform
