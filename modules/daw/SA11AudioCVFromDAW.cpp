#include "modules/daw/SA11AudioCVFromDAW.h"

#include "framework/numbered_role.h"

namespace halveron {

SA11AudioCVFromDAW::SA11AudioCVFromDAW(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  for (int i = 0; i < kJackCount; ++i) {
    AddPatchPoint(outs_[i], NumberedRole<"">(i), JackX(i), JackY(i));
    points_[i] = outs_[i];
  }

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
}

void SA11AudioCVFromDAW::ProcessSample() { ReceiveFromDAW(points_.data()); }

}  // namespace halveron
