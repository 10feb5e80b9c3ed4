#include "modules/midi/SD08MIDIMonitor.h"

#include <array>
#include <span>
#include <string>

namespace halveron {

namespace {

constexpr int kUpdateMilliseconds = 40;

TextLog::Settings LogSettings() {
  TextLog::Settings settings;
  settings.keptBytes = 4 << 20;
  settings.whenFull = TextLog::WhenFull::kRefuseNewest;
  settings.fullNote = "Error: Buffer Memory Full!! Please purge.";
  return settings;
}

}  // namespace

SD08MIDIMonitor::SD08MIDIMonitor(CFrame* frame, const HostTable& table, int voiceIndex)
    : MidiModule(frame, table, voiceIndex),
      log_(LogSettings()),
      timer_(*this, kUpdateMilliseconds, [this] { Update(); }) {
  monoSelectable = false;
  constexpr float kControls = 34;
  channelMessages_ =
      AddVerticalSwitch("Channel messages", kControls, 66, SharedBitmap::kVerticalSwitch, 1.0f);
  channelMessages_->caption = "Channel";
  systemMessages_ =
      AddVerticalSwitch("System messages", kControls, 114, SharedBitmap::kVerticalSwitch, 1.0f);
  systemMessages_->caption = "System";
  clock_ = AddVerticalSwitch("Clock", kControls, 162, SharedBitmap::kVerticalSwitch, 1.0f);
  purge_ = AddKickButton("Purge", kControls, 204, SharedBitmap::kRedButton);
  AddMessageLamp(lamp_, "Activity LED", kControls + 22, 234);
  AddMidiPatchPoint(midiIn_, "MIDI in", kControls, 246);
  AddTextLog(log_, 272, 154, 400, 220, "Courier New", 10.0f);
  FinishPanel();
  log_.Add("Note: All SysEx IDs and data are in hexadecimal\n\r");
  timer_.Start();
}

bool SD08MIDIMonitor::IsShown(MidiCableWord word) const {
  const auto isOn = [](const CControl* control) { return control->getValue() >= 0.5f; };
  if (word.IsChannelMessage()) return isOn(channelMessages_);
  switch (word.Status()) {
    case midi::kClock:
    case midi::kTimeCode:
    case midi::kActiveSensing:
      return isOn(clock_);
    default:
      return isOn(systemMessages_);
  }
}

void SD08MIDIMonitor::ProcessSample() {
  lamp_.Tick();
  const auto word = MidiCableWord::FromCell(midiIn_->in);
  if (word.IsNone()) return;
  lamp_.Light();
  if (!IsShown(word)) return;
  const std::array<std::uint32_t, 1> bits{word.bits};
  if (words_.Write(bits) == 0) dropped_.fetch_add(1, std::memory_order_relaxed);
}

void SD08MIDIMonitor::ValueChanged(CControl* control) {
  // The log belongs to the interface thread; this may come from another.
  if (control == purge_ && purge_->getValue() >= 0.5f) {
    purges_.store(true, std::memory_order_relaxed);
  }
}

void SD08MIDIMonitor::Update() {
  const bool purges = purges_.exchange(false, std::memory_order_relaxed);
  // The text of a batch always fits into the log's queue, which the view empties too.
  std::array<std::uint32_t, 256> batch;
  for (std::size_t count = words_.Read(batch); count > 0; count = words_.Read(batch)) {
    log_.Collect();
    for (const std::uint32_t word : std::span(batch).first(count)) {
      const std::string& text = decoder_.Decode({word});
      if (!purges && !text.empty()) log_.Add(text);
    }
  }
  const std::uint32_t dropped = dropped_.exchange(0, std::memory_order_relaxed);
  if (purges) {
    log_.Clear();
  } else if (dropped > 0) {
    log_.Add("Error: " + std::to_string(dropped) + " messages were dropped\r\n");
  }
}

}  // namespace halveron
