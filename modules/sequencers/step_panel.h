// The panel that the step sequencers share: a knob and a lamp for each of 16 steps, the jacks of
// four rows, and the switches of the walk.
#pragma once

#include <array>

#include "dsp/edge.h"
#include "framework/module.h"
#include "modules/sequencers/step_grid.h"

namespace halveron {

struct StepPanel {
  std::array<Knob, StepGrid::kSteps> knobs;
  std::array<Lamp, StepGrid::kSteps> lamps;
  std::array<Output, StepGrid::kRows> rows;
  CVerticalSwitch* length = nullptr;
  CVerticalSwitch* direction = nullptr;
  StepGrid grid;

  static constexpr float kFirstColumn = 30, kColumn = 40, kFirstRow = 62, kRow = 56;
  static float X(int step) { return kFirstColumn + kColumn * static_cast<float>(step % 4); }
  static float Y(int step) { return kFirstRow + kRow * static_cast<float>(step / 4); }

  /// The number of a step's knob; -1 for any other control.
  int StepOf(const CControl* control) const {
    for (int i = 0; i < StepGrid::kSteps; ++i) {
      if (control == knobs[i]) return i;
    }
    return -1;
  }

  void LightHeads(float level) {
    for (const int row : grid.IndependentRows()) lamps[grid.Head(row)].Set(level);
  }

  /// One step, with the lamps.
  void Advance() {
    LightHeads(0.0f);
    grid.Advance();
    LightHeads(1.0f);
  }
  /// Before the first step, with the lamps.
  void GoToStart() {
    LightHeads(0.0f);
    grid.GoToStart();
    LightHeads(1.0f);
  }
  /// After the controls were loaded: the heads stand where the stored lamps are lit, else on the
  /// first steps.
  void RestoreHeads() {
    grid.SetShape(StepGrid::ShapeOf(length->getValue()));
    grid.SetMode(StepGrid::ModeOf(direction->getValue()));
    for (const int row : grid.IndependentRows()) {
      for (int step = StepGrid::kSteps - 1; step >= 0; --step) grid.PlaceHead(row, step);
      for (int step = StepGrid::kSteps - 1; step >= 0; --step) {
        if (lamps[step].Level() > 0.0f) grid.PlaceHead(row, step);
      }
    }
    for (Lamp& lamp : lamps) lamp.Set(0.0f);
    LightHeads(1.0f);
  }
  /// True if the control is one of the walk's switches, which is then obeyed.
  bool TakeSwitch(const CControl* control) {
    if (control == length) {
      LightHeads(0.0f);
      grid.SetShape(StepGrid::ShapeOf(length->getValue()));
      LightHeads(1.0f);
    } else if (control == direction) {
      grid.SetMode(StepGrid::ModeOf(direction->getValue()));
    } else {
      return false;
    }
    return true;
  }
};

}  // namespace halveron
