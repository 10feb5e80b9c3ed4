#include "media/live/sound_card.h"

#include <RtAudio.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <charconv>
#include <cmath>

#include "media/live/device_error.h"
#include "platform/standard_error.h"
#include "platform/user_error.h"

namespace halveron::media {

using platform::UserError;

namespace {

constexpr int kUsualRate = 48000;
constexpr int kPriority = 70;  // where the system grants it

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return text;
}

std::unique_ptr<RtAudio> MakeAudio(const std::string& system = {}) {
  const platform::StandardErrorQuiet quiet;
  const auto api = system.empty() ? RtAudio::UNSPECIFIED : RtAudio::getCompiledApiByName(system);
  if (!system.empty() && api == RtAudio::UNSPECIFIED) {
    throw DeviceError(DeviceChoice::kSystem,
                      "there is no sound system \"" + system + "\" on this machine");
  }
  auto audio = std::make_unique<RtAudio>(api);
  audio->showWarnings(false);
  return audio;
}

std::vector<SoundDevice> DevicesOf(RtAudio& audio) {
  const platform::StandardErrorQuiet quiet;
  std::vector<SoundDevice> devices;
  const unsigned count = audio.getDeviceCount();
  for (unsigned i = 0; i < count; ++i) {
    SoundDevice device;
    try {
      const RtAudio::DeviceInfo info = audio.getDeviceInfo(i);
      device.name = info.name;
      device.isDefault = info.isDefaultOutput;
      if (info.probed) {
        device.inputs = static_cast<int>(info.inputChannels);
        device.outputs = static_cast<int>(info.outputChannels);
        device.preferredRate = static_cast<int>(info.preferredSampleRate);
        device.rates.assign(info.sampleRates.begin(), info.sampleRates.end());
      }
    } catch (const RtAudioError&) {
      // It keeps its number, so that the others keep theirs.
    }
    devices.push_back(std::move(device));
  }
  return devices;
}

/// The number of the device that a user means.
unsigned Choose(const std::vector<SoundDevice>& devices, const std::string& wanted) {
  const auto usable = [](const SoundDevice& device) { return device.outputs > 0; };
  if (std::none_of(devices.begin(), devices.end(), usable)) {
    throw UserError("", "", "there is no sound card");
  }
  if (wanted.empty()) {
    const auto first = std::find_if(devices.begin(), devices.end(), [&](const SoundDevice& device) {
      return device.isDefault && usable(device);
    });
    const auto any = std::find_if(devices.begin(), devices.end(), usable);
    return static_cast<unsigned>((first != devices.end() ? first : any) - devices.begin());
  }
  // One name may be part of another.
  for (std::size_t i = 0; i < devices.size(); ++i) {
    if (devices[i].name == wanted && usable(devices[i])) return static_cast<unsigned>(i);
  }
  unsigned number = 0;
  const char* end = wanted.data() + wanted.size();
  const auto read = std::from_chars(wanted.data(), end, number);
  const bool isNumber = read.ec == std::errc() && read.ptr == end;
  for (std::size_t i = 0; i < devices.size(); ++i) {
    const bool isIt =
        isNumber ? i == number : Lower(devices[i].name).find(Lower(wanted)) != std::string::npos;
    if (!isIt) continue;
    if (usable(devices[i])) return static_cast<unsigned>(i);
    if (isNumber) throw DeviceError(DeviceChoice::kDevice, wanted + " has no outputs");
  }
  throw DeviceError(DeviceChoice::kDevice, "there is no sound device \"" + wanted + "\"");
}

int ChooseRate(const SoundDevice& device, int wanted) {
  const auto has = [&device](int rate) {
    return std::find(device.rates.begin(), device.rates.end(), rate) != device.rates.end();
  };
  if (wanted == 0)
    return has(kUsualRate) || !device.preferredRate ? kUsualRate : device.preferredRate;
  if (device.rates.empty() || has(wanted)) return wanted;
  std::string known;
  for (const int rate : device.rates) {
    if (!known.empty()) known += ", ";
    known += std::to_string(rate);
  }
  throw DeviceError(DeviceChoice::kRate,
                    "the sound device does not run at " + std::to_string(wanted),
                    "it has " + known);
}

}  // namespace

std::vector<SoundSystem> ListSoundSystems() {
  std::vector<RtAudio::Api> apis;
  RtAudio::getCompiledApi(apis);
  std::vector<SoundSystem> systems;
  for (const RtAudio::Api api : apis) {
    if (api == RtAudio::RTAUDIO_DUMMY) continue;
    systems.push_back({RtAudio::getApiName(api), RtAudio::getApiDisplayName(api)});
  }
  return systems;
}

std::vector<SoundDevice> ListSoundDevices(const std::string& system) {
  return DevicesOf(*MakeAudio(system));
}

