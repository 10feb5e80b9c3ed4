#include "modules/mixers/S102UnityMixer.h"

#include "framework/numbered_role.h"

namespace halveron {

S102UnityMixer::S102UnityMixer(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kMiddle = 24, kFirstRow = 58, kRow = 42;
  for (int i = 0; i < 4; ++i) {
    AddPatchPoint(ins_[i], NumberedRole<"In">(i), kMiddle, kFirstRow + kRow * i);
  }
  AddPatchPoint(out_, "Out", kMiddle, 258);

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S102UnityMixer::ProcessSample() {
  out_->out = Sum(ins_[0]->in, ins_[1]->in, ins_[2]->in, ins_[3]->in);
}

VoiceGroupMaker S102UnityMixer::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S102UnityMixer>(unit);
}

}  // namespace halveron
