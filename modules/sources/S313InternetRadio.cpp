#include "modules/sources/S313InternetRadio.h"

#include <algorithm>
#include <cmath>

#include "framework/preset_tail.h"
#include "framework/rack_model.h"
#include "framework/text_label.h"
#include "modules/sources/player_labels.h"

namespace halveron {

namespace {

constexpr int kUpdateMilliseconds = 100;
constexpr int kDigits = 3;
// The digits show the largest number of their places.
constexpr int kFewSlots = 99, kMostSlots = 999;
constexpr int kLeastEmptySlots = 9;
constexpr double kStoredSeconds = 0.5;
constexpr double kMeterFallSeconds = 0.3;
constexpr const char* kEmptySlot = "...Empty...";
constexpr const char* kBuffering = "Buffering";

int SlotsFor(std::size_t stations) {
  return stations + kLeastEmptySlots <= kFewSlots ? kFewSlots : kMostSlots;
}

}  // namespace

S313InternetRadio::S313InternetRadio(CFrame* frame, const HostTable& table, int voiceIndex)
    : BuiltInModule(frame, table, voiceIndex),
      timer_(*this, kUpdateMilliseconds, [this] { Refresh(); }) {
  constexpr float kWideLeft = 14, kWideRight = 202, kLine = 18, kFirstLine = 42, kHeight = 15;
  constexpr float kButtons = 160, kJacks = 250;
  const auto line = [&](int index) {
    const float top = kFirstLine + kLine * static_cast<float>(index);
    return CRect(kWideLeft, top, kWideRight, top + kHeight);
  };
  ReadList();
  station_ = AddSpecialDigitEx("Station", 44, kButtons + 4, SharedBitmap::kRedDigits, kDigits, 1,
                               SlotsFor(stations_.size()));
  up_ = AddKickButton("Up", 88, kButtons - 12, SharedBitmap::kUpButton);
  down_ = AddKickButton("Down", 88, kButtons + 12, SharedBitmap::kDownButton);
  // No host may open a connection.
  connect_ = AddKickButton("Connect", 134, kButtons, SharedBitmap::kPlay, TAG_UNASSIGNED);
  disconnect_ = AddKickButton("Disconnect", 182, kButtons, SharedBitmap::kStop, TAG_UNASSIGNED);
  nameText_ = AddTextLabelEx("Name", line(0));
  titleText_ = AddTextLabelEx("Title", line(1));
  formatText_ = AddTextLabelEx("Format", line(2));
  statusText_ = AddTextLabelEx("Status", line(3));
  for (CTextLabelEx* label : {nameText_, titleText_, formatText_, statusText_}) {
    SetUpPlayerLabel(*label);
    label->threadSafe = true;
  }
  AddLamp(leftLamp_, "Left level", 134, 216, SharedBitmap::kRedLamp);
  AddLamp(rightLamp_, "Right level", 182, 216, SharedBitmap::kRedLamp);
  station_->caption = "Station";
  leftLamp_.View().caption = "";
  rightLamp_.View().caption = "";
  AddPatchPoint(left_, "Left", 134, kJacks);
  AddPatchPoint(right_, "Right", 182, kJacks);

  clipLevel = -1.0f;
  monoSelectable = false;
  InitPatchPoints(0.0f);
  SetSampleRate(sampleRate);
  ReserveRing();
  Refresh();
  RegisterForBlockStart();
  timer_.Start();
}

void S313InternetRadio::ReadList() { stations_ = LoadStations(editor->files.dataFolder); }

int S313InternetRadio::Station() const {
  const float value = station_->getValue();
  if (keptStation_ > 0 && value >= station_->getMax()) return keptStation_;
  return value > 1.0f ? static_cast<int>(std::min(value, station_->getMax())) : 1;
}

media::PlaylistEntry S313InternetRadio::Entry() const {
  const auto index = static_cast<std::size_t>(std::max(Station(), 1) - 1);
  return index < stations_.size() ? stations_[index] : media::PlaylistEntry{};
}

void S313InternetRadio::ReserveRing() {
  ring_.Reserve(blockSize, static_cast<double>(RadioPlayer::kHighestRate) / dawSampleRate);
}

void S313InternetRadio::SetSampleRate(float rate) {
  Module::SetSampleRate(rate);
  ring_.SetStep(static_cast<double>(fileRate_) / sampleRate);
}

void S313InternetRadio::SetDAWSampleRate(float rate) {
  Module::SetDAWSampleRate(rate);
  ReserveRing();
}

void S313InternetRadio::SetBlockSize(float frames) {
  Module::SetBlockSize(frames);
  ReserveRing();
}

void S313InternetRadio::BlockStart(int frames) {
  SampleFeed& feed = player.feed;
  FollowLevels(frames);
  if (feed.Update()) {
    fileRate_ = feed.Present().rate;
    ring_.Restart(feed.Present().channels);
    ring_.SetStep(static_cast<double>(fileRate_) / sampleRate);
    isStoring_ = true;
  }
  isSilent_ = !player.IsOwn(feed.Present());
  if (isSilent_) return;
  const auto stored = static_cast<std::size_t>(kStoredSeconds * fileRate_) *
                      static_cast<std::size_t>(ring_.channels);
  if (isStoring_ && feed.Available() < stored && !feed.IsClosed()) return;
  ring_.Fill(feed, frames, fileRate_ / static_cast<double>(dawSampleRate));
  isStoring_ = ring_.Held() < ring_.channels;
}

void S313InternetRadio::FollowLevels(int frames) {
  leftLamp_.Set(std::min(peakLeft_, 1.0f));
  rightLamp_.Set(std::min(peakRight_, 1.0f));
  const auto fall = static_cast<float>(std::exp(-frames / (kMeterFallSeconds * dawSampleRate)));
  peakLeft_ *= fall;
  peakRight_ *= fall;
}

void S313InternetRadio::ProcessSample() {
  if (isSilent_) {
    left_->out = right_->out = 0.0f;
    return;
  }
  ring_.Step();
  left_->out = ring_.left;
  right_->out = ring_.right;
  peakLeft_ = std::max(peakLeft_, std::abs(ring_.left));
  peakRight_ = std::max(peakRight_, std::abs(ring_.right));
}

void S313InternetRadio::ValueChanged(CControl* control) {
  if (isLoading_ || control->getValue() < 0.5f) return;
  if (control == station_) keptStation_ = 0;
  const int last = static_cast<int>(station_->getMax());
  if (control == up_) {
    Choose(Station() >= last ? 1 : Station() + 1);
  } else if (control == down_) {
    Choose(Station() <= 1 ? last : std::min(Station(), last) - 1);
  } else if (control == connect_) {
    Connect();
  } else if (control == disconnect_) {
    player.Disconnect();
    Refresh();
  }
}

void S313InternetRadio::Choose(int station) {
  const int last = static_cast<int>(station_->getMax());
  station_->setValue(static_cast<float>(std::clamp(station, 1, last)));
  keptStation_ = station > last ? std::min(station, kMostSlots) : 0;
  station_->invalid();
}

void S313InternetRadio::Connect() {
  ReadList();  // the user may have changed it
  askedStation_ = Station();
  const media::PlaylistEntry entry = Entry();
  if (entry.address.empty()) {
    player.Disconnect();
    player.ShowStatus(kEmptySlot);
  } else {
    player.Connect(entry.address);
  }
  Refresh();
}

void S313InternetRadio::Refresh() {
  if (Station() != askedStation_) player.ForgetFailure();
  const RadioPlayer::Display shown = player.Shown();
  const media::PlaylistEntry entry = Entry();
  const std::string& listed = entry.title.empty() ? entry.address : entry.title;
  const bool isOnAir = !shown.name.empty() || !shown.url.empty();
  std::string name = shown.name.empty() ? listed : shown.name;
  if (!shown.url.empty()) name += "   " + shown.url;
  if (!isOnAir && listed.empty()) name = kEmptySlot;
  nameText_->setText(name.c_str());
  titleText_->setText(shown.title.c_str());
  formatText_->setText(shown.format.c_str());
  const bool isBuffering = shown.state == RadioPlayer::State::kPlaying && isStoring_;
  statusText_->setText(isBuffering ? kBuffering : shown.status.c_str());
}

int S313InternetRadio::GetPresetSize() {
  return PresetTail(*this).SizeWith(static_cast<int>(sizeof(std::int32_t)));
}

void S313InternetRadio::SavePreset(void* buffer, int size) {
  PresetTail(*this).Save(buffer, size).Write(static_cast<std::int32_t>(Station()));
}

void S313InternetRadio::LoadPreset(const void* buffer, int size, int) {
  isLoading_ = true;  // a button that was down when the preset was saved is not pressed now
  ByteReader reader = PresetTail(*this).Load(buffer, size);
  isLoading_ = false;
  leftLamp_.Set(0.0f);
  rightLamp_.Set(0.0f);
  std::int32_t station = 1;
  reader.Read(station);
  // A text patch may name the station among its controls alone. Digits at the end of the short
  // range may stand for a station above it.
  const float shown = station_->getValue();
  const bool isAtEnd = shown == static_cast<float>(kFewSlots) && station > kFewSlots;
  const int digits = shown > 1.0f ? static_cast<int>(std::min(shown, float{kMostSlots})) : 1;
  Choose(digits == 1 || isAtEnd ? station : digits);
}

}  // namespace halveron
