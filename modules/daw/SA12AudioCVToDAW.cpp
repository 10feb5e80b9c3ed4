#include "modules/daw/SA12AudioCVToDAW.h"

#include "framework/numbered_role.h"

namespace halveron {

SA12AudioCVToDAW::SA12AudioCVToDAW(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  for (int i = 0; i < kJackCount; ++i) {
    AddPatchPoint(ins_[i], NumberedRole<"">(i), JackX(i), JackY(i));
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
