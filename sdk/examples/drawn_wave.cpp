// Example Drawn Wave: an oscillator whose wave the user draws with the mouse. It has a display and
// data of its own.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "halveron_module.hpp"

namespace {

class DrawnWave final : public halveron_sdk::Module {
 public:
  static constexpr char kName[] = "Example Drawn Wave";
  static constexpr char kVendor[] = "Halveron Examples";
  static constexpr int kColumns = 12;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = true;

  explicit DrawnWave(const halveron_sdk::Setup& setup) : Module(setup) {
    AddModuleKnob(tune_, "Tune", 72, 180, HALVERON_SMALL, 0.5f);
    AddKickButton("Sine", 116, 180, HALVERON_RED);
    AddDisplay("Wave", 72, 98, kWidth, kHeight);
    AddLamp(lamp_, "Positive", 116, 250, HALVERON_BLUE_LAMP);
    AddPatchPoint(pitch_, "Pitch", 28, 250);
    AddPatchPoint(out_, "Out", 72, 250);
    MakeSine();
  }

  void SetSampleRate(float rate, float) { step_ = 261.6256f / rate; }

  void ValueChanged(halveron_sdk::Control control, float value) {
    if (control == halveron_sdk::Control(tune_) || value < 0.5f) return;
    const ProcessingSection section(*this);
    MakeSine();
    DataChanged();
  }

  void ProcessSample() {
    tune_->SmoothValue();
    const auto octaves = 10.0f * pitch_->in + 2.0f * static_cast<float>(tune_->smoothed_value) - 1;
    phase_ += step_ * std::exp2(std::clamp(octaves, -8.0f, 8.0f));
    if (!(phase_ < 1.0f)) phase_ = phase_ < 2.0f ? phase_ - 1.0f : 0.0f;
    const float place = phase_ * kPoints;
    const auto left = std::min(static_cast<std::size_t>(place), kPoints - 1);
    const float share = place - static_cast<float>(left);
    const float from = wave_[left], to = wave_[(left + 1) % kPoints];
    out_->out = from + (to - from) * share;
    lamp_.Set(out_->out > 0.0f ? 1.0f : 0.0f);
  }

  unsigned DataSize() { return sizeof wave_; }
  void SaveData(void* buffer, unsigned size) {
    std::memcpy(buffer, wave_.data(), std::min<std::size_t>(size, sizeof wave_));
  }
  void LoadData(const void* data, unsigned size, int) {
    std::array<float, kPoints> loaded = wave_;
    std::memcpy(loaded.data(), data, std::min<std::size_t>(size, sizeof loaded));
    for (std::size_t i = 0; i < kPoints; ++i) {
      if (std::isfinite(loaded[i])) wave_[i] = std::clamp(loaded[i], -1.0f, 1.0f);
    }
    isFresh_ = true;
  }

  void Draw(halveron_sdk::Display, halveron_sdk::Canvas& canvas) {
    isFresh_ = false;
    canvas.SetColor(0x343A40FF);
    canvas.DrawLine(0, canvas.Height() / 2, canvas.Width(), canvas.Height() / 2);
    std::array<float, 2 * (kPoints + 1)> line;
    for (std::size_t i = 0; i <= kPoints; ++i) {
      line[2 * i] = canvas.Width() * static_cast<float>(i) / kPoints;
      line[2 * i + 1] = canvas.Height() * (0.5f - 0.45f * wave_[i % kPoints]);
    }
    canvas.SetColor(0xF58400FF);
    canvas.SetLineWidth(1.5f);
    canvas.DrawPolyline(line);
  }
  bool IsFresh(halveron_sdk::Display) { return isFresh_; }

  bool Mouse(halveron_sdk::Display, const halveron_sdk::MouseEvent& event) {
    if ((event.buttons & HALVERON_LEFT_BUTTON) == 0) return false;
    const auto place = static_cast<int>(event.x / kWidth * kPoints);
    const auto point =
        static_cast<std::size_t>(std::clamp(place, 0, static_cast<int>(kPoints) - 1));
    const float level = std::clamp((0.5f - event.y / kHeight) / 0.45f, -1.0f, 1.0f);
    const ProcessingSection section(*this);
    const std::size_t from = event.kind == HALVERON_MOUSE_DOWN ? point : drawn_;
    const float fromLevel = event.kind == HALVERON_MOUSE_DOWN ? level : wave_[from];
    drawn_ = point;
    // A fast stroke leaves points out, which lie on the line between.
    const auto [first, last] = std::minmax(from, point);
    for (std::size_t i = first; i <= last; ++i) {
      const float share = from == point
                              ? 1.0f
                              : (static_cast<float>(i) - static_cast<float>(from)) /
                                    (static_cast<float>(point) - static_cast<float>(from));
      for (int voice = 0; DrawnWave* instance = VoiceModule<DrawnWave>(voice); ++voice) {
        instance->wave_[i] = fromLevel + (level - fromLevel) * share;
      }
    }
    DataChanged();
    return true;
  }

 private:
  static constexpr std::size_t kPoints = 64;
  static constexpr float kWidth = 124, kHeight = 96;

  void MakeSine() {
    for (std::size_t i = 0; i < kPoints; ++i) {
      wave_[i] = std::sin(6.28318531f * static_cast<float>(i) / kPoints);
    }
    isFresh_ = true;
  }

  halveron_sdk::Knob tune_;
  halveron_sdk::Input pitch_;
  halveron_sdk::Output out_;
  halveron_sdk::Lamp lamp_;
  std::array<float, kPoints> wave_{};
  float phase_ = 0;
  float step_ = 0;
  std::size_t drawn_ = 0;
  bool isFresh_ = true;
};

}  // namespace

HALVERON_LIBRARY(DrawnWave)
