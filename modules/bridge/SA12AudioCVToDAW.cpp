#include "modules/bridge/SA12AudioCVToDAW.h"

namespace halveron {

SA12AudioCVToDAW::SA12AudioCVToDAW(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  for (int i = 0; i < kJackCount; ++i) {
    AddPatchPoint(ins_[i], kJackRoles[i], JackX(i), JackY(i));
    points_[i] = ins_[i];
  }

  clipLevel = -1.0f;
  monoSelectable = false;
  InitPatchPoints(0.0f);
}

void SA12AudioCVToDAW::ProcessSample() {
  constexpr int kFirstChannel = 2;
  SendToDAW(points_.data(), kFirstChannel);
}

}  // namespace halveron
