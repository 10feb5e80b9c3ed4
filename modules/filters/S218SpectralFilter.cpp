#include "modules/filters/S218SpectralFilter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "dsp/shaping.h"
#include "framework/preset_tail.h"
#include "framework/rack_model.h"

namespace halveron {

namespace {

using Frames = S218SpectralFilterFrames;
using Design = S218SpectralFilterDesign;

constexpr double kHoldoffSeconds = 64.0 / 48000.0;
constexpr int kUsualTapSteps = 16;
constexpr double kMostDivisorOctaves = 4.0;
constexpr int kModes = Design::kLatticeModes;

/// The text of a frequency as axes have it.
std::string FrequencyText(double hertz) {
  std::array<char, 32> text;
  if (hertz < 999.5) {
    std::snprintf(text.data(), text.size(), "%.0f Hz", hertz);
  } else {
    std::snprintf(text.data(), text.size(), "%.2f kHz", hertz / 1000.0);
  }
  return text.data();
}

}  // namespace

S218SpectralFilter::S218SpectralFilter(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex) {
  AddControls();
  clipLevel = -1.0f;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  for (CControl* control : std::initializer_list<CControl*>{taps_, &mode_.View(), secondStage_,
                                                            equalLength_, shortHigh_, minimumPhase_,
                                                            dcBlock_, &rateDivisor_.View()}) {
    ValueChanged(control);
  }
  GoToFrame(0);
}

void S218SpectralFilter::AddControls() {
  constexpr float kLeft = 12, kWidth = 432, kTop = 42, kHeight = 88;
  constexpr float kKnobs = 172, kSwitches = 214, kJacks = 258;
  constexpr float kFirst = 30, kColumn = 36, kScrollHandle = 40;
  const auto x = [](int column) { return kFirst + kColumn * static_cast<float>(column); };
  const auto knob = [&](Knob& handle, const char* role, int column, float initial,
                        const char* caption) {
    AddModuleKnob(handle, role, x(column), kKnobs, SharedBitmap::kGrayKnob, initial);
    handle.View().caption = caption;
  };
  const CRect place = CRect::FromSize(CPoint(ScaleToPixels(kLeft), ScaleToPixels(kTop)),
                                      ScaleToPixels(kWidth), ScaleToPixels(kHeight));
  bars_ = new BarView<float>(place, editor, kBars, Frames::kNeutralGain, Frames::kNeutralPhase);
  bars_->role = "Bars";
  bars_->setTag(TAG_NONE);
  bars_->paintGrid = [this](CDrawContext& context, const CRect& area) { PaintAxis(context, area); };
  bars_->describe = [this](int bar) { return DescribeBar(bar); };
  addView(bars_);

  frame_ = AddSpecialDigitEx("Frame", x(6), kSwitches, SharedBitmap::kRedDigits, 2, 0,
                             Frames::kMost - 1);
  taps_ =
      AddSpecialDigitEx("Taps", x(10), kSwitches, SharedBitmap::kRedDigits, 2, 1, kMostTapSteps);
  frame_->caption = "Frame";
  taps_->caption = "Taps";
  taps_->setValue(kUsualTapSteps);
  taps_->setDefaultValue(kUsualTapSteps);
  knob(inputLevel_, "Input level", 0, 1.0f, "Level");
  knob(frameMod_, "Frame mod", 1, 1.0f, nullptr);
  knob(cut_, "Cut", 2, 1.0f, nullptr);
  knob(resonance_[0], "Resonance 1", 3, 0.5f, "Res 1");
  knob(gainUp_, "Gain up", 4, 0.0f, nullptr);
  knob(resonance_[1], "Resonance 2", 5, 0.5f, "Res 2");
  knob(gainDown_, "Gain down", 6, 0.0f, "Gain dn");
  knob(kernelAmount_, "Kernel", 7, 0.0f, nullptr);
  knob(feedback_[0], "Feedback 1", 8, 0.0f, "Fdbk 1");
  knob(feedback_[1], "Feedback 2", 9, 0.5f, "Fdbk 2");
  knob(rateDivisor_, "Rate divisor", 10, 0.0f, "Rate div");
  AddSteppedKnob(mode_, "Mode", x(11), kKnobs, SharedBitmap::kGrayKnob5, 0.0f);

  const auto toggle = [&](const char* role, int column, float initial, const char* caption) {
    auto* view =
        AddVerticalSwitch(role, x(column), kSwitches, SharedBitmap::kVerticalSwitch, initial);
    view->caption = caption;
    return view;
  };
  secondStage_ = toggle("Second stage", 0, 0.0f, "2 stages");
  equalLength_ = toggle("Equal length", 1, 1.0f, "Equal");
  shortHigh_ = toggle("Short high", 2, 0.0f, "Short");
  minimumPhase_ = toggle("Minimum phase", 3, 0.0f, "Min ph");
  dcBlock_ = toggle("DC block", 4, 1.0f, "DC blk");
  // Frames come and go, and neither takes memory on the audio thread: no host parameters.
  const auto button = [&](const char* role, float atX, float atY, SharedBitmap bitmap,
                          const char* caption) {
    auto* view = AddKickButton(role, atX, atY, bitmap, TAG_UNASSIGNED);
    view->caption = caption;
    return view;
  };
  frameUp_ = button("Frame up", x(6) + 25, kSwitches - 8, SharedBitmap::kUpButton, "");
  frameDown_ = button("Frame down", x(6) + 25, kSwitches + 9, SharedBitmap::kDownButton, "");
  insert_ = button("Insert", x(8) - 6, kSwitches, SharedBitmap::kPlus, nullptr);
  delete_ = button("Delete", x(9) - 12, kSwitches, SharedBitmap::kMinus, nullptr);
  tapsUp_ = button("Taps up", x(10) + 25, kSwitches - 8, SharedBitmap::kUpButton, "");
  tapsDown_ = button("Taps down", x(10) + 25, kSwitches + 9, SharedBitmap::kDownButton, "");
  scroll_ =
      AddSlider("Scroll", kLeft + kWidth / 2, kTop + kHeight + 9, kWidth, 10, kHorizontal, 0.0f);
  scroll_->caption = "";
  scroll_->setHandleLength(ScaleToPixels(kScrollHandle));
  AddLamp(lastFrame_, "Last frame", x(5) + 2, kSwitches, SharedBitmap::kRedLamp);
  lastFrame_.View().caption = "Last";

  constexpr float kJackColumn = 56;
  const auto jack = [&](int column) { return kFirst + kJackColumn * static_cast<float>(column); };
  AddPatchPoint(in_, "In", jack(0), kJacks);
  AddPatchPoint(clock_, "Clock", jack(1), kJacks);
  AddPatchPoint(reset_, "Reset", jack(2), kJacks);
  AddPatchPoint(frameModIn_, "Frame mod", jack(3), kJacks);
  AddPatchPoint(cutModIn_, "Cut mod", jack(4), kJacks);
  AddPatchPoint(resonanceModIn_[0], "Resonance mod 1", jack(5), kJacks);
  resonanceModIn_[0].View().caption = "Res mod 1";
  AddPatchPoint(resonanceModIn_[1], "Resonance mod 2", jack(6), kJacks);
  resonanceModIn_[1].View().caption = "Res mod 2";
  AddPatchPoint(out_, "Out", x(11), kJacks);
}

void S218SpectralFilter::ProcessSample() {
  inputLevel_->SmoothValue();
  for (Knob& knob : feedback_) knob->SmoothValue();
  if (StepFrames()) {
    TakeMorph();
    holdoff_ = designHoldoff_;
    Redesign();
  } else if (--designCountdown_ <= 0) {
    CheckDesign();
  }
  const float level = static_cast<float>(inputLevel_->smoothed_value);
  const float x = dsp::FiniteOrZero(in_->in * level);
  const float warp = static_cast<float>(feedback_[1]->smoothed_value * 2.0 - 1.0) +
                     (hasResonanceMod_[1] ? dsp::FiniteOrZero(resonanceModIn_[1]->in) : 0.0f);
  out_->out = kernel_.Step(x, {static_cast<float>(feedback_[0]->smoothed_value), warp});
}

/// True if this sample brings another frame.
bool S218SpectralFilter::StepFrames() {
  const bool resets = resetEdge_.Step(reset_->in);
  const bool clocks = clockEdge_.Step(clock_->in);
  if (resets) {
    frameIndex_ = frames_.Last();
    framePosition_ = static_cast<float>(frameIndex_);
    ShowFrame();
    return true;
  }
  if (holdoff_ > 0) {
    --holdoff_;
    return false;
  }
  if (!clocks || !(reset_->in <= dsp::kResetLow)) return false;
  frameIndex_ = frameIndex_ < frames_.Last() ? frameIndex_ + 1 : 0;
  framePosition_ += 1.0f;
  if (static_cast<int>(framePosition_) > frames_.Last()) {
    framePosition_ -= static_cast<float>(frames_.Count());
  }
  ShowFrame();
  return true;
}

S218SpectralFilter::DesignInputs S218SpectralFilter::ReadDesignInputs() const {
  // Without a cable the modulations leave the knobs as they are.
  const float cutMod = hasCutMod_ ? dsp::FiniteOrZero(cutModIn_->in) : 1.0f;
  const float mod1 = hasResonanceMod_[0] ? dsp::FiniteOrZero(resonanceModIn_[0]->in) : 1.0f;
  const float mod2 = hasResonanceMod_[1] ? dsp::FiniteOrZero(resonanceModIn_[1]->in) : 1.0f;
  return {cut_->value * cutMod, (resonance_[0]->value + gainUp_->value) * mod1,
          (resonance_[1]->value + gainDown_->value) * mod2,
          hasFrameMod_ ? dsp::LimitUnit(frameMod_->value * frameModIn_->in) : 0.0f};
}

/// Once each interval.
void S218SpectralFilter::CheckDesign() {
  designCountdown_ = designInterval_;
  if (!isStale_ && ReadDesignInputs() == designInputs_) return;
  TakeMorph();
  Redesign();
}

void S218SpectralFilter::TakeMorph() {
  const DesignInputs present = ReadDesignInputs();
  const bool hasMoved = present.frameMorph != designInputs_.frameMorph;
  designInputs_ = present;
  if (!hasMoved) return;
  framePosition_ =
      static_cast<float>(frameIndex_) + static_cast<float>(frames_.Last()) * present.frameMorph;
  if (static_cast<int>(framePosition_) > frames_.Last()) {
    framePosition_ -= static_cast<float>(frames_.Count());
  }
}

void S218SpectralFilter::MorphBars(int bar) {
  const int i = std::clamp(static_cast<int>(framePosition_), 0, frames_.Last());
  const float m = framePosition_ - static_cast<float>(i);
  const int j = i < frames_.Last() ? i + 1 : 0;
  const int first = bar < 0 ? 0 : bar, last = bar < 0 ? kBars - 1 : bar;
  for (int k = first; k <= last; ++k) {
    const auto at = static_cast<std::size_t>(k);
    const float gain = frames_.Gain(i, k), phase = frames_.Phase(i, k);
    bars_->barGain[at] = gain + (frames_.Gain(j, k) - gain) * m;
    bars_->barPhase[at] = phase + (frames_.Phase(j, k) - phase) * m;
  }
}

float S218SpectralFilter::Shaped(float gain) const {
  const auto contrast = [this](std::size_t side, const Knob& amount) {
    const float mod = hasResonanceMod_[side] ? resonanceModIn_[side]->in : 1.0f;
    return dsp::LimitUnit(mod * amount->value + resonance_[side]->value);
  };
  const float distance = gain - 0.5f;
  const float shaping = distance > 0.0f ? contrast(0, gainUp_) : contrast(1, gainDown_);
  return dsp::LimitUnit(0.5f + distance * (2.0f * shaping));
}

double S218SpectralFilter::ScrollPosition() const {
  constexpr double kLast = kBars - 1.0;
  const double cut = dsp::LimitUnit(static_cast<double>(designInputs_.mixA));
  return std::clamp((static_cast<double>(scroll_->getValue()) + (1.0 - cut)) * kLast, 0.0, kLast);
}

void S218SpectralFilter::Redesign() {
  MorphBars(-1);
  settings_.scroll = ScrollPosition();
  settings_.kernelAmount = dsp::LimitUnit(kernelAmount_->value);
  bars_->SetScroll(settings_.scroll);
  bars_->ShowNews();
  lastFrame_.Set(frameIndex_ == frames_.Last() ? 1.0f : 0.0f);
  for (std::size_t k = 0; k < shaped_.size(); ++k) shaped_[k] = Shaped(bars_->barGain[k]);
  // One change of mode after the other.
  if (kernel_.IsSwitching() && kernel_.mode != settings_.mode) {
    MarkStale();
    return;
  }
  RunDesign(kernel_.main, settings_, 1.0f);
  if (hasSecondStage_) {
    // The gain at the output makes up for one stage.
    constexpr float kGain = S218SpectralFilterKernel::kOutGain;
    Design::Settings plain = settings_;
    plain.mode = 0;
    plain.keepLength = false;
    RunDesign(kernel_.aux, plain, kGain);
  } else {
    kernel_.aux.Pass();
  }
  isStale_ = false;
  designCountdown_ = designInterval_;
  if (designCount_++ == 0) {
    kernel_.mode = settings_.mode;
    kernel_.Jump();
  } else if (kernel_.mode != settings_.mode) {
    kernel_.SwitchTo(settings_.mode);
  } else {
    kernel_.StartFade();
  }
}

void S218SpectralFilter::RunDesign(S218Taps& taps, const Design::Settings& settings, float gain) {
  taps.nextCount = design_.Design(shaped_, bars_->barPhase, settings, taps.next.data());
  if (gain == 1.0f) return;
  for (float& tap : taps.next) tap *= gain;
}

void S218SpectralFilter::SetUpDesign() {
  const int steps = dsp::TruncateWithin(taps_->getValue(), 1, kMostTapSteps);
  design_.SetUp(steps * kTapStep, settings_.minPhase);
  MarkStale();
}

void S218SpectralFilter::GoToFrame(int frame) {
  frameIndex_ = std::clamp(frame, 0, frames_.Last());
  framePosition_ = static_cast<float>(frameIndex_);
  designInputs_.frameMorph = -1000.0f;
  lastFrame_.Set(frameIndex_ == frames_.Last() ? 1.0f : 0.0f);
  ShowFrame();
  MorphBars(-1);
  bars_->ShowNews();
  MarkStale();
}

void S218SpectralFilter::ShowFrame() {
  frame_->StoreValue(static_cast<float>(frameIndex_));
  ShowOwnBars();
}

void S218SpectralFilter::ShowOwnBars() {
  bars_->TurnTo(frameIndex_);
  for (int k = 0; k < kBars; ++k) {
    const auto at = static_cast<std::size_t>(k);
    bars_->ownGain[at] = frames_.Gain(frameIndex_, k);
    bars_->ownPhase[at] = frames_.Phase(frameIndex_, k);
  }
}

/// The bars that were drawn on another voice's panel.
void S218SpectralFilter::TakeBars(const S218SpectralFilter& from, int first, int last) {
  auto spare = Frames::Make();
  const ProcessingSection section(*this);
  const int frame = from.frameIndex_;
  if (!from.bars_->IsOnPage()) {
    // A step came after the mouse had drawn: that belongs to no frame any more.
    if (this == &from) ShowOwnBars();
    return;
  }
  if (frame > frames_.Last()) return;
  Frames::Frame bars = frames_.Copy(frame);
  for (int k = first; k <= last; ++k) {
    const auto at = static_cast<std::size_t>(k);
    bars.gain[at] = from.bars_->ownGain[at];
    bars.phase[at] = from.bars_->ownPhase[at];
  }
  frames_.Set(frame, bars, spare);
  for (int k = first; k <= last; ++k) MorphBars(k);
  MarkStale();
}

void S218SpectralFilter::InsertFrame() {
  auto spare = Frames::Make();
  const ProcessingSection section(*this);
  if (frames_.Insert(frameIndex_, spare)) GoToFrame(frameIndex_ + 1);
}

void S218SpectralFilter::DeleteFrame() {
  std::unique_ptr<Frames::Frame> spare;
  const ProcessingSection section(*this);
  if (frames_.Delete(frameIndex_, spare)) GoToFrame(frameIndex_);
}

void S218SpectralFilter::ValueChanged(CControl* control) {
  const bool isOn = control->getValue() >= 0.5f;
  if (control == bars_) {
    const int first = bars_->FirstChanged(), last = bars_->LastChanged();
    TakeBars(*this, first, last);
    for (int v = 0; v < kMaxVoices; ++v) {
      auto* other = dynamic_cast<S218SpectralFilter*>(GetVoiceModule(v));
      if (other && other != this) other->TakeBars(*this, first, last);
    }
    return;
  }
  const bool isPressed = isOn && !isLoading_;
  if (control == insert_) {
    if (isPressed) InsertFrame();
    return;
  }
  if (control == delete_) {
    if (isPressed) DeleteFrame();
    return;
  }
  const ProcessingSection section(*this);
  if (control == frame_) {
    if (!isLoading_) GoToFrame(dsp::TruncateWithin(frame_->getValue(), 0, frames_.Last()));
  } else if (control == frameUp_ || control == frameDown_) {
    const int step = control == frameUp_ ? 1 : frames_.Last();
    if (isPressed) GoToFrame((frameIndex_ + step) % frames_.Count());
  } else if (control == tapsUp_ || control == tapsDown_) {
    if (!isPressed) return;
    const int steps =
        dsp::TruncateWithin(taps_->getValue(), 1, kMostTapSteps) + (control == tapsUp_ ? 1 : -1);
    taps_->setValue(static_cast<float>(std::clamp(steps, 1, kMostTapSteps)));
    SetUpDesign();
  } else if (control == taps_) {
    SetUpDesign();
  } else if (control == mode_) {
    settings_.mode = std::clamp(mode_.View().SnapToStep(), 0, kModes - 1);
    // A lattice has a section for each tap, and none to fill up groups.
    settings_.keepLength = settings_.mode > 0;
    SetUpDesign();
  } else if (control == secondStage_) {
    hasSecondStage_ = isOn;
  } else if (control == equalLength_) {
    settings_.equalLength = isOn;
  } else if (control == shortHigh_) {
    settings_.shortHigh = isOn;
  } else if (control == minimumPhase_) {
    settings_.minPhase = isOn;
    SetUpDesign();
  } else if (control == dcBlock_) {
    kernel_.dcCoefficient = isOn ? dsp::DcBlockerPole(sampleRate) : 1.0;
  } else if (control == rateDivisor_) {
    const double divisor = std::exp2(kMostDivisorOctaves * dsp::LimitUnit(rateDivisor_->value));
    kernel_.rateIncrement = static_cast<float>(1.0 / divisor);
    settings_.rateShare = kernel_.rateIncrement;
  }
  MarkStale();
}

void S218SpectralFilter::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  settings_.sampleRate = rate;
  kernel_.Prepare(rate);
  designHoldoff_ = std::max(static_cast<int>(std::lround(rate * kHoldoffSeconds)), 1);
  if (dcBlock_->getValue() >= 0.5f) kernel_.dcCoefficient = dsp::DcBlockerPole(rate);
  MarkStale();
}

