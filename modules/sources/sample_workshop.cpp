#include "modules/sources/sample_workshop.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <new>
#include <thread>
#include <utility>
#include <vector>

#include "media/audio_decoder.h"
#include "platform/error_line.h"
#include "platform/file_error.h"

namespace halveron {

using platform::FileError;

namespace {

constexpr std::int64_t kMostBytes = 1000000000;  // of the decoded file, in all its channels
constexpr std::int64_t kBlockFrames = 1 << 14;
constexpr int kFirstCapacity = 1 << 18;
constexpr int kCopiedSamples = 1 << 20;                // between two looks at the stop token
constexpr std::int64_t kNeverStoppedFrames = 1 << 22;  // written in some hundredths of a second
constexpr double kMiddleC = 60.0;
constexpr int kHighestNote = 127;
constexpr double kSemitonesPerPitch = 120.0;

double PitchOf(double note) { return (note - kMiddleC) / kSemitonesPerPitch; }

int NoteNearest(double pitch) {
  const double note = std::round(pitch * kSemitonesPerPitch + kMiddleC);
  return static_cast<int>(std::clamp(note, 0.0, double{kHighestNote}));
}

/// A buffer of another capacity with the samples of `from` that fit. Null if there is no memory,
/// and once a stop is requested.
std::shared_ptr<SampleBuffer> Resized(const SampleBuffer& from, int capacity,
                                      const std::stop_token& stop = {}) {
  auto buffer = SampleBuffer::Make(capacity);
  if (!buffer) return nullptr;
  const int length = std::min(from.Length(), capacity);
  for (int done = 0; done < length; done += kCopiedSamples) {
    if (stop.stop_requested()) return nullptr;
    std::copy_n(from.Samples() + done, std::min(kCopiedSamples, length - done),
                buffer->Samples() + done);
  }
  buffer->SetLength(length);
  return buffer;
}

}  // namespace

SampleWorkshop::SampleWorkshop() {
  SampleSet empty{SampleBuffer::Make(1)};
  if (!empty.buffer) throw std::bad_alloc();
  empty.buffer->FillGuards(false);
  Publish(std::move(empty));
  Take();
}

SampleWorkshop::Loaded SampleWorkshop::Decode(const std::string& path,
                                              const std::stop_token& stop) {
  const auto decoder = media::OpenAudioFile(path, stop);
  const std::int64_t channels = decoder->Channels();
  const auto frameBytes = channels * static_cast<std::int64_t>(sizeof(float));
  const auto refuse = [&path]() {
    throw FileError(path, "", "is too large: more than a thousand million bytes when decoded",
                    "cut it into parts");
  };
  const auto rate = static_cast<double>(decoder->SampleRate());
  if (rate < kLowestSampleRate || rate > kHighestSampleRate) {
    throw FileError(path, "header",
                    "has a rate of " + std::to_string(decoder->SampleRate()) + " Hz",
                    "convert it to one of up to 200 MHz");
  }
  if (decoder->Frames() == 0) throw FileError(path, "", "has no samples", "give another file");
  if (decoder->Frames() > kMostBytes / frameBytes) refuse();
  const auto expected = std::max<std::int64_t>(decoder->Frames(), kFirstCapacity);
  auto buffer = SampleBuffer::Make(
      static_cast<int>(std::min<std::int64_t>(expected, SampleBuffer::kLargest)));
  std::vector<float> block(static_cast<std::size_t>(kBlockFrames * channels));
  std::int64_t length = 0;
  while (const std::int64_t got = decoder->Read(block.data(), kBlockFrames)) {
    if ((length + got) * frameBytes > kMostBytes) refuse();
    if (buffer && length + got > buffer->Capacity()) {
      const std::int64_t doubled = std::max<std::int64_t>(2 * length, length + got);
      buffer = Resized(
          *buffer, static_cast<int>(std::min<std::int64_t>(doubled, SampleBuffer::kLargest)), stop);
    }
    if (!buffer) throw std::bad_alloc();
    float* const samples = buffer->Samples() + length;
    for (std::int64_t i = 0; i < got; ++i) {
      float sum = 0.0f;
      for (std::int64_t c = 0; c < channels; ++c)
        sum += block[static_cast<std::size_t>(i * channels + c)];
      samples[i] = HeldSample(sum / static_cast<float>(channels));
    }
    length += got;
    buffer->SetLength(static_cast<int>(length));
  }
  if (length == 0) throw FileError(path, "", "has no samples", "give another file");
  if (buffer->Capacity() / 2 > length) {
    if (auto fitting = Resized(*buffer, static_cast<int>(length), stop)) buffer = fitting;
  }
  return {std::move(buffer), rate, decoder->RootNote()};
}

void SampleWorkshop::Load(const std::string& path, double otherRoot) {
  Stop();
  Start(File{path, otherRoot});
}

void SampleWorkshop::LoadNow(const std::string& path, double otherRoot) {
  Stop();
  try {
    Accept(Decode(path, {}), otherRoot);
  } catch (const std::bad_alloc&) {
    throw FileError(path, "", "does not fit into memory", "close other programs");
  }
}

void SampleWorkshop::Use(std::shared_ptr<SampleBuffer> buffer, double rate) {
  Stop();
  const std::lock_guard lock(mutex_);
  buffer->FillGuards(wantsCycle_);
  Publish({std::move(buffer), rate, nullptr, 0, wantsCycle_});
  ++changes_;
}

bool SampleWorkshop::UseRoomToRecord(double rate, bool keepsSample) {
  Stop();
  const std::lock_guard lock(mutex_);
  const SampleBuffer& old = *latest_.buffer;
  const int needed = keepsSample ? old.Length() + 1 : kFirstCapacity;
  std::shared_ptr<SampleBuffer> room;
  for (int capacity = SampleBuffer::kLargest; !room && capacity >= needed; capacity /= 2) {
    room = keepsSample ? Resized(old, capacity) : SampleBuffer::Make(capacity);
  }
  if (!room) return false;
  const double newRate = keepsSample && old.Length() > 0 ? latest_.rate : rate;
  Publish({std::move(room), newRate, nullptr, 0, wantsCycle_});
  return true;
}

void SampleWorkshop::SetQuality(int position, bool isCycle) {
  const std::lock_guard lock(mutex_);
  wantedQuality_ = position;
  wantsCycle_ = isCycle;
}

void SampleWorkshop::Resume() { Start(std::nullopt); }

bool SampleWorkshop::HasWantedTables() const {
  return latest_.quality == wantedQuality_ && latest_.isCycle == wantsCycle_;
}

void SampleWorkshop::Start(const std::optional<File>& file) {
  {
    const std::lock_guard lock(mutex_);
    if (working_) return;  // it looks at the wishes when it is done
    if (!file && HasWantedTables()) return;
    working_ = true;
  }
  if (worker_.Restart([this, file](const std::stop_token& stop) { Work(file, stop); })) return;
  const std::lock_guard lock(mutex_);
  working_ = false;
  message_ = "The system has no thread to give; close other programs";
}

void SampleWorkshop::Work(const std::optional<File>& file, const std::stop_token& stop) {
  try {
    if (file) Accept(Decode(file->path, stop), file->otherRoot);
  } catch (const std::bad_alloc&) {
    const std::lock_guard lock(mutex_);
    if (!stop.stop_requested()) {
      message_ = "The file does not fit into memory; close other programs";
    }
  } catch (const std::exception& error) {
    const std::lock_guard lock(mutex_);
    if (!stop.stop_requested()) message_ = platform::ErrorLine(error, file->path);
  }
  MakeTables(stop);
}

void SampleWorkshop::Accept(const Loaded& loaded, double otherRoot) {
  const std::lock_guard lock(mutex_);
  SetRoot(loaded.rootNote ? PitchOf(*loaded.rootNote) : otherRoot);
  loaded.buffer->FillGuards(wantsCycle_);
  Publish({loaded.buffer, loaded.rate, nullptr, 0, wantsCycle_});
  message_.reset();
  ++loads_;
  ++changes_;
}

std::optional<SampleWorkshop::Wish> SampleWorkshop::TakeWish(const std::stop_token& stop) {
  const std::lock_guard lock(mutex_);
  if (HasWantedTables() || stop.stop_requested()) {
    working_ = false;
    return std::nullopt;
  }
  // The old tables go before the new ones take memory.
  SampleSet set = latest_;
  set.tables = nullptr;
  set.quality = 0;
  Publish(set);
  return Wish{std::move(set), wantedQuality_, wantsCycle_};
}

void SampleWorkshop::MakeTables(const std::stop_token& stop) {
  while (std::optional<Wish> wish = TakeWish(stop)) {
    SampleSet& set = wish->set;
    if (set.isCycle != wish->isCycle) {
      set.isCycle = wish->isCycle;
      // The audio thread may be reading the guards, so a copy takes the new ones.
      if (auto copy = Resized(*set.buffer, std::max(set.buffer->Length(), 1), stop)) {
        copy->FillGuards(set.isCycle);
        set.buffer = std::move(copy);
      }
      if (stop.stop_requested()) continue;
      const std::lock_guard lock(mutex_);
      Publish(set);
    }
    if (wish->quality == 0) continue;
    try {
      set.tables = BuildSampleTables(*set.buffer, set.rate, set.isCycle, wish->quality, stop);
    } catch (const std::bad_alloc&) {
      const std::lock_guard lock(mutex_);
      wantedQuality_ = 0;
      failed_ = true;
      continue;
    }
    if (!set.tables) continue;
    set.quality = wish->quality;
    const std::lock_guard lock(mutex_);
    Publish(set);
  }
}

void SampleWorkshop::Save(const std::string& path, media::SampleFormat format,
                          const media::SampleKey& key) {
  if (saver_.IsBusy()) {
    const std::lock_guard lock(mutex_);
    message_ = "Still saving the file before; save this one after it";
    return;
  }
  const SampleSet set = Latest();
  const bool started = saver_.Start([this, set, path, format, key](const std::stop_token& stop) {
    std::string message = "Saved " + std::filesystem::path(path).filename().string();
    try {
      const std::int64_t length = set.buffer->Length();
      media::AudioFileWriter writer(path, 1, static_cast<int>(std::lround(set.rate)), length,
                                    format, key);
      for (std::int64_t done = 0; done < length; done += kBlockFrames) {
        // What is written in a moment is not lost because the rack closes.
        if (done > kNeverStoppedFrames && stop.stop_requested()) return;
        writer.Write(set.buffer->Samples() + done, std::min(kBlockFrames, length - done));
      }
      writer.Commit();
    } catch (const std::exception& error) {
      message = platform::ErrorLine(error, path);
    }
    const std::lock_guard lock(mutex_);
    message_ = std::move(message);
  });
  if (started) return;
  const std::lock_guard lock(mutex_);
  message_ = "The system has no thread to give; close other programs";
}

void SampleWorkshop::Publish(SampleSet set) {
  latest_ = set;
  handover_.Publish(std::make_unique<SampleSet>(std::move(set)));
}

void SampleWorkshop::Stop() {
  worker_.Stop();
  const std::lock_guard lock(mutex_);
  working_ = false;
}

void SampleWorkshop::Finish() {
  while (worker_.IsBusy()) std::this_thread::sleep_for(std::chrono::microseconds(200));
}

void SampleWorkshop::SetRoot(double pitch, double tuning) {
  rootPitch_.store(pitch, std::memory_order_relaxed);
  tuning_.store(tuning, std::memory_order_relaxed);
}

void SampleWorkshop::SetRoot(double pitch) {
  if (!std::isfinite(pitch)) return;
  pitch = std::clamp(pitch, -5.0, 5.0);  // further than any sound
  SetRoot(pitch, pitch - PitchOf(NoteNearest(pitch)));
}

int SampleWorkshop::RootNote() const { return NoteNearest(RootPitch() - Tuning()); }

void SampleWorkshop::FreeOld() {
  const std::lock_guard lock(mutex_);
  handover_.Collect();
}

SampleSet SampleWorkshop::Latest() const {
  const std::lock_guard lock(mutex_);
  return latest_;
}

SampleWorkshop::Rooted SampleWorkshop::LatestRooted() const {
  const std::lock_guard lock(mutex_);
  return {latest_, RootPitch(), Tuning()};
}

std::optional<std::string> SampleWorkshop::TakeMessage() {
  const std::lock_guard lock(mutex_);
  return std::exchange(message_, std::nullopt);
}

bool SampleWorkshop::TakeFailure() {
  const std::lock_guard lock(mutex_);
  return std::exchange(failed_, false);
}

unsigned SampleWorkshop::Changes() const {
  const std::lock_guard lock(mutex_);
  return changes_;
}

void SampleWorkshop::MarkChanged() {
  const std::lock_guard lock(mutex_);
  ++changes_;
}

int SampleWorkshop::Loads() const {
  const std::lock_guard lock(mutex_);
  return loads_;
}

}  // namespace halveron
