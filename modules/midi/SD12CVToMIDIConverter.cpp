#include "modules/midi/SD12CVToMIDIConverter.h"

namespace halveron {

SD12CVToMIDIConverter::SD12CVToMIDIConverter(CFrame* frame, const HostTable& table, int voiceIndex)
    : MidiModule(frame, table, voiceIndex) {
  constexpr float kLeft = 30, kRight = 78;
  channel_.digits =
      AddSpecialDigitEx("Channel", kLeft + 4, 72, SharedBitmap::kRedDigits, 2, 1, midi::kChannels);
  channel_.up = AddKickButton("Up", kRight - 4, 63, SharedBitmap::kUpButton);
  channel_.up->caption = "";
  channel_.down = AddKickButton("Down", kRight - 4, 81, SharedBitmap::kDownButton);
  channel_.down->caption = "";
  AddMessageLamp(midiOut_.lamp, "Activity LED", kRight + 18, 234);
  AddPatchPoint(gate_, "Gate", kLeft, 132);
  AddPatchPoint(pitch_, "Pitch", kRight, 132);
  AddPatchPoint(velocity_, "Velocity", kLeft, 188);
  AddPatchPoint(channelStep_, "Channel", kRight, 188);
  AddMidiPatchPoint(midiOut_.point, "MIDI out", kRight, 246);
  FinishPanel();
}

void SD12CVToMIDIConverter::ProcessSample() {
  channel_.Step(channelStep_->in);
  const int velocity = velocity_.IsCabled() ? SD12CVToMIDIConverterKernel::VelocityOf(velocity_->in)
                                            : SD12CVToMIDIConverterKernel::kPlainVelocity;
  midiOut_.Step(kernel_.Step(gate_->in, pitch_->in, velocity, channel_.channel));
}

void SD12CVToMIDIConverter::SetSampleRate(float rate) {
  MidiModule::SetSampleRate(rate);
  channel_.stepper.Prepare(rate);
}

void SD12CVToMIDIConverter::ValueChanged(CControl* control) { channel_.ValueChanged(control); }

}  // namespace halveron
