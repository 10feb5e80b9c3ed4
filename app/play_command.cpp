#include "app/play_command.h"

#include <algorithm>
#include <chrono>
#include <clocale>
#include <memory>
#include <ostream>
#include <thread>

#include "app/interrupt_watch.h"
#include "app/live_host.h"
#include "app/patch_file.h"
#include "app/run_command.h"
#include "gui/frame.h"
#include "media/live/midi_port.h"
#include "media/live/sound_card.h"
#include "platform/file_error.h"

namespace halveron {

using platform::FileError;

namespace {

constexpr int kSilentRate = 48000;
constexpr double kIdleSeconds = 1.0 / 60;
// A port that leads nowhere but back.
constexpr std::string_view kLoopPort = "Midi Through";

void ListDevices(std::ostream& out) {
  const auto devices = media::ListSoundDevices();
  out << "Sound devices (--device):\n";
  for (std::size_t i = 0; i < devices.size(); ++i) {
    out << "  " << i << "  " << devices[i].name << ", " << devices[i].outputs << " outputs, "
        << devices[i].inputs << " inputs" << (devices[i].isDefault ? ", default" : "") << "\n";
  }
  if (devices.empty()) out << "  none\n";
  const auto listPorts = [&out](const char* title, const std::vector<std::string>& names) {
    out << title << "\n";
    for (std::size_t i = 0; i < names.size(); ++i) out << "  " << i << "  " << names[i] << "\n";
    if (names.empty()) out << "  none\n";
  };
  listPorts("MIDI inputs (--midi):", media::ListMidiInputs());
  listPorts("MIDI outputs (--midi-output):", media::ListMidiOutputs());
}

/// Null, with a line on `err`, where there is none to be had and none was asked for by name.
std::unique_ptr<media::SoundCard> OpenCard(const PlayOptions& options, std::ostream& err) {
  try {
    return std::make_unique<media::SoundCard>(media::SoundCard::Settings{
        options.device, options.rate.value_or(0), options.block, kDawInputs, kDawOutputs});
  } catch (const FileError& error) {
    if (!options.device.empty()) throw;
    err << "halveron: " << error.what()
        << "; playing in silence (halveron play --list-devices tells what is there)\n";
    return nullptr;
  }
}

/// Plays into the void, in time.
class SilentClock {
 public:
  SilentClock(LiveHost& host, int rate, int block)
      : thread_([&host, rate, block](const std::stop_token& stop) {
          const auto period = std::chrono::duration<double>(static_cast<double>(block) / rate);
          auto next = std::chrono::steady_clock::now();
          while (!stop.stop_requested()) {
            host.Process(nullptr, 0, nullptr, 0, block);
            next += std::chrono::duration_cast<std::chrono::steady_clock::duration>(period);
            // After a pause of the machine's, time goes on from now.
            next = std::max(next, std::chrono::steady_clock::now() - std::chrono::seconds(1));
            std::this_thread::sleep_until(next);
          }
        }) {}

 private:
  std::jthread thread_;
};

/// Keeps the host playing, by the card or without one.
class Running {
 public:
  Running(LiveHost& host, media::SoundCard* card, int rate, int block) : card_(card) {
    if (card) {
      card->Start([&host](const float* const* ins, int inCount, float* const* outs, int outCount,
                          int frames) { host.Process(ins, inCount, outs, outCount, frames); });
    } else {
      clock_.emplace(host, rate, block);
    }
  }
  ~Running() {
    if (card_) card_->Stop();
  }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

 private:
  media::SoundCard* card_;
  std::optional<SilentClock> clock_;
};

std::vector<std::unique_ptr<media::MidiInput>> OpenInputs(const PlayOptions& options,
                                                          LiveHost& host) {
  const auto receive = [&host](std::span<const std::uint8_t> bytes) { host.QueueMessage(bytes); };
  std::vector<std::unique_ptr<media::MidiInput>> inputs;
  for (const std::string& port : options.midi) {
    inputs.push_back(std::make_unique<media::MidiInput>(port, receive));
  }
  if (!options.midi.empty()) return inputs;
  const std::vector<std::string> names = media::ListMidiInputs();
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names[i].find(kLoopPort) != std::string::npos) continue;
    try {
      inputs.push_back(std::make_unique<media::MidiInput>(std::to_string(i), receive));
    } catch (const FileError&) {
      // Nobody asked for this one by name.
    }
  }
  return inputs;
}

/// A free window around the instance's own, to which it hands what the desktop hands to whole
/// windows.
class OuterFrame final : public CFrame {
 public:
  OuterFrame(const CRect& size, SynEditor& rack) : CFrame(size), rack_(rack) {}

