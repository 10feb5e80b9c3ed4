#include "modules/filters/S218SpectralFilterFrames.h"

#include <algorithm>
#include <string>
#include <utility>

#include "dsp/shaping.h"
#include "platform/user_error.h"

namespace halveron {

namespace {

using platform::UserError;
using Bars = std::array<float, S218SpectralFilterFrames::kBars>;

PatchValue ListOf(const Bars& bars) {
  PatchValue::List list;
  for (const float bar : bars) list.push_back({static_cast<double>(bar)});
  return {list};
}

void TakeList(const PatchValue& value, const std::string& place, Bars& bars) {
  const PatchValue::List* list = value.Items();
  if (!list || list->size() != bars.size()) {
    throw UserError("", place, list ? std::to_string(list->size()) + " values" : "no list",
                    "give a list of " + std::to_string(bars.size()) +
                        " numbers, or leave the key out for neutral bars");
  }
  for (std::size_t i = 0; i < bars.size(); ++i) {
    const double* number = (*list)[i].Number();
    if (!number || !(*number >= 0.0 && *number <= 1.0)) {
      throw UserError("", place + "[" + std::to_string(i) + "]", "out of range",
                      "give a number from 0 to 1");
    }
    bars[i] = static_cast<float>(*number);
  }
}

}  // namespace

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

PatchValue S218SpectralFilterFrames::ToPatch() const {
  PatchValue::List frames;
  const Frame neutral;
  for (int i = 0; i < count_; ++i) {
    const Frame bars = Copy(i);
    PatchValue::Members members;
    if (bars.gain != neutral.gain) members.push_back({"gain", ListOf(bars.gain)});
    if (bars.phase != neutral.phase) members.push_back({"phase", ListOf(bars.phase)});
    frames.push_back({members});
  }
  return {frames};
}

S218SpectralFilterFrames S218SpectralFilterFrames::FromPatch(const PatchValue& value) {
  const PatchValue::List* list = value.Items();
  if (!list || list->empty() || list->size() > kMost) {
    throw UserError("", "", list ? std::to_string(list->size()) + " frames" : "no list",
                    "give a list of 1 to " + std::to_string(kMost) + " frames");
  }
  S218SpectralFilterFrames frames;
  frames.count_ = static_cast<int>(list->size());
  for (std::size_t i = 0; i < list->size(); ++i) {
    const std::string place = std::string("[").append(std::to_string(i)).append("]");
    const PatchValue::Members* members = (*list)[i].Object();
    if (!members) throw UserError("", place, "no object", "give one with \"gain\" and \"phase\"");
    Frame bars;
    for (const auto& [key, member] : *members) {
      if (key != "gain" && key != "phase") {
        throw UserError("", place, "unknown key \"" + key + "\"", "use \"gain\" and \"phase\"");
      }
      TakeList(member, std::string(place).append(".").append(key),
               key == "gain" ? bars.gain : bars.phase);
    }
    auto spare = Make();
    frames.Set(static_cast<int>(i), bars, spare);
  }
  return frames;
}

bool S218SpectralFilterFrames::operator==(const S218SpectralFilterFrames& other) const {
  if (count_ != other.count_) return false;
  for (int i = 0; i < count_; ++i) {
    if (Copy(i) != other.Copy(i)) return false;
  }
  return true;
}

}  // namespace halveron
