#include "modules/midi/SD13CVToMIDICCConverter.h"

#include "framework/numbered_role.h"
#include "modules/midi/controller_lanes.h"

namespace halveron {

SD13CVToMIDICCConverter::SD13CVToMIDICCConverter(CFrame* frame, const HostTable& table,
                                                 int voiceIndex)
    : MidiModule(frame, table, voiceIndex) {
  // Two columns of four lanes: knob, number, jack.
  constexpr float kLeft = 24, kColumn = 112, kTop = 60, kRow = 44;
  channel_.digits =
      AddSpecialDigitEx("Channel", 26, 244, SharedBitmap::kRedDigits, 2, 1, midi::kChannels);
  channel_.up = AddKickButton("Up", 50, 236, SharedBitmap::kUpButton);
  channel_.up->caption = "";
  channel_.down = AddKickButton("Down", 50, 253, SharedBitmap::kDownButton);
  channel_.down->caption = "";
  for (int i = 0; i < kLanes; ++i) {
    const float x = kLeft + kColumn * static_cast<float>(i / 4);
    const float y = kTop + kRow * static_cast<float>(i % 4);
    AddModuleKnob(controllers_[i], NumberedRole<"Controller">(i), x, y, SharedBitmap::kGrayKnob,
                  PositionValue(FirstControllerOf(i), kControllers));
    controllers_[i].View().caption = NumberedRole<"CC">(i);
    controllerDigits_[i] = AddSpecialDigitEx(NumberedRole<"Number">(i), x + 32, y,
                                             SharedBitmap::kRedDigits, 3, 0, 127, TAG_NONE);
    controllerDigits_[i]->caption = "";
  }
  bipolar_ = AddVerticalSwitch("Bipolar", 132, 244, SharedBitmap::kVerticalSwitch, 0.0f);
  AddMessageLamp(midiOut_.lamp, "Activity LED", 216, 232);
  for (int i = 0; i < kLanes; ++i) {
    AddPatchPoint(ins_[i], NumberedRole<"In">(i), kLeft + kColumn * static_cast<float>(i / 4) + 68,
                  kTop + kRow * static_cast<float>(i % 4));
  }
  AddPatchPoint(channelStep_, "Channel", 88, 244);
  AddMidiPatchPoint(midiOut_.point, "MIDI out", 196, 244);
  FinishPanel();
  for (Knob& controller : controllers_) ValueChanged(controller);
}

void SD13CVToMIDICCConverter::ProcessSample() {
  if (channel_.Step(channelStep_->in)) kernel_.ForgetSent();
  midiOut_.Step(kernel_.Step(channel_.channel, [this](int lane) {
    return ins_[lane].IsCabled()
               ? SD13CVToMIDICCConverterKernel::ValueOf(ins_[lane]->in, isBipolar_)
               : -1;
  }));
}

void SD13CVToMIDICCConverter::SetSampleRate(float rate) {
  MidiModule::SetSampleRate(rate);
  kernel_.Prepare(rate);
  channel_.stepper.Prepare(rate);
}

void SD13CVToMIDICCConverter::ValueChanged(CControl* control) {
  if (channel_.ValueChanged(control)) {
    const ProcessingSection section(*this);
    kernel_.ForgetSent();
  } else if (control == bipolar_) {
    isBipolar_ = bipolar_->getValue() >= 0.5f;
  }
  for (int i = 0; i < kLanes; ++i) {
    if (control != controllers_[i]) continue;
    const int number = KnobPosition(controllers_[i], kControllers);
    controllerDigits_[i]->setValue(static_cast<float>(number));
    if (number == kernel_.lanes[i].controller) continue;
    const ProcessingSection section(*this);
    kernel_.lanes[i].controller = number;
    kernel_.lanes[i].sent = SD13CVToMIDICCConverterKernel::kNothingSent;
  }
}

void SD13CVToMIDICCConverter::CableConnected(PatchPoint* point) {
  // A receiver that has just been plugged in knows no values, and a lane that was, sent none.
  if (point == midiOut_.point) kernel_.ForgetSent();
  for (int i = 0; i < kLanes; ++i) {
    if (point == ins_[i]) kernel_.lanes[i].sent = SD13CVToMIDICCConverterKernel::kNothingSent;
  }
}

}  // namespace halveron
