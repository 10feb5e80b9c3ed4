#include "modules/sources/S318TrackerModPlayer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "dsp/exp2_fast.h"
#include "framework/preset_tail.h"
#include "framework/rack_model.h"
#include "framework/text_label.h"
#include "gui/slider.h"
#include "modules/sources/dropped_files.h"
#include "modules/sources/player_labels.h"
#include "platform/desktop.h"
#include "platform/file_error.h"
#include "platform/profile_file.h"
#include "platform/whole_file.h"

namespace halveron {

namespace fs = std::filesystem;

namespace {

constexpr int kUpdateMilliseconds = 100;
constexpr int kSliderRest = 8;  // refreshes
constexpr double kLampSeconds = 0.1;
constexpr float kControlsPerSecond = 1000.0f;
constexpr float kLowestPitch = 1.0f / 16.0f, kHighestPitch = 16.0f;
constexpr const char* kDownloads = "Downloads/";

constexpr std::array<const char*, 10> kPulseNames = {"1", "2",  "3",  "4",  "6",
                                                     "8", "12", "24", "48", "96"};
constexpr std::array<int, 10> kPulses = {1, 2, 3, 4, 6, 8, 12, 24, 48, 96};
constexpr int kFourPulses = 3;
constexpr std::array<const char*, 9> kClockNames = {"1", "2", "3", "4", "6", "8", "12", "16", "24"};
constexpr std::array<int, 9> kClocks = {1, 2, 3, 4, 6, 8, 12, 16, 24};
constexpr int kFourClocks = 3;

/// What the choice of a menu stands for.
template <std::size_t N>
int Chosen(const std::array<int, N>& values, const COptionMenu& menu) {
  const float value = menu.getValue();
  const auto index = value > 0.0f ? static_cast<std::size_t>(std::min(value, N - 1.0f)) : 0;
  return values[index];
}

std::string TempoText(const char* form, float tempo) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), form, static_cast<double>(tempo));
  return text.data();
}

std::string DetailText(const media::SongFacts& facts) {
  std::string text;
  if (!facts.artist.empty()) {
    text = "Artist: " + facts.artist;
    if (!facts.album.empty()) text += "   --   ";
  }
  if (!facts.album.empty()) text += "Album: " + facts.album;
  return text;
}

std::vector<CFileExtension> SongKinds() {
  struct Kind {
    const char* name;
    std::vector<const char*> endings;
  };
  const std::vector<Kind> kinds = {
      {"ProTracker Modules", {"mod", "nst", "wow", "m15", "stk", "pt36"}},
      {"ScreamTracker Modules", {"s3m", "stm"}},
      {"FastTracker Modules", {"xm"}},
      {"Impulse Tracker Modules", {"it"}},
      {"MultiTracker Modules", {"mtm"}},
      {"OpenMPT Modules", {"mptm"}},
      {"UMX Container", {"umx"}},
      {"Compressed Modules", {"mo3", "mmcmp", "xpk", "ppm"}},
      {"Windows Wave", {"wav"}},
      {"MPEG Audio", {"mp3", "mp2", "m4a", "aac"}},
      {"OGG Vorbis", {"ogg", "oga", "opus"}},
      {"Apple AIFF", {"aiff", "aif"}},
      {"FLAC", {"flac"}},
  };
  std::vector<CFileExtension> all;
  for (const Kind& kind : kinds) {
    for (const char* ending : kind.endings) all.push_back({kind.name, ending, ""});
  }
  return all;
}

}  // namespace

