#include "app/live_sound.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <utility>

#include "platform/user_error.h"

namespace halveron {

namespace {

constexpr const char* kSection = "Sound";
constexpr int kUsualBlock = 512;
constexpr std::array kRates = {44100, 48000, 88200, 96000, 176400, 192000};
constexpr std::array kBlocks = {32, 64, 128, 256, 512, 1024, 2048, 4096};
constexpr char kBetween = '\t';  // in no port's name

}  // namespace

SoundChoice SoundChoice::Read(const platform::ProfileFile& file) {
  SoundChoice choice;
  choice.device = file.GetText(kSection, "device", "");
  choice.rate = std::max(file.GetInt(kSection, "rate", 0), 0);
  choice.block = std::max(file.GetInt(kSection, "block", 0), 0);
  choice.midiOutput = file.GetText(kSection, "midi_output", "");
  std::istringstream inputs(file.GetText(kSection, "midi_inputs", ""));
  for (std::string name; std::getline(inputs, name, kBetween);) {
    if (!name.empty()) choice.midiInputs.push_back(name);
  }
  return choice;
}

void SoundChoice::Write(const platform::ProfileFile& file) const {
  std::string inputs;
  for (const std::string& name : midiInputs) inputs += (inputs.empty() ? "" : "\t") + name;
  file.SetText(kSection, "device", device);
  file.SetInt(kSection, "rate", rate);
  file.SetInt(kSection, "block", block);
  file.SetText(kSection, "midi_inputs", inputs);
  file.SetText(kSection, "midi_output", midiOutput);
}

media::SoundCard::Settings SettingsOf(const SoundChoice& choice) {
  return {choice.device, choice.rate, choice.block > 0 ? choice.block : kUsualBlock,
          kDawInputs,    kDawOutputs, ""};
}

LiveSound::LiveSound(LiveHost& host, SoundLink& sound, MidiLink& midi, SoundChoice choice,
                     MidiOutputOpener openOutput)
    : host_(host),
      sound_(sound),
      midi_(midi),
      choice_(std::move(choice)),
      openOutput_(std::move(openOutput)) {
  host_.Rack().sound = this;
}

LiveSound::~LiveSound() { host_.Rack().sound = nullptr; }

std::string LiveSound::State() const {
  const media::SoundOutput* card = sound_.Card();
  if (!card) return "no sound";
  return std::to_string(card->Rate()) + " Hz, " + std::to_string(card->BlockSize());
}

std::vector<SoundControl::Group> LiveSound::Groups() {
  devices_ = media::ListSoundDevices();
  return {Devices(), Rates(), Blocks(), MidiInputs(), MidiOutputs()};
}

SoundControl::Group LiveSound::Devices() {
  Group group{"Sound Device", {}};
  const media::SoundOutput* card = sound_.Card();
  const auto add = [&](const std::string& text, const std::string& device, bool isChosen) {
    SoundChoice wanted = choice_;
    wanted.device = device;
    wanted.rate = 0;
    group.choices.push_back({text, isChosen, [this, wanted] { Take(wanted); }});
  };
  add("Default", "", choice_.device.empty());
  for (const media::SoundDevice& device : devices_) {
    if (device.outputs == 0) continue;
    add(device.name, device.name, !choice_.device.empty() && card && card->Name() == device.name);
  }
  return group;
}

SoundControl::Group LiveSound::Rates() {
  Group group{"Sample Rate", {}};
  const media::SoundOutput* card = sound_.Card();
  std::vector<int> rates(kRates.begin(), kRates.end());
  for (const media::SoundDevice& device : devices_) {
    if (card && device.name == card->Name() && !device.rates.empty()) rates = device.rates;
  }
  for (const int rate : rates) {
    SoundChoice wanted = choice_;
    wanted.rate = rate;
    group.choices.push_back({std::to_string(rate) + " Hz", card && card->Rate() == rate,
                             [this, wanted] { Take(wanted); }});
  }
  return group;
}

SoundControl::Group LiveSound::Blocks() {
  Group group{"Block Size", {}};
  const media::SoundOutput* card = sound_.Card();
  for (const int block : kBlocks) {
    SoundChoice wanted = choice_;
    wanted.block = block;
    group.choices.push_back({std::to_string(block), card && card->BlockSize() == block,
                             [this, wanted] { Take(wanted); }});
  }
  return group;
}

SoundControl::Group LiveSound::MidiInputs() {
  Group group{"MIDI Inputs", {}};
  group.choices.push_back({"All", choice_.midiInputs.empty(), [this] { TakeMidi({}); }});
  for (const std::string& name : media::ListMidiInputs()) {
    const auto at = std::find(choice_.midiInputs.begin(), choice_.midiInputs.end(), name);
    const bool isChosen = at != choice_.midiInputs.end();
    std::vector<std::string> wanted = choice_.midiInputs;
    if (isChosen) {
      std::erase(wanted, name);
    } else {
      wanted.push_back(name);
    }
    group.choices.push_back({name, isChosen, [this, wanted] { TakeMidi(wanted); }});
  }
  return group;
}

SoundControl::Group LiveSound::MidiOutputs() {
  Group group{"MIDI Output", {}};
  group.choices.push_back({"None", choice_.midiOutput.empty(), [this] { TakeMidiOutput(""); }});
  for (const std::string& name : media::ListMidiOutputs()) {
    group.choices.push_back(
        {name, choice_.midiOutput == name, [this, name] { TakeMidiOutput(name); }});
  }
  return group;
}

void LiveSound::Take(const SoundChoice& wanted) {
  try {
    sound_.Change([settings = SettingsOf(wanted)](const std::string& system) {
      auto chosen = settings;
      chosen.system = system;
      return std::make_unique<media::SoundCard>(chosen);
    });
    choice_ = wanted;
    Keep();
  } catch (const platform::UserError& error) {
    Report(error.what());
  }
}

void LiveSound::TakeMidi(const std::vector<std::string>& inputs) {
  try {
    midi_.Choose(inputs);
    choice_.midiInputs = inputs;
    Keep();
  } catch (const platform::UserError& error) {
    Report(error.what());
  }
}

void LiveSound::TakeMidiOutput(const std::string& port) {
  try {
    openOutput_(port);
    choice_.midiOutput = port;
    Keep();
  } catch (const platform::UserError& error) {
    Report(error.what());
  }
}

void LiveSound::Keep() const {
  choice_.Write(platform::ProfileFile(host_.Rack().folders.ConfigFile()));
}

void LiveSound::Report(const std::string& what) {
  host_.Rack().ShowDialog({"Sound and MIDI", what + "\nWhat was chosen before plays on.", 440});
}

}  // namespace halveron
