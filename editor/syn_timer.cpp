#include "editor/syn_timer.h"

#include "gui/frame.h"

namespace halveron {

SynTimer::SynTimer(CFrame* owner, int periodMilliseconds)
    : CVSTGUITimer(owner, static_cast<CBaseObject*>(owner), periodMilliseconds) {}

}  // namespace halveron
