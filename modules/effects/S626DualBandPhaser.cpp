#include "modules/effects/S626DualBandPhaser.h"

#include "framework/preset_tail.h"

namespace halveron {

namespace {

constexpr double kStale = -1000.0;
constexpr double kFarthestCentre = 16.0;  // keeps the gain finite, whatever is on the inputs

}  // namespace

S626DualBandPhaser::S626DualBandPhaser(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  constexpr float kColumn = 38, kFirst = 28, kTop = 54, kRow = 46;
  const auto x = [](int column) { return kFirst + kColumn * static_cast<float>(column); };
  const auto y = [](int row) { return kTop + kRow * static_cast<float>(row); };
  const auto knob = [&](Knob& handle, const char* role, int column, int row, float initial,
                        const char* caption, SharedBitmap bitmap = SharedBitmap::kSmallKnob) {
    AddModuleKnobEx(handle, role, x(column), y(row), bitmap, initial)->caption = caption;
  };
  knob(a_.centre, "Centre A", 0, 0, 0.4f, nullptr);
  knob(b_.centre, "Centre B", 0, 1, 0.6f, nullptr);
  knob(a_.depth, "Depth A", 1, 0, 0.6f, nullptr);
  knob(b_.depth, "Depth B", 1, 1, 0.6f, nullptr);
  knob(a_.rate, "Rate A", 2, 0, 0.4f, nullptr);
  knob(b_.rate, "Rate B", 2, 1, 0.4f, nullptr);
  knob(spread_, "Spread", 0, 2, 0.5f, nullptr);
  knob(spreadCvAmount_, "Spread CV amount", 1, 2, 0.0f, "Sprd amt", SharedBitmap::kGrayKnob);
  knob(resonance_, "Resonance", 2, 2, 0.25f, nullptr);
  knob(resonanceCvAmount_, "Resonance CV amount", 3, 2, 0.0f, "Res amt", SharedBitmap::kGrayKnob);
  knob(offset_, "Offset", 4, 2, 1.0f, nullptr);
  knob(routing_, "Routing", 5, 2, 1.0f, nullptr);
  knob(mix_, "Mix", 5, 1, 0.85f, nullptr);
  knob(a_.stages, "Stages A", 3, 0, 0.3f, nullptr, SharedBitmap::kGrayKnob11);
  knob(b_.stages, "Stages B", 3, 1, 0.3f, nullptr, SharedBitmap::kGrayKnob11);
  for (Band* band : {&a_, &b_}) band->stages.View().stepped = true;
  link_ = AddVerticalSwitch("LFO link", x(4), y(0), SharedBitmap::kVerticalSwitch, 1.0f);
  preChainSwitch_ = AddVerticalSwitch("Pre-chain", x(4), y(1), SharedBitmap::kVerticalSwitch, 1.0f);
  invert_ = AddKickButton("Invert B", x(5), y(0), SharedBitmap::kRedButton);
  AddLamp(clip_, "Clip LED", x(5) + 20, y(0) - 12, SharedBitmap::kRedLamp);
  AddPatchPoint(in1_, "In 1", x(0), y(4) + 6);
  AddPatchPoint(in2_, "In 2", x(1), y(4) + 6);
  AddPatchPoint(a_.cv, "CV A", x(2), y(4) + 6);
  AddPatchPoint(b_.cv, "CV B", x(3), y(4) + 6);
  AddPatchPoint(spreadCv_, "Spread CV", x(1), y(3) + 2);
  AddPatchPoint(resonanceCv_, "Resonance CV", x(3), y(3) + 2);
  AddPatchPoint(offsetCv_, "Offset CV", x(4), y(3) + 2);
  AddPatchPoint(routingCv_, "Routing CV", x(5), y(3) + 2);
  AddPatchPoint(out1_, "Out 1", x(4), y(4) + 6);
  AddPatchPoint(out2_, "Out 2", x(5), y(4) + 6);
  resonanceCv_.View().caption = "Res CV";

  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  SetStages(a_);
  SetStages(b_);
  SetRatio();
}

void S626DualBandPhaser::ProcessSample() {
  moving_.Smooth();
  clip_.Tick();
  const double x1 = dsp::FiniteOrZero(in1_->in);
  const double x2 = hasIn2_ ? dsp::FiniteOrZero(in2_->in) : x1;
  FollowSpread();

  PhaserBank::Controls controls;
  controls.R = Damping();
  controls.gainA = CentreGain(a_);
  controls.gainB = CentreGain(b_);
  controls.hasBefore = preChain_;
  controls.offset = BandOffset();
  controls.limit = clipLevel;
  const double routing = routing_->smoothed_value;
  const double m = hasRoutingCv_ ? dsp::FiniteOrZero(routingCv_->in * routing) : routing;
  controls.routing = m;
  AdvanceLfos();

  bank_.limited = false;
  const auto [bandA, bandB] = step_(bank_, {x1, x2}, controls);
  const double w = mix_->smoothed_value;
  out1_->out = static_cast<float>(((1.0 - m) * bandB + m * bandA) * w + (1.0 - w) * x1);
  out2_->out = static_cast<float>((1.0 - w) * x2 + w * bandB);
  if (bank_.limited) clip_.Light();
}

void S626DualBandPhaser::AdvanceLfos() {
  const double rateA = a_.rate->smoothed_value, rateB = b_.rate->smoothed_value;
  const double increment = rateA * rateA * rateA * lfoMax_;
  a_.lfo.Advance(increment);
  b_.lfo.Advance(lfoLinked_ ? increment * ratio_ : rateB * rateB * rateB * lfoMax_);
}

void S626DualBandPhaser::FollowSpread() {
  double s = spreadCv_->in * spreadCvAmount_->smoothed_value + spread_->smoothed_value;
  if (s == spreadCache_) return;
  spreadCache_ = s;
  s = dsp::LimitUnit(s);
  resonanceFloor_ = 0.75 - s * 0.5;
  a_.spacing.Set(s, a_.spacing.stages * 0.6 * 0.09090909090909091);
  b_.spacing.Set(s, b_.spacing.stages * 0.05454545454545454);
}

double S626DualBandPhaser::Damping() const {
  const double r = dsp::LimitUnit(resonanceCv_->in * resonanceCvAmount_->smoothed_value +
                                  resonance_->smoothed_value);
  return 2.0 - ((1.0 - resonanceFloor_) * r + resonanceFloor_) * 1.99;
}

double S626DualBandPhaser::CentreGain(const Band& band) const {
  const double sweep =
      (dsp::FiniteOrZero(band.cv->in) + band.lfo.Value()) * band.depth->smoothed_value;
  const double c =
      dsp::LimitSymmetric((sweep + band.centre->smoothed_value + 0.5) * 0.5, kFarthestCentre);
  return c >= 0.0 ? c * c * c * c * gMax_ : 0.0;
}

double S626DualBandPhaser::BandOffset() const {
  const double amount = offset_->smoothed_value;
  return hasOffsetCv_ ? dsp::FiniteOrZero(offsetCv_->in * amount) : amount * 2.0 - 1.0;
}

void S626DualBandPhaser::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  clip_.SetSampleRate(rate);
  gMax_ = dsp::kTopWarpArgument / rate;
  lfoMax_ = 8.0 / rate;
}

