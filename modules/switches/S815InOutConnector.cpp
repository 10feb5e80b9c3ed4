#include "modules/switches/S815InOutConnector.h"

namespace halveron {

S815InOutConnector::S815InOutConnector(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kInX = 24, kOutX = 60, kFirstRow = 80, kRow = 70;
  static constexpr const char* kInRoles[kLines] = {"In 1", "In 2", "In 3"};
  static constexpr const char* kOutRoles[kLines] = {"Out 1", "Out 2", "Out 3"};
  for (int i = 0; i < kLines; ++i) AddPatchPoint(ins_[i], kInRoles[i], kInX, kFirstRow + kRow * i);
  for (int i = 0; i < kLines; ++i) {
    AddPatchPoint(outs_[i], kOutRoles[i], kOutX, kFirstRow + kRow * i);
  }

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
}

void S815InOutConnector::ProcessSample() {
  for (int i = 0; i < kLines; ++i) outs_[i]->out = ins_[i]->in;
}

}  // namespace halveron
