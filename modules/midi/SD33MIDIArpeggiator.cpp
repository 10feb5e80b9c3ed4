#include "modules/midi/SD33MIDIArpeggiator.h"

#include <algorithm>
#include <array>

namespace halveron {

namespace {

constexpr int kSemitonesPerOctave = 12;
constexpr int kRangePositions = 5;  // 0 to 4 octaves
// Second, thirds, fourth, fifth, octave and two octaves, in semitones.
constexpr std::array<int, 7> kOctaveSteps{2, 3, 4, 5, 7, 12, 24};
constexpr float kOneOctaveStep = 0.8333334f;  // position 5 of 0 to 6

}  // namespace

SD33MIDIArpeggiator::SD33MIDIArpeggiator(CFrame* frame, const HostTable& table, int voiceIndex)
    : MidiModule(frame, table, voiceIndex) {
  constexpr float kLeft = 32, kRight = 88;
  AddSteppedKnob(mode_, "Mode", kLeft, 64, SharedBitmap::kGrayKnob7, 0.1666667f);
  AddModuleKnob(gate_, "Gate", kRight, 64, SharedBitmap::kGrayKnob, 0.5f);
  AddSteppedKnob(octaveRange_, "Octave range", kLeft, 114, SharedBitmap::kGrayKnob5, 0.0f);
  octaveRange_.View().caption = "Range";
  AddSteppedKnob(octaveStep_, "Octave step", kRight, 114, SharedBitmap::kGrayKnob7, kOneOctaveStep);
  octaveStep_.View().caption = "Step";
  startAtOnce_ = AddVerticalSwitch("Start at once", 22, 164, SharedBitmap::kVerticalSwitch, 1.0f);
  startAtOnce_->caption = "At once";
  hold_ = AddVerticalSwitch("Hold", 60, 164, SharedBitmap::kVerticalSwitch, 0.0f);
  followClock_ = AddVerticalSwitch("Follow clock", 98, 164, SharedBitmap::kVerticalSwitch, 0.0f);
  followClock_->caption = "Clocked";
  AddMessageLamp(midiOut_.lamp, "Activity LED", kRight + 18, 234);
  AddMidiPatchPoint(midiIn_, "MIDI in", kLeft, 246);
  AddPatchPoint(clock_, "Clock", kLeft, 204);
  AddMidiPatchPoint(midiOut_.point, "MIDI out", kRight, 246);
  FinishPanel();
  for (CControl* control : std::initializer_list<CControl*>{&mode_.View(), &octaveRange_.View(),
                                                            startAtOnce_, hold_, followClock_}) {
    ValueChanged(control);
  }
}

void SD33MIDIArpeggiator::ProcessSample() {
  kernel_.gate = gate_->value;
  midiOut_.Step(kernel_.Step(MidiCableWord::FromCell(midiIn_->in), clock_->in));
}

void SD33MIDIArpeggiator::ValueChanged(CControl* control) {
  const ProcessingSection section(*this);
  if (control == mode_) {
    kernel_.SetMode(mode_.View().SnapToStep());
  } else if (control == octaveRange_ || control == octaveStep_) {
    constexpr int kLastStep = static_cast<int>(kOctaveSteps.size()) - 1;
    const int octaves = std::clamp(octaveRange_.View().SnapToStep(), 0, kRangePositions - 1);
    const int step = std::clamp(octaveStep_.View().SnapToStep(), 0, kLastStep);
    kernel_.SetOctaves(octaves * kSemitonesPerOctave, kOctaveSteps[step]);
  } else if (control == startAtOnce_) {
    kernel_.startAtOnce = startAtOnce_->getValue() >= 0.5f;
  } else if (control == hold_) {
    kernel_.SetHold(hold_->getValue() >= 0.5f);
  } else if (control == followClock_) {
    kernel_.followClock = followClock_->getValue() >= 0.5f;
  }
}

void SD33MIDIArpeggiator::CableDisconnected(PatchPoint* point) {
  if (point == midiIn_) kernel_.ReleaseAllKeys();
}

}  // namespace halveron
