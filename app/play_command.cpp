#include "app/play_command.h"

#include <algorithm>
#include <chrono>
#include <clocale>
#include <cmath>
#include <memory>
#include <mutex>
#include <ostream>
#include <thread>
#include <utility>

#include "app/interrupt_watch.h"
#include "app/live_host.h"
#include "app/live_sound.h"
#include "app/midi_link.h"
#include "app/patch_file.h"
#include "app/run_command.h"
#include "app/sound_link.h"
#include "editor/first_start.h"
#include "gui/frame.h"
#include "gui/param_display.h"
#include "gui/theme.h"
#include "media/live/midi_port.h"
#include "media/live/sound_card.h"
#include "platform/library_path.h"
#include "platform/user_error.h"

namespace halveron {

using platform::UserError;

namespace {

constexpr int kSilentRate = 48000;
constexpr double kIdleSeconds = 1.0 / 60;
constexpr double kMidiSeconds = 1;  // between two looks for MIDI ports

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

/// Null, with a line on `err`, where there is no card and the user named none.
std::unique_ptr<media::SoundOutput> OpenCard(const media::SoundCard::Settings& settings,
                                             std::ostream& err) {
  try {
    return std::make_unique<media::SoundCard>(settings);
  } catch (const UserError& error) {
    if (!settings.device.empty()) throw;
    err << "halveron: " << error.what()
        << "; playing in silence (halveron play --list-devices lists all devices)\n";
    return nullptr;
  }
}

MidiInputSource MakeInputSource(LiveHost& host) {
  const auto receive = [&host](std::span<const std::uint8_t> bytes) { host.QueueMessage(bytes); };
  const auto own = std::make_shared<std::weak_ptr<media::OwnMidiInput>>();
  MidiInputSource source;
  source.openOwn = [receive, own]() -> std::shared_ptr<void> {
    try {
      auto port = std::make_shared<media::OwnMidiInput>(receive);
      *own = port;
      return port;
    } catch (const UserError&) {
      return nullptr;
    }
  };
  source.names = [own] {
    const auto port = own->lock();
    return port ? port->ListInputs() : std::vector<std::string>();
  };
  source.open = [receive](const std::string& port) {
    auto input = std::make_shared<media::MidiInput>(port, receive);
    return MidiLinkPort{input->Name(), input};
  };
  return source;
}

/// A free window around the instance's own, to which it hands what the desktop hands to whole
/// windows. Below it there is room for a notice.
class OuterFrame final : public CFrame {
  static constexpr CCoord kLeastNoticeHeight = 26;

 public:
  /// `size` is the instance's.
  OuterFrame(const CRect& size, SynEditor& rack)
      : CFrame(size), rack_(rack), rackSize_(size.getWidth(), size.getHeight()) {
    constexpr CCoord kLeastHeight = 200;
    setResizable(CPoint(rack.NearestWindowSize({}).x, kLeastHeight));
  }

  /// Shows a text below the rack; none if it is empty.
  void SetNotice(const std::string& text) {
    if (notice_) removeView(std::exchange(notice_, nullptr));
    if (!text.empty()) {
      notice_ = new CTextLabel(CRect(), text.c_str());
      notice_->setBackColor(CColor(140, 40, 20, 255));
      notice_->setFontColor(kWhiteCColor);
      addView(notice_);
      PlaceNotice();
    }
    Fit();
  }
  bool SetRackSize(CCoord width, CCoord height) {
    rackSize_ = CPoint(width, height);
    PlaceNotice();
    return Fit();
  }

  /// The rack takes all of it, but for the notice.
  void onWindowResized(const CPoint& pixels) override {
    rackSize_.x = pixels.x;
    rackSize_.y = std::max(pixels.y - NoticeHeight(), 1.0);
    PlaceNotice();
    Fit();
    rack_.SetWindowSize(rackSize_);
  }

  bool onKeyDown(const CKeyEvent& event) override {
    return rack_.Frame() && rack_.Frame()->onKeyDown(event);
  }
  bool onKeyUp(const CKeyEvent& event) override {
    return rack_.Frame() && rack_.Frame()->onKeyUp(event);
  }
  void onKeyboardLost() override {
    if (rack_.Frame()) rack_.Frame()->onKeyboardLost();
  }
  bool onDragMove(const CPoint& where) override {
    return rack_.Frame() && rack_.Frame()->onDragMove(where);
  }
  bool onDrop(std::span<const std::string> files, const CPoint& where) override {
    return rack_.Frame() && rack_.Frame()->onDrop(files, where);
  }

