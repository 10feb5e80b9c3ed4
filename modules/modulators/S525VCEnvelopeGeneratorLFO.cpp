#include "modules/modulators/S525VCEnvelopeGeneratorLFO.h"

namespace halveron {

namespace {

// A stage has a column of its own.
constexpr float kAttackX = 28, kDecayX = 84, kSustainX = 140, kReleaseX = 196, kModesX = 252;
constexpr float kKnobs = 64, kAmounts = 112, kShapes = 160, kVoltages = 206, kJacks = 254;
constexpr float kRangeAside = 29;  // of a range switch from the middle of its column
constexpr float kLampAside = 25;

}  // namespace

S525VCEnvelopeGeneratorLFO::S525VCEnvelopeGeneratorLFO(CFrame* frame, const HostTable& table,
                                                       int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  AddKnobs();
  AddSwitches();
  AddPatchPoints();
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  for (CControl* mode : {fastRestart_, cycle_, gateRepeat_}) ValueChanged(mode);
}

void S525VCEnvelopeGeneratorLFO::AddKnobs() {
  const auto add = [this](Knob& knob, const char* role, float x, float y, float initial) {
    AddModuleKnobEx(knob, role, x, y, SharedBitmap::kSmallKnob, initial);
  };
  add(attack_, "Attack", kAttackX, kKnobs, 0.1f);
  add(decay_, "Decay", kDecayX, kKnobs, 0.3f);
  add(sustain_, "Sustain", kSustainX, kKnobs, 0.5f);
  add(release_, "Release", kReleaseX, kKnobs, 0.3f);
  add(attackAmount_, "Attack CV", kAttackX, kAmounts, 0.0f);
  add(decayAmount_, "Decay CV", kDecayX, kAmounts, 0.0f);
  add(sustainAmount_, "Sustain CV", kSustainX, kAmounts, 0.0f);
  add(releaseAmount_, "Release CV", kReleaseX, kAmounts, 0.0f);
  add(attackShape_, "Attack shape", kAttackX, kShapes, 0.5f);
  add(decayShape_, "Decay shape", kDecayX, kShapes, 0.5f);
  add(releaseShape_, "Release shape", kReleaseX, kShapes, 0.5f);
  add(restart_, "Restart time", kModesX, kKnobs, 0.0f);
  for (Knob* amount : {&attackAmount_, &decayAmount_, &sustainAmount_, &releaseAmount_}) {
    amount->View().caption = "CV amt";
  }
  for (Knob* shape : {&attackShape_, &decayShape_, &releaseShape_}) shape->View().caption = "Shape";
  restart_.View().caption = "Restart";
}

void S525VCEnvelopeGeneratorLFO::AddSwitches() {
  constexpr SharedBitmap kThree = SharedBitmap::kVerticalTripleSwitch;
  constexpr SharedBitmap kTwo = SharedBitmap::kVerticalSwitch;
  constexpr float kMiddleRange = 0.5f, kOff = 1.0f;
  attackRange_ =
      AddVerticalSwitch("Attack range", kAttackX + kRangeAside, kAmounts, kThree, kMiddleRange);
  decayRange_ =
      AddVerticalSwitch("Decay range", kDecayX + kRangeAside, kAmounts, kThree, kMiddleRange);
  releaseRange_ =
      AddVerticalSwitch("Release range", kReleaseX + kRangeAside, kAmounts, kThree, kMiddleRange);
  fastRestart_ = AddVerticalSwitch("Fast restart", kModesX, kAmounts, kTwo, kOff);
  cycle_ = AddVerticalSwitch("Cycle", kModesX, kShapes, kTwo, kOff);
  gateRepeat_ = AddVerticalSwitch("Gate repeat", kModesX, kVoltages, kTwo, kOff);
  for (CControl* range : {attackRange_, decayRange_, releaseRange_}) range->caption = "Time";
  fastRestart_->caption = "Fast";
  gateRepeat_->caption = "Repeat";
  AddLamp(attackLamp_, "Attack LED", kAttackX + kLampAside, kKnobs, SharedBitmap::kRedLamp);
  AddLamp(decayLamp_, "Decay LED", kDecayX + kLampAside, kKnobs, SharedBitmap::kRedLamp);
  AddLamp(sustainLamp_, "Sustain LED", kSustainX + kLampAside, kKnobs, SharedBitmap::kRedLamp);
  AddLamp(releaseLamp_, "Release LED", kReleaseX + kLampAside, kKnobs, SharedBitmap::kRedLamp);
  for (Lamp* lamp : {&attackLamp_, &decayLamp_, &sustainLamp_, &releaseLamp_}) {
    static_cast<CMovieBitmap*>(*lamp)->caption = "";
  }
}

void S525VCEnvelopeGeneratorLFO::AddPatchPoints() {
  AddPatchPoint(attackCv_, "Attack CV", kAttackX, kVoltages);
  AddPatchPoint(decayCv_, "Decay CV", kDecayX, kVoltages);
  AddPatchPoint(sustainCv_, "Sustain CV", kSustainX, kVoltages);
  AddPatchPoint(releaseCv_, "Release CV", kReleaseX, kVoltages);
  AddPatchPoint(gate_, "Gate", 26, kJacks);
  AddPatchPoint(retrigger_, "Retrigger", 64, kJacks);
  AddPatchPoint(decayStage_, "Decay stage", 106, kJacks);
  AddPatchPoint(sustainStage_, "Sustain stage", 143, kJacks);
  AddPatchPoint(releaseStage_, "Release stage", 180, kJacks);
  AddPatchPoint(end_, "End", 217, kJacks);
  AddPatchPoint(out_, "Out", 252, kJacks);
  retrigger_.View().caption = "Retrig";
  decayStage_.View().caption = "Decay";
  sustainStage_.View().caption = "Sustain";
  releaseStage_.View().caption = "Release";
}

void S525VCEnvelopeGeneratorLFO::ProcessSample() {
  movingKnobs_.Smooth();
  kernel_.Step({{attack_->smoothed_value, attackAmount_->smoothed_value, attackCv_->in},
                {decay_->smoothed_value, decayAmount_->smoothed_value, decayCv_->in},
                {sustain_->smoothed_value, sustainAmount_->smoothed_value, sustainCv_->in},
                {release_->smoothed_value, releaseAmount_->smoothed_value, releaseCv_->in},
                attackShape_->smoothed_value,
                decayShape_->smoothed_value,
                releaseShape_->smoothed_value,
                restart_->smoothed_value,
                gate_->in,
                retrigger_->in});
  out_->out = kernel_.out;
  decayStage_->out = kernel_.decayStage;
  sustainStage_->out = kernel_.sustainStage;
  releaseStage_->out = kernel_.releaseStage;
  end_->out = kernel_.end;
  ShowLamps();
}

VoiceGroupMaker S525VCEnvelopeGeneratorLFO::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S525VCEnvelopeGeneratorLFO>(unit);
}

