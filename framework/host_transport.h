// The host's transport as the bridge modules see it, validated.
#pragma once

#include "framework/host_events.h"

namespace halveron {

class Module;

/// The last valid transport. A host may report no transport, or a tempo or a position out of
/// range: such a value is ignored, and the one before it stays.
struct HostTransport {
  double tempo = 120.0;   ///< quarter notes a minute, kSlowest to kFastest
  double position = 0.0;  ///< quarter notes, at most kFarthest either way
  bool playing = false;

  static constexpr double kSlowest = 0.01;
  static constexpr double kFastest = 1e6;
  static constexpr double kFarthest = 1e12;

  /// Null means that there is no transport: it stands where it is.
  void Update(const VstTimeInfo* info);

  /// Asks the host that a module's rack runs in. `filter` is a mask of VstTimeInfoFlags. Audio
  /// thread, at the start of a block.
  void Update(const Module& module, int filter);
};

}  // namespace halveron
