#include "modules/sources/S315MiniSampler.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "framework/preset_tail.h"
#include "framework/rack_model.h"
#include "modules/sources/sample_edit.h"
#include "platform/file_error.h"

namespace halveron {

namespace {

constexpr int kPollMilliseconds = 50;
constexpr int kSettlingMilliseconds = 300;
constexpr int kBlockBytes = 42;  // before the samples
constexpr double kMiddleC = 60.0;
constexpr double kSemitonesPerPitch = 120.0;
constexpr double kFarthestPitch = 10.0;
constexpr double kHighestRate = 200.0e6;  // hertz: 768 kHz, oversampled by 256
constexpr double kFineShare = 0.01;
constexpr double kSmallestWindow = 1e-6;  // of the sample
// Tables of samples up to here are ready when a preset is loaded, so that what is rendered does
// not depend on how fast a worker is.
constexpr int kAwaitedLength = 1 << 22;
constexpr int kSummarised = 512;  // values looked at in a column of the screen

constexpr CColor kBright{245, 225, 190};
constexpr CColor kDim{96, 98, 102};

constexpr const char* kPictureFiles[] = {
    "bb_E.png",    "bb_E_up.png", "bb_E_down.png", "bb_O.png",      "bb_S.png",    "bb_T.png",
    "bb_Note.png", "bb_exal.png", "bb_rec.png",    "digits_ar.png", "led_red2.png"};

const std::vector<CFileExtension>& SoundFiles() {
  static const std::vector<CFileExtension> kinds{{"Microsoft wave file", "wav", "audio/wav"},
                                                 {"MPEG 3 audio file", "mp3", "audio/mpeg"},
                                                 {"Ogg Vorbis audio file", "ogg", "audio/ogg"},
                                                 {"Apple AIFF audio file", "aiff", "audio/x-aiff"}};
  return kinds;
}

/// What the rack itself takes when it is dropped.
bool IsPatchFile(const std::string& path) {
  const std::string extension = std::filesystem::path(path).extension().string();
  return extension == ".hvp" || extension == ".json";
}

double PitchOfNote(double note) { return (note - kMiddleC) / kSemitonesPerPitch; }

std::string Milliseconds(const char* name, double seconds) {
  std::array<char, 40> text;
  std::snprintf(text.data(), text.size(), seconds < 0.01 ? "%s %.1f ms" : "%s %.0f ms", name,
                1000.0 * seconds);
  return text.data();
}

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
  xfade_ = AddTextLabel("Xfade", CRect(206, 163, 262, 175));
  declick_ = AddTextLabel("Declick", CRect(264, 163, 321, 175));
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
  rootNote_ =
      AddSpecialDigitEx("Root note", x(9), kActions + 3, SharedBitmap::kRedDigits, 3, 0, 127);
  if (pictures_[kDigits]) rootNote_->setBackground(pictures_[kDigits]);
  rootNote_->setValue(static_cast<float>(kMiddleC));
  rootNote_->setDefaultValue(static_cast<float>(kMiddleC));
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

// The audio thread.

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
  speed_->SmoothValue();
  loop_->SmoothValue();
  start_->SmoothValue();
  fineStart_->SmoothValue();
  length_->SmoothValue();
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

// Cables and voices.

void S315MiniSampler::CableConnected(PatchPoint*) { FollowCables(); }
void S315MiniSampler::CableDisconnected(PatchPoint*) { FollowCables(); }

void S315MiniSampler::FollowCables() {
  kernel_.gateCable = gate_.IsCabled();
  kernel_.startCable = startMod_.IsCabled();
  kernel_.speedCable = speedMod_.IsCabled();
}

void S315MiniSampler::ModuleCreated(int) { JoinVoice0(); }
void S315MiniSampler::VoiceCountChanged(int) { JoinVoice0(); }

void S315MiniSampler::JoinVoice0() {
  if (voice == 0) return;
  const auto* const first = dynamic_cast<S315MiniSampler*>(GetVoiceModule(0));
  if (!first || first->shared_ == shared_) return;
  const ProcessingSection section(*this);
  shared_ = first->shared_;
  serial_ = 0;
}

// The panel.

int S315MiniSampler::QualityPosition() const {
  return std::clamp(quality_.View().GetStepIndex(), 0, kSampleQualities - 1);
}

void S315MiniSampler::ValueChanged(CControl* control) {
  if (control == looping_) {
    kernel_.looping = looping_->getValue() >= 0.5f;
  } else if (control == gateMode_) {
    kernel_.gateHeldMode = gateMode_->getValue() >= 0.5f;
  } else if (control == snapLoop_) {
    kernel_.snapLoop = snapLoop_->getValue() >= 0.5f;
  } else if (control == overdubSwitch_) {
    overdub_ = overdubSwitch_->getValue() >= 0.5f;
  } else if (control == fade_) {
    const float share = fade_->value;
    kernel_.fadeShare = share > 0.0f ? std::min(share, 1.0f) : 0.0;
  } else if (control == deClick_) {
    SetRamp();
  } else if (control == quality_) {
    quality_.View().SnapToStep();
    if (!IsOwner() || isLoading_) return;
    if (getFrame()) {
      settlingTimer_.Stop();
      settlingTimer_.Start();
    } else {
      ApplyQuality();
    }
  } else if (control == rootNote_) {
    if (IsOwner()) {
      SampleWorkshop& workshop = shared_->workshop;
      const double tuning = isLoading_ ? 0.0 : workshop.Tuning();
      workshop.SetRoot(PanelRoot() + tuning, tuning);
    }
  } else if (control == format_) {
    const bool isFloat = format_->getValue() >= 0.5f;
    bitInt_->setFontColor(isFloat ? kDim : kBright);
    bitFloat_->setFontColor(isFloat ? kBright : kDim);
    bitInt_->setDirty();
    bitFloat_->setDirty();
  } else if (IsOwner() && !isLoading_) {
    Press(control);
  }
}

void S315MiniSampler::Press(CControl* button) {
  const bool isOn = button->getValue() >= 0.5f;
  if (button == record_) {
    SetRecording(isOn);
  } else if (button == singleCycle_) {
    ApplyQuality();
  } else if (!isOn) {
    return;
  } else if (button == load_) {
    AskForFile();
  } else if (button == save_) {
    AskForTarget();
  } else if (button == rootUp_ || button == rootDown_) {
    MoveRoot(button == rootUp_ ? 1 : -1);
  } else if (button == rootFromPitch_) {
    shared_->workshop.SetRoot(pitch_->in);
    ShowRoot();
  } else {
    EndRecording();
    Edit(button);
  }
}

void S315MiniSampler::Edit(CControl* button) {
  const SampleSet set = shared_->workshop.Latest();
  const int length = set.buffer->Length();
  std::vector<float> samples(set.buffer->Samples(), set.buffer->Samples() + length);
  if (button == clear_) {
    Replace(nullptr, 0, set.rate);
  } else if (length == 0) {
    Show("There is no sample yet");
  } else if (button == crop_) {
    Crop();
  } else if (button == reverse_) {
    std::reverse(samples.begin(), samples.end());
    Replace(samples.data(), length, set.rate);
  } else if (button == normalise_) {
    Normalise(samples);
    Replace(samples.data(), length, set.rate);
  } else if (button == tune_) {
    Tune();
  }
}

void S315MiniSampler::Replace(const float* samples, int length, double rate) {
  auto buffer = SampleBuffer::Make(std::max(length, 1));
  if (!buffer) {
    Show("There is no memory for this");
    return;
  }
  std::copy_n(samples, length, buffer->Samples());
  buffer->SetLength(length);
  shared_->workshop.Use(std::move(buffer), rate);
  TakeOver();
  shared_->workshop.Resume();
  ShowNumbers();
  engine->PatchEdited();
}

void S315MiniSampler::Crop() {
  const SampleSet set = shared_->workshop.Latest();
  const SampleScreen::Marks marks = Marks();
  const int length = set.buffer->Length();
  const int first = std::clamp(static_cast<int>(std::lround(marks.start * length)), 0, length - 1);
  const int end = std::clamp(static_cast<int>(std::lround(marks.end * length)), first + 1, length);
  const std::vector<float> part(set.buffer->Samples() + first, set.buffer->Samples() + end);
  Replace(part.data(), end - first, set.rate);
  MoveKnob(start_, 0.0);
  MoveKnob(fineStart_, 0.0);
  MoveKnob(length_, 1.0);
}

void S315MiniSampler::Tune() {
  const SampleSet set = shared_->workshop.Latest();
  const int length = set.buffer->Length();
  std::optional<double> frequency = set.rate / length;
  if (!IsCycle()) {
    const SampleScreen::Marks marks = Marks();
    const int first = std::clamp(static_cast<int>(marks.start * length), 0, length - 1);
    const int end = std::clamp(static_cast<int>(marks.end * length), first + 1, length);
    frequency = FrequencyOf({set.buffer->Samples() + first, static_cast<std::size_t>(end - first)},
                            set.rate);
  }
  if (!frequency) {
    Show("No steady pitch in the window");
    return;
  }
  shared_->workshop.SetRoot(std::log2(*frequency / NoteFrequency[60]) / 10.0);
  ShowRoot();
  std::array<char, 40> text;
  std::snprintf(text.data(), text.size(), "Tuned to %.2f Hz", *frequency);
  Show(text.data());
}

void S315MiniSampler::MoveRoot(int semitones) {
  SampleWorkshop& workshop = shared_->workshop;
  const int note = std::clamp(workshop.RootNote() + semitones, 0, 127);
  workshop.SetRoot(PitchOfNote(note) + workshop.Tuning(), workshop.Tuning());
  ShowRoot();
}

double S315MiniSampler::PanelRoot() const {
  const float note = rootNote_->getValue();
  return PitchOfNote(note >= 0.0f ? std::min(std::round(note), 127.0f) : 0.0);
}

void S315MiniSampler::ShowRoot() {
  rootNote_->setValue(static_cast<float>(shared_->workshop.RootNote()));
}

void S315MiniSampler::TakeOver() {
  const ProcessingSection section(*this);
  if (shared_->workshop.Take()) ++shared_->serial;
  ++screenVersion_;
}

void S315MiniSampler::ApplyQuality() {
  settlingTimer_.Stop();
  EndRecording();
  shared_->workshop.SetQuality(QualityPosition(), IsCycle());
  shared_->workshop.Resume();
}

void S315MiniSampler::SetRecording(bool on) {
  EndRecording();
  if (!on) return;
  if (!shared_->workshop.UseRoomToRecord(sampleRate, overdub_)) {
    record_->setValue(0.0f);
    Show("There is no memory to record");
    return;
  }
  TakeOver();
  const ProcessingSection section(*this);
  shared_->recorder = {};
  shared_->recording = true;
  record_->setValue(1.0f);
}

void S315MiniSampler::EndRecording() {
  if (!shared_->recording) return;
  {
    const ProcessingSection section(*this);
    shared_->recording = false;
    shared_->workshop.Current().buffer->FillGuards(IsCycle());
    // The recording plays from its start, as a loop at once.
    kernel_.Stop();
    ++shared_->serial;
    ++screenVersion_;
  }
  record_->setValue(0.0f);
  shared_->workshop.Resume();
  ShowNumbers();
  engine->PatchEdited();
}

// Files.

void S315MiniSampler::Load(const std::string& path) {
  EndRecording();
  Show("Loading " + std::filesystem::path(path).filename().string());
  shared_->workshop.Load(path, PanelRoot());
}

void S315MiniSampler::Save(const std::string& path) {
  EndRecording();
  const SampleSet set = shared_->workshop.Latest();
  if (set.buffer->Length() == 0) {
    Show("There is no sample to save");
    return;
  }
  media::SampleKey key{shared_->workshop.RootPitch() * kSemitonesPerPitch + kMiddleC};
  const SampleScreen::Marks marks = Marks();
  const auto frame = [&](double share) {
    return static_cast<std::int64_t>(std::llround(share * set.buffer->Length()));
  };
  if (marks.isLooping && frame(marks.end) > frame(marks.loop)) {
    key.loop = {frame(marks.loop), frame(marks.end) - 1};
  }
  const bool isFloat = format_->getValue() >= 0.5f;
  shared_->workshop.Save(
      path, isFloat ? media::SampleFormat::kFloat32 : media::SampleFormat::kInteger24, key);
}

void S315MiniSampler::AskForFile() {
  FileQuestion question;
  question.title = "Load Sample";
  question.kinds = SoundFiles();
  question.kinds.push_back({"Other sound file", "", ""});
  question.purpose = "Samples";
  fileRequest_.Ask(question, [this](const std::string& path) { Load(path); });
}

void S315MiniSampler::AskForTarget() {
  FileQuestion question;
  question.style = CFileSelector::kSelectSaveFile;
  question.title = "Save Sample";
  question.kinds = {SoundFiles().front()};
  question.saveName = "sample.wav";
  question.purpose = "Samples";
  fileRequest_.Ask(question, [this](const std::string& path) { Save(path); });
}

bool S315MiniSampler::onDrop(std::span<const std::string> files, const CPoint& where) {
  if (files.size() != 1 || IsPatchFile(files[0])) return BuiltInModule::onDrop(files, where);
  Load(files[0]);
  return true;
}

void S315MiniSampler::TakePatchKey(const PatchValue& value, const std::string& folder) {
  const std::string* const path = value.Text();
  if (!path || path->empty()) {
    throw platform::UserError("", "", "must be the path of a sound file", "put it in quotes");
  }
  shared_->workshop.LoadNow((std::filesystem::path(folder) / *path).string(), PanelRoot());
  TakeOver();
  ShowRoot();
}

// What the panel shows.

void S315MiniSampler::Poll() {
  SampleWorkshop& workshop = shared_->workshop;
  if (workshop.TakeFailure()) {
    quality_.View().setValue(0.0f);
    Show("There is no memory for this quality");
  }
  if (auto message = workshop.TakeMessage()) Show(*message);
  if (const int loads = workshop.Loads(); loads != shownLoads_) {
    shownLoads_ = loads;
    TakeOver();
    ShowRoot();
    engine->PatchEdited();
  }
  isBlinking_ = workshop.IsBusy() && !isBlinking_;
  lamp_.Set(isBlinking_ ? 1.0f : 0.0f);
  if (shared_->recording) ++screenVersion_;
  ShowNumbers();
}

void S315MiniSampler::Show(const std::string& line) {
  message_->setText(line.c_str());
  shownLength_ = shared_->workshop.Latest().buffer->Length();  // the line stays until it changes
}

void S315MiniSampler::ShowNumbers() {
  const SampleSet set = shared_->workshop.Latest();
  const int length = set.buffer->Length();
  const double seconds = length / set.rate;
  const double window = std::pow(length_->value, 3.0f) * seconds;
  const double fade = IsCycle() ? 0.0 : (1.0 - loop_->value) * window * fade_->value;
  xfade_->setText(Milliseconds("Xfade", fade).c_str());
  declick_->setText(Milliseconds("Declick", deClick_->value).c_str());
  bitInt_->setText("Bit Int");
  bitFloat_->setText("Bit Float");
  if (length == shownLength_) return;
  shownLength_ = length;
  ++screenVersion_;
  std::array<char, 80> text;
  std::snprintf(text.data(), text.size(), "%s%.2f s, %d samples at %.0f Hz",
                shared_->recording ? "Recording: " : "", seconds, length, set.rate);
  message_->setText(length == 0 ? "Load or drop a sound file, or record" : text.data());
}

SampleScreen::Marks S315MiniSampler::Marks() const {
  const auto unit = [](double x) { return x >= 0.0 ? std::min(x, 1.0) : 0.0; };
  const double fine = kernel_.startCable ? 0.0 : fineStart_->value * kFineShare;
  const double k = length_->value;
  SampleScreen::Marks marks;
  marks.start = unit(start_->value + fine);
  marks.end = marks.start + std::min(unit(k * k * k), 1.0 - marks.start);
  marks.loop = marks.end - (1.0 - unit(loop_->value)) * (marks.end - marks.start);
  marks.isLooping = looping_->getValue() >= 0.5f;
  marks.playhead = shared_->playhead.load(std::memory_order_relaxed);
  return marks;
}

std::vector<plot::Extremes> S315MiniSampler::Summary(double from, double to, std::size_t columns) {
  const SampleSet set = shared_->workshop.Latest();
  // A recording writes while the screen reads.
  const ProcessingSection section(*this);
  const int length = set.buffer->Length();
  if (length == 0) return {};
  const float* const samples = set.buffer->Samples();
  std::vector<plot::Extremes> summary(columns);
  const double width = (to - from) * length / static_cast<double>(columns);
  for (std::size_t i = 0; i < columns; ++i) {
    const double begin = from * length + width * static_cast<double>(i);
    const auto first = static_cast<std::int64_t>(std::floor(begin));
    const auto last = std::max(first, static_cast<std::int64_t>(std::ceil(begin + width)) - 1);
    // A glance at some of the values is enough where there are very many.
    const std::int64_t step = std::max<std::int64_t>(1, (last - first) / kSummarised);
    bool isFirst = true;
    for (std::int64_t n = first; n <= last; n += step) {
      if (n < 0 || n >= length) continue;
      plot::Extremes& extremes = summary[i];
      extremes.low = isFirst ? samples[n] : std::min(extremes.low, samples[n]);
      extremes.high = isFirst ? samples[n] : std::max(extremes.high, samples[n]);
      isFirst = false;
    }
  }
  return summary;
}

void S315MiniSampler::MoveKnob(Knob& knob, double value) {
  ModuleKnob& view = knob.View();
  view.setValue(static_cast<float>(std::clamp(value, 0.0, 1.0)));
  view.valueChanged();
  view.invalid();
}

void S315MiniSampler::Gesture(SampleScreen::Handle handle, bool begins) {
  const auto bracket = [begins](Knob& knob) {
    if (begins) {
      knob.View().beginEdit();
    } else {
      knob.View().endEdit();
    }
  };
  bracket(handle == SampleScreen::Handle::kLoop ? loop_ : length_);
  if (handle == SampleScreen::Handle::kStart) bracket(start_);
}

void S315MiniSampler::Drag(SampleScreen::Handle handle, double place) {
  const SampleScreen::Marks marks = Marks();
  const double width = marks.end - marks.start;
  switch (handle) {
    case SampleScreen::Handle::kStart: {
      // The end stays.
      const double start = std::min(place, marks.end - kSmallestWindow);
      MoveKnob(start_, start - (kernel_.startCable ? 0.0 : fineStart_->value * kFineShare));
      MoveKnob(length_, std::cbrt(marks.end - start));
      break;
    }
    case SampleScreen::Handle::kEnd:
      MoveKnob(length_, std::cbrt(std::max(place - marks.start, kSmallestWindow)));
      break;
    case SampleScreen::Handle::kLoop:
      if (width > 0.0) MoveKnob(loop_, 1.0 - (marks.end - place) / width);
      break;
  }
}

// Presets.

int S315MiniSampler::GetPresetSize() {
  if (IsOwner()) EndRecording();
  const int length = shared_ ? shared_->workshop.Latest().buffer->Length() : 0;
  return PresetTail(*this).SizeWith(kBlockBytes + length * static_cast<int>(sizeof(float)));
}

void S315MiniSampler::SavePreset(void* buffer, int size) {
  ByteWriter writer = PresetTail(*this).Save(buffer, size);
  if (!shared_) return;
  const SampleWorkshop& workshop = shared_->workshop;
  const SampleSet set = workshop.Latest();
  const std::int32_t length = set.buffer->Length();
  writer.Write(static_cast<std::uint8_t>(format_->getValue() >= 0.5f));
  writer.Write(static_cast<std::uint8_t>(screen_->IsZoomed()));
  writer.Write(workshop.RootPitch());
  writer.Write(length - 1);
  writer.Write(workshop.Tuning());
  writer.Write(set.rate);
  writer.Write(static_cast<std::int32_t>(QualityPosition() == 0 ? 0 : IsCycle() ? 2 : 1));
  writer.Write(std::log2(set.rate / 44100.0));
  for (std::int32_t i = 0; i < length; ++i) writer.Write(set.buffer->Samples()[i]);
}

void S315MiniSampler::LoadPreset(const void* buffer, int size, int) {
  if (IsOwner()) EndRecording();
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
  workshop.SetQuality(QualityPosition(), IsCycle());
  std::uint8_t format = format_->getValue() >= 0.5f, status = screen_->IsZoomed();
  double root = workshop.RootPitch(), tuning = workshop.Tuning();
  double rate = 0.0, tableBase = 0.0;
  std::int32_t last = -1, tableMode = 0;
  if (reader.Read(format)) {
    format_->setValue(format != 0 ? 1.0f : 0.0f);
    ValueChanged(format_);
  }
  if (reader.Read(status)) screen_->SetZoomed(status != 0);
  reader.Read(root);
  reader.Read(last);
  reader.Read(tuning);
  reader.Read(rate);
  reader.Read(tableMode);  // follows from the controls
  reader.Read(tableBase);  // follows from the rate
  const bool isWhole = !reader.Failed() && last >= -1 && last < SampleBuffer::kLargest &&
                       rate >= 1.0 && rate <= kHighestRate && std::fabs(root) <= kFarthestPitch &&
                       std::fabs(tuning) <= kFarthestPitch;
  if (isWhole) {
    const auto stored = static_cast<std::int32_t>(std::min<std::size_t>(
        static_cast<std::size_t>(last) + 1, reader.Remaining() / sizeof(float)));
    if (auto buffer = SampleBuffer::Make(std::max(stored, 1))) {
      for (std::int32_t i = 0; i < stored; ++i) {
        float sample = 0.0f;
        reader.Read(sample);
        buffer->Samples()[i] = std::isfinite(sample) ? sample : 0.0f;
      }
      buffer->SetLength(stored);
      workshop.Use(std::move(buffer), rate);
      // Without a sample the root is the note that the panel shows.
      if (stored > 0) workshop.SetRoot(root, tuning);
    }
  }
  ShowRoot();
  workshop.Resume();
  if (workshop.Latest().buffer->Length() <= kAwaitedLength) workshop.Finish();
  TakeOver();
  ShowNumbers();
}

}  // namespace halveron
