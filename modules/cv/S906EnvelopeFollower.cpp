#include "modules/cv/S906EnvelopeFollower.h"

namespace halveron {

namespace {

// pi times 5 and 70 Hz, the corners at the ends of the Speed knob.
constexpr double kSlowest = 15.70796326794895;
constexpr double kFastest = 219.9114857512853;

}  // namespace

S906EnvelopeFollower::S906EnvelopeFollower(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kLeft = 24, kKnobs = 62, kLamps = 82, kJacks = 101, kFirst = 66, kRow = 50;
  static constexpr std::array<const char*, kGates> kThresholdRoles{"Threshold 1", "Threshold 2",
                                                                   "Threshold 3", "Threshold 4"};
  static constexpr std::array<const char*, kGates> kLampRoles{"Gate LED 1", "Gate LED 2",
                                                              "Gate LED 3", "Gate LED 4"};
  static constexpr std::array<const char*, kGates> kGateRoles{"Gate 1", "Gate 2", "Gate 3",
                                                              "Gate 4"};
  static constexpr std::array<const char*, kGates> kCaptions{"Thr 1", "Thr 2", "Thr 3", "Thr 4"};
  AddModuleKnob(speed_, "Speed", kLeft, 72, SharedBitmap::kSmallKnob, 0.5f);
  for (std::size_t i = 0; i < kGates; ++i) {
    const float y = kFirst + kRow * static_cast<float>(i);
    const float threshold = 0.2f * static_cast<float>(i + 1);
    AddModuleKnob(thresholds_[i], kThresholdRoles[i], kKnobs, y, SharedBitmap::kGrayKnob,
                  threshold);
    thresholds_[i].View().caption = kCaptions[i];
  }
  for (std::size_t i = 0; i < kGates; ++i) {
    AddLamp(lamps_[i], kLampRoles[i], kLamps, kFirst + kRow * static_cast<float>(i),
            SharedBitmap::kBlueLamp);
    static_cast<CMovieBitmap*>(lamps_[i])->caption = "";  // its gate shows it
  }
  AddPatchPoint(in_, "In", kLeft, 150);
  AddPatchPoint(envelope_, "Envelope", kLeft, 230);
  envelope_.View().caption = "Env";
  for (std::size_t i = 0; i < kGates; ++i) {
    AddPatchPoint(gates_[i], kGateRoles[i], kJacks, kFirst + kRow * static_cast<float>(i));
  }
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
}

void S906EnvelopeFollower::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  ValueChanged(speed_);
}

void S906EnvelopeFollower::ValueChanged(CControl* control) {
  if (control != speed_) return;
  const double perSample = 1.0f / sampleRate;
  const double slowest = kSlowest * perSample;
  const double fastest = kFastest * perSample;
  const ProcessingSection section(*this);
  follower_.SetGain((fastest - slowest) * static_cast<double>(speed_->value) + slowest);
}

void S906EnvelopeFollower::ProcessSample() {
  const auto envelope = static_cast<float>(follower_.Step(in_->in));
  if (!dsp::IsFinite(envelope)) follower_.s1 = follower_.s2 = 0.0;
  envelope_->out = envelope;
  for (std::size_t i = 0; i < kGates; ++i) {
    const float gate = envelope > thresholds_[i]->value ? 1.0f : 0.0f;
    gates_[i]->out = gate;
    lamps_[i].Set(gate);
  }
}

VoiceGroupMaker S906EnvelopeFollower::GetVoiceGroupMaker(VectorUnit unit) const {
  return VoiceGroupMakerOf<S906EnvelopeFollower>(unit);
}

}  // namespace halveron
