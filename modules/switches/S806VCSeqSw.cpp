#include "modules/switches/S806VCSeqSw.h"

#include "dsp/shaping.h"
#include "framework/numbered_role.h"

namespace halveron {

S806VCSeqSw::S806VCSeqSw(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 26, kRight = 66, kTop = 66, kRow = 46, kFirstPort = kTop + kRow;
  AddModuleKnob(position_, "Position", kLeft, kTop, SharedBitmap::kGrayKnob, 1.0f);
  for (int i = 0; i < kPorts; ++i) {
    AddLamp(lamps_[i], NumberedRole<"LED">(i), kRight + 20,
            kFirstPort + kRow * static_cast<float>(i), SharedBitmap::kRedLamp);
  }
  AddPatchPoint(up_, "Up", kLeft, kTop + kRow * 2);
  AddPatchPoint(down_, "Down", kLeft, kTop + kRow * 3);
  AddPatchPoint(positionCv_, "Position CV", kLeft, kTop + kRow);
  AddPatchPoint(reset_, "Reset", kLeft, kTop + kRow * 4);
  AddPatchPoint(common_, "Common", kRight, kTop);
  for (int i = 0; i < kPorts; ++i) {
    AddPatchPoint(ports_[i], NumberedRole<"Port">(i), kRight,
                  kFirstPort + kRow * static_cast<float>(i));
  }

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ShowPort(0);
}

void S806VCSeqSw::ProcessSample() {
  position_->SmoothValue();
  const bool up = upEdges_.Step(up_->in);
  const bool down = downEdges_.Step(down_->in);
  if (reset_->in >= dsp::kGateThreshold) {
    step_ = 0;
  } else {
    if (up) step_ = (step_ + 1) % kPorts;
    if (down) step_ = (step_ + kPorts - 1) % kPorts;
  }
  const int port = PortAt(positionCv_->in * position_->smoothed_value * kPorts);
  ports_[port]->out = common_->in;
  common_->out = ports_[port]->in;
  if (port != litPort_) ShowPort(port);
}

void S806VCSeqSw::ShowPort(int port) {
  litPort_ = port;
  for (int i = 0; i < kPorts; ++i) lamps_[i].Set(i == port ? 1.0f : 0.0f);
}

void S806VCSeqSw::LoadPreset(const void* buffer, int size, int version) {
  BuiltInModule::LoadPreset(buffer, size, version);
  const ProcessingSection section(*this);
  ShowPort(litPort_);
}

int S806VCSeqSw::PortAt(double shift) const {
  // A MIDI word on the input may be any number or none; this leaves the integer its range.
  constexpr double kFarthest = 1e6;
  const double position = dsp::LimitSymmetric(dsp::FiniteOrZero(shift) + step_, kFarthest);
  const int port = static_cast<int>(position) % kPorts;
  return port < 0 ? port + kPorts : port;
}

}  // namespace halveron
