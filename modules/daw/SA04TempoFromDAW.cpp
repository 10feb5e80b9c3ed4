#include "modules/daw/SA04TempoFromDAW.h"

namespace halveron {

SA04TempoFromDAW::SA04TempoFromDAW(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kCentre = 42;
  AddSteppedKnob(resolution_, "Resolution", kCentre, 75, SharedBitmap::kGrayKnob5, 1.0f);
  AddLamp(clockLamp_, "Clock lamp", kCentre, 125, SharedBitmap::kRedLamp);
  AddPatchPoint(clock_, "Clock", kCentre, 235);
  AddPatchPoint(reset_, "Reset", kCentre, 185);

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(resolution_);

  RegisterForBlockStart();
}

void SA04TempoFromDAW::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
}

void SA04TempoFromDAW::ValueChanged(CControl* control) {
  if (control == resolution_) resolution_.View().SnapToStep();
}

void SA04TempoFromDAW::LoadPreset(const void* buffer, int size, int version) {
  Module::LoadPreset(buffer, size, version);
  WriteClock();
}

void SA04TempoFromDAW::BlockStart(int) {
  transport_.Update(*this, kVstTempoValid);
  const int position = ClockResolutionPosition(resolution_.View().GetStepIndex());
  kernel_.SetTempo(transport_.tempo, kTicksPerQuarter[position]);
}

void SA04TempoFromDAW::ProcessSample() {
  kernel_.Step(reset_->in);
  WriteClock();
}

void SA04TempoFromDAW::WriteClock() {
  clock_->out = kernel_.clock;
  clockLamp_.Set(kernel_.clock);
}

}  // namespace halveron