S318TrackerModPlayer::S318TrackerModPlayer(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex),
      fileRequest_(*this),
      timer_(*this, kUpdateMilliseconds, [this] { Refresh(); }) {
  AddControls();
  AddLabels();
  constexpr float kFirst = 27, kApart = 42, kJacks = 258, kLamps = 232;
  const auto x = [](int index) { return kFirst + kApart * static_cast<float>(index); };
  AddLamp(startLamp_, "Start lamp", x(0) + 16, kLamps, SharedBitmap::kRedLamp);
  AddLamp(clockLamp_, "Clock lamp", x(1) + 16, kLamps, SharedBitmap::kBlueLamp);
  AddLamp(playLamp_, "Play lamp", x(3) + 16, kLamps, SharedBitmap::kBlueLamp);
  for (Lamp* lamp : std::initializer_list<Lamp*>{&startLamp_, &clockLamp_, &playLamp_}) {
    lamp->View().caption = "";
  }
  AddPatchPoint(run_, "Run", x(0), kJacks);
  AddPatchPoint(clock_, "Clock", x(1), kJacks);
  AddPatchPoint(pitchIn_, "Pitch", x(2), kJacks);
  AddPatchPoint(speedIn_, "Speed", x(3), kJacks);
  AddPatchPoint(left_, "Left", x(4), kJacks);
  AddPatchPoint(right_, "Right", x(5), kJacks);

  clipLevel = -1.0f;
  monoSelectable = false;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ReserveRing();
  for (CControl* control :
       std::initializer_list<CControl*>{pitch_, tempo_, resample_, pulses_, clocks_}) {
    ValueChanged(control);
  }
  Refresh();
  RegisterForBlockStart();
  timer_.Start();
}

void S318TrackerModPlayer::AddControls() {
  constexpr float kButtons = 146, kKnobs = 192;
  // What opens a selector, a connection or another program is for no host.
  load_ = AddKickButton("Load", 30, kButtons, SharedBitmap::kEject, TAG_UNASSIGNED);
  random_ = AddKickButton("Random", 81, kButtons, SharedBitmap::kSmallQuestion, TAG_UNASSIGNED);
  save_ = AddKickButton("Save", 132, kButtons, SharedBitmap::kSmallSave, TAG_UNASSIGNED);
  page_ = AddKickButton("Open page", 183, kButtons, SharedBitmap::kSmallInfo, TAG_UNASSIGNED);
  reset_ = AddKickButton("Reset", 234, kButtons, SharedBitmap::kSmallRepeat);
  AddModuleKnob(speed_, "Speed", 28, kKnobs, SharedBitmap::kGrayKnob, 1.0f);
  AddModuleKnob(pitch_, "Pitch", 74, kKnobs, SharedBitmap::kGrayKnob, 0.5f);
  AddModuleKnob(tempo_, "Tempo", 120, kKnobs, SharedBitmap::kGrayKnob, 0.0f);
  resample_ = AddVerticalSwitch("Resample", 163, kKnobs, SharedBitmap::kVerticalSwitch, 0.0f);
  pulses_ = AddOptionMenu("Pulses per quarter", 222, kKnobs - 10, 40, 14, kPulseNames, kFourPulses);
  clocks_ = AddOptionMenu("Clocks per measure", 222, kKnobs + 18, 40, 14, kClockNames, kFourClocks);
  pulses_->caption = "Pulses";
  clocks_->caption = "Clocks";
  position_ = AddSlider("Position", 132, 120, 236, 10, kHorizontal, 0.0f, TAG_UNASSIGNED);
  position_->caption = "";
}

void S318TrackerModPlayer::AddLabels() {
  constexpr float kLeft = 14, kRight = 250, kHeight = 15;
  titleText_ = AddTextLabelEx("Title", CRect(kLeft, 40, kRight, 40 + kHeight));
  detailText_ = AddTextLabelEx("Details", CRect(kLeft, 58, kRight, 58 + kHeight));
  formatText_ = AddTextLabelEx("Format", CRect(kLeft, 76, 150, 76 + kHeight));
  tempoText_ = AddTextLabelEx("Tempo display", CRect(154, 76, kRight, 76 + kHeight));
  statusText_ = AddTextLabelEx("Status", CRect(kLeft, 94, kRight, 94 + kHeight));
  for (CTextLabelEx* label : {titleText_, detailText_, formatText_, tempoText_, statusText_}) {
    SetUpPlayerLabel(*label);
    label->threadSafe = true;
  }
}