struct SoundCard::State {
  static int Callback(void* output, void* input, unsigned frames, double, RtAudioStreamStatus,
                      void* user) {
    auto& state = *static_cast<State*>(user);
    // Channels follow one another, a whole block each.
    for (std::size_t i = 0; i < state.outs.size(); ++i) {
      state.outs[i] = static_cast<float*>(output) + i * frames;
    }
    for (std::size_t i = 0; i < state.ins.size(); ++i) {
      state.ins[i] = static_cast<const float*>(input) + i * frames;
    }
    state.framesPlayed.fetch_add(frames, std::memory_order_relaxed);
    state.process(state.ins.data(), input ? static_cast<int>(state.ins.size()) : 0,
                  state.outs.data(), static_cast<int>(state.outs.size()), static_cast<int>(frames));
    return 0;
  }

  explicit State(const std::string& system) : audio(MakeAudio(system)) {}

  std::string name;
  int rate = 0;
  unsigned blockSize = 0;
  std::vector<const float*> ins;
  std::vector<float*> outs;
  Process process;
  std::atomic<std::int64_t> framesPlayed = 0;
  std::unique_ptr<RtAudio> audio;  // last: its end ends the callbacks, which use the rest
};

SoundCard::SoundCard(const Settings& settings) : state_(std::make_unique<State>(settings.system)) {
  const std::vector<SoundDevice> devices = DevicesOf(*state_->audio);
  const unsigned number = Choose(devices, settings.device);
  const SoundDevice& device = devices[number];
  state_->name = device.name;
  state_->rate = ChooseRate(device, settings.rate);
  state_->blockSize = static_cast<unsigned>(settings.blockSize);
  state_->outs.resize(static_cast<std::size_t>(std::min(device.outputs, settings.mostOutputs)));
  state_->ins.resize(static_cast<std::size_t>(std::min(device.inputs, settings.mostInputs)));

  RtAudio::StreamParameters out;
  out.deviceId = number;
  out.nChannels = static_cast<unsigned>(state_->outs.size());
  RtAudio::StreamParameters in;
  in.deviceId = number;
  in.nChannels = static_cast<unsigned>(state_->ins.size());
  RtAudio::StreamOptions options;
  options.flags = RTAUDIO_NONINTERLEAVED | RTAUDIO_SCHEDULE_REALTIME;
  options.priority = kPriority;
  options.streamName = "Halveron";
  const platform::StandardErrorQuiet quiet;
  try {
    state_->audio->openStream(&out, in.nChannels > 0 ? &in : nullptr, RTAUDIO_FLOAT32,
                              static_cast<unsigned>(state_->rate), &state_->blockSize,
                              &State::Callback, state_.get(), &options);
  } catch (const RtAudioError& error) {
    throw DeviceError(
        DeviceChoice::kDevice,
        "the sound device \"" + device.name + "\" cannot be opened: " + error.getMessage(),
        "close other programs that use it");
  }
}

SoundCard::~SoundCard() {
  Stop();
  const platform::StandardErrorQuiet quiet;
  if (state_->audio->isStreamOpen()) state_->audio->closeStream();
}

const std::string& SoundCard::Name() const { return state_->name; }
std::string SoundCard::System() const {
  return RtAudio::getApiName(state_->audio->getCurrentApi());
}
int SoundCard::Rate() const { return state_->rate; }
int SoundCard::BlockSize() const { return static_cast<int>(state_->blockSize); }
int SoundCard::Inputs() const { return static_cast<int>(state_->ins.size()); }
int SoundCard::Outputs() const { return static_cast<int>(state_->outs.size()); }
int SoundCard::Latency() const {
  const platform::StandardErrorQuiet quiet;
  try {
    return std::max(static_cast<int>(state_->audio->getStreamLatency()), BlockSize());
  } catch (const RtAudioError&) {
    return BlockSize();  // it has gone
  }
}

void SoundCard::Start(Process process) {
  state_->process = std::move(process);
  const platform::StandardErrorQuiet quiet;
  try {
    state_->audio->startStream();
  } catch (const RtAudioError& error) {
    throw UserError("", "", "the sound device does not start: " + error.getMessage());
  }
}

void SoundCard::Stop() {
  // A card that does not answer any more would never finish playing what it has.
  const platform::StandardErrorQuiet quiet;
  try {
    if (state_->audio->isStreamRunning()) state_->audio->abortStream();
  } catch (const RtAudioError&) {
    // A card that was pulled out has stopped already.
  }
}

bool SoundCard::IsRunning() const { return state_->audio->isStreamRunning(); }

std::int64_t SoundCard::FramesPlayed() const {
  return state_->framesPlayed.load(std::memory_order_relaxed);
}

}  // namespace halveron::media