void S626DualBandPhaser::SetStages(Band& band) {
  const int stages = band.stages.View().SnapToStep();
  if (stages == band.spacing.stages) return;
  const ProcessingSection section(*this);
  band.spacing.SetStages(stages);
  spreadCache_ = kStale;
}

// 1/8 to 8 in whole steps around 1.
void S626DualBandPhaser::SetRatio() {
  const double v = dsp::LimitUnit(static_cast<double>(b_.rate->value));
  ratio_ = v >= 0.5 ? static_cast<int>((2.0 * v - 1.0) * 7.0 + 1.0)
                    : 1.0 / static_cast<int>(8.0 - 2.0 * v * 7.0);
}

void S626DualBandPhaser::ValueChanged(CControl* control) {
  if (const auto* knob = dynamic_cast<ModuleKnob*>(control); knob && !knob->stepped) {
    moving_.Join(*this, const_cast<ModuleKnob*>(knob)->Cell());
  }
  if (control == a_.stages) SetStages(a_);
  if (control == b_.stages) SetStages(b_);
  if (control == link_) {
    lfoLinked_ = link_->getValue() >= 0.5f;
    if (lfoLinked_) SetRatio();
  } else if (control == preChainSwitch_) {
    preChain_ = preChainSwitch_->getValue() >= 0.5f;
  } else if (control == b_.rate) {
    if (lfoLinked_) {
      SetRatio();
    } else if (b_.rate->value == 0.0f) {
      const ProcessingSection section(*this);
      b_.lfo.phase = 0.0;
    }
  } else if (control == invert_ && invert_->getValue() > 0.0f) {
    const ProcessingSection section(*this);
    b_.lfo.Advance(1.0);
  }
}

void S626DualBandPhaser::CableConnected(PatchPoint*) {
  hasIn2_ = in2_.IsCabled();
  hasOffsetCv_ = offsetCv_.IsCabled();
  hasRoutingCv_ = routingCv_.IsCabled();
}

void S626DualBandPhaser::CableDisconnected(PatchPoint* point) { CableConnected(point); }

int S626DualBandPhaser::GetPresetSize() { return PresetTail(*this).SizeWith(2 * sizeof(double)); }

void S626DualBandPhaser::SavePreset(void* buffer, int size) {
  ByteWriter writer = PresetTail(*this).Save(buffer, size);
  writer.Write(a_.lfo.phase);
  writer.Write(b_.lfo.phase);
}

void S626DualBandPhaser::LoadPreset(const void* buffer, int size, int) {
  const ProcessingSection section(*this);
  ByteReader reader = PresetTail(*this).Load(buffer, size);
  for (Band* band : {&a_, &b_}) {
    double phase = 0.0;
    if (reader.Read(phase)) band->lfo.phase = phase >= 0.0 && phase <= 2.0 ? phase : 0.0;
  }
}

}  // namespace halveron
