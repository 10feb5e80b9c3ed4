#include "modules/clocks/S704DualGatetoTrigger.h"

#include "framework/numbered_role.h"

namespace halveron {

S704DualGatetoTrigger::S704DualGatetoTrigger(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kMiddle = 48, kFirstIn = 66, kLane = 112, kLamp = 26, kOut = 52;
  for (std::size_t i = 0; i < lanes_.size(); ++i) {
    AddLamp(lanes_[i].lamp, NumberedRole<"LED">(i), kMiddle,
            kFirstIn + kLamp + kLane * static_cast<float>(i), SharedBitmap::kRedLamp);
  }
  for (std::size_t i = 0; i < lanes_.size(); ++i) {
    const float top = kFirstIn + kLane * static_cast<float>(i);
    AddPatchPoint(lanes_[i].in, NumberedRole<"In">(i), kMiddle, top);
    AddPatchPoint(lanes_[i].out, NumberedRole<"Out">(i), kMiddle, top + kOut);
  }

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S704DualGatetoTrigger::ProcessSample() {
  for (Lane& lane : lanes_) {
    const float level = lane.edges.Step(lane.in->in) ? 1.0f : 0.0f;
    lane.out->out = level;
    lane.lamp.Set(level);
  }
}

}  // namespace halveron
