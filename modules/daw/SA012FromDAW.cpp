#include "modules/daw/SA012FromDAW.h"

namespace halveron {

SA012FromDAW::SA012FromDAW(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kCentre = 36;
  AddPatchPoint(left_, "Left", kCentre, 185);
  AddPatchPoint(right_, "Right", kCentre, 235);

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
}

void SA012FromDAW::ProcessSample() { ReceiveStereoFromDAW(&left_->out, &right_->out); }

}  // namespace halveron
