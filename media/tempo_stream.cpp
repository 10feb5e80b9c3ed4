#include "media/tempo_stream.h"

#include <SoundTouchDLL.h>

#include <algorithm>
#include <stdexcept>

#include "platform/denormals.h"
#include "platform/shared_library.h"

namespace halveron::media {

namespace {

constexpr std::size_t kPieceFrames = 1024;

double InRange(double ratio, double lowest, double highest) {
  return ratio > lowest ? std::min(ratio, highest) : lowest;  // a NaN is the lowest
}

/// The library's functions. It is loaded when the first song needs it: its start switches the
/// calling thread's denormals off, which would change the sound of the program that we live in.
struct SoundTouch {
  static const SoundTouch& Get() {
    const platform::DenormalsOff keepsControlWord;
    static const SoundTouch functions;
    return functions;
  }

  template <class Function>
  Function* Find(const char* name) const {
    Function* const found = library.FindFunction<Function>(name);
    if (!found) throw std::runtime_error(std::string("libSoundTouchDll has no ") + name);
    return found;
  }
// NOLINTBEGIN(bugprone-macro-parentheses): the name is declared, which parentheses do not allow.
#define HALVERON_FIND(name) \
  decltype(::soundtouch_##name)* name = Find<decltype(::soundtouch_##name)>("soundtouch_" #name)
  // NOLINTEND(bugprone-macro-parentheses)

  platform::SharedLibrary library{"libSoundTouchDll.so.1"};
  HALVERON_FIND(createInstance);
  HALVERON_FIND(destroyInstance);
  HALVERON_FIND(setSampleRate);
  HALVERON_FIND(setChannels);
  HALVERON_FIND(setTempo);
  HALVERON_FIND(setPitch);
  HALVERON_FIND(putSamples);
  HALVERON_FIND(receiveSamples);
  HALVERON_FIND(flush);
  HALVERON_FIND(numSamples);
  HALVERON_FIND(numUnprocessedSamples);
#undef HALVERON_FIND
};

}  // namespace

struct TempoStream::Stretcher {
  Stretcher(int rate, int channels) : handle(touch.createInstance()) {
    touch.setSampleRate(handle, static_cast<unsigned>(rate));
    touch.setChannels(handle, static_cast<unsigned>(channels));
  }
  ~Stretcher() { touch.destroyInstance(handle); }
  Stretcher(const Stretcher&) = delete;
  Stretcher& operator=(const Stretcher&) = delete;

  const SoundTouch& touch = SoundTouch::Get();
  HANDLE handle;
  bool isFlushed = false;
};

TempoStream::TempoStream(std::unique_ptr<Song> song)
    : song_(std::move(song)),
      piece_(kPieceFrames * static_cast<std::size_t>(song_->Facts().channels)) {}

TempoStream::~TempoStream() = default;

void TempoStream::Set(double tempo, double pitch) {
  tempo = InRange(tempo, kSlowest, kFastest);
  pitch = InRange(pitch, kLowest, kHighest);
  if (tempo == tempo_ && pitch == pitch_) return;
  tempo_ = tempo;
  pitch_ = pitch;
  if (!stretcher_) {
    stretcher_ = std::make_unique<Stretcher>(Facts().rate, Facts().channels);
  }
  stretcher_->touch.setTempo(stretcher_->handle, static_cast<float>(tempo));
  stretcher_->touch.setPitch(stretcher_->handle, static_cast<float>(pitch));
}

std::size_t TempoStream::Read(float* interleaved, std::size_t frames) {
  if (!stretcher_) return song_->Read(interleaved, frames);
  const SoundTouch& touch = stretcher_->touch;
  const HANDLE handle = stretcher_->handle;
  for (;;) {
    const unsigned ready = touch.receiveSamples(handle, interleaved, static_cast<unsigned>(frames));
    if (ready > 0) return ready;
    if (stretcher_->isFlushed) return 0;
    const std::size_t count = song_->Read(piece_.data(), kPieceFrames);
    if (count > 0) {
      touch.putSamples(handle, piece_.data(), static_cast<unsigned>(count));
    } else {
      touch.flush(handle);
      stretcher_->isFlushed = true;
    }
  }
}

void TempoStream::Seek(double seconds) {
  song_->Seek(std::max(seconds, 0.0));
  stretcher_.reset();
  // What was asked for holds on.
  const double tempo = tempo_, pitch = pitch_;
  tempo_ = pitch_ = 1.0;
  Set(tempo, pitch);
}

double TempoStream::Position() const {
  double position = song_->Position();
  if (stretcher_) {
    const auto rate = static_cast<double>(Facts().rate);
    position -= stretcher_->touch.numUnprocessedSamples(stretcher_->handle) / rate;
    position -= stretcher_->touch.numSamples(stretcher_->handle) * tempo_ / rate;
  }
  return std::max(position, 0.0);
}

}  // namespace halveron::media