void S218SpectralFilter::CableConnected(PatchPoint*) {
  hasFrameMod_ = frameModIn_.IsCabled();
  hasCutMod_ = cutModIn_.IsCabled();
  for (std::size_t i = 0; i < 2; ++i) hasResonanceMod_[i] = resonanceModIn_[i].IsCabled();
}

void S218SpectralFilter::CableDisconnected(PatchPoint* point) { CableConnected(point); }

ControlEffect S218SpectralFilter::EffectOf(const CControl& control) const {
  const bool plays = &control == frame_ && (clock_.IsCabled() || reset_.IsCabled());
  return plays ? ControlEffect::kPlayback : ControlEffect::kSetting;
}

int S218SpectralFilter::GetPresetSize() { return PresetTail(*this).SizeWith(frames_.Bytes()); }

void S218SpectralFilter::SavePreset(void* buffer, int size) {
  const ProcessingSection section(*this);
  ByteWriter writer = PresetTail(*this).Save(buffer, size);
  frames_.Save(writer);
}

void S218SpectralFilter::LoadPreset(const void* buffer, int size, int) {
  isLoading_ = true;  // a button that was down when the preset was saved is not pressed now
  ByteReader reader = PresetTail(*this).Load(buffer, size);
  isLoading_ = false;
  Frames fresh = frames_.Clone();
  fresh.Load(reader);
  SetFrames(std::move(fresh));
}

