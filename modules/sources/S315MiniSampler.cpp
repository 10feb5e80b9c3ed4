#include "modules/sources/S315MiniSampler.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "framework/preset_tail.h"
#include "framework/rack_model.h"

namespace halveron {

namespace {

constexpr int kPollMilliseconds = 50;
constexpr int kSettlingMilliseconds = 300;
constexpr int kBlockBytes = 42;  // before the samples
constexpr float kMiddleC = 60.0f;
constexpr double kFarthestPitch = 10.0;
// Tables of samples up to here are ready when a preset is loaded without a window or rendered
// offline, so that what is rendered does not depend on how fast a worker is. Else all sound would
// wait for them; the sample is played raw meanwhile.
constexpr int kAwaitedLength = 1 << 22;

constexpr const char* kPictureFiles[] = {
    "bb_E.png",    "bb_E_up.png", "bb_E_down.png", "bb_O.png",      "bb_S.png",    "bb_T.png",
    "bb_Note.png", "bb_exal.png", "bb_rec.png",    "digits_ar.png", "led_red2.png"};

}  // namespace

void S315MiniSampler::SetUpClass() {
  BuiltInModule::SetUpClass();
  for (std::size_t i = 0; i < pictures_.size(); ++i) {
    if (pictures_[i]) pictures_[i]->forget();
    pictures_[i] = new CBitmap(skinPath, skinFallbackPath, kPictureFiles[i]);
  }
}

void S315MiniSampler::TearDownClass() {
  for (CBitmap*& picture : pictures_) {
    if (picture) picture->forget();
    picture = nullptr;
  }
  BuiltInModule::TearDownClass();
}

S315MiniSampler::S315MiniSampler(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex),
      fileRequest_(*this),
      pollTimer_(*this, kPollMilliseconds, [this] { Poll(); }),
      settlingTimer_(*this, kSettlingMilliseconds, [this] { ApplyQuality(); }) {
  if (voice == 0) shared_ = std::make_shared<Shared>();
  kernel_.TakeMemory();
  AddKnobs();
  AddButtons();
  AddScreen();
  constexpr float kRow = 262;
  AddPatchPoint(in_, "In", 32, kRow);
  AddPatchPoint(gate_, "Gate", 91, kRow);
  AddPatchPoint(pitch_, "Pitch", 150, kRow);
  AddPatchPoint(speedMod_, "Speed mod", 209, kRow);
  AddPatchPoint(startMod_, "Start mod", 268, kRow);
  AddPatchPoint(out_, "Out", 328, kRow);

  clipLevel = -1.0f;
  bandlimitMode = 0;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  for (CControl* control : std::initializer_list<CControl*>{
           looping_, gateMode_, snapLoop_, overdubSwitch_, format_, &fade_.View()}) {
    ValueChanged(control);
  }
  if (voice != 0) return;
  RegisterForBlockStart();
  ShowRoot();
  ShowNumbers();
  pollTimer_.Start();
}

void S315MiniSampler::AddKnobs() {
  constexpr float kTop = 149;
  AddModuleKnobEx(speed_, "Speed", 28, kTop, SharedBitmap::kSmallKnob, 0.5f);
  AddModuleKnobEx(loop_, "Loop", 184, kTop, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnobEx(start_, "Start", 67, kTop, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnobEx(fineStart_, "Fine start", 106, kTop, SharedBitmap::kSmallKnob, 0.0f);
  AddModuleKnobEx(length_, "Length", 145, kTop, SharedBitmap::kSmallKnob, 1.0f);
  AddModuleKnob(deClick_, "De-click", 292, kTop, SharedBitmap::kGrayKnob, 0.0002f);
  AddModuleKnob(fade_, "Fade", 234, kTop, SharedBitmap::kGrayKnob, 0.1f);
  // Its tables are made by a thread, which no host's automation may start.
  AddSteppedKnob(quality_, "Quality", 337, kTop, SharedBitmap::kGrayKnob13, 0.0f, TAG_UNASSIGNED);
  fineStart_.View().caption = "Fine";
  xfade_ = AddTextLabel("Xfade", CRect(205, 163, 260, 175));
  declick_ = AddTextLabel("Declick", CRect(266, 163, 321, 175));
}

CKickButtonEx* S315MiniSampler::AddAction(const char* role, float x, float y, Picture picture) {
  // They take memory or ask the user, so no host may press them.
  CKickButtonEx* const button =
      AddKickButton(role, x, y, SharedBitmap::kLetterBlank, TAG_UNASSIGNED);
  if (pictures_[picture]) button->setBackground(pictures_[picture]);
  return button;
}

void S315MiniSampler::AddButtons() {
  constexpr float kSwitches = 195, kActions = 227;
  looping_ = AddVerticalSwitch("Looping", 28, kSwitches, SharedBitmap::kVerticalSwitch, 0.0f);
  gateMode_ = AddVerticalSwitch("Gate mode", 64, kSwitches, SharedBitmap::kVerticalSwitch, 0.0f);
  snapLoop_ = AddVerticalSwitch("Snap loop", 100, kSwitches, SharedBitmap::kVerticalSwitch, 0.0f);
  overdubSwitch_ =
      AddVerticalSwitch("Overdub", 136, kSwitches, SharedBitmap::kVerticalSwitch, 0.0f);
  record_ =
      AddOnOffButton("Record", 172, kSwitches, SharedBitmap::kLetterBlank, 0.0f, TAG_UNASSIGNED);
  if (pictures_[kRecord]) record_->setBackground(pictures_[kRecord]);
  load_ = AddKickButton("Load", 204, kSwitches, SharedBitmap::kSmallDown, TAG_UNASSIGNED);
  save_ = AddAction("Save", 234, kSwitches, kLetterS);
  format_ =
      AddOnOffButton("Format", 302, kSwitches, SharedBitmap::kLetterBlank, 1.0f, TAG_UNASSIGNED);
  bitInt_ = AddTextLabel("Bit Int", CRect(254, 189, 288, 201));
  bitFloat_ = AddTextLabel("Bit Float", CRect(316, 189, 351, 201));

  constexpr float kColumn = 34;
  const auto x = [](int column) { return 28 + kColumn * static_cast<float>(column); };
  clear_ = AddKickButton("Clear", x(0), kActions, SharedBitmap::kLetterC, TAG_UNASSIGNED);
  crop_ = AddAction("Crop", x(1), kActions, kLetterE);
  reverse_ = AddKickButton("Reverse", x(2), kActions, SharedBitmap::kLetterR, TAG_UNASSIGNED);
  normalise_ = AddAction("Normalise", x(3), kActions, kExclamation);
  singleCycle_ = AddOnOffButton("Single cycle", x(4), kActions, SharedBitmap::kLetterBlank, 0.0f,
                                TAG_UNASSIGNED);
  if (pictures_[kLetterO]) singleCycle_->setBackground(pictures_[kLetterO]);
  tune_ = AddAction("Tune", x(5), kActions, kLetterT);
  rootUp_ = AddAction("Root up", x(6), kActions, kRootUp);
  rootDown_ = AddAction("Root down", x(7), kActions, kRootDown);
  rootFromPitch_ = AddAction("Root from pitch", x(8), kActions, kNote);
  rootNote_ = AddSpecialDigitEx("Root note", x(9), kActions, SharedBitmap::kRedDigits, 3, 0, 127);
  if (pictures_[kDigits]) rootNote_->setBackground(pictures_[kDigits]);
  rootNote_->setValue(kMiddleC);
  rootNote_->setDefaultValue(kMiddleC);
  gateMode_->caption = "Gate";
  snapLoop_->caption = "Snap";
  normalise_->caption = "Norm";
  singleCycle_->caption = "Cycle";
  rootUp_->caption = "Up";
  rootDown_->caption = "Down";
  rootFromPitch_->caption = "Take";
  rootNote_->caption = "Root";
}

void S315MiniSampler::AddScreen() {
  AddLamp(lamp_, "Building", 344, 110, SharedBitmap::kRedLamp);
  if (pictures_[kLamp]) lamp_.View().setBackground(pictures_[kLamp]);
  lamp_.View().caption = "";
  message_ = AddTextLabel("Message", CRect(12, 104, 334, 116));
  constexpr double kTextSize = 7.2, kMessageSize = 8.5;  // panel units
  for (CTextLabel* label : {xfade_, declick_, bitInt_, bitFloat_, message_}) {
    const double size = label == message_ ? kMessageSize : kTextSize;
    label->setFont(SharedPointer<CFontDesc>::Adopt(
        new CFontDesc(nullptr, size * static_cast<double>(uiScale))));
  }
  const CRect area(ScaleToPixels(12), ScaleToPixels(40), ScaleToPixels(348), ScaleToPixels(101));
  SampleScreen::Links links;
  links.marks = [this] { return Marks(); };
  links.version = [this] { return screenVersion_; };
  links.summary = [this](double from, double to, std::size_t columns) {
    return Summary(from, to, columns);
  };
  links.drag = [this](SampleScreen::Handle handle, double place) { Drag(handle, place); };
  links.gesture = [this](SampleScreen::Handle handle, bool begins) { Gesture(handle, begins); };
  screen_ = new SampleScreen(area, editor, std::move(links));
  screen_->role = "Waveform";
  screen_->setTag(TAG_NONE);
  addView(screen_);
}

void S315MiniSampler::BlockStart(int) {
  if (shared_->workshop.Take()) ++shared_->serial;
  const bool plays =
      kernel_.sampleLength > 0 && kernel_.playState != S315MiniSamplerKernel::PlayState::kStopped;
  const double share = plays ? kernel_.position / kernel_.sampleLength : -1.0;
  shared_->playhead.store(share, std::memory_order_relaxed);
}

void S315MiniSampler::FollowSample() {
  serial_ = shared_->serial;
  kernel_.SetSample(shared_->workshop.Current());
}

void S315MiniSampler::ProcessSample() {
  restingKnobs_.Smooth(knobMoves_, speed_, loop_, start_, fineStart_, length_);
  if (!shared_) return;
  if (shared_->recording) {
    RecordSample();
    return;
  }
  if (serial_ != shared_->serial) FollowSample();
  kernel_.rootPitch = shared_->workshop.RootPitch();
  const S315MiniSamplerKernel::Knobs knobs{speed_->smoothed_value, loop_->smoothed_value,
                                           start_->smoothed_value, fineStart_->smoothed_value,
                                           length_->smoothed_value};
  out_->out = kernel_.Step(knobs, {gate_->in, pitch_->in, speedMod_->in, startMod_->in});
}

void S315MiniSampler::RecordSample() {
  out_->out = voice == 0
                  ? shared_->recorder.Step(*shared_->workshop.Current().buffer, in_->in, overdub_)
                  : 0.0f;
}

void S315MiniSampler::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  kernel_.Prepare(rate);
  SetRamp();
  SetBand();
}

void S315MiniSampler::SetRamp() {
  const double samples = static_cast<double>(deClick_->value) * sampleRate;
  kernel_.fadeStep = samples > 1.0 ? 1.0 / samples : 1.0;
}

void S315MiniSampler::SetBand() {
  kernel_.nyquistOctaves = bandlimitMode == 0 ? std::log2(sampleRate / dawSampleRate) : 0.0;
}

bool S315MiniSampler::SetBandlimitMode(int mode) {
  const ProcessingSection section(*this);
  bandlimitMode = mode;
  SetBand();
  return true;
}

void S315MiniSampler::CableConnected(PatchPoint*) { FollowCables(); }
void S315MiniSampler::CableDisconnected(PatchPoint*) { FollowCables(); }

void S315MiniSampler::FollowCables() {
  kernel_.gateCable = gate_.IsCabled();
  kernel_.startCable = startMod_.IsCabled();
  kernel_.speedCable = speedMod_.IsCabled();
}

void S315MiniSampler::ModuleCreated(int) { JoinVoice0(); }
void S315MiniSampler::VoiceCountChanged(int) { JoinVoice0(); }

void S315MiniSampler::ModuleRemoved() {
  if (IsOwner()) shared_->workshop.Stop();
}

void S315MiniSampler::JoinVoice0() {
  if (voice == 0) return;
  const auto* const first = dynamic_cast<S315MiniSampler*>(GetVoiceModule(0));
  if (!first || first->shared_ == shared_) return;
  const ProcessingSection section(*this);
  shared_ = first->shared_;
  serial_ = 0;
}

int S315MiniSampler::GetPresetSize() {
  if (IsOwner()) {
    EndRecording();
    FollowFailure();
  }
  measured_.reset();
  if (shared_) measured_ = shared_->workshop.LatestRooted();
  const int length = measured_ ? measured_->set.buffer->Length() : 0;
  return PresetTail(*this).SizeWith(kBlockBytes + length * static_cast<int>(sizeof(float)));
}

void S315MiniSampler::SavePreset(void* buffer, int size) {
  ByteWriter writer = PresetTail(*this).Save(buffer, size);
  if (!shared_) return;
  // A worker may have loaded another sample since the size was asked for.
  const auto measured = std::exchange(measured_, std::nullopt);
  const auto [set, rootPitch, tuning] = measured ? *measured : shared_->workshop.LatestRooted();
  const int head = PresetTail(*this).SizeWith(kBlockBytes);
  const std::int32_t length =
      std::clamp((size - head) / static_cast<int>(sizeof(float)), 0, set.buffer->Length());
  writer.Write(static_cast<std::uint8_t>(format_->getValue() >= 0.5f));
  writer.Write(static_cast<std::uint8_t>(screen_->IsZoomed()));
  writer.Write(rootPitch);
  writer.Write(length - 1);
  writer.Write(tuning);
  writer.Write(set.rate);
  writer.Write(static_cast<std::int32_t>(QualityPosition() == 0 ? 0 : IsCycle() ? 2 : 1));
  writer.Write(std::log2(set.rate / 44100.0));
  if (length > 0) {
    std::memcpy(static_cast<std::byte*>(buffer) + head, set.buffer->Samples(),
                static_cast<std::size_t>(length) * sizeof(float));
  }
}

std::uint64_t S315MiniSampler::GetDataRevision() {
  static std::atomic<std::uint64_t> revisions = 0;  // of all instances, so that none has another's
  if (!shared_) return 0;
  const SampleWorkshop& workshop = shared_->workshop;
  // A file that Poll has not reported yet is a step of its own, and part of no other.
  if (IsOwner() && dataRevision_ != 0 && workshop.Loads() != shownLoads_) return dataRevision_;
  const DataState state{workshop.Changes(),
                        format_->getValue(),
                        screen_->IsZoomed(),
                        workshop.RootPitch(),
                        workshop.Tuning(),
                        QualityPosition(),
                        IsCycle()};
  if (dataRevision_ == 0 || state != dataState_) dataRevision_ = ++revisions;
  dataState_ = state;
  return dataRevision_;
}

void S315MiniSampler::leavingFrame(CFrame* root) {
  BuiltInModule::leavingFrame(root);
  // The window closes before the knob has settled.
  if (settlingTimer_.IsStarted()) ApplyQuality();
}

void S315MiniSampler::LoadPreset(const void* buffer, int size, int) {
  if (IsOwner()) EndRecording();
  measured_.reset();
  isLoading_ = true;  // a button that was down when the preset was saved is not pressed now
  ByteReader reader = PresetTail(*this).Load(buffer, size);
  isLoading_ = false;
  lamp_.Set(0.0f);
  if (IsOwner()) {
    record_->setValue(0.0f);
    LoadBlock(reader);
  }
  JoinVoice0();
  const ProcessingSection section(*this);
  kernel_.Stop();
}

void S315MiniSampler::LoadBlock(ByteReader& reader) {
  SampleWorkshop& workshop = shared_->workshop;
  workshop.Stop();
  shownLoads_ = workshop.Loads();  // what was loaded before is replaced
  workshop.SetQuality(QualityPosition(), IsCycle());
  std::uint8_t format = format_->getValue() >= 0.5f, status = screen_->IsZoomed();
  double root = workshop.RootPitch(), tuning = workshop.Tuning();
  double rate = 0.0, tableBase = 0.0;
  std::int32_t last = -1, tableMode = 0;
  reader.Read(format);
  format_->setValue(format != 0 ? 1.0f : 0.0f);
  ValueChanged(format_);
  if (reader.Read(status)) screen_->SetZoomed(status != 0);
  reader.Read(root);
  reader.Read(last);
  reader.Read(tuning);
  reader.Read(rate);
  reader.Read(tableMode);  // follows from the controls
  reader.Read(tableBase);  // follows from the rate
  const bool isWhole = !reader.Failed() && last >= -1 && last < SampleBuffer::kLargest &&
                       rate >= kLowestSampleRate && rate <= kHighestSampleRate &&
                       std::fabs(root) <= kFarthestPitch && std::fabs(tuning) <= kFarthestPitch;
  if (isWhole) {
    const auto stored = static_cast<std::int32_t>(std::min<std::size_t>(
        static_cast<std::size_t>(last) + 1, reader.Remaining() / sizeof(float)));
    if (auto buffer = SampleBuffer::Make(std::max(stored, 1))) {
      for (std::int32_t i = 0; i < stored; ++i) {
        float sample = 0.0f;
        reader.Read(sample);
        buffer->Samples()[i] = HeldSample(sample);
      }
      buffer->SetLength(stored);
      workshop.Use(std::move(buffer), rate);
      const int panelNote = workshop.RootNote();
      workshop.SetRoot(root, tuning);
      // Without a sample it is the panel that counts.
      if (stored == 0 && workshop.RootNote() != panelNote) workshop.SetRoot(PanelRoot());
    }
  }
  ShowRoot();
  workshop.Resume();
  const bool mayWait = !getFrame() || editor->rendersOffline();
  if (mayWait && workshop.Latest().buffer->Length() <= kAwaitedLength) workshop.Finish();
  TakeOver();
  ShowNumbers();
}

}  // namespace halveron