 private:
  void PlaceNotice() {
    if (!notice_) return;
    const CRect place = CRect::FromSize(CPoint(0, rackSize_.y), rackSize_.x, NoticeHeight());
    notice_->setFont(theme::Font(NoticeHeight() / kLeastNoticeHeight));
    notice_->setViewSize(place);
    notice_->setMouseableArea(place);
  }
  /// Pixels; it zooms with the rack, but remains readable.
  CCoord NoticeHeight() const {
    constexpr CCoord kShareOfWidth = 0.025;
    if (!notice_) return 0;
    return std::max(kLeastNoticeHeight, std::round(rackSize_.x * kShareOfWidth));
  }
  bool Fit() { return setSize(rackSize_.x, rackSize_.y + NoticeHeight()); }

  SynEditor& rack_;
  CPoint rackSize_;
  CTextLabel* notice_ = nullptr;
};

/// The instance's window within a free window, as in any host.
class HostWindow {
 public:
  HostWindow(LiveHost& host, const std::string& title, std::ostream& err) : host_(host) {
    AEffGUIEditor* editor = host.Plugin().getEditor();
    ERect* rect = nullptr;
    if (!editor || !editor->getRect(&rect) || !rect) return;
    frame_ = SharedPointer<OuterFrame>::Adopt(new OuterFrame(
        CRect(0, 0, rect->right - rect->left, rect->bottom - rect->top), host.Rack()));
    std::string error;
    if (!frame_->open(nullptr, title.c_str(), &error)) {
      err << "halveron: " << error << "; playing without a window\n";
      frame_ = nullptr;
      return;
    }
    host.onResize = [this](int width, int height) { return frame_->SetRackSize(width, height); };
    UnsavedChanges& unsaved = host.Rack().unsaved;
    unsaved.quit = [this] { isClosed_ = true; };
    unsaved.onTitle = [this](const std::string& title) { frame_->setTitle(title); };
    frame_->idle();
    editor->open(frame_->getWindowHandle());
  }
  ~HostWindow() {
    if (!frame_) return;
    host_.Plugin().getEditor()->close();
    host_.onResize = nullptr;
    host_.Rack().unsaved.quit = nullptr;
    host_.Rack().unsaved.onTitle = nullptr;
    frame_->close();
  }
  HostWindow(const HostWindow&) = delete;
  HostWindow& operator=(const HostWindow&) = delete;

  /// The user has closed it, and answered what there was to ask.
  bool IsClosed() const { return isClosed_; }
  void SetNotice(const std::string& text) {
    if (frame_) frame_->SetNotice(text);
  }
  void Idle() {
    if (!frame_) return;
    frame_->idle();
    host_.Plugin().getEditor()->idle();
    if (!frame_->isCloseRequested()) return;
    frame_->refuseClose();
    UnsavedChanges& unsaved = host_.Rack().unsaved;
    unsaved.AskThen(unsaved.quit);
  }