void S318TrackerModPlayer::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  startLamp_.SetHold(rate, kLampSeconds);
  clockLamp_.SetHold(rate, kLampSeconds);
  pitchInterval_ = std::max(static_cast<int>(rate / kControlsPerSecond), 1);
  pitchCounter_ = 0;
  UpdateLaw();
}

void S318TrackerModPlayer::SetDAWSampleRate(float rate) {
  Module::SetDAWSampleRate(rate);
  ReserveRing();
}

void S318TrackerModPlayer::SetBlockSize(float frames) {
  Module::SetBlockSize(frames);
  ReserveRing();
}

void S318TrackerModPlayer::ReserveRing() {
  ring_.Reserve(blockSize, PlaybackLaw::kHighestRate / dawSampleRate);
}

void S318TrackerModPlayer::UpdateLaw() {
  const PlaybackLaw law = PlaybackLaw::Of(fileRate_, songTempo_, player.wishes.tempo,
                                          player.wishes.speed, player.wishes.resamples);
  ring_.SetStep(law.rate / sampleRate);
  needsResample_.store(law.needsResample, std::memory_order_relaxed);
}

void S318TrackerModPlayer::BlockStart(int frames) {
  SampleFeed& feed = player.feed;
  const bool mayWait = editor->rendersOffline();
  if (mayWait) player.WaitForWorker();
  if (feed.Update()) {
    fileRate_ = feed.Present().rate;
    songTempo_ = feed.Present().tempo;
    ring_.Restart(feed.Present().channels);
    UpdateLaw();
    if (run_.IsCabled() && !isPlaying_ && feed.Present().number != readyStart_) {
      readyStart_ = player.Restart();
      if (mayWait) player.WaitForWorker();
      feed.Update();
      ring_.Restart(feed.Present().channels);
    }
  }
  isOwn_ = player.IsOwn(feed.Present());
  playLamp_.Set(isOwn_ && isPlaying_ && !feed.HasEnded() ? 1.0f : 0.0f);
  if (!isOwn_) return;
  if (isPlaying_ && !feed.HasEnded() && !player.IsLoading()) hasMoved_ = true;
  const double ratio = ring_.step_mono * static_cast<double>(sampleRate / dawSampleRate);
  const auto needed = static_cast<std::uint64_t>(StreamRing::SamplesFor(frames, ratio));
  const auto ahead = static_cast<std::uint64_t>(SongPlayer::kAheadSeconds * fileRate_) *
                     static_cast<std::uint64_t>(ring_.channels);
  player.Request(std::max(feed.TotalRead(), feed.Present().begin) +
                 (mayWait ? needed : needed + ahead));
  if (mayWait) player.WaitForWorker();
  ring_.Fill(feed, frames, ratio);
}

void S318TrackerModPlayer::ProcessSample() {
  startLamp_.Tick();
  clockLamp_.Tick();
  if (run_.IsCabled()) FollowRun();
  const bool isClock = clockEdge_.Step(clock_->in);
  if (isClock) clockLamp_.Light();
  const float tempo = clockMeter_.Step(isClock, sampleRate);
  if (tempo > 0.0f) SetTempo(tempo);
  if (--pitchCounter_ <= 0) {
    pitchCounter_ = pitchInterval_;
    FollowControlVoltages();
  }
  if (!isPlaying_ || !isOwn_) {
    left_->out = right_->out = 0.0f;
    return;
  }
  if (!ring_.Step() && player.feed.HasEnded()) ring_.left = ring_.right = 0.0f;
  left_->out = ring_.left;
  right_->out = ring_.right;
}

