#include "app/live_sound.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <sstream>
#include <utility>

#include "media/live/device_error.h"

namespace halveron {

namespace {

constexpr const char* kSection = "Sound";
// The dialog's fields.
constexpr const char* kSystem = "Sound System";
constexpr const char* kDevice = "Sound Device";
constexpr const char* kRate = "Sample Rate";
constexpr const char* kMidiInput = "MIDI Inputs";
constexpr const char* kMidiOutput = "MIDI Output";
constexpr int kUsualBlock = 512;
constexpr std::array kRates = {44100, 48000, 88200, 96000, 176400, 192000};
constexpr std::array kBlocks = {32, 64, 128, 256, 512, 1024, 2048, 4096};
constexpr char kBetween = '\t';  // in no port's name

std::string TitleOf(const std::string& system) {
  for (const media::SoundSystem& each : media::ListSoundSystems()) {
    if (each.name == system) return each.title;
  }
  return system;
}

const char* FieldOf(media::DeviceChoice choice) {
  switch (choice) {
    case media::DeviceChoice::kSystem:
      return kSystem;
    case media::DeviceChoice::kDevice:
      return kDevice;
    case media::DeviceChoice::kRate:
      return kRate;
    case media::DeviceChoice::kMidiInput:
      return kMidiInput;
    case media::DeviceChoice::kMidiOutput:
      return kMidiOutput;
  }
  return "";
}

/// What is in use is offered, too.
void AddInOrder(std::vector<int>& numbers, int number) {
  const auto place = std::lower_bound(numbers.begin(), numbers.end(), number);
  if (place == numbers.end() || *place != number) numbers.insert(place, number);
}

/// Ports that were chosen and have gone can still be taken back.
std::vector<std::string> WithMissing(std::vector<std::string> ports,
                                     const std::vector<std::string>& chosen) {
  for (const std::string& name : chosen) {
    if (std::find(ports.begin(), ports.end(), name) == ports.end()) ports.push_back(name);
  }
  return ports;
}

}  // namespace

std::string DialogWords(const platform::UserError& error) {
  const auto* device = dynamic_cast<const media::DeviceError*>(&error);
  if (!device) return error.what();
  const std::string remedy = device->remedy.empty() ? "" : device->remedy + ", or ";
  return device->cause + "; " + remedy + "choose another under \"" + FieldOf(device->choice) + "\"";
}

SoundChoice SoundChoice::Read(const platform::ProfileFile& file) {
  SoundChoice choice;
  choice.system = file.GetText(kSection, "system", "");
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
  file.SetText(kSection, "system", system);
  file.SetText(kSection, "device", device);
  file.SetInt(kSection, "rate", rate);
  file.SetInt(kSection, "block", block);
  file.SetText(kSection, "midi_inputs", inputs);
  file.SetText(kSection, "midi_output", midiOutput);
}

media::SoundCard::Settings SettingsOf(const SoundChoice& choice) {
  return {choice.device, choice.rate, choice.block > 0 ? choice.block : kUsualBlock,
          kDawInputs,    kDawOutputs, choice.system};
}

SoundLink::Opener OpenerFor(const media::SoundCard::Settings& settings) {
  return [settings](const std::string& system) {
    auto wanted = settings;
    if (!system.empty()) wanted.system = system;
    return std::make_unique<media::SoundCard>(wanted);
  };
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

std::string LiveSound::Details() const {
  const media::SoundOutput* card = sound_.Card();
  if (!card) {
    return sound_.Notice() + " The rack plays on in silence at " +
           std::to_string(host_.SampleRate()) + " Hz.";
  }
  constexpr double kMilliseconds = 1000;
  std::array<char, 32> latency{};
  std::snprintf(latency.data(), latency.size(), "%.1f",
                kMilliseconds * card->Latency() / card->Rate());
  return card->Name() + " (" + TitleOf(card->System()) + ")\n" + std::to_string(card->Rate()) +
         " Hz, blocks of " + std::to_string(card->BlockSize()) + ", latency " + latency.data() +
         " ms, " + std::to_string(card->Outputs()) + " outputs, " + std::to_string(card->Inputs()) +
         " inputs";
}

void LiveSound::LookForDevices() {
  devices_ = media::ListSoundDevices(choice_.system);
  midiInputs_ = midi_.Inputs();
  midiOutputs_ = media::ListMidiOutputs();
}

std::vector<SoundControl::Group> LiveSound::Groups() {
  return {Systems(), Devices(), Rates(), Blocks(), MidiInputs(), MidiOutputs()};
}

SoundControl::Group LiveSound::Systems() {
  Group group{kSystem, {}};
  const auto add = [&](const std::string& text, const std::string& system) {
    SoundChoice wanted = choice_;
    wanted.system = system;
    wanted.device.clear();
    wanted.rate = 0;
    group.choices.push_back({text, choice_.system == system, [this, wanted] {
                               Take(wanted);
                               LookForDevices();
                             }});
  };
  add("Any", "");
  for (const media::SoundSystem& system : media::ListSoundSystems()) add(system.title, system.name);
  return group;
}

SoundControl::Group LiveSound::Devices() {
  Group group{kDevice, {}};
  const media::SoundOutput* card = sound_.Card();
  const auto add = [&](const std::string& text, const std::string& device, bool isChosen) {
    SoundChoice wanted = choice_;
    wanted.device = device;
    wanted.rate = 0;
    group.choices.push_back({text, isChosen, [this, wanted] { Take(wanted); }});
  };
  add("Default", "", choice_.device.empty());
  bool isListed = choice_.device.empty();
  for (const media::SoundDevice& device : devices_) {
    if (device.outputs == 0) continue;
    const bool isChosen = !choice_.device.empty() && card && card->Name() == device.name;
    isListed = isListed || isChosen;
    add(device.name, device.name, isChosen);
  }
  // A device that plays may not show to others, and one that has gone is still the choice.
  if (!isListed) add(card ? card->Name() : choice_.device, choice_.device, true);
  return group;
}

SoundControl::Group LiveSound::Rates() {
  Group group{kRate, {}};
  const media::SoundOutput* card = sound_.Card();
  std::vector<int> rates(kRates.begin(), kRates.end());
  for (const media::SoundDevice& device : devices_) {
    if (card && device.name == card->Name() && !device.rates.empty()) rates = device.rates;
  }
  const int present = card ? card->Rate() : choice_.rate;
  if (present > 0) AddInOrder(rates, present);
  for (const int rate : rates) {
    SoundChoice wanted = choice_;
    wanted.rate = rate;
    group.choices.push_back(
        {std::to_string(rate) + " Hz", rate == present, [this, wanted] { Take(wanted); }});
  }
  return group;
}

SoundControl::Group LiveSound::Blocks() {
  Group group{"Block Size", {}};
  const media::SoundOutput* card = sound_.Card();
  std::vector<int> blocks(kBlocks.begin(), kBlocks.end());
  const int present = card ? card->BlockSize() : SettingsOf(choice_).blockSize;
  AddInOrder(blocks, present);
  for (const int block : blocks) {
    SoundChoice wanted = choice_;
    wanted.block = block;
    group.choices.push_back(
        {std::to_string(block), block == present, [this, wanted] { Take(wanted); }});
  }
  return group;
}

SoundControl::Group LiveSound::MidiInputs() {
  Group group{kMidiInput, {}, true};
  group.choices.push_back({"All", choice_.midiInputs.empty(), [this] { TakeMidi({}); }});
  for (const std::string& name : WithMissing(midiInputs_, choice_.midiInputs)) {
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
  Group group{kMidiOutput, {}};
  group.choices.push_back({"None", choice_.midiOutput.empty(), [this] { TakeMidiOutput(""); }});
  std::vector<std::string> chosen;
  if (!choice_.midiOutput.empty()) chosen.push_back(choice_.midiOutput);
  for (const std::string& name : WithMissing(midiOutputs_, chosen)) {
    group.choices.push_back(
        {name, choice_.midiOutput == name, [this, name] { TakeMidiOutput(name); }});
  }
  return group;
}

template <class F>
bool LiveSound::Try(F&& change) {
  problem_.clear();
  try {
    change();
    return true;
  } catch (const platform::UserError& error) {
    problem_ = DialogWords(error) + ". What was chosen before stays.";
    return false;
  }
}

void LiveSound::Take(const SoundChoice& wanted) {
  if (!Try([&] { sound_.Change(OpenerFor(SettingsOf(wanted))); })) return;
  Keep(std::exchange(choice_, wanted));
}

void LiveSound::TakeMidi(const std::vector<std::string>& inputs) {
  if (!Try([&] { midi_.Choose(inputs); })) return;
  const SoundChoice former = choice_;
  choice_.midiInputs = inputs;
  Keep(former);
}

void LiveSound::TakeMidiOutput(const std::string& port) {
  if (!Try([&] { openOutput_(port); })) return;
  const SoundChoice former = choice_;
  choice_.midiOutput = port;
  Keep(former);
}

void LiveSound::Keep(const SoundChoice& former) const {
  const platform::ProfileFile file(host_.Rack().folders.ConfigFile());
  SoundChoice kept = SoundChoice::Read(file);
  const auto take = [&](auto SoundChoice::*field) {
    if (choice_.*field != former.*field) kept.*field = choice_.*field;
  };
  take(&SoundChoice::system);
  take(&SoundChoice::device);
  take(&SoundChoice::rate);
  take(&SoundChoice::block);
  take(&SoundChoice::midiInputs);
  take(&SoundChoice::midiOutput);
  kept.Write(file);
}

}  // namespace halveron
