#include "modules/midi/SD14ClockSyncToMIDI.h"

#include <algorithm>
#include <array>

namespace halveron {

namespace {

// MIDI ticks, 24 to a quarter note, that pass between two clocks of the clock sources, whose
// positions stand in the same order.
constexpr std::array<int, 5> kTicksPerClock{1, 3, 6, 12, 24};

}  // namespace

SD14ClockSyncToMIDI::SD14ClockSyncToMIDI(CFrame* frame, const HostTable& table, int voiceIndex)
    : MidiModule(frame, table, voiceIndex) {
  constexpr float kCentre = 42;
  AddSteppedKnob(ticksPerClock_, "Ticks per clock", 28, 64, SharedBitmap::kGrayKnob5, 1.0f);
  ticksPerClock_.View().caption = "Ticks";
  ticksDigits_ =
      AddSpecialDigitEx("Ticks display", 58, 64, SharedBitmap::kRedDigits, 2, 0, 99, TAG_NONE);
  ticksDigits_->caption = "";
  startOrContinue_ =
      AddVerticalSwitch("Start or continue", kCentre, 108, SharedBitmap::kVerticalSwitch, 0.0f);
  startOrContinue_->caption = "Start/Cont";
  AddMessageLamp(midi_.lamp, "Activity LED", kCentre + 18, 234);
  AddPatchPoint(clock_, "Clock", kCentre, 154);
  AddPatchPoint(run_, "Run", kCentre, 200);
  AddMidiPatchPoint(midi_.point, "MIDI", kCentre, 246);
  FinishPanel();
  ValueChanged(ticksPerClock_);
}

void SD14ClockSyncToMIDI::ProcessSample() { midi_.Step(kernel_.Step(clock_->in, run_->in)); }

void SD14ClockSyncToMIDI::ValueChanged(CControl* control) {
  if (control == ticksPerClock_) {
    constexpr int kLast = static_cast<int>(kTicksPerClock.size()) - 1;
    kernel_.ticksPerClock =
        kTicksPerClock[std::clamp(ticksPerClock_.View().SnapToStep(), 0, kLast)];
    ticksDigits_->setValue(static_cast<float>(kernel_.ticksPerClock));
  } else if (control == startOrContinue_) {
    kernel_.continues = startOrContinue_->getValue() >= 0.5f;
  }
}

void SD14ClockSyncToMIDI::CableDisconnected(PatchPoint* point) {
  if (point == clock_ && !clock_.IsCabled()) kernel_.StopClock();
}

}  // namespace halveron