void S318TrackerModPlayer::FollowRun() {
  using Event = S318TrackerModPlayerKernel::RunGate::Event;
  const Event event = runGate_.Step(run_->in);
  if (event == Event::kNone) return;
  isPlaying_ = event == Event::kStart;
  if (isPlaying_) {
    startLamp_.Light();
    clockMeter_.Reset();
  }
  // At the stop the start is made ready, so that the next one sounds at once.
  if (isPlaying_ && player.IsWanted(std::exchange(readyStart_, 0))) return;
  const std::uint64_t number = player.Restart();
  isOwn_ = false;
  if (!isPlaying_) readyStart_ = number;
}

void S318TrackerModPlayer::FollowControlVoltages() {
  if (hasPitchCable_ && pitchIn_->in != lastPitch_) {
    lastPitch_ = pitchIn_->in;
    SetPitch(lastPitch_ == 0.0f ? 1.0f : dsp::Exp2Fast(10.0f * lastPitch_));
  }
  if (hasSpeedCable_) {
    const float v = speedIn_->in * speed_->value;
    player.wishes.speed.store(PlaybackLaw::SpeedOf(v, fileRate_), std::memory_order_relaxed);
    UpdateLaw();
  }
}

float S318TrackerModPlayer::TempoOfKnob() const {
  const float share = tempo_->value;
  if (!(share > 0.0f)) return 0.0f;
  return kSlowestTempo + (kFastestTempo - kSlowestTempo) * std::min(share, 1.0f);
}

float S318TrackerModPlayer::PitchOfKnob() const {
  const float octaves = kPitchOctaves * (pitch_->value - 0.5f);
  return octaves == 0.0f ? 1.0f : std::clamp(dsp::Exp2Fast(octaves), kLowestPitch, kHighestPitch);
}

/// Sets a tempo of more accuracy than the knob, which follows.
void S318TrackerModPlayer::SetTempo(float tempo) {
  tempo = std::clamp(tempo, kSlowestTempo, kFastestTempo);
  const float share = (tempo - kSlowestTempo) / (kFastestTempo - kSlowestTempo);
  tempo_.View().setValue(std::max(share, 1e-6f));
  ValueChanged(tempo_);
  player.wishes.tempo.store(tempo, std::memory_order_relaxed);
  UpdateLaw();
}

void S318TrackerModPlayer::SetPitch(float ratio) {
  ratio = ratio > kLowestPitch ? std::min(ratio, kHighestPitch) : kLowestPitch;
  pitch_.View().setValue(std::clamp(0.5f + std::log2(ratio) / kPitchOctaves, 0.0f, 1.0f));
  ValueChanged(pitch_);
  player.wishes.pitch.store(ratio, std::memory_order_relaxed);
}

void S318TrackerModPlayer::ValueChanged(CControl* control) {
  SongPlayer::Wishes& wishes = player.wishes;
  if (control == tempo_) {
    wishes.tempo.store(TempoOfKnob(), std::memory_order_relaxed);
  } else if (control == pitch_) {
    wishes.pitch.store(PitchOfKnob(), std::memory_order_relaxed);
  } else if (control == resample_) {
    wishes.resamples.store(resample_->getValue() >= 0.5f, std::memory_order_relaxed);
  } else if (control == pulses_ || control == clocks_) {
    const ProcessingSection section(*this);
    clockMeter_.pulses_per_quarter = Chosen(kPulses, *pulses_);
    clockMeter_.clocks_per_measure = Chosen(kClocks, *clocks_);
  }
  if (control == tempo_ || control == resample_) {
    const ProcessingSection section(*this);
    UpdateLaw();
  }
  if (isLoading_) return;
  if (control == position_) {
    // It may be a host that moves it, on the audio thread.
    const float share = position_->getValue();
    if (share >= 0.0f && player.Seek(std::min(share, 1.0f))) hasMoved_ = true;
    positionRest_ = kSliderRest;
  }
  if (control->getValue() < 0.5f) return;
  if (control == reset_) {
    tempo_.View().setValue(0.0f);
    ValueChanged(tempo_);
    notice_.store(Notice::kTempoReset, std::memory_order_relaxed);
  } else if (control == load_) {
    FileQuestion question;
    question.title = "Load File";
    question.kinds = SongKinds();
    question.purpose = "Songs";
    fileRequest_.Ask(question, [this](const std::string& path) { LoadFile(path); });
  } else if (control == random_) {
    FetchRandom();
  } else if (control == save_) {
    SaveDownload();
  } else if (control == page_ && !link_.empty()) {
    if (!platform::OpenOnDesktop(link_).empty()) Say(link_);
  }
}

