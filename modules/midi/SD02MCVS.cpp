#include "modules/midi/SD02MCVS.h"

#include <algorithm>
#include <cmath>

#include "framework/host_transport.h"
#include "framework/preset_tail.h"

namespace halveron {

namespace {

constexpr int kOptionBytes = 17;

// Revisions of the preset data.
constexpr int kNewGlideLawVersion = 1002;
constexpr int kAftertouchVersion = 1003;  // one more patch point, three more options
constexpr int kLsbSwitchVersion = 1004;   // one more option

// The glide knob reached 10 s where it now reaches 6 s.
constexpr double kOldGlideReach = 1.18563110149669;

}  // namespace

SD02MCVS::SD02MCVS(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  AddModuleKnob(glideTime_, "Glide time", 32, 60, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnob(bendRange_, "Bend range", 76, 60, SharedBitmap::kSmallKnob, 0.0f);
  firstNoteGlide_ =
      AddVerticalSwitch("First-note glide", 32, 104, SharedBitmap::kVerticalSwitch, 1);
  firstNoteGlide_->caption = "First glide";
  retrigger_ = AddVerticalSwitch("Retrigger", 76, 104, SharedBitmap::kVerticalSwitch, 1);
  AddLamp(clockLamp_, "Clock lamp", 20, 258, SharedBitmap::kBlueLamp);
  AddLamp(stopLamp_, "Stop lamp", 54, 258, SharedBitmap::kRedLamp);
  AddLamp(gateLamp_, "Gate lamp", 88, 258, SharedBitmap::kBlueLamp);
  AddPatchPoint(clock_, "Clock", 20, 236);
  AddPatchPoint(stop_, "Stop", 54, 236);
  AddPatchPoint(gate_, "Gate", 88, 236);
  AddPatchPoint(pitch_, "Pitch", 88, 192);
  AddPatchPoint(velocity_, "Velocity", 54, 192);
  AddPatchPoint(pitchBend_, "Pitch bend", 54, 148);
  AddPatchPoint(modWheel_, "Mod wheel", 88, 148);
  AddMidiPatchPoint(midiIn_, "MIDI in", 20, 148);
  AddPatchPoint(aftertouch_, "Aftertouch", 20, 192);
  pitchBend_.View().caption = "Bend";
  modWheel_.View().caption = "Mod";
  aftertouch_.View().caption = "Touch";

  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  HostTransport transport;
  transport.Update(*this, kVstTempoValid);
  kernel_.AssumeTempo(transport.tempo);
  ValueChanged(glideTime_);
  ValueChanged(bendRange_);
  ValueChanged(firstNoteGlide_);
  ValueChanged(retrigger_);
}

void SD02MCVS::ProcessSample() {
  const MidiCableWord word = MidiCableWord::FromCell(midiIn_->in);
  if (word.IsNone() && IsAtRest()) {  // as most voices do most of the time
    kernel_.Rest();
    WriteWithLamp(clock_, clockLamp_, kernel_.clock);
    return;
  }
  const bool noteBegan = kernel_.Step(word);
  WriteOutputs();
  if (noteBegan && engine->hostKind == HostKind::kClap) {
    hostTable.BindNoteSlotToVoice(editor, voice, word.Extra());
  }
}

VoiceGroupMaker SD02MCVS::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<SD02MCVS>(unit);
}

void SD02MCVS::WriteWithLamp(Output& output, Lamp& lamp, float level) {
  if (output->out == level) return;
  output->out = level;
  lamp.Set(level);
}

void SD02MCVS::WriteOutputs() {
  WriteWithLamp(clock_, clockLamp_, kernel_.clock);
  WriteWithLamp(stop_, stopLamp_, kernel_.stop);
  WriteWithLamp(gate_, gateLamp_, kernel_.gate);
  pitch_->out = kernel_.pitch;
  velocity_->out = kernel_.velocity;
  pitchBend_->out = kernel_.bend;
  modWheel_->out = kernel_.mod;
  aftertouch_->out = kernel_.aftertouch;
}

void SD02MCVS::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
}

void SD02MCVS::ValueChanged(CControl* control) {
  if (control == glideTime_) {
    kernel_.SetGlideTime(glideTime_->value);
  } else if (control == bendRange_) {
    kernel_.SetBendRange(bendRange_->value);
  } else if (control == firstNoteGlide_) {
    kernel_.firstNoteGlides = firstNoteGlide_->getValue() >= 0.5f;
  } else if (control == retrigger_) {
    kernel_.retriggerOn = retrigger_->getValue() >= 0.5f;
  }
}

void SD02MCVS::CableDisconnected(PatchPoint*) {
  kernel_.Silence();
  WriteOutputs();
}

int SD02MCVS::GetPresetSize() { return PresetTail(*this).SizeWith(kOptionBytes); }

void SD02MCVS::SavePreset(void* buffer, int size) {
  ByteWriter writer = PresetTail(*this).Save(buffer, size);
  writer.Write(kernel_.glideConstantRate);
  writer.Write(static_cast<std::int32_t>(kernel_.retriggerValue));
  writer.Write(kernel_.velocityLevel);
  writer.Write(kernel_.modTarget);
  writer.Write(kernel_.modSmoothing);
  writer.Write(kernel_.msbDirectionLsb);
  writer.Write(kernel_.bendSmoothing);
  writer.Write(kernel_.lsbEnabled);
}

void SD02MCVS::LoadPreset(const void* buffer, int size, int version) {
  ByteReader options = PresetTail(*this).Load(buffer, size, version < kAftertouchVersion ? 1 : 0);
  if (version < kNewGlideLawVersion) {
    firstNoteGlide_->setValue(1.0f);
    ValueChanged(firstNoteGlide_);
    if (size >= static_cast<int>(sizeof(float))) {
      glideTime_.View().SetAtOnce(static_cast<float>(glideTime_->value * kOldGlideReach));
      ValueChanged(glideTime_);
    }
  }
  LoadOptions(options, version);
  clockLamp_.Set(clock_->out);
  stopLamp_.Set(stop_->out);
  gateLamp_.Set(gate_->out);
}

void SD02MCVS::LoadOptions(ByteReader& reader, int version) {
  const auto readLevel = [&reader](float& level) {
    float stored = level;
    if (reader.Read(stored) && std::isfinite(stored)) level = stored;
  };
  reader.Read(kernel_.glideConstantRate);
  std::int32_t retriggerValue = kernel_.retriggerValue;
  reader.Read(retriggerValue);
  kernel_.SetRetrigger(retriggerValue);
  readLevel(kernel_.velocityLevel);
  readLevel(kernel_.modTarget);
  if (version < kAftertouchVersion) return;
  reader.Read(kernel_.modSmoothing);
  reader.Read(kernel_.msbDirectionLsb);
  reader.Read(kernel_.bendSmoothing);
  if (version < kLsbSwitchVersion) return;
  reader.Read(kernel_.lsbEnabled);
}

}  // namespace halveron