void S525VCEnvelopeGeneratorLFO::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  for (const CControl* range : {attackRange_, decayRange_, releaseRange_}) SetRange(range);
  const ProcessingSection section(*this);
  kernel_.restartTime = Kernel::RestartRange(rate);
}

void S525VCEnvelopeGeneratorLFO::ValueChanged(CControl* control) {
  if (control->isTypeOf("ModuleKnobEx")) {
    movingKnobs_.Join(*this, static_cast<ModuleKnobEx*>(control)->Cell());
  } else if (!SetMode(control)) {
    SetRange(control);
  }
}

// A mode is on in the upper position.
bool S525VCEnvelopeGeneratorLFO::SetMode(const CControl* control) {
  if (control != fastRestart_ && control != cycle_ && control != gateRepeat_) return false;
  const bool isOn = control->getValue() < 0.5f;
  const ProcessingSection section(*this);
  if (control == fastRestart_) kernel_.SetFastRestart(isOn);
  if (control == cycle_) kernel_.SetCycle(isOn);
  if (control == gateRepeat_) kernel_.SetGateRepeat(isOn);
  return true;
}

void S525VCEnvelopeGeneratorLFO::SetRange(const CControl* control) {
  const float value = control->getValue();
  const int range = value < 0.5f ? Kernel::kSlow : value < 1.0f ? Kernel::kMiddle : Kernel::kFast;
  const Kernel::TimeRange time = Kernel::RangeOf(range, sampleRate);
  const ProcessingSection section(*this);
  if (control == attackRange_) kernel_.attackTime = time;
  if (control == decayRange_) kernel_.decayTime = time;
  if (control == releaseRange_) kernel_.releaseTime = time;
}

void S525VCEnvelopeGeneratorLFO::ShowLamps() {
  attackLamp_.Set(kernel_.attackLamp);
  decayLamp_.Set(kernel_.decayStage);
  sustainLamp_.Set(kernel_.sustainStage);
  releaseLamp_.Set(kernel_.releaseLamp);
}

}  // namespace halveron