void S318TrackerModPlayer::CableConnected(PatchPoint* point) {
  if (point == run_ && run_.IsCabled()) {
    runGate_ = {};
    isPlaying_ = false;
    readyStart_ = player.Restart();
  }
  if (point == clock_) clockMeter_.Reset();
  hasPitchCable_ = pitchIn_.IsCabled();
  hasSpeedCable_ = speedIn_.IsCabled();
}

void S318TrackerModPlayer::CableDisconnected(PatchPoint* point) {
  if (point == run_ && !run_.IsCabled()) isPlaying_ = true;
  if (point == clock_) clockMeter_.Reset();
  hasPitchCable_ = pitchIn_.IsCabled();
  hasSpeedCable_ = speedIn_.IsCabled();
  if (point == pitchIn_ && !hasPitchCable_) lastPitch_ = 0.0f;
  if (!hasSpeedCable_) {
    player.wishes.speed.store(-1.0f, std::memory_order_relaxed);
    UpdateLaw();
  }
}

bool S318TrackerModPlayer::onDrop(std::span<const std::string> files, const CPoint& where) {
  if (files.size() != 1 || IsPatchFile(files[0])) return Module::onDrop(files, where);
  LoadFile(files[0]);
  return true;
}

ControlEffect S318TrackerModPlayer::EffectOf(const CControl& control) const {
  // What "Save" has written stays, so there is no step for it.
  const bool isPlayback = &control == position_ || &control == save_;
  return isPlayback ? ControlEffect::kPlayback : ControlEffect::kSetting;
}

void S318TrackerModPlayer::SetPath(std::string path) {
  const ProcessingSection section(*this);
  path_.swap(path);
}

void S318TrackerModPlayer::ForgetDownload() {
  download_ = {};
  link_.clear();
  fetcher_.RequestStop();
  isFetching_ = false;
  const std::lock_guard lock(fetchLock_);
  fetched_ = {};
}

void S318TrackerModPlayer::LoadFile(const std::string& path) {
  ForgetDownload();
  SetPath(path);
  SongPlayer::Order order;
  order.path = path;
  Load(std::move(order));
  editor->ModuleEdited(*this);
}

void S318TrackerModPlayer::Load(SongPlayer::Order order) {
  presetSeconds_ = order.seconds;
  hasMoved_ = false;
  const platform::ProfileFile options(editor->files.OptionsFile());
  const int points = options.GetInt("Tracker Player", "interpolation", 0);
  const bool isValid = points == 1 || points == 2 || points == 4 || points == 8;
  order.options.interpolation = isValid ? points : 0;
  player.Load(std::move(order));
  Refresh();
}

media::SongArchive S318TrackerModPlayer::Archive() const {
  const platform::ProfileFile options(editor->files.OptionsFile());
  media::SongArchive archive;
  const auto take = [&](const char* key, std::string& target) {
    const std::string value = options.GetText(kArchiveSection, key, "");
    if (!value.empty()) {
      target = value;
    } else if (!options.Find(kArchiveSection, key)) {
      options.SetText(kArchiveSection, key, "");  // where the user finds it
    }
  };
  take("address", archive.address);
  take("key", archive.key);
  take("random_path", archive.randomPath);
  take("download_path", archive.downloadPath);
  take("page_path", archive.pagePath);
  return archive;
}

