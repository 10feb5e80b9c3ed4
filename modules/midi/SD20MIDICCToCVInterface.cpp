#include "modules/midi/SD20MIDICCToCVInterface.h"

#include "framework/numbered_role.h"
#include "modules/midi/controller_lanes.h"

namespace halveron {

SD20MIDICCToCVInterface::SD20MIDICCToCVInterface(CFrame* frame, const HostTable& table,
                                                 int voiceIndex)
    : MidiModule(frame, table, voiceIndex) {
  // Two columns of four lanes: knob, number, learn button, lamp, jack.
  constexpr float kLeft = 22, kColumn = 138, kTop = 60, kRow = 44;
  const auto x = [](int lane) { return kLeft + kColumn * static_cast<float>(lane / 4); };
  const auto y = [](int lane) { return kTop + kRow * static_cast<float>(lane % 4); };
  for (int i = 0; i < kLanes; ++i) {
    AddModuleKnob(controllers_[i], NumberedRole<"Controller">(i), x(i), y(i),
                  SharedBitmap::kGrayKnob, PositionValue(FirstControllerOf(i), kControllers));
    controllers_[i].View().caption = NumberedRole<"CC">(i);
    controllerDigits_[i] = AddSpecialDigitEx(NumberedRole<"Number">(i), x(i) + 33, y(i),
                                             SharedBitmap::kRedDigits, 3, 0, 127, TAG_NONE);
    controllerDigits_[i]->caption = "";
    learnButtons_[i] =
        AddOnOffButton(NumberedRole<"Learn">(i), x(i) + 66, y(i), SharedBitmap::kRedButton, 0.0f);
    learnButtons_[i]->caption = "Learn";
  }
  pairs_ = AddVerticalSwitch("14 bit", 88, 244, SharedBitmap::kVerticalSwitch, 0.0f);
  for (int i = 0; i < kLanes; ++i) {
    AddMessageLamp(lamps_[i], NumberedRole<"Activity LED">(i), x(i) + 118, y(i) - 12);
  }
  AddMidiPatchPoint(midiIn_, "MIDI in", kLeft + 4, 244);
  for (int i = 0; i < kLanes; ++i) {
    AddPatchPoint(outs_[i], NumberedRole<"Out">(i), x(i) + 100, y(i));
  }
  FinishPanel();
  for (Knob& controller : controllers_) ValueChanged(controller);
}

void SD20MIDICCToCVInterface::ProcessSample() {
  const auto word = MidiCableWord::FromCell(midiIn_->in);
  if (!word.IsNone()) TakeWord(word);
  for (HeldLamp& lamp : lamps_) lamp.Tick();
  if (!isMoving_) return;
  isMoving_ = kernel_.Smooth();
  for (int i = 0; i < kLanes; ++i) outs_[i]->out = static_cast<float>(kernel_.lanes[i].level);
}

void SD20MIDICCToCVInterface::TakeWord(MidiCableWord word) {
  const int learned = learn_.TakeController(word);
  if (learned != MidiLearn::kNone) {
    controllers_[learned].View().SetAtOnce(PositionValue(word.Data1(), kControllers));
    learnButtons_[learned]->StoreValue(0.0f);
    ValueChanged(controllers_[learned]);
  }
  const std::uint32_t moved = kernel_.Take(word);
  if (moved != 0) isMoving_ = true;
  for (int i = 0; i < kLanes; ++i) {
    if ((moved >> i & 1) != 0) lamps_[i].Light();
  }
}

void SD20MIDICCToCVInterface::SetSampleRate(float rate) {
  MidiModule::SetSampleRate(rate);
  kernel_.Prepare(rate);
}

void SD20MIDICCToCVInterface::ValueChanged(CControl* control) {
  if (control == pairs_) kernel_.pairs = pairs_->getValue() >= 0.5f;
  for (int i = 0; i < kLanes; ++i) {
    if (control == learnButtons_[i]) LearnButtonChanged(i);
    if (control != controllers_[i]) continue;
    const int number = KnobPosition(controllers_[i], kControllers);
    kernel_.lanes[i].controller = number;
    controllerDigits_[i]->setValue(static_cast<float>(number));
  }
}

void SD20MIDICCToCVInterface::LearnButtonChanged(int lane) {
  if (learnButtons_[lane]->getValue() < 0.5f) {
    learn_.Disarm(lane);
    return;
  }
  learn_.Arm(lane);
  for (int i = 0; i < kLanes; ++i) {
    if (i != lane) learnButtons_[i]->setValue(0.0f);
  }
}

}  // namespace halveron
