#include "app/render_command.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <vector>

#include "app/interrupt_watch.h"
#include "app/offline_host.h"
#include "app/patch_file.h"
#include "app/run_command.h"
#include "media/audio_file.h"
#include "media/midi_file.h"
#include "media/midi_file_writer.h"
#include "platform/file_error.h"
#include "platform/terminal.h"

namespace halveron {

namespace fs = std::filesystem;
using platform::FileError;

namespace {

constexpr double kTailSeconds = 2.0;  // after the end of a MIDI file or an input
constexpr double kDefaultSeconds = 10.0;
constexpr double kDefaultTempo = 120.0;

/// A bar on a terminal; nothing otherwise.
class ProgressBar {
 public:
  ProgressBar(std::ostream& err, std::int64_t total)
      : err_(err),
        total_(total),
        isShown_(&err == &std::cerr && platform::StandardErrorIsTerminal()) {}
  ~ProgressBar() {
    if (isShown_) err_ << "\r\033[K" << std::flush;
  }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void Show(std::int64_t done) {
    if (!isShown_) return;
    const auto now = std::chrono::steady_clock::now();
    if (now - shownAt_ < std::chrono::milliseconds(100)) return;
    shownAt_ = now;
    constexpr int kWidth = 40;
    const int filled = static_cast<int>(kWidth * done / total_);
    err_ << "\r[" << std::string(static_cast<std::size_t>(filled), '#')
         << std::string(static_cast<std::size_t>(kWidth - filled), '.') << "] "
         << 100 * done / total_ << " %" << std::flush;
  }

 private:
  std::ostream& err_;
  std::int64_t total_;
  bool isShown_;
  std::chrono::steady_clock::time_point shownAt_{};
};

/// What goes into the host beside the patch.
struct Material {
  SongPosition song{kDefaultTempo};
  std::vector<HostMessage> messages;
  std::unique_ptr<media::AudioFileReader> input;
  std::int64_t frames = 0;
};

std::int64_t FramesOf(double seconds, int rate) { return std::llround(seconds * rate); }

Material Gather(const RenderOptions& options) {
  Material material;
  double seconds = 0.0;
  if (!options.midi.empty()) {
    const media::MidiFile midi = media::ReadMidiFile(options.midi);
    material.song = options.tempo ? SongPosition(*options.tempo) : SongPosition(midi.tempos);
    const auto timeOf = [&](double fileSeconds, double quarters) {
      return options.tempo ? material.song.SecondsAt(quarters) : fileSeconds;
    };
    for (const media::MidiFileEvent& event : midi.events) {
      const double time = timeOf(event.seconds, event.quarters);
      material.messages.push_back({FramesOf(time, options.rate), event.bytes});
    }
    seconds = timeOf(midi.seconds, midi.quarters) + kTailSeconds;
  } else if (options.tempo) {
    material.song = SongPosition(*options.tempo);
  }
  if (!options.input.empty()) {
    material.input = std::make_unique<media::AudioFileReader>(options.input, kDawInputs);
    const int rate = material.input->SampleRate();
    if (rate != options.rate) {
      throw FileError(
          options.input, "header",
          std::to_string(rate) + " Hz, and " + std::to_string(options.rate) + " Hz is asked for",
          "give --rate " + std::to_string(rate));
    }
    const double length = static_cast<double>(material.input->Frames()) / rate;
    seconds = std::max(seconds, length + kTailSeconds);
  }
  if (options.seconds) {
    material.frames = FramesOf(*options.seconds, options.rate);
  } else if (options.frames) {
    material.frames = *options.frames;
  } else {
    material.frames = FramesOf(seconds > 0.0 ? seconds : kDefaultSeconds, options.rate);
  }
  material.frames = std::max<std::int64_t>(material.frames, 1);
  return material;
}

/// An output must not take the place of what is read, nor of the other.
void KeepSources(const RenderOptions& options) {
  const auto isSame = [](const std::string& a, const std::string& b) {
    std::error_code error;
    if (a.empty() || b.empty()) return false;
    return fs::equivalent(a, b, error) ||
           fs::weakly_canonical(a, error) == fs::weakly_canonical(b, error);
  };
  for (const std::string& source : {options.patch, options.input, options.midi}) {
    if (isSame(source, options.output)) {
      throw FileError(options.output, "", "is read as well", "name another file with -o");
    }
    if (isSame(source, options.midiOutput)) {
      throw FileError(options.midiOutput, "", "is read as well",
                      "name another file with --midi-output");
    }
  }
  if (isSame(options.output, options.midiOutput)) {
    throw FileError(options.output, "", "is to be sound and MIDI at once",
                    "name another file with --midi-output");
  }
}

/// What the patch sends to the host, as a song of its own.
class SentMidi {
 public:
  SentMidi(const RenderOptions& options, const Material& material)
      : rate_(options.rate), song_(material.song) {
    file_.tempos = song_.Changes();
    file_.seconds = static_cast<double>(material.frames) / rate_;
    file_.quarters = song_.At(file_.seconds).quarters;
    const auto isLater = [this](const media::TempoChange& change) {
      return change.seconds > file_.seconds;
    };
    std::erase_if(file_.tempos, isLater);
  }

  void Take(const HostMessage& message) {
    const double seconds = static_cast<double>(message.frame) / rate_;
    file_.events.push_back({seconds, song_.At(seconds).quarters, message.bytes});
  }
  /// The SA06 of a rack come one after another within a block.
  const media::MidiFile& File() {
    std::stable_sort(file_.events.begin(), file_.events.end(),
                     [](const auto& a, const auto& b) { return a.seconds < b.seconds; });
    return file_;
  }

