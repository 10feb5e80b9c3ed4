#include "modules/midi/SD30MIDIRecorder.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "framework/panel_metrics.h"
#include "framework/preset_tail.h"
#include "gui/text_fit.h"
#include "media/midi_file_writer.h"
#include "modules/midi/recorded_take_file.h"
#include "platform/error_line.h"
#include "platform/file_error.h"

namespace halveron {

namespace {

constexpr int kUpdateMilliseconds = 50;
constexpr int kMessageMargin = 3;  // panel units
constexpr double kEndSeconds = 0.01;
constexpr double kDefaultTempo = 120.0;
constexpr int kMostTranspose = 24;
constexpr int kTransposePositions = 2 * kMostTranspose + 1;
constexpr double kSpeedOctaves = 2.0;  // a quarter to four times

// Shares of a clock, or of a quarter note; 0 for none.
constexpr std::array<double, 7> kGrids{0.0, 1.0 / 8, 1.0 / 6, 1.0 / 4, 1.0 / 3, 1.0 / 2, 1.0};

constexpr int kTakeHeadBytes = 12;
constexpr int kEventBytes = 8;
constexpr int kClockedBase = 1;

constexpr const char* kCommandRoles[] = {"Record", "Play", "Stop", "Reset"};
constexpr SharedBitmap kCommandImages[] = {SharedBitmap::kRecord, SharedBitmap::kPlay,
                                           SharedBitmap::kStop, SharedBitmap::kPrevious};

/// A time of a take as a musician counts: clocks from 1, or minutes and seconds.
std::string TimeText(double units, bool isClocked) {
  std::array<char, 32> text;
  if (isClocked) {
    std::snprintf(text.data(), text.size(), "%.2f clk", units / RecordedTake::kUnitsPerClock);
  } else {
    const double seconds = units / RecordedTake::kUnitsPerSecond;
    const int minutes = static_cast<int>(seconds / 60.0);
    std::snprintf(text.data(), text.size(), "%d:%05.2f", minutes, seconds - 60.0 * minutes);
  }
  return text.data();
}

bool IsMidiFile(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return extension == ".mid" || extension == ".midi";
}

}  // namespace

SD30MIDIRecorder::SD30MIDIRecorder(CFrame* frame, const HostTable& table, int voiceIndex)
    : MidiModule(frame, table, voiceIndex),
      fileRequest_(*this),
      timer_(*this, kUpdateMilliseconds, [this] { ShowNumbers(); }) {
  constexpr float kLeft = 30, kColumn = 52;
  const auto x = [](int column) { return kLeft + kColumn * static_cast<float>(column); };
  for (int i = 0; i < kCommands; ++i) {
    buttons_[i] = AddKickButton(kCommandRoles[i], x(i), 102, kCommandImages[i]);
  }
  loop_ = AddVerticalSwitch("Loop", x(0), 140, SharedBitmap::kVerticalSwitch, 0.0f);
  overdub_ = AddVerticalSwitch("Overdub", x(1), 140, SharedBitmap::kVerticalSwitch, 0.0f);
  AddSteppedKnob(quantise_, "Quantise", x(2), 140, SharedBitmap::kGrayKnob7, 0.0f);
  AddModuleKnob(speed_, "Speed", x(3), 140, SharedBitmap::kGrayKnob, 0.5f);
  AddModuleKnob(transpose_, "Transpose", x(0), 180, SharedBitmap::kGrayKnob, 0.5f);
  clear_ = AddKickButton("Clear", x(1), 180, SharedBitmap::kRedButton);
  // No host may open a file selector.
  import_ = AddKickButton("Import", x(2), 180, SharedBitmap::kSmallDown, TAG_UNASSIGNED);
  export_ = AddKickButton("Export", x(3), 180, SharedBitmap::kSmallSave, TAG_UNASSIGNED);
  positionText_ = AddTextLabel("Position", CRect(14, 42, 104, 57));
  lengthText_ = AddTextLabel("Length", CRect(112, 42, 202, 57));
  message_ = AddTextLabel("Message", CRect(14, 61, 202, 76));
  message_->setHoriAlign(kLeftText);
  message_->setTextInset(CPoint(ScaleToPixels(kMessageMargin), 0));
  AddLamp(recordLamp_, "Record lamp", x(0) + 18, 94, SharedBitmap::kRedLamp);
  recordLamp_.View().caption = "";
  AddLamp(playLamp_, "Play lamp", x(1) + 18, 94, SharedBitmap::kBlueLamp);
  playLamp_.View().caption = "";
  AddMessageLamp(inLamp_, "In lamp", x(0) + 18, 206);
  inLamp_.View().caption = "";
  AddMessageLamp(midiOut_.lamp, "Activity LED", x(2) + 18, 206);
  AddMidiPatchPoint(midiIn_, "MIDI in", x(0), 218);
  AddPatchPoint(clock_, "Clock", x(1), 218);
  for (int i = 0; i < kCommands; ++i) AddPatchPoint(gates_[i], kCommandRoles[i], x(i), 258);
  AddMidiPatchPoint(midiOut_.point, "MIDI out", x(2), 218);
  AddPatchPoint(end_, "End", x(3), 218);
  FinishPanel();
  for (CControl* control :
       std::initializer_list<CControl*>{&quantise_.View(), &transpose_.View(), &speed_.View()}) {
    ValueChanged(control);
  }
  RegisterForBlockStart();
  ShowNumbers();
  timer_.Start();
}

void SD30MIDIRecorder::BlockStart(int) {
  transport_.Update(*this, kVstTempoValid);
  if (transport_.tempo > 0.0) {
    kernel_.SetQuarter(RecordedTake::kUnitsPerSecond * 60.0 / transport_.tempo);
  }
}

void SD30MIDIRecorder::ProcessSample() {
  FollowGates();
  const auto word = MidiCableWord::FromCell(midiIn_->in);
  if (!word.IsNone()) inLamp_.Light();
  inLamp_.Tick();
  const auto before = kernel_.GetState();
  midiOut_.Step(kernel_.Step(word, clock_->in));
  if (endPulse_.Tick()) end_->out = 0.0f;
  if (kernel_.HasEnded()) {
    end_->out = 1.0f;
    endPulse_.Start(endSamples_);
  }
  if (kernel_.GetState() != before) ShowState();
}

void SD30MIDIRecorder::FollowGates() {
  for (int i = 0; i < kCommands; ++i) {
    if (gateEdges_[i].Step(gates_[i]->in)) Run(i);
  }
}

void SD30MIDIRecorder::Run(int command) {
  switch (command) {
    case kRecord:
      kernel_.Record();
      break;
    case kPlay:
      kernel_.Play();
      break;
    case kStop:
      kernel_.Stop();
      break;
    default:
      kernel_.Reset();
      break;
  }
  ShowState();
}

void SD30MIDIRecorder::ShowState() {
  recordLamp_.Set(kernel_.IsRecording() ? 1.0f : 0.0f);
  playLamp_.Set(kernel_.IsPlaying() ? 1.0f : 0.0f);
}

void SD30MIDIRecorder::ShowNumbers() {
  bool isClocked = false;
  double position = 0.0;
  std::uint32_t length = 0;
  std::size_t events = 0;
  {
    const ProcessingSection section(*this);
    isClocked = kernel_.IsClocked();
    position = std::max(kernel_.Position(), 0.0);
    length = kernel_.Length();
    events = kernel_.EventCount();
  }
  positionText_->setText(TimeText(position, isClocked).c_str());
  lengthText_->setText(TimeText(length, isClocked).c_str());
  // What went wrong stays until the take changes.
  if (events == shownEvents_) return;
  shownEvents_ = events;
  Say(std::to_string(shownEvents_) + " events");
}

void SD30MIDIRecorder::Say(const std::string& line) {
  ShowFitted(*message_, line, ScaleToPixels(kMessageMargin));
}

void SD30MIDIRecorder::SetSampleRate(float rate) {
  MidiModule::SetSampleRate(rate);
  kernel_.Prepare(rate);
  endSamples_ = static_cast<int>(rate * kEndSeconds);
}

void SD30MIDIRecorder::ValueChanged(CControl* control) {
  const bool isPressed = control->getValue() >= 0.5f;
  if (control == import_) {
    if (isPressed) AskForImport();
    return;
  }
  if (control == export_) {
    if (isPressed) AskForExport();
    return;
  }
  const ProcessingSection section(*this);
  if (control == loop_) {
    kernel_.loops = loop_->getValue() >= 0.5f;
  } else if (control == overdub_) {
    kernel_.overdubs = overdub_->getValue() >= 0.5f;
  } else if (control == quantise_) {
    constexpr int kLast = static_cast<int>(kGrids.size()) - 1;
    kernel_.SetQuantise(kGrids[std::clamp(quantise_.View().SnapToStep(), 0, kLast)]);
  } else if (control == transpose_) {
    kernel_.transpose = KnobPosition(transpose_, kTransposePositions) - kMostTranspose;
  } else if (control == speed_) {
    const double share = speed_->value > 0.0f ? std::min(speed_->value, 1.0f) : 0.0;
    kernel_.speed = std::exp2(kSpeedOctaves * (2.0 * share - 1.0));
  } else if (control == clear_) {
    if (isPressed) kernel_.Clear();
    ShowState();
  }
  for (int i = 0; i < kCommands; ++i) {
    if (control == buttons_[i] && isPressed) Run(i);
  }
}

void SD30MIDIRecorder::CableConnected(PatchPoint*) { kernel_.clockIsCabled = clock_.IsCabled(); }

void SD30MIDIRecorder::CableDisconnected(PatchPoint* point) {
  kernel_.clockIsCabled = clock_.IsCabled();
  if (point == midiIn_) kernel_.ReleaseLive();
}

bool SD30MIDIRecorder::onDrop(std::span<const std::string> files, const CPoint& where) {
  if (files.size() != 1 || !IsMidiFile(files[0])) return MidiModule::onDrop(files, where);
  Import(files[0]);
  return true;
}

void SD30MIDIRecorder::AskForImport() {
  FileQuestion question;
  question.title = "Import a MIDI file";
  question.kinds = {{"MIDI file (.mid)", "mid", ""}, {"MIDI file (.midi)", "midi", ""}};
  question.purpose = "MIDI";
  fileRequest_.Ask(question, [this](const std::string& path) { Import(path); });
}

void SD30MIDIRecorder::AskForExport() {
  FileQuestion question;
  question.style = CFileSelector::kSelectSaveFile;
  question.title = "Export a MIDI file";
  question.kinds = {{"MIDI file", "mid", ""}};
  question.saveName = "take.mid";
  question.purpose = "MIDI";
  fileRequest_.Ask(question, [this](const std::string& path) { Export(path); });
}

bool SD30MIDIRecorder::Import(const std::string& path) {
  try {
    std::size_t left = 0;
    RecordedTake take = ToTake(media::ReadMidiFile(path), clock_.IsCabled(), left);
    SetTake(take);
    ShowNumbers();
    if (left > 0) {
      Say(std::to_string(left) + " events left out: 100000 fit");
    }
    return true;
  } catch (const platform::FileError& error) {
    Say(platform::ErrorLine(error, path));
    return false;
  }
}

bool SD30MIDIRecorder::Export(const std::string& path) {
  try {
    const double tempo = transport_.tempo > 0.0 ? transport_.tempo : kDefaultTempo;
    media::WriteMidiFile(path, ToMidiFile(TakeCopy(), tempo));
    Say("Exported");
    return true;
  } catch (const platform::FileError& error) {
    Say(platform::ErrorLine(error, path));
    return false;
  }
}

int SD30MIDIRecorder::GetPresetSize() {
  const ProcessingSection section(*this);
  return PresetTail(*this).SizeWith(kTakeHeadBytes +
                                    kEventBytes * static_cast<int>(kernel_.EventCount()));
}

void SD30MIDIRecorder::SavePreset(void* buffer, int size) {
  RecordedTake take = TakeCopy();
  // It may have grown since its size was asked for.
  const int room = size - PresetTail(*this).SizeWith(kTakeHeadBytes);
  const auto fitting = static_cast<std::size_t>(std::max(room, 0) / kEventBytes);
  take.events.resize(std::min(take.events.size(), fitting));
  ByteWriter writer = PresetTail(*this).Save(buffer, size);
  writer.Write(static_cast<std::int32_t>(take.isClocked ? kClockedBase : 0));
  writer.Write(take.length);
  writer.Write(static_cast<std::uint32_t>(take.events.size()));
  for (const auto& [time, word] : take.events) {
    writer.Write(time);
    writer.Write(word.bits);
  }
}

void SD30MIDIRecorder::LoadPreset(const void* buffer, int size, int) {
  ByteReader reader = PresetTail(*this).Load(buffer, size);
  DarkenLamps();
  RecordedTake take;
  std::int32_t base = 0;
  std::uint32_t count = 0;
  reader.Read(base);
  reader.Read(take.length);
  reader.Read(count);
  take.isClocked = base == kClockedBase;
  const std::size_t stored =
      std::min({std::size_t{count}, reader.Remaining() / kEventBytes, RecordedTake::kMostEvents});
  take.length = std::min(take.length, RecordedTake::kLongest);
  if (stored > 0) take.length = std::max(take.length, RecordedTake::kShortest);
  std::uint32_t last = 0;
  for (std::size_t i = 0; i < stored; ++i) {
    RecordedTake::Event event;
    reader.Read(event.time);
    reader.Read(event.word.bits);
    if (!event.word.IsPacket() && !event.word.IsMessage()) continue;
    last = event.time = std::clamp(event.time, last, take.length);
    take.events.push_back(event);
  }
  if (take.events.empty()) take.length = 0;
  SetTake(take);
}

RecordedTake SD30MIDIRecorder::TakeCopy() {
  RecordedTake take;
  take.events.reserve(RecordedTake::kMostEvents);
  const ProcessingSection section(*this);
  kernel_.CopyTake(take);
  return take;
}

void SD30MIDIRecorder::SetTake(RecordedTake& take) {
  const std::size_t count = take.events.size();
  take.events.resize(RecordedTake::kMostEvents);
  const ProcessingSection section(*this);
  kernel_.SetTake(take, count);
  ShowState();
}

}  // namespace halveron
