#include "modules/daw/SA03MSFromDAW.h"

namespace halveron {

SA03MSFromDAW::SA03MSFromDAW(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 28, kRight = 80;
  AddSteppedKnob(resolution_, "Resolution", kLeft, 75, SharedBitmap::kGrayKnob5, 1.0f);
  midiClock_ = AddVerticalSwitch("MIDI clock", kRight, 75, SharedBitmap::kVerticalSwitch, 0.0f);
  AddLamp(clockLamp_, "Clock lamp", kLeft, 135, SharedBitmap::kRedLamp);
  AddLamp(stopLamp_, "Stop lamp", kLeft, 185, SharedBitmap::kRedLamp);
  AddLamp(midiLamp_, "MIDI lamp", kLeft, 235, SharedBitmap::kBlueLamp);
  AddPatchPoint(clock_, "Clock", kRight, 135);
  AddPatchPoint(stop_, "Stop", kRight, 185);
  AddMidiPatchPoint(midi_, "MIDI", kRight, 235);

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ValueChanged(resolution_);
  WriteLevels();

  RegisterForEvents();
  RegisterForBlockStart();
}

void SA03MSFromDAW::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
  midiLamp_.SetHold(rate, 0.1);
}

void SA03MSFromDAW::ValueChanged(CControl* control) {
  if (control == resolution_) resolution_.View().SnapToStep();
}

void SA03MSFromDAW::LoadPreset(const void* buffer, int size, int version) {
  Module::LoadPreset(buffer, size, version);
  // The lamps were saved with the other controls, but what they show is of this moment.
  WriteLevels();
  if (MidiCableWord::FromCell(midi_->out).IsNone()) {
    midiLamp_.Darken();
  } else {
    midiLamp_.Light();
  }
}

void SA03MSFromDAW::ProcessEvents(VstEvents* events) { kernel_.ring.TakeEvents(*events); }

void SA03MSFromDAW::BlockStart(int frames) {
  transport_.Update(*this, kVstPpqPosValid | kVstTempoValid | kVstTransportPlaying);
  const int position = ClockResolutionPosition(resolution_->smoothed_value * 4);
  kernel_.StartBlock(frames, oversampled ? engine->oversamplingSteps : 1, transport_,
                     kTicksPerQuarter[position], SendsClock());
}

void SA03MSFromDAW::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, Stepped(resolution_));

  const MidiCableWord word = kernel_.Step(SendsClock());
  midi_->out = word.ToCell();
  if (word.IsNone()) {
    midiLamp_.Tick();
  } else {
    midiLamp_.Light();
  }
  if (clock_->out != kernel_.clock || stop_->out != kernel_.stop) WriteLevels();
}

void SA03MSFromDAW::WriteLevels() {
  clock_->out = kernel_.clock;
  clockLamp_.Set(kernel_.clock);
  stop_->out = kernel_.stop;
  stopLamp_.Set(kernel_.stop == SA03MSFromDAWKernel::kPaused ? 0.5f : kernel_.stop);
}

}  // namespace halveron