 private:
  int rate_;
  SongPosition song_;
  media::MidiFile file_;
};

/// Hands the next frames of the input file to the host.
class InputFeed {
 public:
  InputFeed(media::AudioFileReader* file, int blockSize) : file_(file) {
    if (file_) interleaved_.resize(static_cast<std::size_t>(blockSize * file_->Channels()));
  }

  void Fill(OfflineHost& host, int frames) {
    if (!file_) return;
    const int channels = file_->Channels();
    const std::int64_t got = file_->Read(interleaved_.data(), frames);
    for (int channel = 0; channel < channels; ++channel) {
      float* samples = host.Input(channel);
      for (int i = 0; i < frames; ++i) {
        samples[i] =
            i < got ? interleaved_[static_cast<std::size_t>(i * channels + channel)] : 0.0f;
      }
    }
  }

 private:
  media::AudioFileReader* file_;
  std::vector<float> interleaved_;
};

/// Interleaves what the host plays, and measures it.
class OutputTake {
 public:
  OutputTake(int channels, int blockSize)
      : channels_(channels), interleaved_(static_cast<std::size_t>(channels * blockSize)) {}

  const float* Take(const OfflineHost& host, int frames) {
    for (int channel = 0; channel < channels_; ++channel) {
      const float* samples = host.Output(channel);
      for (int i = 0; i < frames; ++i) {
        interleaved_[static_cast<std::size_t>(i * channels_ + channel)] = samples[i];
        if (std::isfinite(samples[i])) {
          peak_ = std::max(peak_, std::abs(samples[i]));
        } else {
          ++broken_;
        }
      }
    }
    return interleaved_.data();
  }

  float Peak() const { return peak_; }
  std::int64_t Broken() const { return broken_; }

 private:
  int channels_;
  std::vector<float> interleaved_;
  float peak_ = 0.0f;
  std::int64_t broken_ = 0;
};

std::string WholePath(const std::string& path) {
  std::error_code error;
  const fs::path whole = fs::absolute(path, error);
  return error ? path : whole.lexically_normal().string();
}

std::string LengthText(const RenderOptions& options, const Material& material) {
  char length[64];
  std::snprintf(length, sizeof length, "%.3f s",
                static_cast<double>(material.frames) / options.rate);
  return length;
}

void Report(const RenderOptions& options, const Material& material, const OutputTake& take,
            std::ostream& out, std::ostream& err) {
  char peak[64] = "silent";
  if (take.Peak() > 0.0f) {
    std::snprintf(peak, sizeof peak, "peak %.2f dBFS%s", 20.0 * std::log10(take.Peak()),
                  take.Peak() > 1.0f ? ", above full scale" : "");
  }
  out << WholePath(options.output) << ": " << LengthText(options, material) << ", "
      << options.channels << (options.channels == 1 ? " channel, " : " channels, ") << options.rate
      << " Hz, " << peak << "\n";
  if (take.Broken() > 0) {
    err << "halveron: " << options.output << ": " << take.Broken()
        << " samples are no finite numbers\n";
  }
}

}  // namespace

int Render(const RenderOptions& options, std::ostream& out, std::ostream& err) {
  KeepSources(options);
  Material material = Gather(options);

  OfflineHost host({options.rate, options.block, !options.isStopped, material.song});
  LoadPatchFile(options.patch, host.Rack(), err, options.placeholders);
  if (options.voices) host.Rack().voices.ApplyVoiceCount(*options.voices);
  if (options.oversampling) {
    const auto factor = static_cast<unsigned>(*options.oversampling);
    host.Plugin().ApplyOversamplingFactor(std::countr_zero(factor));
  }
  host.SetMessages(std::move(material.messages));
  std::optional<media::AudioFileWriter> writer;
  if (!options.output.empty()) {
    writer.emplace(options.output, options.channels, options.rate, material.frames);
  }
  SentMidi sent(options, material);
  if (!options.midiOutput.empty()) {
    host.onMessage = [&sent](const HostMessage& message) { sent.Take(message); };
  }
  InputFeed feed(material.input.get(), options.block);
  OutputTake take(options.channels, options.block);
  {
    const InterruptWatch watch;
    ProgressBar progress(err, material.frames);
    host.Start();
    while (host.Position() < material.frames) {
      if (watch.IsInterrupted()) {
        err << "halveron: " << (writer ? options.output : options.midiOutput)
            << ": interrupted; nothing was written\n";
        return kExitInterrupted;
      }
      const auto left = material.frames - host.Position();
      const int frames = static_cast<int>(std::min<std::int64_t>(options.block, left));
      feed.Fill(host, frames);
      host.Process(frames);
      const float* samples = take.Take(host, frames);
      if (writer) writer->Write(samples, frames);
      progress.Show(host.Position());
    }
    if (!options.midiOutput.empty()) media::WriteMidiFile(options.midiOutput, sent.File());
    if (writer) writer->Commit();
  }
  if (writer) Report(options, material, take, out, err);
  if (!options.midiOutput.empty()) {
    const std::size_t events = sent.File().events.size();
    out << WholePath(options.midiOutput) << ": " << LengthText(options, material) << ", " << events
        << (events == 1 ? " message\n" : " messages\n");
  }
  return kExitDone;
}

}  // namespace halveron
