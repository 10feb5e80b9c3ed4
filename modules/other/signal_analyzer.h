// What the signal analysers share: an oscilloscope and a spectrum over any number of inputs.
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <initializer_list>

#include "framework/module.h"
#include "framework/numbered_role.h"
#include "framework/rack_model.h"
#include "gui/option_menu.h"
#include "modules/other/analyzer_screen.h"
#include "modules/other/signal_capture.h"

namespace halveron {

/// The audio thread only writes its inputs into a ring; all else is done when the screen is drawn.
template <class Derived, int kInputs>
class SignalAnalyzer : public BuiltInModule<Derived> {
 public:
  SignalAnalyzer(CFrame* frame, const HostTable& table, int voiceIndex)
      : BuiltInModule<Derived>(frame, table, voiceIndex), capture_(kInputs) {
    AddControls();
    this->clipLevel = -1.0f;
    this->InitPatchPoints(0.0f);
    this->SetSampleRate(this->sampleRate);
  }

  bool GetAlwaysOnDefault() const override { return true; }

  void ProcessSample() override {
    if (frozen_.load(std::memory_order_relaxed)) return;
    std::array<float, kInputs> samples;
    for (std::size_t i = 0; i < kInputs; ++i) samples[i] = ins_[i]->in;
    capture_.Push(samples);
  }

  void ValueChanged(CControl* control) override {
    if (control == freeze_) frozen_ = freeze_->getValue() >= 0.5f;
    screen_->setDirty();
  }

  AnalyzerScreen& Screen() { return *screen_; }

 private:
  static constexpr std::array<double, 7> kScaleVolts{0.2, 0.5, 1.0, 2.0, 5.0, 10.0, 20.0};
  static constexpr float kUsualScale = 5.0f / 6.0f;
  static constexpr std::array<double, 11> kMilliseconds{
      0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0, 20.0, 50.0, 100.0, 200.0};  // a column
  static constexpr float kUsualTime = 0.4f;

  void AddControls() {
    constexpr float kWidth = Derived::kColumns * kReferenceUnitWidth;
    constexpr float kMargin = 12, kTop = 40, kHeight = 134, kKnobs = 206, kJacks = 256, kEdge = 28;
    constexpr int kUpper = 5 + kInputs, kLower = 3 + kInputs;
    const CRect place =
        CRect::FromSize(CPoint(ScaleToPixels(kMargin), ScaleToPixels(kTop)),
                        ScaleToPixels(kWidth - 2 * kMargin), ScaleToPixels(kHeight));
    screen_ = new AnalyzerScreen(place, this->editor, capture_, [this] { return Settings(); });
    screen_->role = "Screen";
    screen_->setTag(TAG_NONE);
    this->addView(screen_);

    int column = 0;
    const auto next = [&](int columns) {
      return kEdge +
             (kWidth - 2 * kEdge) / static_cast<float>(columns - 1) * static_cast<float>(column++);
    };
    const auto toggle = [&](const char* role, float x, float initial, const char* caption) {
      auto* view = this->AddVerticalSwitch(role, x, kKnobs, SharedBitmap::kVerticalSwitch, initial);
      view->caption = caption;
      return view;
    };
    mode_ = toggle("Mode", next(kUpper), 0.0f, nullptr);
    xy_ = toggle("X-Y", next(kUpper), 0.0f, nullptr);
    this->AddSteppedKnob(time_, "Time", next(kUpper), kKnobs, SharedBitmap::kGrayKnob11,
                         kUsualTime);
    for (int i = 0; i < kInputs; ++i) {
      this->AddSteppedKnob(scales_[i], NumberedRole<"Scale">(i), next(kUpper), kKnobs,
                           SharedBitmap::kGrayKnob7, kUsualScale);
    }
    this->AddModuleKnob(level_, "Trigger level", next(kUpper), kKnobs, SharedBitmap::kGrayKnob,
                        0.5f);
    level_.View().caption = "Level";
    edge_ = toggle("Trigger edge", next(kUpper), 0.0f, "Edge");

    column = 0;
    static constexpr std::array<const char*, 4> kSources{"In 1", "In 2", "In 3", "In 4"};
    source_ = this->AddOptionMenu("Trigger source", next(kLower), kJacks + 3, 36, 15,
                                  std::span(kSources).first(kInputs), 0);
    source_->caption = "Trigger";
    freeze_ = this->AddOnOffButton("Freeze", next(kLower), kJacks, SharedBitmap::kRedButton, 0.0f);
    ++column;  // between the switches and the jacks
    for (int i = 0; i < kInputs; ++i) {
      this->AddPatchPoint(ins_[i], NumberedRole<"In">(i), next(kLower), kJacks);
    }
  }

  /// What a stepped knob stands on.
  template <std::size_t kCount>
  static double Entry(const std::array<double, kCount>& entries, const Knob& knob) {
    return entries[static_cast<std::size_t>(
        std::clamp(knob.View().GetStepIndex(), 0, static_cast<int>(kCount) - 1))];
  }

  AnalyzerSettings Settings() const {
    using View = AnalyzerSettings::View;
    AnalyzerSettings settings;
    settings.view = mode_->getValue() >= 0.5f ? View::kSpectrum
                    : xy_->getValue() >= 0.5f ? View::kXY
                                              : View::kTraces;
    settings.seconds = AnalyzerScreen::kColumns * 1e-3 * Entry(kMilliseconds, time_);
    for (std::size_t i = 0; i < kInputs; ++i) {
      settings.scale[i] = static_cast<float>(Entry(kScaleVolts, scales_[i]) / kVoltsOfUnit);
      settings.shown[i] = ins_[i].IsCabled();
    }
    settings.source = std::clamp(static_cast<int>(source_->getValue()), 0, kInputs - 1);
    const float level = std::clamp(level_->value, 0.0f, 1.0f) * 2.0f - 1.0f;
    settings.level = level * settings.scale[static_cast<std::size_t>(settings.source)];
    settings.rising = edge_->getValue() < 0.5f;
    settings.rate = this->sampleRate;
    return settings;
  }

  SignalCapture capture_;
  std::atomic<bool> frozen_ = false;
  AnalyzerScreen* screen_;
  Knob time_, level_;
  std::array<Knob, kInputs> scales_;
  CVerticalSwitch *mode_, *xy_, *edge_;
  COptionMenu* source_;
  COnOffButton* freeze_;
  std::array<Input, kInputs> ins_;
};

}  // namespace halveron
