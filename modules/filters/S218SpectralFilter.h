// S218 Spectral Filter: a filter whose frequency response is drawn as bars, in frames that a clock
// steps through and a voltage morphs between.
#pragma once

#include <array>

#include "dsp/edge.h"
#include "framework/bar_view.h"
#include "framework/module.h"
#include "framework/patch_key.h"
#include "gui/slider.h"
#include "modules/filters/S218SpectralFilterDesign.h"
#include "modules/filters/S218SpectralFilterFrames.h"
#include "modules/filters/S218SpectralFilterKernel.h"

namespace halveron {

/// The bars of the present frame become the taps of a filter on the audio thread, at each step of
/// the frames and, at intervals, when a setting or a voltage has changed; the sound fades from one
/// design to the next. In the lattice modes the second resonance's voltage also bends the warp.
class S218SpectralFilter final : public BuiltInModule<S218SpectralFilter>, public PatchKeyTaker {
 public:
  static constexpr char kName[] = "S218 Spectral Filter";
  static constexpr char kPanel[] = "S218SpectralFilter.png";
  static constexpr int kColumns = 38;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  static constexpr int kBars = S218SpectralFilterFrames::kBars;
  static constexpr int kTapStep = S218SpectralFilterDesign::kTapStep;
  static constexpr int kMostTapSteps = S218SpectralFilterDesign::kMostTaps / kTapStep;

  S218SpectralFilter(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;
  /// Gates that lead through the frames play them.
  ControlEffect EffectOf(const CControl& control) const override;

  /// The control values, then the number of frames and their bars. The frame shown is a control.
  int GetPresetSize() override;
  void SavePreset(void* buffer, int size) override;
  void LoadPreset(const void* buffer, int size, int version) override;

  const char* PatchKey() const override { return "bars"; }
  void TakePatchKey(const PatchValue& value, const std::string& folder) override;
  std::optional<PatchValue> PatchValueOf(std::span<const std::byte> data) const override;

  /// Replaces all frames and shows the one of the digits, or the nearest.
  void SetFrames(S218SpectralFilterFrames frames);
  const S218SpectralFilterFrames& GetFrames() const { return frames_; }
  BarView<float>& Bars() { return *bars_; }
  float FramePosition() const { return framePosition_; }
  int DesignCount() const { return designCount_; }

 private:
  /// What a design depends on beside bars and switches.
  struct DesignInputs {
    float mixA, mixB, mixC, frameMorph;

    bool operator==(const DesignInputs&) const = default;
  };

  void AddControls();
  bool StepFrames();
  void GoToFrame(int frame);
  DesignInputs ReadDesignInputs() const;
  void CheckDesign();
  void TakeMorph();
  /// The bars at the present position, of one bar or, below 0, of all.
  void MorphBars(int bar);
  void Redesign();
  void RunDesign(S218Taps& taps, const S218SpectralFilterDesign::Settings& settings, float gain);
  float Shaped(float gain) const;
  double ScrollPosition() const;
  void SetUpDesign();
  void MarkStale() { isStale_ = true; }
  void ShowFrame();
  void ShowOwnBars();
  void TakeBars(const S218SpectralFilter& from, int first, int last);
  void InsertFrame();
  void DeleteFrame();
  void PaintAxis(CDrawContext& context, const CRect& area) const;
  std::string DescribeBar(int bar) const;

  S218SpectralFilterFrames frames_;
  S218SpectralFilterDesign design_;
  S218SpectralFilterKernel kernel_;
  S218SpectralFilterDesign::Settings settings_;
  std::array<float, kBars> shaped_{};

  int frameIndex_ = 0;
  float framePosition_ = 0.0f;
  DesignInputs designInputs_{-1000.0f, -1000.0f, -1000.0f, -1000.0f};
  bool hasSecondStage_ = false;
  bool isStale_ = true;  ///< bars, knobs or switches have changed since the last design
  int designInterval_ = 150;
  int designCountdown_ = 0;  // samples
  int designHoldoff_ = 64;
  int holdoff_ = 0;
  int designCount_ = 0;
  bool isLoading_ = false;
  dsp::EdgeDetector<> clockEdge_, resetEdge_;
  bool hasFrameMod_ = false, hasCutMod_ = false;
  std::array<bool, 2> hasResonanceMod_{};

  BarView<float>* bars_;
  CSpecialDigitEx *frame_, *taps_;
  CKickButtonEx *frameUp_, *frameDown_, *tapsUp_, *tapsDown_, *insert_, *delete_;
  CSlider* scroll_;
  Knob frameMod_, inputLevel_, cut_, gainUp_, gainDown_, kernelAmount_, rateDivisor_, mode_;
  std::array<Knob, 2> resonance_, feedback_;
  CVerticalSwitch *secondStage_, *equalLength_, *shortHigh_, *minimumPhase_, *dcBlock_;
  Lamp lastFrame_;
  Input in_, clock_, reset_, frameModIn_, cutModIn_;
  std::array<Input, 2> resonanceModIn_;
  Output out_;
};

}  // namespace halveron