  bool onKeyDown(const CKeyEvent& event) override {
    return rack_.Frame() && rack_.Frame()->onKeyDown(event);
  }
  bool onKeyUp(const CKeyEvent& event) override {
    return rack_.Frame() && rack_.Frame()->onKeyUp(event);
  }
  bool onDragMove(const CPoint& where) override {
    return rack_.Frame() && rack_.Frame()->onDragMove(where);
  }
  bool onDrop(std::span<const std::string> files, const CPoint& where) override {
    return rack_.Frame() && rack_.Frame()->onDrop(files, where);
  }

 private:
  SynEditor& rack_;
};

/// The instance's window within a free window, as in any host.
class HostWindow {
 public:
  HostWindow(LiveHost& host, const std::string& title, std::ostream& err) : host_(host) {
    AEffGUIEditor* editor = host.Plugin().getEditor();
    ERect* rect = nullptr;
    if (!editor || !editor->getRect(&rect) || !rect) return;
    frame_ = SharedPointer<CFrame>::Adopt(new OuterFrame(
        CRect(0, 0, rect->right - rect->left, rect->bottom - rect->top), host.Rack()));
    std::string error;
    if (!frame_->open(nullptr, title.c_str(), &error)) {
      err << "halveron: " << error << "; playing without a window\n";
      frame_ = nullptr;
      return;
    }
    host.onResize = [this](int width, int height) { return frame_->setSize(width, height); };
    frame_->idle();
    editor->open(frame_->getWindowHandle());
  }
  ~HostWindow() {
    if (!frame_) return;
    host_.Plugin().getEditor()->close();
    host_.onResize = nullptr;
    frame_->close();
  }
  HostWindow(const HostWindow&) = delete;
  HostWindow& operator=(const HostWindow&) = delete;

  bool IsClosed() const { return frame_ && frame_->isCloseRequested(); }
  void Idle() {
    if (!frame_) return;
    frame_->idle();
    host_.Plugin().getEditor()->idle();
  }

 private:
  LiveHost& host_;
  SharedPointer<CFrame> frame_;
};

void Report(const PlayOptions& options, const media::SoundCard* card, int rate, int block,
            const std::vector<std::unique_ptr<media::MidiInput>>& inputs, std::ostream& out) {
  out << "Playing " << (options.patch.empty() ? "an empty rack" : options.patch);
  if (card) {
    out << " on " << card->Name() << " (" << card->Outputs() << " outputs, " << card->Inputs()
        << " inputs)";
  }
  out << " at " << rate << " Hz, blocks of " << block << "\nMIDI from ";
  for (std::size_t i = 0; i < inputs.size(); ++i) out << (i ? ", " : "") << inputs[i]->Name();
  out << (inputs.empty() ? "nowhere" : "") << "\nCtrl+C ends it\n" << std::flush;
}

}  // namespace

int Play(const PlayOptions& options, std::ostream& out, std::ostream& err) {
  if (options.listsDevices) {
    ListDevices(out);
    return kExitDone;
  }
  // What the keyboard writes is in the user's encoding.
  std::setlocale(LC_CTYPE, "");
  if (!options.patch.empty()) RequirePatchExtension(options.patch);
  const auto card = OpenCard(options, err);
  const int rate = card ? card->Rate() : options.rate.value_or(kSilentRate);
  const int block = card ? card->BlockSize() : options.block;
  std::unique_ptr<media::MidiOutput> output;  // outlives the host, which sends to it
  LiveHost host({rate, block, true, SongPosition(options.tempo)});
  if (!options.patch.empty()) LoadPatchFile(options.patch, host.Rack());
  if (!options.midiOutput.empty()) {
    output = std::make_unique<media::MidiOutput>(options.midiOutput);
    host.onMessage = [&output](std::span<const std::uint8_t> bytes) { output->Send(bytes); };
  }
  const InterruptWatch watch;
  host.Start();
  const auto inputs = OpenInputs(options, host);
  const Running running(host, card.get(), rate, block);
  Report(options, card.get(), rate, block, inputs, out);
  {
    std::unique_ptr<HostWindow> window;
    if (options.hasWindow) window = std::make_unique<HostWindow>(host, "Halveron", err);
    while (!watch.IsInterrupted() && !(window && window->IsClosed())) {
      if (window) window->Idle();
      std::this_thread::sleep_for(std::chrono::duration<double>(kIdleSeconds));
    }
  }
  return kExitDone;
}

}  // namespace halveron
