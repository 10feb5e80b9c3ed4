// What the panel of S315 does and shows.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "framework/rack_model.h"
#include "gui/text_fit.h"
#include "modules/sources/S315MiniSampler.h"
#include "modules/sources/dropped_files.h"
#include "modules/sources/sample_edit.h"
#include "platform/file_error.h"

namespace halveron {

namespace {

constexpr double kMiddleC = 60.0;
constexpr double kSemitonesPerPitch = 120.0;
constexpr double kFineShare = 0.01;
constexpr double kSmallestWindow = 1e-6;  // of the sample
constexpr int kSummarised = 512;          // values looked at in a column of the screen

constexpr CColor kBright{245, 225, 190};
constexpr CColor kDim{96, 98, 102};

const std::vector<CFileExtension>& SoundFiles() {
  static const std::vector<CFileExtension> kinds{{"Microsoft wave file", "wav", "audio/wav"},
                                                 {"MPEG 3 audio file", "mp3", "audio/mpeg"},
                                                 {"Ogg Vorbis audio file", "ogg", "audio/ogg"},
                                                 {"Apple AIFF audio file", "aiff", "audio/x-aiff"}};
  return kinds;
}

double PitchOfNote(double note) { return (note - kMiddleC) / kSemitonesPerPitch; }

std::string Milliseconds(const char* name, double seconds) {
  std::array<char, 40> text;
  std::snprintf(text.data(), text.size(), seconds < 0.01 ? "%s %.1f ms" : "%s %.0f ms", name,
                1000.0 * seconds);
  return text.data();
}

}  // namespace

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
  if (button == clear_) {
    Replace(0, 0);
  } else if (length == 0) {
    Show("There is no sample yet");
  } else if (button == crop_) {
    const auto [first, end] = Window(length);
    if (!Replace(first, end)) return;
    MoveKnob(start_, 0.0);
    MoveKnob(fineStart_, 0.0);
    MoveKnob(length_, 1.0);
  } else if (button == reverse_) {
    Replace(0, length,
            [](std::span<float> samples) { std::reverse(samples.begin(), samples.end()); });
  } else if (button == normalise_) {
    Replace(0, length, Normalise);
  } else if (button == tune_) {
    Tune();
  }
}

bool S315MiniSampler::Replace(int first, int end,
                              const std::function<void(std::span<float>)>& change) {
  const SampleSet set = shared_->workshop.Latest();
  const int length = end - first;
  auto buffer = SampleBuffer::Make(std::max(length, 1));
  if (!buffer) {
    Show("There is no memory for this");
    return false;
  }
  std::copy_n(set.buffer->Samples() + first, length, buffer->Samples());
  if (change) change({buffer->Samples(), static_cast<std::size_t>(length)});
  buffer->SetLength(length);
  shared_->workshop.Use(std::move(buffer), set.rate);
  TakeOver();
  shared_->workshop.Resume();
  ShowNumbers();
  editor->ModuleEdited(*this);
  return true;
}

std::pair<int, int> S315MiniSampler::Window(int length) const {
  const SampleScreen::Marks marks = Marks();
  const int first = std::clamp(static_cast<int>(std::lround(marks.start * length)), 0, length - 1);
  const int end = std::clamp(static_cast<int>(std::lround(marks.end * length)), first + 1, length);
  return {first, end};
}

void S315MiniSampler::Tune() {
  const SampleSet set = shared_->workshop.Latest();
  const int length = set.buffer->Length();
  std::optional<double> frequency = set.rate / length;
  if (!IsCycle()) {
    const auto [first, end] = Window(length);
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
  shared_->workshop.FreeOld();
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
  // One gesture: a step of the history would read the preset data, which ends the recording.
  record_->beginEdit();
}

void S315MiniSampler::EndRecording() {
  if (!shared_->recording) return;
  {
    const ProcessingSection section(*this);
    shared_->recording = false;
    shared_->workshop.Current().buffer->FillGuards(IsCycle());
    // The recording plays from its start, as a loop at once.
    kernel_.Stop();
    for (int v = 1; v < engine->voiceCount; ++v) {
      if (auto* player = dynamic_cast<S315MiniSampler*>(GetVoiceModule(v))) player->kernel_.Stop();
    }
    shared_->workshop.MarkChanged();
    ++shared_->serial;
    ++screenVersion_;
  }
  record_->setValue(0.0f);
  record_->endEdit();
  shared_->workshop.Resume();
  ShowNumbers();
  engine->PatchEdited();
}

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

void S315MiniSampler::Poll() {
  SampleWorkshop& workshop = shared_->workshop;
  workshop.FreeOld();
  FollowFailure();
  if (auto message = workshop.TakeMessage()) Show(*message);
  if (const int loads = workshop.Loads(); loads != shownLoads_) {
    shownLoads_ = loads;
    shownLength_ = -1;  // the line gives way to the sample's size
    TakeOver();
    ShowRoot();
    editor->ModuleEdited(*this);
  }
  isBlinking_ = workshop.IsBusy() && !isBlinking_;
  lamp_.Set(isBlinking_ ? 1.0f : 0.0f);
  if (shared_->recording) ++screenVersion_;
  ShowNumbers();
}

void S315MiniSampler::FollowFailure() {
  if (!shared_->workshop.TakeFailure()) return;
  quality_.View().setValue(0.0f);
  Show("There is no memory for this quality");
}

void S315MiniSampler::Show(const std::string& line) {
  SetMessage(line);
  shownLength_ = shared_->workshop.Latest().buffer->Length();  // the line stays until it changes
}

void S315MiniSampler::SetMessage(const std::string& line) {
  line_ = line;
  ShowFitted(*message_, line);
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
  SetMessage(length == 0 ? "Load or drop a sound file, or record" : text.data());
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
  const int length = set.buffer->Length();
  if (length == 0) return {};
  const float* const samples = set.buffer->Samples();
  std::vector<plot::Extremes> summary(columns);
  const double width = (to - from) * length / static_cast<double>(columns);
  for (std::size_t i = 0; i < columns; ++i) {
    // A recording writes while the screen reads; it waits for one column at most.
    const ProcessingSection section(*this);
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

}  // namespace halveron
