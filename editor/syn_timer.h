// A clock of the rack's window.
#pragma once

#include "gui/timer.h"

namespace halveron {

class CFrame;

/// Calls its frame's `notify` with itself as the sender, again and again while it runs.
class SynTimer final : public CVSTGUITimer {
 public:
  SynTimer(CFrame* frame, int periodMilliseconds);
  HALVERON_TYPE_OF(SynTimer, CVSTGUITimer)
};

}  // namespace halveron
