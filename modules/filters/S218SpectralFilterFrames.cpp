#include "modules/filters/S218SpectralFilterFrames.h"

#include <algorithm>
#include <utility>

#include "dsp/shaping.h"

namespace halveron {

S218SpectralFilterFrames S218SpectralFilterFrames::Clone() const {
  S218SpectralFilterFrames clone;
  clone.count_ = count_;
  for (int i = 0; i < count_; ++i) {
    if (!At(i)) continue;
    auto spare = Make();
    clone.Set(i, *At(i), spare);
  }
  return clone;
}

void S218SpectralFilterFrames::Set(int frame, const Frame& bars, std::unique_ptr<Frame>& spare) {
  std::unique_ptr<Frame>& place = frames_[static_cast<std::size_t>(frame)];
  if (bars == Frame()) {
    if (place) *place = bars;
    return;
  }
  if (!place) place = std::move(spare);
  if (place) *place = bars;
}

bool S218SpectralFilterFrames::Insert(int frame, std::unique_ptr<Frame>& spare) {
  if (count_ >= kMost) return false;
  const auto behind = frames_.begin() + frame + 1;
  std::rotate(behind, frames_.begin() + count_, frames_.begin() + count_ + 1);
  ++count_;
  if (At(frame)) Set(frame + 1, *At(frame), spare);
  return true;
}

bool S218SpectralFilterFrames::Delete(int frame, std::unique_ptr<Frame>& spare) {
  if (count_ <= 1) return false;
  spare = std::move(frames_[static_cast<std::size_t>(frame)]);
  std::rotate(frames_.begin() + frame, frames_.begin() + frame + 1, frames_.begin() + count_);
  --count_;
  return true;
}

void S218SpectralFilterFrames::Save(ByteWriter& writer) const {
  writer.Write(static_cast<std::int32_t>(count_));
  for (int i = 0; i < count_; ++i) {
    const Frame bars = Copy(i);
    for (const float value : bars.gain) writer.Write(value);
    for (const float value : bars.phase) writer.Write(value);
  }
}

void S218SpectralFilterFrames::Load(ByteReader& reader) {
  std::int32_t count = 0;
  if (!reader.Read(count)) return;
  count = std::clamp(count, std::int32_t{1}, std::int32_t{kMost});
  for (int i = count; i < count_; ++i) frames_[static_cast<std::size_t>(i)].reset();
  count_ = count;
  for (int i = 0; i < count; ++i) {
    Frame bars = Copy(i);
    for (float& value : bars.gain) {
      if (reader.Read(value)) value = dsp::LimitUnit(value);
    }
    for (float& value : bars.phase) {
      if (reader.Read(value)) value = dsp::LimitUnit(value);
    }
    auto spare = Make();
    Set(i, bars, spare);
  }
}

bool S218SpectralFilterFrames::operator==(const S218SpectralFilterFrames& other) const {
  if (count_ != other.count_) return false;
  for (int i = 0; i < count_; ++i) {
    if (Copy(i) != other.Copy(i)) return false;
  }
  return true;
}

}  // namespace halveron