void S218SpectralFilter::SetFrames(Frames frames) {
  const ProcessingSection section(*this);
  std::swap(frames_, frames);
  GoToFrame(dsp::TruncateWithin(frame_->getValue(), 0, frames_.Last()));
}

void S218SpectralFilter::TakePatchKey(const PatchValue& value, const std::string&) {
  SetFrames(Frames::FromPatch(value));
}

std::optional<PatchValue> S218SpectralFilter::PatchValueOf(std::span<const std::byte> data) const {
  Frames frames;
  ByteReader reader(data.data(), data.size());
  frames.Load(reader);
  std::vector<std::byte> whole(static_cast<std::size_t>(frames.Bytes()));
  ByteWriter writer(whole.data(), whole.size());
  frames.Save(writer);
  // Values out of range are only in the data.
  if (!std::equal(whole.begin(), whole.end(), data.begin(), data.end())) return std::nullopt;
  return frames.ToPatch();
}

void S218SpectralFilter::PaintAxis(CDrawContext& context, const CRect& area) const {
  constexpr std::array kMarks{100.0, 200.0, 500.0, 1000.0, 2000.0, 5000.0, 10000.0};
  const double octaves = std::log2(Design::TopOf(settings_.mode) / Design::kLowest);
  context.setFrameColor(DisplayView::kGridColor);
  context.setLineWidth(1);
  const CCoord middle = std::floor(area.getCenter().y) + 0.5;
  context.drawLine(CPoint(area.left, middle), CPoint(area.right, middle));
  const auto font = SharedPointer<CFontDesc>::Adopt(new CFontDesc(nullptr, ScaleToPixels(8)));
  context.setFont(font);
  context.setFontColor(CColor(150, 156, 162));
  for (const double hertz : kMarks) {
    const double share = std::log2(hertz / Design::kLowest) / octaves;
    if (share >= 1.0) continue;
    const CCoord x = std::floor(area.left + share * area.getWidth()) + 0.5;
    context.drawLine(CPoint(x, area.top), CPoint(x, area.bottom));
    const std::string text = hertz < 1000.0
                                 ? std::to_string(static_cast<int>(hertz))
                                 : std::to_string(static_cast<int>(hertz / 1000.0)) + "k";
    context.drawString(text, CRect(x + 2, area.top, x + 40, area.top + ScaleToPixels(10)),
                       kLeftText);
  }
}

std::string S218SpectralFilter::DescribeBar(int bar) const {
  const double r = Design::BandRatio(settings_.mode);
  const double low = Design::kLowest * std::pow(r, bar - bars_->Scroll());
  const auto at = static_cast<std::size_t>(bar);
  std::array<char, 96> text;
  std::snprintf(text.data(), text.size(), "Bar %d, %s to %s: gain %.2f, phase %.2f of a turn",
                bar + 1, FrequencyText(low).c_str(), FrequencyText(low * r).c_str(),
                static_cast<double>(bars_->ownGain[at]), static_cast<double>(bars_->ownPhase[at]));
  return text.data();
}

}  // namespace halveron