void S318TrackerModPlayer::FetchRandom() {
  const media::SongArchive archive = Archive();
  if (!media::IsWebAddress(archive.address)) {
    Say(std::string("Set \"address\" under [") + kArchiveSection + "] in Config.ini");
    return;
  }
  if (isFetching_ && fetcher_.IsBusy()) return;
  // What was stopped may take a moment to end; this follows it.
  isFetching_ = fetcher_.Restart([this, archive](const std::stop_token& stop) {
    Fetched fetched;
    fetched.isDone = true;
    try {
      fetched.song = media::FetchRandomSong(archive, stop);
    } catch (const media::ArchiveKeyError&) {
      fetched.message = "Download failed!! (K)";
    } catch (const std::exception&) {
      fetched.message = "Download failed!!";
    }
    const std::lock_guard lock(fetchLock_);
    if (!stop.stop_requested()) fetched_ = std::move(fetched);
  });
  Say(isFetching_ ? "Downloading track..." : "Download failed!!");
}

void S318TrackerModPlayer::TakeFetched() {
  Fetched fetched;
  {
    const std::lock_guard lock(fetchLock_);
    if (!fetched_.isDone) return;
    fetched = std::exchange(fetched_, {});
  }
  if (!fetched.message.empty()) {
    Say(fetched.message);
    return;
  }
  download_ = std::move(fetched.song);
  downloadName_ = "module_" + std::to_string(download_.id);
  link_ = Archive().Page(download_.id);
  SetPath("");
  Say("");
  SongPlayer::Order order;
  order.path = downloadName_;
  order.bytes = download_.bytes;
  Load(std::move(order));
  editor->ModuleEdited(*this);
}

void S318TrackerModPlayer::SaveDownload() {
  if (download_.bytes.empty()) {
    Say("No download to save");
    return;
  }
  // An ending from what the bytes are, not from what the archive says.
  std::string ending;
  for (const char letter : player.Shown().facts.extension) {
    if (std::isalnum(static_cast<unsigned char>(letter))) ending += letter;
  }
  const std::string& data = editor->files.dataFolder;
  const std::string path =
      data + kDownloads + downloadName_ + "." + (ending.empty() ? "mod" : ending);
  try {
    std::error_code error;
    if (!data.empty()) fs::create_directories(data + kDownloads, error);
    if (data.empty() || error) throw platform::FileError(path, "", "no folder");
    platform::WriteWholeFile(path, std::as_bytes(std::span(download_.bytes)));
    SetPath(path);
    engine->PatchEdited();  // no step: the file stays, and so does the song that it holds
    Say("File saved to: " + path);
  } catch (const std::exception&) {
    Say("Save failed!!");
  }
}

void S318TrackerModPlayer::Say(const std::string& message) {
  statusText_->setText(message.c_str());
}

void S318TrackerModPlayer::Refresh() {
  TakeFetched();
  const SongPlayer::Display shown = player.Shown();
  if (shown.loads != shownLoads_) {
    shownLoads_ = shown.loads;
    Say(shown.message);
    ShowSong(shown);
  }
  const float own = shown.facts.tempo.value_or(120.0f);
  const float wished = player.wishes.tempo.load(std::memory_order_relaxed);
  tempoText_->setText(TempoText("%.2f BPM", wished > 0.0f ? wished : own).c_str());
  if (notice_.exchange(Notice::kNone) == Notice::kTempoReset) {
    Say(TempoText("Tempo reset %.2f BPM", own));
  }
  const bool needsResample = shown.hasSong && needsResample_.load(std::memory_order_relaxed);
  if (needsResample && !saysResample_) Say("Switch to resample");
  saysResample_ = needsResample;
  if (positionRest_ > 0) {
    --positionRest_;
  } else if (shown.facts.seconds > 0.0) {
    const auto share = static_cast<float>(player.Position() / shown.facts.seconds);
    position_->setValue(std::clamp(share, 0.0f, 1.0f));
  }
}

