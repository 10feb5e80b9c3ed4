// S103 Matrix Mixer/VCA: four inputs to four outputs, each crosspoint under voltage.
#pragma once

#include <array>

#include "framework/clip_lamp.h"
#include "framework/module.h"
#include "framework/moving_knobs.h"

namespace halveron {

class S103MatrixMixerVCA final : public BuiltInModule<S103MatrixMixerVCA> {
 public:
  static constexpr char kName[] = "S103 Matrix Mixer/VCA";
  static constexpr char kPanel[] = "S103MatrixMixerVCA.png";
  static constexpr int kColumns = 30;
  static constexpr int kVersion = 1000;
  static constexpr bool kPolyphonic = false;

  S103MatrixMixerVCA(CFrame* frame, const HostTable& hostTable, int voice);
  void ProcessSample() override;
  void SetSampleRate(float rate) override;
  void ValueChanged(CControl* control) override;
  void CableConnected(PatchPoint* point) override;
  void CableDisconnected(PatchPoint* point) override;
  /// Crosspoints were saved as their polarity has them, and after what a button did that was down:
  /// loading a polarity converts none, and loading a button presses none.
  void LoadPreset(const void* buffer, int size, int version) override;

 private:
  static constexpr std::size_t kSize = 4;
  template <class T>
  using Grid = std::array<std::array<T, kSize>, kSize>;

  void AddGrid();
  void AddSidePanel();
  void ReadCables();
  void SetPolarity();
  void PressButton(const CControl* control);
  /// Each crosspoint takes over the value `rows` further down and `columns` further to the right.
  void Rotate(std::size_t rows, std::size_t columns);
  void Randomise();
  void SetCrosspoint(std::size_t row, std::size_t column, float value);

  Grid<Knob> crosspoints_;  // by input, then output
  Knob master_;
  CVerticalSwitch* polarity_ = nullptr;
  ClipLamp clip_;
  CKickButtonEx* left_ = nullptr;
  CKickButtonEx* right_ = nullptr;
  CKickButtonEx* up_ = nullptr;
  CKickButtonEx* down_ = nullptr;
  CKickButtonEx* randomise_ = nullptr;
  std::array<Input, kSize> ins_;
  Grid<Input> cvs_;
  std::array<Output, kSize> outs_;

  MovingKnobs<static_cast<int>(kSize* kSize) + 1> movingKnobs_;
  Grid<bool> hasCv_{};
  bool bipolar_ = false;
  bool isLoading_ = false;
};

}  // namespace halveron