 private:
  LiveHost& host_;
  SharedPointer<OuterFrame> frame_;
  bool isClosed_ = false;
};

void ReportSound(const SoundLink& sound, int rate, std::ostream& out) {
  if (const media::SoundOutput* card = sound.Card()) {
    out << "Sound by " << card->Name() << " (" << card->Outputs() << " outputs, " << card->Inputs()
        << " inputs) at " << card->Rate() << " Hz, blocks of " << card->BlockSize() << "\n";
  } else {
    out << sound.Notice() << " Playing at " << rate << " Hz\n";
  }
  out << std::flush;
}

void ReportMidi(const MidiLink& midi, std::ostream& out) {
  const std::vector<std::string> names = midi.Names();
  out << "MIDI from ";
  for (std::size_t i = 0; i < names.size(); ++i) out << (i ? ", " : "") << names[i];
  out << (names.empty() ? "nowhere" : "") << "\n" << std::flush;
}

/// Until the window is closed or the user interrupts.
void KeepPlaying(const PlayOptions& options, LiveHost& host, SoundLink& sound, MidiLink& midi,
                 const InterruptWatch& watch, std::ostream& out, std::ostream& err) {
  std::unique_ptr<HostWindow> window;
  if (options.hasWindow) window = std::make_unique<HostWindow>(host, "Halveron", err);
  std::string notice = sound.Notice();
  if (window) window->SetNotice(notice);
  double nextMidi = 0;
  while (!watch.IsInterrupted() && !(window && window->IsClosed())) {
    if (window) window->Idle();
    // It goes, too, when the user has chosen a device that works.
    if (window && notice != sound.Notice()) window->SetNotice(notice = sound.Notice());
    const double now = LiveHost::Now();
    if (sound.Poll(now)) {
      ReportSound(sound, host.SampleRate(), out);
      // A sound server that has gone may have carried MIDI, too. Its ports have to be closed before
      // a connection to its successor is made: the library crashes on the way back.
      if (!sound.Card()) {
        midi.Reopen();
        ReportMidi(midi, out);
      }
    }
    if (now >= nextMidi) {
      nextMidi = now + kMidiSeconds;
      if (midi.Poll()) ReportMidi(midi, out);
    }
    std::this_thread::sleep_for(std::chrono::duration<double>(kIdleSeconds));
  }
  if (watch.IsInterrupted()) host.Rack().autosave.LeaveForNextStart();
}

/// Opens what was chosen once, if anything; what is not there today is left out.
template <class Ports, class Open>
Ports KeepIfOpen(const Ports& chosen, const Open& open, std::ostream& err) {
  if (chosen.empty()) return chosen;
  try {
    open(chosen);
    return chosen;
  } catch (const UserError& error) {
    err << "halveron: " << error.what() << "; going on without it\n";
    return {};
  }
}

void TakeOptions(const PlayOptions& options, SoundChoice& choice) {
  if (!options.device.empty()) choice.device = options.device;
  if (options.rate) choice.rate = *options.rate;
  if (options.block) choice.block = *options.block;
}

/// What was chosen in the window, unless the command says something else.
SoundChoice ChoiceOf(const PlayOptions& options) {
  const std::string program = platform::LibraryPath();
  const platform::ProfileFile file(
      DataFolders::Find(program.substr(0, program.find_last_of('/') + 1), UserFiles::kUse)
          .ConfigFile());
  SoundChoice choice = SoundChoice::Read(file);
  TakeOptions(options, choice);
  return choice;
}

/// The card of a choice; where what was chosen in the window does not open today, the usual one.
std::unique_ptr<media::SoundOutput> OpenChosen(SoundChoice& choice, const PlayOptions& options,
                                               std::ostream& err) {
  SoundChoice usual;
  TakeOptions(options, usual);
  const bool wasChosen =
      choice.system != usual.system || choice.device != usual.device || choice.rate != usual.rate;
  if (wasChosen) {
    try {
      return std::make_unique<media::SoundCard>(SettingsOf(choice));
    } catch (const UserError& error) {
      err << "halveron: " << error.what() << "; taking the usual sound device\n";
    }
    choice.system = usual.system;
    choice.device = usual.device;
    choice.rate = usual.rate;
  }
  return OpenCard(SettingsOf(choice), err);
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
  SoundChoice choice = ChoiceOf(options);
  auto card = OpenChosen(choice, options, err);
  const media::SoundCard::Settings settings = SettingsOf(choice);
  const int rate = card ? card->Rate() : options.rate.value_or(kSilentRate);
  const int block = card ? card->BlockSize() : settings.blockSize;
  // These outlive the host, which sends to the port on a thread of its own.
  std::mutex outputMutex;
  std::unique_ptr<media::MidiOutput> output;
  LiveHost host({rate, block, true, SongPosition(options.tempo)});
  const bool isFirst = options.patch.empty() && OpenFirstVoice(host.Rack());
  if (!options.patch.empty()) LoadPatchFile(options.patch, host.Rack(), err, options.placeholders);
  const auto openOutput = [&output, &outputMutex](const std::string& port) {
    auto opened = port.empty() ? nullptr : std::make_unique<media::MidiOutput>(port);
    const std::lock_guard lock(outputMutex);
    output = std::move(opened);
  };
  if (!options.midiOutput.empty()) {
    choice.midiOutput = options.midiOutput;
    openOutput(options.midiOutput);
  } else {
    choice.midiOutput = KeepIfOpen(choice.midiOutput, openOutput, err);
  }
  host.onMessage = [&output, &outputMutex](std::span<const std::uint8_t> bytes) {
    const std::lock_guard lock(outputMutex);
    if (output) output->Send(bytes);
  };
  const InterruptWatch watch;
  host.Start();
  MidiLink midi(MakeInputSource(host), options.midi);
  if (!options.midi.empty()) {
    choice.midiInputs = options.midi;
  } else {
    choice.midiInputs = KeepIfOpen(
        choice.midiInputs, [&midi](const auto& inputs) { midi.Choose(inputs); }, err);
  }
  SoundLink sound(host, std::move(card), OpenerFor(settings), block);
  LiveSound control(host, sound, midi, choice, openOutput);
  control.hintsAtLetters = isFirst;
  out << "Playing "
      << (isFirst                 ? host.Rack().presetName
          : options.patch.empty() ? "an empty rack"
                                  : options.patch)
      << "\n";
  ReportSound(sound, rate, out);
  ReportMidi(midi, out);
  out << "Ctrl+C ends it\n" << std::flush;
  KeepPlaying(options, host, sound, midi, watch, out, err);
  return kExitDone;
}

}  // namespace halveron