void S318TrackerModPlayer::ShowSong(const SongPlayer::Display& shown) {
  const std::string& file = path_.empty() ? downloadName_ : path_;
  const std::string title =
      shown.facts.title.empty() ? fs::path(file).filename().string() : shown.facts.title;
  titleText_->setText(shown.hasSong ? title.c_str() : "");
  detailText_->setText(DetailText(shown.facts).c_str());
  formatText_->setText(shown.facts.format.c_str());
}

int S318TrackerModPlayer::GetPresetSize() {
  return PresetTail(*this).SizeWith(
      static_cast<int>(path_.size() + 1 + sizeof(double) + 2 * sizeof(float)));
}

void S318TrackerModPlayer::SavePreset(void* buffer, int size) {
  ByteWriter writer = PresetTail(*this).Save(buffer, size);
  for (const char letter : path_) writer.Write(letter);
  writer.Write('\0');
  writer.Write(hasMoved_.load() ? player.Position() : presetSeconds_);
  writer.Write(player.wishes.tempo.load(std::memory_order_relaxed));
  writer.Write(player.wishes.pitch.load(std::memory_order_relaxed));
}

void S318TrackerModPlayer::LoadPreset(const void* buffer, int size, int) {
  isLoading_ = true;  // a button that was down when the preset was saved is not pressed now
  ByteReader reader = PresetTail(*this).Load(buffer, size);
  isLoading_ = false;
  for (Lamp* lamp : std::initializer_list<Lamp*>{&startLamp_, &clockLamp_, &playLamp_}) {
    lamp->Set(0.0f);
  }
  const auto path = reader.TakeString(kMostPathBytes);
  if (!path) return;
  double seconds = 0.0;
  float tempo = 0.0f, pitch = 1.0f;
  reader.Read(seconds);
  reader.Read(tempo);
  reader.Read(pitch);
  {
    const ProcessingSection section(*this);
    // 0 and 1 leave both to the knobs.
    const bool hasTempo = tempo >= kSlowestTempo && tempo <= kFastestTempo;
    if (hasTempo && tempo != TempoOfKnob()) SetTempo(tempo);
    const bool hasPitch = pitch >= kLowestPitch && pitch <= kHighestPitch && pitch != 1.0f;
    if (hasPitch && pitch != PitchOfKnob()) SetPitch(pitch);
  }
  // A download goes on: a preset that names no file may be from before it was saved.
  if (path->empty() && (path_.empty() || !download_.bytes.empty())) return;
  if (*path == path_ && hasMoved_ && player.Shown().hasSong) return;
  // Beside another song the slider may show where that is.
  const bool isOther = !path_.empty() && *path != path_;
  const float share = !isOther ? position_->getValue() : 0.0f;
  if (*path != path_) ForgetDownload();
  SetPath(std::string(*path));
  SongPlayer::Order order;
  order.path = path_;
  if (std::isfinite(seconds) && seconds > 0.0) order.seconds = seconds;
  if (share > 0.0f) order.share = std::min(share, 1.0f);
  Load(std::move(order));
}

void S318TrackerModPlayer::TakePatchKey(const PatchValue& value, const std::string& folder) {
  const std::string* const text = value.Text();
  if (!text || text->empty() || text->find('\0') != std::string::npos) {
    throw platform::UserError("", "", "is no path", "name a file, such as \"song.mod\"");
  }
  std::error_code error;
  const fs::path path = fs::absolute(fs::path(folder) / *text, error).lexically_normal();
  if (!fs::is_regular_file(path, error)) {
    throw platform::UserError("", "", "there is no file " + path.string(),
                              "put it beside the patch, or correct the path");
  }
  media::OpenSong(path.string(), {}, {});  // throws if it is none
  SetPath(path.string());
}

}  // namespace halveron
